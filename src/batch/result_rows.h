#pragma once
// The two result files of the batch drivers: their head lines and their rows. Every row is
// flushed as soon as it is written, so that a stopped run keeps what it has done.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "run/output_file.h"
#include "run/records.h"

namespace sorvek {

// One solved pair, as the registration result file shows it.
struct RegistrationRow {
    std::int32_t firstId = 0;         // scanId of the first scan
    std::int32_t secondId = 0;        // scanId of the second scan
    double firstRotationDeg = 0.0;    // the solver's rotation of the first scan, degrees
    double secondRotationDeg = 0.0;   // the solver's rotation of the second scan, degrees
    double solverRms = 0.0;           // the RMS the solver returned
    float initialRms = noInitialRms;  // what the solver had to beat
    std::int32_t pointCount = 0;      // the solver's point count, or the last one written
    std::int32_t iterationCount = 0;  // Ping Pong's inner passes; 0 with the other solvers
};

// One evaluated pair, as the RMS result file shows it.
struct RmsRow {
    std::int32_t firstId = 0;   // scanId of the first scan
    std::int32_t secondId = 0;  // scanId of the second scan
    double rms12 = 0.0;         // first cloud measured against the second
    std::int32_t np12 = 0;      // its accepted samples
    double rms21 = 0.0;         // second cloud measured against the first
    std::int32_t np21 = 0;      // its accepted samples
    double rmswave = 0.0;       // the two RMS weighted by their counts
    double spacing = 0.0;       // southDist (line) or plan distance of the pair (site)
    double range = 0.0;         // meanCliffDistance of the pair
};

// Which head line a result file starts with.
enum class ResultFileKind {
    registration,  // the seven names of the registration rows, both drivers
    lineRms,       // the nine names of the linear driver's RMS file
    siteRms,       // ten names, one more than its rows have fields
};

// The head line of a result file of `kind`, line end included.
const char* headLineOf(ResultFileKind kind);

// A row names its first scan in field 0 and its second in this field: 2 in registration
// rows, 1 in RMS rows.
std::size_t secondIdFieldOf(ResultFileKind kind);

// A scan id field as the rows are written: a whole decimal 32-bit number and nothing else,
// as "%i" writes it. A blank, a plus sign or anything after the digits makes it no id.
std::optional<std::int32_t> parseRowId(std::string_view field);

// Tells the user that the result file at `path` cannot be created or reopened and ends
// the run with exit code 0, as a driver without its result file does.
[[noreturn]] void endRunWithoutResultFile(const std::string& path);

// Creates `path` (replacing it) and writes its head line. When it cannot be created the
// user is told and the run ends with exit code 0, so the caller always gets a file. A
// write that fails, here or in a row, ends the run with exit code 1 and tells `log` too.
OutputFile createResultFile(const std::string& path, ResultFileKind kind, std::FILE* log);

// The rotation form when the solver beat initialRms (strictly), else the zero form with
// initialRms in the rms column.
void writeRegistrationRow(OutputFile& file, const RegistrationRow& row);

void writeRmsRow(OutputFile& file, const RmsRow& row);

}  // namespace sorvek
