#pragma once
// One pair of a batch, the same in both drivers: solving it with the chosen solver,
// evaluating it both ways, logging it when its files cannot be read, and the time lines.

#include <cstdint>
#include <cstdio>

#include "batch/result_rows.h"
#include "registration/measure_calls.h"
#include "run/records.h"

namespace sorvek {

// The solvers' out arguments as a driver holds them through one pass. Nothing clears the
// point count between pairs: a solver that writes none leaves the last one in the row.
struct SolverOutputs {
    double firstRotationDeg = 0.0;    // first scan's rotation, degrees
    double secondRotationDeg = 0.0;   // second scan's rotation, degrees
    std::int32_t pointCount = 0;      // pair count of the last solver that wrote one
    std::int32_t iterationCount = 0;  // Ping Pong's inner passes; the others leave it alone
};

// Runs the solver that REGSOL selects on the prepared pair, with the given measuring
// passes (standardMeasureCalls() in a run), and returns its RMS.
double solvePreparedPair(Run& run, const MeasureCalls& measures, SolverOutputs& outputs);

// The row of the pair just solved, with the scan ids of firstIndex and secondIndex.
RegistrationRow registrationRowOf(const Run& run, const SolverOutputs& outputs, double solverRms);

// Measures the pair as preparation left it (both clouds whole, in cube order) both ways
// with MAXDISTFINAL, sets firstId and secondId and prints the result line with its blank
// line. `spacing` goes into the row as it is.
RmsRow evaluatePreparedPair(Run& run, double spacing);

// The two directions weighted by their counts; the counts are summed as 32-bit integers.
// With no sample in either direction the result is not a number.
double weightedRms(double rms12, std::int32_t np12, double rms21, std::int32_t np21);

// The three lines that tell the log a pair could not be prepared. A failed write ends
// the run.
void logFailedPair(const Run& run);

// The same lines to `log`, flushed, for a caller that must end the run its own way. True
// when they were written or there is no log; false with errno set when the log refused them.
bool writeFailedPairLines(std::FILE* log, const Run& run);

// The time line that closes a scan's turn, then a blank line. `console` is stdout except
// where a process prints what other processes computed.
void printScanTime(std::FILE* console, bool isEvaluation, std::int32_t scanId,
                   std::int32_t seconds);

// The last line of a site pass.
void printTotalTime(std::FILE* console, bool isEvaluation, std::int32_t seconds);

}  // namespace sorvek
