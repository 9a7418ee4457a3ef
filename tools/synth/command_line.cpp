#include "synth/command_line.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace sorvek::synth {
namespace {

std::optional<double> parseNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<std::int64_t> parseWhole(const std::string& text) {
    if (text.empty() || text[0] == '+' || text[0] == ' ') return std::nullopt;
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') return std::nullopt;
    return value;
}

std::optional<std::uint64_t> parseSeed(const std::string& text) {
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') return std::nullopt;
    return value;
}

bool isGoodStem(const std::string& name) {
    if (name.empty() || name.size() > 64) return false;
    for (const char c : name) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                             (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
        if (!isPlain) return false;
    }
    return true;
}

std::string badValue(const std::string& option, const std::string& value, const char* wanted) {
    return option + " needs " + wanted + ", not '" + value + "'";
}

// --out, --layout, --direction, --format and --name: words. Empty `message` when the word is good.
bool takeWord(const std::string& option, const std::string& value, CommandLine& commandLine,
              std::string& message) {
    SurveySpec& surveySpec = commandLine.surveySpec;
    if (option == "--out") {
        if (value.empty()) message = badValue(option, value, "a folder name");
        commandLine.outDir = value;
    } else if (option == "--layout") {
        if (value != "line" && value != "site") message = badValue(option, value, "line or site");
        surveySpec.layout = value;
    } else if (option == "--direction") {
        if (value != "north" && value != "south" && value != "east" && value != "west") {
            message = badValue(option, value, "north, south, east or west");
        }
        surveySpec.direction = value;
    } else if (option == "--format") {
        if (value != "bxyz" && value != "text" && value != "las" && value != "ply") {
            message = badValue(option, value, "bxyz, text, las or ply");
        }
        surveySpec.format = value;
    } else if (option == "--name") {
        if (!isGoodStem(value))
            message = badValue(option, value, "1 to 64 letters, digits, '_', '-' or '.'");
        surveySpec.name = value;
    } else {
        return false;
    }
    return true;
}

// --scans, --points, --seed and --offset: numbers with their own forms.
bool takeCount(const std::string& option, const std::string& value, SurveySpec& surveySpec,
               std::string& message) {
    if (option == "--scans") {
        const std::optional<std::int64_t> scans = parseWhole(value);
        if (!scans || *scans < 1 || *scans > 9999)
            message = badValue(option, value, "a whole number from 1 to 9999");
        else
            surveySpec.scans = static_cast<std::int32_t>(*scans);
    } else if (option == "--points") {
        const std::optional<std::int64_t> points = parseWhole(value);
        if (!points || *points < 1 || *points > 50000000)
            message = badValue(option, value, "a whole number from 1 to 50000000");
        else
            surveySpec.points = *points;
    } else if (option == "--seed") {
        const std::optional<std::uint64_t> seed = parseSeed(value);
        if (!seed)
            message = badValue(option, value, "a whole number from 0 to 18446744073709551615");
        else
            surveySpec.seed = *seed;
    } else if (option == "--offset") {
        const std::size_t comma = value.find(',');
        const std::optional<double> x = parseNumber(value.substr(0, comma));
        const std::optional<double> y =
            comma == std::string::npos ? std::nullopt : parseNumber(value.substr(comma + 1));
        if (!x || !y) message = badValue(option, value, "two numbers X,Y");
        surveySpec.offsetX = x.value_or(0.0);
        surveySpec.offsetY = y.value_or(0.0);
    } else {
        return false;
    }
    return true;
}

// The options that take one plain number; their ranges are checkSpec's.
double* measureField(const std::string& option, SurveySpec& surveySpec) {
    if (option == "--spacing") return &surveySpec.spacing;
    if (option == "--error-deg") return &surveySpec.errorDeg;
    if (option == "--noise") return &surveySpec.noise;
    if (option == "--tilt-deg") return &surveySpec.tiltDeg;
    if (option == "--range") return &surveySpec.rangeLimit;
    return nullptr;
}

// One option that takes a value; false with `message` set when it is refused.
bool takeValue(const std::string& option, const std::string& value, CommandLine& commandLine,
               std::string& message) {
    if (takeWord(option, value, commandLine, message) ||
        takeCount(option, value, commandLine.surveySpec, message)) {
        return message.empty();
    }
    double* field = measureField(option, commandLine.surveySpec);
    if (field == nullptr) {
        message = "unknown option " + option;
        return false;
    }
    const std::optional<double> number = parseNumber(value);
    if (!number)
        message = badValue(option, value, "a number");
    else
        *field = *number;
    return message.empty();
}

bool isFlag(const std::string& option) {
    return option == "--help" || option == "-h" || option == "--text" || option == "--no-occlusion";
}

}  // namespace

std::string parseCommandLine(std::span<const std::string> arguments, CommandLine& commandLine) {
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        std::string option = arguments[index];
        std::optional<std::string> value;
        const std::size_t equals = option.find('=');
        if (option.rfind("--", 0) == 0 && equals != std::string::npos) {
            value = option.substr(equals + 1);
            option = option.substr(0, equals);
        }
        if (isFlag(option)) {
            if (value) return option + " takes no value";
            if (option == "--text")
                commandLine.surveySpec.text = true;
            else if (option == "--no-occlusion")
                commandLine.surveySpec.occlusion = false;
            else
                commandLine.isHelp = true;
            continue;
        }
        if (option.rfind("--", 0) != 0) return "unexpected argument '" + option + "'";
        if (!value) {
            if (index + 1 >= arguments.size()) return option + " needs a value";
            value = arguments[++index];
        }
        std::string message;
        if (!takeValue(option, *value, commandLine, message)) return message;
    }
    return commandLine.isHelp ? std::string() : checkSpec(commandLine.surveySpec);
}

