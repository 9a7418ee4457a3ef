#include "registration/iterative_search.h"

#include <cmath>
#include <cstdio>

#include "points/cube_grid.h"
#include "points/transforms.h"
#include "points/work_cloud.h"
#include "registration/engine_scratch.h"
#include "registration/solver_pair.h"
#include "registration/solver_progress.h"
#include "registration/solver_schedule.h"

namespace sorvek {
namespace {

// Trial rotations of both scans, radians, relative to where an iteration found them.
struct TrialPair {
    double first = 0.0;
    double second = 0.0;
};

void printProgress(const Run& run, double rms) {
    std::printf("registering points, Percent Complete %f, RMS:  %lf\r", run.state.percentDone, rms);
}

// Every trial of one grid, every first-scan value against every second-scan value. The
// clouds move by incremental turns in place and keep the cubes and order of the start of
// the iteration. Leaves secondWork where it found it and firstWork at the returned trial.
double walkTrialGrid(Run& run, const MeasureCalls& measures, const TrialGrid& grid, TrialPair& best,
                     double& bestRms) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    double firstTrial = grid.trialStart;
    turnInPlace(run, pair.firstWork, turnAbout(grid.trialStart, firstScan.gpsX, firstScan.gpsY));
    const double trialLimit = std::fabs(grid.trialStart);
    if (!(trialLimit > grid.trialStart)) return firstTrial;

    while (stepForward(firstTrial, grid.trialStep)) {
        turnInPlace(run, pair.firstWork, turnAbout(grid.trialStep, firstScan.gpsX, firstScan.gpsY));
        double secondTrial = grid.trialStart;
        turnInPlace(run, pair.secondWork,
                    turnAbout(grid.trialStart, secondScan.gpsX, secondScan.gpsY));
        while (stepForward(secondTrial, grid.trialStep)) {
            turnInPlace(run, pair.secondWork,
                        turnAbout(grid.trialStep, secondScan.gpsX, secondScan.gpsY));
            std::int32_t trialCount = 0;  // the grid's pair counts are not reported
            const double rms =
                measures.measure(run, pair.secondWork, pair.firstWork, run.options.MAXDISTINITIAL,
                                 trialCount, run.options.ZMIN);
            if (bestRms > rms) {  // strict: of two equal trials the earlier stays
                best = {firstTrial, secondTrial};
                bestRms = rms;
                printProgress(run, rms);
            }
            if (!(trialLimit > secondTrial)) break;
        }
        turnInPlace(run, pair.secondWork,
                    turnAbout(-secondTrial, secondScan.gpsX, secondScan.gpsY));
        if (!(trialLimit > firstTrial)) break;
    }
    return firstTrial;
}

// One iteration: walk the grid, then move both clouds to the best trial and grid them
// afresh. Returns the best trial, (0.0, 0.0) when none beat bestRms.
TrialPair runIteration(Run& run, const MeasureCalls& measures, const TrialGrid& grid,
                       double& bestRms) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    TrialPair best;
    const double firstTrial = walkTrialGrid(run, measures, grid, best, bestRms);
    printProgress(run, bestRms);
    EngineScratch& scratch = engineScratch(run);
    const CubeGrid cubes = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    run.state.cubeCount = cubes.cubeCount;
    turnInPlace(run, pair.firstWork,
                turnAbout(best.first - firstTrial, firstScan.gpsX, firstScan.gpsY));
    reorderOnGrid(run, pair.firstWork, cubes, scratch.firstOrder, scratch.spare);
    turnInPlace(run, pair.secondWork, turnAbout(best.second, secondScan.gpsX, secondScan.gpsY));
    reorderOnGrid(run, pair.secondWork, cubes, scratch.secondOrder, scratch.spare);
    return best;
}

// Rebuilds both work clouds from the loaded ones turned by the totals, with new bounds,
// box and grid, and measures them. That measure is the next cycle's RMS to beat, even
// when it is worse than the best trial seen.
double closeCycle(Run& run, const MeasureCalls& measures, const TrialPair& totals,
                  std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    EngineScratch& scratch = engineScratch(run);
    // The guess for the cubes taken with the bounds: the grid the cycle ends on.
    const CubeGrid guess = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    const Turn firstTurn = turnAbout(totals.first, firstScan.gpsX, firstScan.gpsY);
    const Turn secondTurn = turnAbout(totals.second, secondScan.gpsX, secondScan.gpsY);
    pair.firstBounds = turnedBounds(run, scratch.firstSource, firstTurn, guess, scratch.firstOrder);
    pair.secondBounds =
        turnedBounds(run, scratch.secondSource, secondTurn, guess, scratch.secondOrder);
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);
    const CubeGrid cubes = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    run.state.cubeCount = cubes.cubeCount;
    placeTurned(run, scratch.firstSource, firstTurn, cubes, scratch.firstOrder, pair.firstWork);
    placeTurned(run, scratch.secondSource, secondTurn, cubes, scratch.secondOrder, pair.secondWork);
    return measures.measure(run, pair.secondWork, pair.firstWork, run.options.MAXDISTINITIAL,
                            pointCount, run.options.ZMIN);
}

}  // namespace

double solveIterativeSearch(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                            double& secondRotationDeg, std::int32_t& pointCount) {
    if (refusePair(run, firstRotationDeg, secondRotationDeg)) return refusedPairRms;
    const RunOptions& options = run.options;
    PairState& pair = run.pair;
    double bestRms = static_cast<double>(pair.initialRms);
    TrialPair totals;
    // Whole records, cubes included: the first iteration searches on the grid and order
    // that the pair was prepared with.
    splitSources(run);
    copySorted(run, pair.firstCloud, run.state.cubeCount, pair.firstWork);
    copySorted(run, pair.secondCloud, run.state.cubeCount, pair.secondWork);

    for (std::int32_t cycle = 0; cycle < options.MAXREPEAT; ++cycle) {
        TrialGrid grid = cycleTrialGrid(options.alphaRad, options.ALPHAINC, cycle);
        TrialPair sums;
        for (std::int32_t iteration = 0; iteration < options.MAXITER; ++iteration) {
            run.state.percentDone = iterativeSearchPercent(run, cycle, iteration);
            printProgress(run, bestRms);
            if (iteration > 0) grid = refinedTrialGrid(grid, options.ALPHAINC);
            const TrialPair best = runIteration(run, measures, grid, bestRms);
            sums.first += best.first;
            sums.second += best.second;
        }
        totals.first += sums.first;
        totals.second += sums.second;
        bestRms = closeCycle(run, measures, totals, pointCount);
    }

    firstRotationDeg = radToDeg * totals.first;
    secondRotationDeg = radToDeg * totals.second;
    printSolverResult(run.pair.initialRms, bestRms,
                      "RMSfinal:  %lf  rotations of b1 = %lf && b2 = %lf from %i pts\n", bestRms,
                      firstRotationDeg, secondRotationDeg, pointCount);
    // The work clouds stay filled; the next solver call replaces them.
    return bestRms;
}

}  // namespace sorvek
