#pragma once
// The solvers' progress arithmetic: the percentages they show while they work, and the
// closing line they share when the pair needed no rotation. The figures are for display only.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// (pairsDone * 100) / progressScans in 32-bit whole numbers, widened. The product and
// the quotient wrap as 32-bit arithmetic does instead of overflowing; a progressScans
// of 0 gives 0.0.
double wholePercentOfPairs(std::int32_t pairsDone, std::int32_t progressScans);

// (100 * (pairsDone + iteration / maxIterations)) / progressScans, all in 64-bit float;
// 0.0 when progressScans is 0. maxIterations is at least 1 whenever an iteration runs.
double partialLeastSquaresPercent(std::int32_t pairsDone, std::int32_t progressScans,
                                  std::int32_t iteration, std::int32_t maxIterations);

// ((MAXITER * cycle) + iteration) * percentStep in 64-bit float, plus the whole percent
// of pairs done.
double iterativeSearchPercent(const Run& run, std::int32_t cycle, std::int32_t iteration);

// A solver's closing lines: its own line of rotations, printf-formatted, when its RMS beats
// the pair's initial RMS, else the line that says no rotation was needed; then a blank line.
void printSolverResult(float initialRms, double finalRms, const char* rotationsFormat, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace sorvek