std::string checkSpec(const SurveySpec& surveySpec) {
    struct Range {
        const char* option;
        double value;
        double low;
        double high;
    };
    const Range ranges[] = {
        {"--spacing", surveySpec.spacing, 1.0, 1000.0},
        {"--error-deg", surveySpec.errorDeg, 0.0, 10.0},
        {"--noise", surveySpec.noise, 0.0, 0.5},
        {"--tilt-deg", surveySpec.tiltDeg, 0.0, 10.0},
        {"--range", surveySpec.rangeLimit, 5.0, 1000.0},
        {"--offset", surveySpec.offsetX, -1.0e8, 1.0e8},
        {"--offset", surveySpec.offsetY, -1.0e8, 1.0e8},
    };
    for (const Range& range : ranges) {
        if (!(range.value >= range.low && range.value <= range.high)) {
            char text[160];
            std::snprintf(text, sizeof text, "%s must lie between %g and %g, not %g", range.option,
                          range.low, range.high, range.value);
            return text;
        }
    }
    if (surveySpec.layout != "line" && surveySpec.layout != "site")
        return "--layout must be line or site";
    if (surveySpec.direction != "north" && surveySpec.direction != "south" &&
        surveySpec.direction != "east" && surveySpec.direction != "west") {
        return "--direction must be north, south, east or west";
    }
    if (surveySpec.scans < 1 || surveySpec.scans > 9999)
        return "--scans must lie between 1 and 9999";
    if (surveySpec.points < 1 || surveySpec.points > 50000000)
        return "--points must lie between 1 and 50000000";
    if (!isGoodStem(surveySpec.name))
        return "--name must be 1 to 64 letters, digits, '_', '-' or '.'";
    if (surveySpec.format != "bxyz" && surveySpec.format != "text" && surveySpec.format != "las" &&
        surveySpec.format != "ply") {
        return "--format must be bxyz, text, las or ply";
    }
    return {};
}

void printUsage(std::FILE* out) {
    std::fprintf(
        out,
        "Usage: sorvek-synth [options]\n"
        "Writes a synthetic survey job with known heading errors: the survey database,\n"
        "one point file per scan, a truth file and an option file.\n"
        "\n"
        "  --out DIR          folder to write into, created if missing (synthetic-survey)\n"
        "  --layout line|site scans along a street, or scattered over a site (line)\n"
        "  --direction D      line only: north, south, east or west, the way the line runs\n"
        "                     in table order; east and west set DATADIR 1 (north)\n"
        "  --scans N          number of scans, 1 to 9999 (6)\n"
        "  --points N         points per scan, exactly, 1 to 50000000 (200000)\n"
        "  --spacing M        metres between neighbouring scans of a line, or between the\n"
        "                     grid cells of a site; set-ups vary by 10 to 20 %% (15)\n"
        "  --error-deg D      largest heading error, degrees: each scan's database heading\n"
        "                     is its true heading plus an error drawn within +-D (0.5)\n"
        "  --noise M          range noise, metres: zero mean, standard deviation M, never\n"
        "                     beyond 3.46 M (0.003)\n"
        "  --seed S           every random choice follows from it; the same seed gives\n"
        "                     the same bytes in every file (1)\n"
        "  --name STEM        database file name stem: STEM.txt, STEM_001_001_S001.bxyz (survey)\n"
        "  --format F         each scan's point file (bxyz):\n"
        "                       bxyz  32-byte records in the scanner frame\n"
        "                       text  \"x,y,z\" lines, under the .bxyz name (read by content)\n"
        "                       las   LAS 1.2, point format 0, 0.1 mm, STEM_..._S001.las\n"
        "                       ply   binary little-endian PLY, doubles, STEM_..._S001.ply\n"
        "                     text, las and ply scans lie in the survey frame, as scanner\n"
        "                     software exports them (placed by the database's erroneous\n"
        "                     heading), and the option file says SCANTRANSFORM 1\n"
        "  --text             also write each scan as a text file STEM_001_001_S001.txt\n"
        "                     (x,y,z in the scanner frame, like the .bxyz file)\n"
        "  --tilt-deg D       largest tilt about X and about Y, degrees (0)\n"
        "  --offset X,Y       added to every survey X and Y, to give large survey\n"
        "                     coordinates; the option file subtracts them again (0,0)\n"
        "  --range M          range limit of the scanner, metres (60)\n"
        "  --no-occlusion     record every surface a beam meets, hidden ones too\n"
        "  --help             this text\n"
        "\n"
        "Files written into DIR:\n"
        "  STEM.txt           database: header, then X,Y,Z,rotX,rotY,rotZ,id,subid,name per\n"
        "                     scan; Z is the scanner's height less 0.29, angles in degrees\n"
        "  STEM_<id>_<subid>_<name>.bxyz   the scan's points (.las or .ply by --format)\n"
        "  STEM_truth.csv     each scan's true heading, error and position\n"
        "  sorvek.txt         options that suit the job; put it beside the program\n"
        "\n"
        "Exit codes: 0 written, 1 a file could not be written, 2 bad arguments.\n");
}

}  // namespace sorvek::synth
