#include "registration/ping_pong.h"

#include <cmath>
#include <cstdio>

#include "points/cube_grid.h"
#include "points/transforms.h"
#include "points/work_cloud.h"
#include "registration/engine_scratch.h"
#include "registration/solver_pair.h"
#include "registration/solver_progress.h"
#include "registration/solver_schedule.h"
#include "run/int32_arithmetic.h"

namespace sorvek {
namespace {

// Rotations of both scans, radians, relative to the loaded clouds.
struct RotationTotals {
    double first = 0.0;
    double second = 0.0;
};

// Where the alternation stands; it carries across cycles.
struct PingPongProgress {
    RotationTotals totals;
    double lastRms = 0.0;             // RMS of the latest estimate of the first scan
    std::int32_t iterationCount = 0;  // passes over all cycles
};

// Each cycle starts from the loaded clouds turned by the totals, so that every total,
// a stored start value included, is applied exactly once.
void makeCycleClouds(Run& run, const RotationTotals& totals) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    EngineScratch& scratch = engineScratch(run);
    const CubeGrid grid = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    run.state.cubeCount = grid.cubeCount;
    placeTurned(run, scratch.firstSource, turnAbout(totals.first, firstScan.gpsX, firstScan.gpsY),
                grid, scratch.firstOrder, pair.firstWork);
    placeTurned(run, scratch.secondSource,
                turnAbout(totals.second, secondScan.gpsX, secondScan.gpsY), grid,
                scratch.secondOrder, pair.secondWork);
}

// Up to MAXITER passes of one cycle. The clouds are only turned in place between passes:
// their cubes and order stay those of the start of the cycle.
void runPasses(Run& run, const MeasureCalls& measures, const PingPongThresholds& limits,
               PingPongProgress& progress, std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    const RunOptions& options = run.options;
    const auto minDist = static_cast<double>(limits.minDist);
    for (std::int32_t pass = 0; pass < options.MAXITER; ++pass) {
        double secondStep = 0.0;  // an estimate with too few pairs leaves its angle unwritten
        double firstStep = 0.0;
        measures.estimate(run, pair.firstWork, pair.secondWork, limits.maxDist, minDist, pointCount,
                          secondStep, secondScan.gpsX, secondScan.gpsY, options.ZMIN);
        progress.totals.second += secondStep;
        turnInPlace(run, pair.secondWork, turnAbout(secondStep, secondScan.gpsX, secondScan.gpsY));
        progress.lastRms =
            measures.estimate(run, pair.secondWork, pair.firstWork, limits.maxDist, minDist,
                              pointCount, firstStep, firstScan.gpsX, firstScan.gpsY, options.ZMIN);
        progress.totals.first += firstStep;
        turnInPlace(run, pair.firstWork, turnAbout(firstStep, firstScan.gpsX, firstScan.gpsY));

        run.state.percentDone = wholePercentOfPairs(run.state.pairsDone, run.state.progressScans);
        std::printf("%0.1f Complete, RMSmin = %lf, %i pts, Dist %f to %f \r", run.state.percentDone,
                    progress.lastRms, pointCount, minDist, limits.maxDist);
        const bool isLastPass = options.alphaThreshRad > std::fabs(secondStep) &&
                                options.alphaThreshRad > std::fabs(firstStep);
        progress.iterationCount =
            wrappingIncrement(progress.iterationCount);  // wraps past 2^31 - 1
        if (isLastPass) break;
    }
}

// The cycles end once the totals have settled at the final thresholds, or once the RMS
// is good enough. The threshold comparisons are exact on purpose: a 32-bit minDist can
// only equal a MINDISTFINAL that is itself a 32-bit value.
bool cyclesAreDone(const RunOptions& options, const PingPongThresholds& limits,
                   const PingPongProgress& progress, const RotationTotals& previous) {
    const bool isSettledAtFinal =
        options.alphaThreshRad > std::fabs(progress.totals.first - previous.first) &&
        options.alphaThreshRad > std::fabs(progress.totals.second - previous.second) &&
        static_cast<double>(limits.minDist) == options.MINDISTFINAL &&
        limits.maxDist == options.MAXDISTFINAL;
    const bool isRmsReached = options.RMSTHRESH > progress.lastRms;
    return isSettledAtFinal || isRmsReached;
}

}  // namespace

double solvePingPong(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                     double& secondRotationDeg, std::int32_t& pointCount,
                     std::int32_t& iterationCount) {
    iterationCount = 0;
    if (refusePair(run, firstRotationDeg, secondRotationDeg)) return refusedPairRms;
    PairState& pair = run.pair;
    ScanRecord& firstScan = firstScanOf(run);
    ScanRecord& secondScan = secondScanOf(run);
    PingPongProgress progress;
    progress.lastRms = static_cast<double>(pair.initialRms);
    RotationTotals previous;  // 0.0 before the first cycle, whatever the start values
    splitSources(run);
    std::printf("Registering Scans\n");
    progress.totals.first = storedRotation(firstScan);
    progress.totals.second = storedRotation(secondScan);
    // One box for the whole call: the turns of the passes never widen or move it.
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);

    for (std::int32_t cycle = 0; cycle < run.options.MAXREPEAT; ++cycle) {
        const PingPongThresholds limits = pingPongThresholds(run.options, cycle);
        makeCycleClouds(run, progress.totals);
        runPasses(run, measures, limits, progress, pointCount);
        const bool isDone = cyclesAreDone(run.options, limits, progress, previous);
        previous = progress.totals;
        if (isDone) break;
    }

    firstRotationDeg = radToDeg * progress.totals.first;
    secondRotationDeg = radToDeg * progress.totals.second;
    // Stored whatever the outcome: later pairs of this run start from these.
    firstScan.southRotation = progress.totals.first;
    secondScan.northRotation = progress.totals.second;
    iterationCount = progress.iterationCount;
    printSolverResult(pair.initialRms, progress.lastRms,
                      "RMSfinal:  %lf  rotations of Scan %i = %lf && Scan %i = %lf from %i pts in "
                      "%i iterations\n",
                      progress.lastRms, firstScan.scanId, firstRotationDeg, secondScan.scanId,
                      secondRotationDeg, pointCount, progress.iterationCount);
    clearWorkCloud(pair.firstWork);  // empty between pairs; the capacity serves the next
    clearWorkCloud(pair.secondWork);
    return progress.lastRms;
}

}  // namespace sorvek
