#pragma once
// Scripted runs of the real program on small synthetic surveys: the job folder, its
// option text, one run per mode, and the result files read back as fields.

#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "batch/rotated_file_name.h"
#include "support/sorvek_session.h"
#include "synth/synth.h"

namespace sorvek::testing {

// Small scans need bigger cubes and fewer accepted samples than a field job; the range
// limit of the generated option file is lifted because the text reader measures the
// range of a rotated file's points in the scanner frame.
inline const char* const smallSurveyOptions =
    "dCX 2\ndCY 2\ndCZ 2\nMINNUMPTS 200\nMAXRANGE 999999999\n";

struct SurveyJob {
    std::filesystem::path dir;  // working folder: database, scans, result files
    std::string name;           // database stem
    std::string baseOptions;    // the generator's option file and the small-survey lines
};

// A synthetic job written into a fresh folder; the test fails when it cannot be written.
inline SurveyJob makeSurveyJob(const std::string& label, const synth::SurveySpec& surveySpec) {
    SurveyJob job;
    job.dir = makeScratchDir(label);
    job.name = surveySpec.name;
    std::string error;
    EXPECT_TRUE(synth::writeSurvey(surveySpec, job.dir, error)) << error;
    job.baseOptions = readFile(job.dir / "sorvek.txt") + smallSurveyOptions;
    std::filesystem::remove(job.dir / "sorvek.txt");
    return job;
}

// A copy of `job` with everything its runs left, in a fresh folder named after `label`.
inline SurveyJob copyJob(const SurveyJob& job, const std::string& label) {
    SurveyJob copy = job;
    copy.dir = makeScratchDir(label);
    std::filesystem::copy(job.dir, copy.dir, std::filesystem::copy_options::recursive);
    return copy;
}

// The generator's line (or site) of `scans` set-ups with a fixed seed.
inline synth::SurveySpec smallSpec(const std::string& layout, const std::string& direction,
                                   std::int32_t scans, std::int64_t points) {
    return {.layout = layout, .direction = direction, .scans = scans, .points = points, .seed = 7, .name = "job"};
}

// One run in `mode` with the menu, the confirmation and the closing Enter scripted; the
// later option lines win over the earlier ones.
// A sanitizer report on standard error fails the test that made the run.
inline SessionResult runMode(const SurveyJob& job, int mode, const std::string& extraOptions = "") {
    SessionResult result = runSorvek(job.dir, {job.name + ".txt"}, std::to_string(mode) + "\n\n\n",
                                     job.baseOptions + extraOptions);
    EXPECT_EQ(result.err.find("Sanitizer"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("runtime error"), std::string::npos) << result.err;
    return result;
}

using Rows = std::vector<std::vector<std::string>>;

// The fields of every line after the head line.
inline Rows readRows(const std::filesystem::path& path) {
    Rows rows;
    std::istringstream in(readFile(path));
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::vector<std::string> fields;
        std::istringstream fieldsIn(line);
        std::string field;
        while (std::getline(fieldsIn, field, ',')) fields.push_back(field);
        rows.push_back(fields);
    }
    return rows;
}

// The two scan ids of every row, as "a,b": columns 0 and 2 of registration rows, 0 and 1
// of RMS rows.
inline std::vector<std::string> pairsOf(const Rows& rows, std::size_t secondColumn) {
    std::vector<std::string> pairs;
    for (const auto& row : rows) pairs.push_back(row.size() > secondColumn ? row[0] + "," + row[secondColumn] : "?");
    return pairs;
}

inline std::vector<std::string> registeredPairs(const std::filesystem::path& regPath) {
    return pairsOf(readRows(regPath), 2);
}

inline std::vector<std::string> evaluatedPairs(const std::filesystem::path& rmsPath) {
    return pairsOf(readRows(rmsPath), 1);
}

inline double number(const std::string& field) { return std::strtod(field.c_str(), nullptr); }

// The generated point file of scan `id` (below 10) of the job "job".
inline std::string scanFile(int id) {
    const std::string digit = std::to_string(id);
    return "job_00" + digit + "_001_S00" + digit + ".bxyz";
}

// The rotated text file the rotation stage writes for scan `id` of the job "job".
inline std::string rotatedScanFile(int id) { return rmsPassFileName(scanFile(id)); }

// Solvers cut short with a low sample floor: enough for every stage of a small job to
// run and write its rows, not to converge.
inline const char* const quickSolvers = "MINNUMPTS 50\nMAXITER 2\nMAXREPEAT 2\n";

// A line of four scans with the results of quick runs in modes 1, 2, 8 and 9, made once
// for all the tests that need it; they copy it before they change anything.
inline const SurveyJob& cleanLineJob() {
    struct Made {
        SurveyJob job = makeSurveyJob("clean", smallSpec("line", "north", 4, 20000));
        Made() { for (int mode : {1, 2, 8, 9}) runMode(job, mode, quickSolvers); }
        ~Made() { std::filesystem::remove_all(job.dir); }
    };
    static const Made made;
    return made.job;
}

// The log a run leaves for the pairs of scans (first, second) that could not be read.
inline std::string failedPairLog(std::initializer_list<std::pair<int, int>> pairs) {
    std::string log;
    for (const auto& [first, second] : pairs) {
        log += "Unable to open files: " + scanFile(first) + " \n and " + scanFile(second) +
               " \nPlease check your GPS file for an error here. \n";
    }
    return log;
}

// Every number of seconds in the time lines becomes 0, so that output can be compared
// whatever the clock did.
inline std::string withTimesZeroed(const std::string& out) {
    static const std::regex seconds("-?[0-9]+ seconds");
    return std::regex_replace(out, seconds, "0 seconds");
}

// The values that follow `prefix` on every console line that starts with it.
inline std::vector<std::string> linesStartingWith(const std::string& out,
                                                  const std::string& prefix) {
    std::vector<std::string> found;
    std::istringstream in(out);
    std::string line;
    while (std::getline(in, line, '\n')) {
        // Progress lines end in a carriage return and share a line with what follows.
        const std::size_t start = line.rfind('\r');
        const std::string tail = start == std::string::npos ? line : line.substr(start + 1);
        if (tail.rfind(prefix, 0) == 0) found.push_back(tail.substr(prefix.size()));
    }
    return found;
}

}  // namespace sorvek::testing
