#include "registration/partial_least_squares.h"

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

// Bounds the cost of one candidate when the estimates do not settle.
constexpr std::int32_t maxPassesPerCandidate = 1000;

// Stands for "no previous iteration": no rotation is ever this close to it.
constexpr double noPreviousBest = 9999.999;

// The best candidate so far and the running rotation of the second scan, radians.
struct SearchState {
    double bestFirst = 0.0;   // also the centre of the next range
    double bestSecond = 0.0;  // secondTotal of the best candidate
    double bestRms = 0.0;
    double secondTotal = 0.0;  // never reset: carries from candidate to candidate
};

void printProgress(const Run& run, double rms, const SearchThresholds& limits) {
    std::printf("Percent Complete %f RMSmin = %lf DistThresh: %f \r", run.state.percentDone, rms,
                static_cast<double>(limits.maxDist));
}

// The grids of one candidate's passes. The last grid laid serves as the guess under
// which a cloud's cubes are taken in the same pass as its bounds; the guess is almost
// always right, since a small turn seldom changes the common box's grid.
struct PassGrids {
    CubeGrid last;                   // grid of the latest pass
    CubeGrid firstWork;              // grid firstWork is in order on
    bool isFirstWorkPlaced = false;  // firstWork holds this candidate's turn
};

// Lays the grid of the overlap of the current boxes and puts both work clouds in order on
// it. The first cloud does not move during a candidate: when the new box lays the same
// grid as last time its cubes would come out the same and a stable sort would leave it as
// it is, so it is left alone; on a new grid it is put in order again from the order it
// has, as a stable sort would.
void gridBothWorkClouds(Run& run, const Turn& firstTurn, const Turn& secondTurn, PassGrids& grids) {
    PairState& pair = run.pair;
    EngineScratch& scratch = engineScratch(run);
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);
    const CubeGrid grid = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    run.state.cubeCount = grid.cubeCount;
    if (!grids.isFirstWorkPlaced) {
        placeTurned(run, scratch.firstSource, firstTurn, grid, scratch.firstOrder, pair.firstWork);
        grids.isFirstWorkPlaced = true;
    } else if (!isSameGrid(grids.firstWork, grid)) {
        reorderOnGrid(run, pair.firstWork, grid, scratch.firstOrder, scratch.spare);
    }
    grids.firstWork = grid;
    placeTurned(run, scratch.secondSource, secondTurn, grid, scratch.secondOrder, pair.secondWork);
    grids.last = grid;
}

// Drives secondTotal to convergence against firstWork. Every pass remakes the second
// cloud from the loaded one, and both grids, because the turn moves the common box.
void convergeSecondRotation(Run& run, const MeasureCalls& measures, const SearchThresholds& limits,
                            const Turn& firstTurn, SearchState& state, PassGrids& grids,
                            std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& secondScan = secondScanOf(run);
    EngineScratch& scratch = engineScratch(run);
    for (std::int32_t pass = 0; pass < maxPassesPerCandidate; ++pass) {
        double secondStep = 0.0;  // an estimate with too few pairs leaves its angle unwritten
        const Turn secondTurn = turnAbout(state.secondTotal, secondScan.gpsX, secondScan.gpsY);
        pair.secondBounds =
            turnedBounds(run, scratch.secondSource, secondTurn, grids.last, scratch.secondOrder);
        gridBothWorkClouds(run, firstTurn, secondTurn, grids);
        measures.estimate(run, pair.firstWork, pair.secondWork, static_cast<double>(limits.maxDist),
                          static_cast<double>(limits.minDist), pointCount, secondStep,
                          secondScan.gpsX, secondScan.gpsY, run.options.ZMIN);
        state.secondTotal += secondStep;
        // Signed on purpose: any step below the threshold ends the passes, a large
        // negative one too, and it still counts in the total.
        if (run.options.alphaThreshRad > secondStep) break;
    }
}

