#include "registration/partial_least_squares.h"

#include <cmath>
#include <cstdio>
#include <optional>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "registration/solver_console.h"
#include "registration/solver_pair.h"
#include "registration/solver_schedule.h"

namespace sorvek {
namespace {

// Bounds the cost of one candidate when the estimates do not settle.
constexpr std::int32_t maxPassesPerCandidate = 1000;

// Stands for "no previous iteration": no rotation is ever this close to it.
constexpr double noPreviousBest = 9999.999;

// The best candidate so far and the running rotation of the second scan, radians.
struct SearchState {
    double bestFirst = 0.0;    // also the centre of the next range
    double bestSecond = 0.0;   // secondTotal of the best candidate
    double bestRms = 0.0;
    double secondTotal = 0.0;  // never reset: carries from candidate to candidate
};

void printProgress(const Run& run, double rms, const SearchThresholds& limits) {
    std::printf("Percent Complete %f RMSmin = %lf DistThresh: %f \r", run.state.percentDone, rms,
                static_cast<double>(limits.maxDist));
}

bool isSameGrid(const CubeGrid& first, const CubeGrid& second) {
    return first.nx == second.nx && first.ny == second.ny && first.nz == second.nz &&
           first.originX == second.originX && first.originY == second.originY &&
           first.originZ == second.originZ && first.cubeCount == second.cubeCount &&
           first.isTooLarge == second.isTooLarge;
}

// Grids and sorts both work clouds on the overlap of their current boxes. The first cloud
// does not move during a candidate, so when the new box lays the same grid as last time
// its cubes would come out the same and the stable sort would leave it as it is: both
// are skipped, which changes no bit of the result.
void gridBothWorkClouds(Run& run, std::optional<CubeGrid>& firstWorkGrid) {
    PairState& pair = run.pair;
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);
    const CubeGrid grid = layCubeGrid(run.options, pair.overlapBounds, run.options.ZMIN);
    const bool isFirstCurrent = firstWorkGrid && isSameGrid(*firstWorkGrid, grid);
    if (!isFirstCurrent) gridOnOverlap(run, pair.firstWork);
    gridOnOverlap(run, pair.secondWork);
    firstWorkGrid = grid;
}

// Drives secondTotal to convergence against firstWork. Every pass rebuilds the second
// cloud from the loaded one, and both grids, because the turn moves the common box.
void convergeSecondRotation(Run& run, const PairMeasures& measures,
                            const SearchThresholds& limits, SearchState& state,
                            std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& secondScan = secondScanOf(run);
    std::optional<CubeGrid> firstWorkGrid;  // none yet: firstWork was just turned anew
    for (std::int32_t pass = 0; pass < maxPassesPerCandidate; ++pass) {
        double secondStep = 0.0;  // an estimate with too few pairs leaves its angle unwritten
        rotatedCopy(pair.secondCloud, state.secondTotal, secondScan.gpsX, secondScan.gpsY,
                    pair.secondWork);
        pair.secondBounds = computeBounds(pair.secondWork);
        gridBothWorkClouds(run, firstWorkGrid);
        measures.estimate(run, pair.firstWork, pair.secondWork,
                          static_cast<double>(limits.maxDist), static_cast<double>(limits.minDist),
                          pointCount, secondStep, secondScan.gpsX, secondScan.gpsY,
                          run.options.ZMIN);
        state.secondTotal += secondStep;
        // Signed on purpose: any step below the threshold ends the passes, a large
        // negative one too, and it still counts in the total.
        if (run.options.ALPHATHRESH > secondStep) break;
    }
}

// Turns the first scan to `candidate`, solves the second, and keeps the pair of
// rotations if its RMS beats the best so far (strictly: of equal ones the earlier stays).
void tryCandidate(Run& run, const PairMeasures& measures, const SearchThresholds& limits,
                  double candidate, SearchState& state, std::int32_t& pointCount) {
    PairState& pair = run.pair;
    const ScanRecord& firstScan = firstScanOf(run);
    const ScanRecord& secondScan = secondScanOf(run);
    printProgress(run, state.bestRms, limits);
    rotatedCopy(pair.firstCloud, candidate, firstScan.gpsX, firstScan.gpsY, pair.firstWork);
    pair.firstBounds = computeBounds(pair.firstWork);
    convergeSecondRotation(run, measures, limits, state, pointCount);

    // The last step is taken in too; the grid stays that of the last pass.
    rotatedCopy(pair.secondCloud, state.secondTotal, secondScan.gpsX, secondScan.gpsY,
                pair.secondWork);
    gridOnOverlap(run, pair.secondWork);
    const double rms = measures.measure(run, pair.firstWork, pair.secondWork,
                                        static_cast<double>(limits.maxDist), pointCount,
                                        run.options.ZMIN);
    if (state.bestRms > rms) {
        state.bestFirst = candidate;
        state.bestSecond = state.secondTotal;
        state.bestRms = rms;
        printProgress(run, rms, limits);
    }
}

// One outer iteration: every candidate of the walk. The walk's ends and step are fixed
// before it starts, so a new best inside the walk does not move it.
void walkCandidates(Run& run, const PairMeasures& measures, const CandidateWalk& walk,
                    const SearchThresholds& limits, std::int32_t iteration, SearchState& state,
                    std::int32_t& pointCount) {
    double candidate = walk.firstCandidate;
    while (walk.upperAngle > candidate) {
        run.state.percentDone = partialLeastSquaresPercent(
            run.state.pairsDone, run.state.progressScans, iteration, run.options.MAXITER);
        tryCandidate(run, measures, limits, candidate, state, pointCount);
        if (!stepForward(candidate, walk.searchStep)) break;
    }
}

void reportResult(Run& run, const SearchState& state, double firstRotation,
                  double secondRotation, std::int32_t pointCount) {
    if (static_cast<double>(run.pair.initialRms) > state.bestRms) {
        std::printf("RMSfinal:  %lf  rotations of Scan %i = %lf && Scan %i = %lf from %i pts\n",
                    state.bestRms, firstScanOf(run).scanId, firstRotation,
                    secondScanOf(run).scanId, secondRotation, pointCount);
    } else {
        printNoRotationNeeded(run.pair.initialRms);
    }
    std::printf("\n");
}

}  // namespace

