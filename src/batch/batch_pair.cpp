#include "batch/batch_pair.h"

#include <cstdio>

#include "points/work_cloud.h"
#include "registration/iterative_search.h"
#include "registration/measure_calls.h"
#include "registration/pair_rms.h"
#include "registration/partial_least_squares.h"
#include "registration/ping_pong.h"
#include "run/int32_arithmetic.h"

namespace sorvek {
namespace {

// Sum of two accepted counts as a 32-bit integer would hold it, so that no pair of counts
// can overflow.
std::int32_t sumOfCounts(std::int32_t first, std::int32_t second) {
    return wrapToInt32(std::int64_t{first} + std::int64_t{second});
}

}  // namespace

double solvePreparedPair(Run& run, const MeasureCalls& measures, SolverOutputs& outputs) {
    switch (solverChoiceOf(run.options)) {
    case SolverChoice::iterativeSearch:
        return solveIterativeSearch(run, measures, outputs.firstRotationDeg,
                                    outputs.secondRotationDeg, outputs.pointCount);
    case SolverChoice::partialLeastSquares:
        return solvePartialLeastSquares(run, measures, outputs.firstRotationDeg,
                                        outputs.secondRotationDeg, outputs.pointCount);
    case SolverChoice::pingPong: break;
    }
    return solvePingPong(run, measures, outputs.firstRotationDeg, outputs.secondRotationDeg,
                         outputs.pointCount, outputs.iterationCount);
}

RegistrationRow registrationRowOf(const Run& run, const SolverOutputs& outputs, double solverRms) {
    const std::vector<ScanRecord>& scans = run.state.scans;
    RegistrationRow row;
    row.firstId = scans[static_cast<std::size_t>(run.pair.firstIndex)].scanId;
    row.secondId = scans[static_cast<std::size_t>(run.pair.secondIndex)].scanId;
    row.firstRotationDeg = outputs.firstRotationDeg;
    row.secondRotationDeg = outputs.secondRotationDeg;
    row.solverRms = solverRms;
    row.initialRms = run.pair.initialRms;
    row.pointCount = outputs.pointCount;
    row.iterationCount = outputs.iterationCount;
    return row;
}

double weightedRms(double rms12, std::int32_t np12, double rms21, std::int32_t np21) {
    const std::int32_t total = sumOfCounts(np12, np21);
    return ((static_cast<double>(np12) * rms12) + (static_cast<double>(np21) * rms21)) /
           static_cast<double>(total);
}

RmsRow evaluatePreparedPair(Run& run, double spacing) {
    PairState& pair = run.pair;
    const double maxDistance = run.options.MAXDISTFINAL;
    const double zMin = run.options.ZMIN;
    RmsRow row;
    // The walk reads coordinates apart: the work copies serve, empty again afterwards.
    copySorted(run, pair.firstCloud, run.state.cubeCount, pair.firstWork);
    copySorted(run, pair.secondCloud, run.state.cubeCount, pair.secondWork);
    row.rms12 = measurePairRms(run, pair.firstWork, pair.secondWork, maxDistance, row.np12, zMin);
    row.rms21 = measurePairRms(run, pair.secondWork, pair.firstWork, maxDistance, row.np21, zMin);
    clearWorkCloud(pair.firstWork);
    clearWorkCloud(pair.secondWork);
    row.rmswave = weightedRms(row.rms12, row.np12, row.rms21, row.np21);
    pair.firstId = run.state.scans[static_cast<std::size_t>(pair.firstIndex)].scanId;
    pair.secondId = run.state.scans[static_cast<std::size_t>(pair.secondIndex)].scanId;
    row.firstId = pair.firstId;
    row.secondId = pair.secondId;
    row.spacing = spacing;
    row.range = pair.meanCliffDistance;
    std::printf("RMS for scans %i and %i = %lf \n", pair.firstId, pair.secondId, row.rmswave);
    std::printf("\n");
    return row;
}

void logFailedPair(const Run& run) {
    requireLogWritten(writeFailedPairLines(run.state.logFile.get(), run), run.state);
}

bool writeFailedPairLines(std::FILE* log, const Run& run) {
    if (log == nullptr) return true;  // the entry ends the run before a stage could meet this
    return std::fprintf(log, "Unable to open files: %s \n", run.pair.firstPath.c_str()) >= 0 &&
           std::fprintf(log, " and %s \n", run.pair.secondPath.c_str()) >= 0 &&
           std::fprintf(log, "Please check your GPS file for an error here. \n") >= 0 &&
           std::fflush(log) == 0;
}

void printScanTime(std::FILE* console, bool isEvaluation, std::int32_t scanId,
                   std::int32_t seconds) {
    if (isEvaluation) {
        std::fprintf(console, "Time for RMS evaluation of scan %i is %i seconds \n", scanId,
                     seconds);
    } else {
        std::fprintf(console, "Time for registration of scan %i is %i seconds \n", scanId, seconds);
    }
    std::fprintf(console, "\n");
}

void printTotalTime(std::FILE* console, bool isEvaluation, std::int32_t seconds) {
    if (isEvaluation) {
        std::fprintf(console, "Total Time for all RMS evaluations: %i seconds \n", seconds);
    } else {
        std::fprintf(console, "Total Time for all registrations: %i seconds \n", seconds);
    }
}

}  // namespace sorvek