// Turns the first scan to `candidate`, solves the second, and keeps the pair of
// rotations if its RMS beats the best so far (strictly: of equal ones the earlier stays).
void tryCandidate(Run& run, const MeasureCalls& measures, const SearchThresholds& limits,
                  double candidate, SearchState& state, PassGrids& grids,
                  std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    EngineScratch& scratch = engineScratch(run);
    printProgress(run, state.bestRms, limits);
    const Turn firstTurn = turnAbout(candidate, firstScan.gpsX, firstScan.gpsY);
    pair.firstBounds =
        turnedBounds(run, scratch.firstSource, firstTurn, grids.last, scratch.firstOrder);
    grids.isFirstWorkPlaced = false;
    convergeSecondRotation(run, measures, limits, firstTurn, state, grids, pointCount);

    // The last step is taken in too; the grid stays that of the last pass.
    const Turn secondTurn = turnAbout(state.secondTotal, secondScan.gpsX, secondScan.gpsY);
    placeTurned(run, scratch.secondSource, secondTurn, grids.last, scratch.secondOrder,
                pair.secondWork);
    const double rms =
        measures.measure(run, pair.firstWork, pair.secondWork, static_cast<double>(limits.maxDist),
                         pointCount, run.options.ZMIN);
    if (state.bestRms > rms) {
        state.bestFirst = candidate;
        state.bestSecond = state.secondTotal;
        state.bestRms = rms;
        printProgress(run, rms, limits);
    }
}

// One outer iteration: every candidate of the walk. The walk's ends and step are fixed
// before it starts, so a new best inside the walk does not move it.
void walkCandidates(Run& run, const MeasureCalls& measures, const CandidateWalk& walk,
                    const SearchThresholds& limits, std::int32_t iteration, SearchState& state,
                    PassGrids& grids, std::int32_t& pointCount) {
    double candidate = walk.firstCandidate;
    while (walk.upperAngle > candidate) {
        run.state.percentDone = partialLeastSquaresPercent(
            run.state.pairsDone, run.state.progressScans, iteration, run.options.MAXITER);
        tryCandidate(run, measures, limits, candidate, state, grids, pointCount);
        if (!stepForward(candidate, walk.searchStep)) break;
    }
}

}  // namespace

double solvePartialLeastSquares(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                                double& secondRotationDeg, std::int32_t& pointCount) {
    if (refusePair(run, firstRotationDeg, secondRotationDeg)) return refusedPairRms;
    const RunOptions& options = run.options;
    SearchState state;
    state.bestRms = static_cast<double>(run.pair.initialRms);
    double previousBestFirst = noPreviousBest;
    double previousBestSecond = noPreviousBest;
    double searchRange = options.alphaRad;
    PassGrids grids;
    splitSources(run);
    std::printf("Registering Scans\n");
    // Only the first scan's stored rotation centres the search; the second starts at 0.0.
    state.bestFirst = storedRotation(firstScanOf(run));

    for (std::int32_t iteration = 0; iteration < options.MAXITER; ++iteration) {
        const CandidateWalk walk =
            candidateWalk(searchRange, state.bestFirst, options.ALPHAINC, iteration);
        const SearchThresholds limits = partialLeastSquaresThresholds(options, iteration);
        walkCandidates(run, measures, walk, limits, iteration, state, grids, pointCount);
        // All three must hold: settled rotations with a poor RMS search on, and so does
        // a good RMS with rotations still moving.
        const bool isSettled =
            options.alphaThreshRad >= std::fabs(previousBestFirst - state.bestFirst) &&
            options.alphaThreshRad >= std::fabs(previousBestSecond - state.bestSecond) &&
            options.RMSTHRESH > state.bestRms;
        if (isSettled) break;
        previousBestFirst = state.bestFirst;
        previousBestSecond = state.bestSecond;
        searchRange = walk.searchStep;
    }

    firstRotationDeg = radToDeg * state.bestFirst;
    secondRotationDeg = radToDeg * state.bestSecond;
    printSolverResult(run.pair.initialRms, state.bestRms,
                      "RMSfinal:  %lf  rotations of Scan %i = %lf && Scan %i = %lf from %i pts\n",
                      state.bestRms, firstScanOf(run).scanId, firstRotationDeg,
                      secondScanOf(run).scanId, secondRotationDeg, pointCount);
    clearWorkCloud(run.pair.firstWork);  // empty between pairs; the capacity serves the next
    clearWorkCloud(run.pair.secondWork);
    return state.bestRms;
}

}  // namespace sorvek
