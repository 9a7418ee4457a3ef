#include "registration/solver_progress.h"

#include <cstdarg>
#include <cstdio>

#include "run/int32_arithmetic.h"

namespace sorvek {

double wholePercentOfPairs(std::int32_t pairsDone, std::int32_t progressScans) {
    if (progressScans == 0) return 0.0;
    const std::int32_t scaled = wrapToInt32(static_cast<std::int64_t>(pairsDone) * 100);
    // In 64 bits INT32_MIN / -1 is representable; the wrap then gives what 32-bit
    // hardware would give, without the trap.
    return static_cast<double>(wrapToInt32(static_cast<std::int64_t>(scaled) / progressScans));
}

double partialLeastSquaresPercent(std::int32_t pairsDone, std::int32_t progressScans,
                                  std::int32_t iteration, std::int32_t maxIterations) {
    if (progressScans == 0 || maxIterations == 0) return 0.0;
    const double iterationShare =
        static_cast<double>(iteration) / static_cast<double>(maxIterations);
    const double pairsAndShare = static_cast<double>(pairsDone) + iterationShare;
    return (100.0 * pairsAndShare) / static_cast<double>(progressScans);
}

double iterativeSearchPercent(const Run& run, std::int32_t cycle, std::int32_t iteration) {
    const double stepsDone =
        (static_cast<double>(run.options.MAXITER) * static_cast<double>(cycle)) +
        static_cast<double>(iteration);
    return (stepsDone * run.state.percentStep) +
           wholePercentOfPairs(run.state.pairsDone, run.state.progressScans);
}

void printSolverResult(float initialRms, double finalRms, const char* rotationsFormat, ...) {
    if (static_cast<double>(initialRms) > finalRms) {
        std::va_list values;
        va_start(values, rotationsFormat);
        std::vprintf(rotationsFormat, values);
        va_end(values);
    } else {
        std::printf("RMSfinal:  %lf  No rotation necessary.  Scan is at optimal alignment \n",
                    static_cast<double>(initialRms));
    }
    std::printf("\n");
}

}  // namespace sorvek
