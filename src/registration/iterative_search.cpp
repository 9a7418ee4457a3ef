#include "registration/iterative_search.h"

#include <cmath>
#include <cstdio>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "registration/solver_console.h"
#include "registration/solver_pair.h"
#include "registration/solver_schedule.h"

namespace sorvek {
namespace {

// Trial rotations of both scans, radians, relative to where an iteration found them.
struct TrialPair {
    double first = 0.0;
    double second = 0.0;
};

void printProgress(const Run& run, double rms) {
    std::printf("registering points, Percent Complete %f, RMS:  %lf\r", run.state.percentDone,
                rms);
}

// Every trial of one grid, every first-scan value against every second-scan value. The
// clouds move by incremental turns in place and keep the cubes and order of the start of
// the iteration. Leaves secondWork where it found it and firstWork at the returned trial.
double walkTrialGrid(Run& run, const PairMeasures& measures, const TrialGrid& grid,
                     TrialPair& best, double& bestRms) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    double firstTrial = grid.trialStart;
    rotateCloud(pair.firstWork, grid.trialStart, firstScan.gpsX, firstScan.gpsY);
    const double trialLimit = std::fabs(grid.trialStart);
    if (!(trialLimit > grid.trialStart)) return firstTrial;

    while (stepForward(firstTrial, grid.trialStep)) {
        rotateCloud(pair.firstWork, grid.trialStep, firstScan.gpsX, firstScan.gpsY);
        double secondTrial = grid.trialStart;
        rotateCloud(pair.secondWork, grid.trialStart, secondScan.gpsX, secondScan.gpsY);
        while (stepForward(secondTrial, grid.trialStep)) {
            rotateCloud(pair.secondWork, grid.trialStep, secondScan.gpsX, secondScan.gpsY);
            std::int32_t trialCount = 0;  // the grid's pair counts are not reported
            const double rms = measures.measure(run, pair.secondWork, pair.firstWork,
                                                run.options.MAXDISTINITIAL, trialCount,
                                                run.options.ZMIN);
            if (bestRms > rms) {  // strict: of two equal trials the earlier stays
                best = {firstTrial, secondTrial};
                bestRms = rms;
                printProgress(run, rms);
            }
            if (!(trialLimit > secondTrial)) break;
        }
        rotateCloud(pair.secondWork, -secondTrial, secondScan.gpsX, secondScan.gpsY);
        if (!(trialLimit > firstTrial)) break;
    }
    return firstTrial;
}

// One iteration: walk the grid, then move both clouds to the best trial and grid them
// afresh. Returns the best trial, (0.0, 0.0) when none beat bestRms.
TrialPair runIteration(Run& run, const PairMeasures& measures, const TrialGrid& grid,
                       double& bestRms) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    TrialPair best;
    const double firstTrial = walkTrialGrid(run, measures, grid, best, bestRms);
    printProgress(run, bestRms);
    rotateCloud(pair.firstWork, best.first - firstTrial, firstScan.gpsX, firstScan.gpsY);
    gridOnOverlap(run, pair.firstWork);
    rotateCloud(pair.secondWork, best.second, secondScan.gpsX, secondScan.gpsY);
    gridOnOverlap(run, pair.secondWork);
    return best;
}

// Rebuilds both work clouds from the loaded ones turned by the totals, with new bounds,
// box and grid, and measures them. That measure is the next cycle's RMS to beat, even
// when it is worse than the best trial seen.
double closeCycle(Run& run, const PairMeasures& measures, const TrialPair& totals,
                  std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    pair.firstWork.assign(pair.firstCloud.begin(), pair.firstCloud.end());
    rotateCloud(pair.firstWork, totals.first, firstScan.gpsX, firstScan.gpsY);
    pair.firstBounds = computeBounds(pair.firstWork);
    pair.secondWork.assign(pair.secondCloud.begin(), pair.secondCloud.end());
    rotateCloud(pair.secondWork, totals.second, secondScan.gpsX, secondScan.gpsY);
    pair.secondBounds = computeBounds(pair.secondWork);
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);
    gridOnOverlap(run, pair.firstWork);
    gridOnOverlap(run, pair.secondWork);
    return measures.measure(run, pair.secondWork, pair.firstWork, run.options.MAXDISTINITIAL,
                            pointCount, run.options.ZMIN);
}

void reportResult(const Run& run, double bestRms, double firstRotation, double secondRotation,
                  std::int32_t pointCount) {
    if (static_cast<double>(run.pair.initialRms) > bestRms) {
        std::printf("RMSfinal:  %lf  rotations of b1 = %lf && b2 = %lf from %i pts\n", bestRms,
                    firstRotation, secondRotation, pointCount);
    } else {
        printNoRotationNeeded(run.pair.initialRms);
    }
    std::printf("\n");
}

}  // namespace

double solveIterativeSearch(Run& run, double& firstRotation, double& secondRotation,
                            std::int32_t& pointCount) {
    return solveIterativeSearchWith(run, standardPairMeasures(), firstRotation, secondRotation,
                                    pointCount);
}

double solveIterativeSearchWith(Run& run, const PairMeasures& measures, double& firstRotation,
                                double& secondRotation, std::int32_t& pointCount) {
    if (!pairIsPrepared(run)) {
        firstRotation = 0.0;
        secondRotation = 0.0;
        return 999.0;
    }
    const RunOptions& options = run.options;
    PairState& pair = run.pair;
    double bestRms = static_cast<double>(pair.initialRms);
    TrialPair totals;
    // Whole records, cubes included: the first iteration searches on the grid and order
    // that the pair was prepared with.
    pair.firstWork.assign(pair.firstCloud.begin(), pair.firstCloud.end());
    pair.secondWork.assign(pair.secondCloud.begin(), pair.secondCloud.end());

    for (std::int32_t cycle = 0; cycle < options.MAXREPEAT; ++cycle) {
        TrialGrid grid = cycleTrialGrid(options.ALPHA, options.ALPHAINC, cycle);
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

    firstRotation = radToDeg * totals.first;
    secondRotation = radToDeg * totals.second;
    reportResult(run, bestRms, firstRotation, secondRotation, pointCount);
    // The work clouds stay filled; the next solver call replaces them.
    return bestRms;
}

}  // namespace sorvek