double solvePartialLeastSquares(Run& run, double& firstRotation, double& secondRotation,
                                std::int32_t& pointCount) {
    return solvePartialLeastSquaresWith(run, standardPairMeasures(), firstRotation,
                                        secondRotation, pointCount);
}

double solvePartialLeastSquaresWith(Run& run, const PairMeasures& measures,
                                    double& firstRotation, double& secondRotation,
                                    std::int32_t& pointCount) {
    if (!pairIsPrepared(run)) {
        firstRotation = 0.0;
        secondRotation = 0.0;
        return 999.0;
    }
    const RunOptions& options = run.options;
    SearchState state;
    state.bestRms = static_cast<double>(run.pair.initialRms);
    double previousBestFirst = noPreviousBest;
    double previousBestSecond = noPreviousBest;
    double searchRange = options.ALPHA;
    std::printf("Registering Scans\n");
    // Only the first scan's stored rotation centres the search; the second starts at 0.0.
    state.bestFirst = storedRotation(firstScanOf(run));

    for (std::int32_t iteration = 0; iteration < options.MAXITER; ++iteration) {
        const CandidateWalk walk =
            candidateWalk(searchRange, state.bestFirst, options.ALPHAINC, iteration);
        const SearchThresholds limits = partialLeastSquaresThresholds(options, iteration);
        walkCandidates(run, measures, walk, limits, iteration, state, pointCount);
        // All three must hold: settled rotations with a poor RMS search on, and so does
        // a good RMS with rotations still moving.
        const bool isSettled =
            options.ALPHATHRESH >= std::fabs(previousBestFirst - state.bestFirst) &&
            options.ALPHATHRESH >= std::fabs(previousBestSecond - state.bestSecond) &&
            options.RMSTHRESH > state.bestRms;
        if (isSettled) break;
        previousBestFirst = state.bestFirst;
        previousBestSecond = state.bestSecond;
        searchRange = walk.searchStep;
    }

    firstRotation = radToDeg * state.bestFirst;
    secondRotation = radToDeg * state.bestSecond;
    reportResult(run, state, firstRotation, secondRotation, pointCount);
    run.pair.firstWork.clear();  // empty between pairs; the capacity serves the next pair
    run.pair.secondWork.clear();
    return state.bestRms;
}

}  // namespace sorvek
