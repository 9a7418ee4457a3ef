#include "config/option_reader.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <variant>

#include "config/output_names.h"
#include "config/summary.h"
#include "run/console.h"

namespace sorvek {
namespace {

using OptionField = std::variant<double RunOptions::*, std::int32_t RunOptions::*>;

struct OptionKey {
    const char* key;  // as matched, with its one trailing blank
    OptionField field;
};

// In the order the reader tries the keys; the trailing blank keeps "ALPHA " off the
// lines of "ALPHAINC " and "ALPHATHRESH ".
constexpr OptionKey optionKeys[] = {
    {"GPSMINDIST ", &RunOptions::GPSMINDIST},
    {"GPSMAXDIST ", &RunOptions::GPSMAXDIST},
    {"DATADIR ", &RunOptions::DATADIR},
    {"TRANSX ", &RunOptions::TRANSX},
    {"TRANSY ", &RunOptions::TRANSY},
    {"SCANTRANSFORM ", &RunOptions::SCANTRANSFORM},
    {"ZEROPAD ", &RunOptions::ZEROPAD},
    {"FILEEXT ", &RunOptions::FILEEXT},
    {"APPLYFILTER ", &RunOptions::APPLYFILTER},
    {"MINRANGE ", &RunOptions::MINRANGE},
    {"MAXRANGE ", &RunOptions::MAXRANGE},
    {"XMIN ", &RunOptions::XMIN},
    {"XMAX ", &RunOptions::XMAX},
    {"YMIN ", &RunOptions::YMIN},
    {"YMAX ", &RunOptions::YMAX},
    {"ZMIN ", &RunOptions::ZMIN},
    {"ZMAX ", &RunOptions::ZMAX},
    {"dCX ", &RunOptions::dCX},
    {"dCY ", &RunOptions::dCY},
    {"dCZ ", &RunOptions::dCZ},
    {"NUMPPC ", &RunOptions::NUMPPC},
    {"MINNUMPTS ", &RunOptions::MINNUMPTS},
    {"MINDISTINITIAL ", &RunOptions::MINDISTINITIAL},
    {"MINDISTFINAL ", &RunOptions::MINDISTFINAL},
    {"MAXDISTINITIAL ", &RunOptions::MAXDISTINITIAL},
    {"MAXDISTFINAL ", &RunOptions::MAXDISTFINAL},
    {"REGMODE ", &RunOptions::REGMODE},
    {"REGSOL ", &RunOptions::REGSOL},
    {"MAXREPEAT ", &RunOptions::MAXREPEAT},
    {"MAXITER ", &RunOptions::MAXITER},
    {"ALPHATHRESH ", &RunOptions::ALPHATHRESH},
    {"RMSTHRESH ", &RunOptions::RMSTHRESH},
    {"ALPHA ", &RunOptions::ALPHA},
    {"ALPHAINC ", &RunOptions::ALPHAINC},
    {"ROTADJUST ", &RunOptions::ROTADJUST},
};

constexpr std::size_t lineBufferSize = 256;  // 255 characters and the terminator

// The word that is the key fits the line it came from, so a buffer of the line's size
// can never overflow under "%s".
void convertValue(RunOptions& options, const OptionKey& entry, const char* line) {
    char word[lineBufferSize];
    if (const auto* real = std::get_if<double RunOptions::*>(&entry.field)) {
        double value = 0.0;
        if (std::sscanf(line, "%255s %lf", word, &value) == 2) options.*(*real) = value;
    } else {
        const auto whole = std::get<std::int32_t RunOptions::*>(entry.field);
        int value = 0;
        if (std::sscanf(line, "%255s %i", word, &value) == 2) options.*whole = value;
    }
}

// Option values that would make a later stage divide by zero or walk without end.
bool isUsable(const RunOptions& options, const OptionKey& entry) {
    if (const auto* real = std::get_if<double RunOptions::*>(&entry.field)) {
        if (*real == &RunOptions::dCX || *real == &RunOptions::dCY || *real == &RunOptions::dCZ) {
            return options.*(*real) > 0.0;  // NaN fails too
        }
        return true;
    }
    const auto whole = std::get<std::int32_t RunOptions::*>(entry.field);
    if (whole == &RunOptions::NUMPPC) return options.NUMPPC >= 0;
    if (whole == &RunOptions::ALPHAINC) return options.ALPHAINC > 0;
    return true;
}

}  // namespace

void applyOptionLine(RunOptions& options, const char* line) {
    if (line[0] == '#') return;
    for (const OptionKey& entry : optionKeys) {
        if (std::strncmp(line, entry.key, std::strlen(entry.key)) == 0) {
            convertValue(options, entry, line);
            return;
        }
    }
}

void applyOptionText(RunOptions& options, std::string_view text) {
    // Cut as fgets cuts: at a line end (kept) or after 255 characters.
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = start;
        while (end < text.size() && end - start < lineBufferSize - 1) {
            if (text[end++] == '\n') break;
        }
        std::string line(text.substr(start, end - start));
        applyOptionLine(options, line.c_str());
        start = end;
    }
}

std::vector<OptionSetting> optionSettings(const RunOptions& options) {
    std::vector<OptionSetting> settings;
    for (const OptionKey& entry : optionKeys) {
        OptionSetting setting;
        setting.key.assign(entry.key, std::strlen(entry.key) - 1);
        char value[64];
        if (const auto* real = std::get_if<double RunOptions::*>(&entry.field)) {
            std::snprintf(value, sizeof value, "%.10g", options.*(*real));
        } else {
            std::snprintf(value, sizeof value, "%i",
                          options.*std::get<std::int32_t RunOptions::*>(entry.field));
        }
        setting.value = value;
        settings.push_back(setting);
    }
    return settings;
}

int reportInvalidOptions(const RunOptions& options, const std::string& optionPath) {
    int invalidCount = 0;
    for (const OptionKey& entry : optionKeys) {
        if (isUsable(options, entry)) continue;
        const std::string key(entry.key, std::strlen(entry.key) - 1);
        std::printf("Option %s has an invalid value. Please correct %s \n", key.c_str(),
                    optionPath.c_str());
        ++invalidCount;
    }
    return invalidCount;
}

void readOptions(Run& run) {
    if (FileHandle file = openFile(run.state.optionPath, "r")) {
        char line[lineBufferSize];
        while (std::fgets(line, sizeof line, file.get()) != nullptr) {
            applyOptionLine(run.options, line);
        }
    } else {
        std::printf("Could not open master input file %s\n", run.state.optionPath.c_str());
        std::printf("Make sure this file is in the same directory as the program \n");
        std::printf("USING DEFAULT VALUES!!!!\n");
    }
    deriveOutputNames(run.state, run.state.databasePath);
    if (run.state.databaseStem.empty()) {
        std::printf("INVALID FILE. Please restart program!\n");
        endRun(exitFailed);
    }
    if (reportInvalidOptions(run.options, run.state.optionPath) > 0) endRun(exitFailed);
    printSummaryAndChooseMode(run);
}

}  // namespace sorvek
