#include "registration/partial_least_squares.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "points/cube_sort.h"
#include "registration/solver_probe.h"
#include "registration/synthetic_pair.h"

namespace sorvek {
namespace {

using probe::printedBy;
using probe::probeRun;
using probe::turnOf;

// What one estimate or measure saw: the turns of the first and the second work cloud.
struct Seen {
    double firstTurn = 0.0;
    double secondTurn = 0.0;
    double maxDistance = 0.0;
};

// Scripted passes. Estimates answer from `steps` (0.0 once it is empty, or no answer at
// all when `estimatesFail`); measures answer `rmsOf(first turn, second turn)`.
struct ScriptedSearch {
    std::deque<double> steps;
    bool estimatesFail = false;
    std::function<double(double, double)> rmsOf = [](double, double) { return 0.3; };
    std::vector<Seen> estimates;
    std::vector<Seen> measures;
    std::int32_t nextCount = 1;

    PairMeasures calls(sorvek::Run& run) {
        PairMeasures result;
        result.estimate = [this, &run](sorvek::Run&, std::span<const PointRecord> subject,
                                       std::span<const PointRecord> reference, double maxDistance,
                                       double, std::int32_t& accepted, double& rotationOut,
                                       double pivotX, double, double) {
            EXPECT_EQ(pivotX, run.state.scans[1].gpsX);
            estimates.push_back({turnOf(subject, run.state.scans[0]),
                                 turnOf(reference, run.state.scans[1]), maxDistance});
            accepted = nextCount++;
            if (estimatesFail) return 999.0;
            if (steps.empty()) {
                rotationOut = 0.0;
            } else {
                rotationOut = steps.front();
                steps.pop_front();
            }
            return 0.25;
        };
        result.measure = [this, &run](sorvek::Run&, std::span<const PointRecord> subject,
                                      std::span<const PointRecord> reference, double maxDistance,
                                      std::int32_t& accepted, double) {
            const Seen seen{turnOf(subject, run.state.scans[0]),
                            turnOf(reference, run.state.scans[1]), maxDistance};
            measures.push_back(seen);
            accepted = nextCount++;
            return rmsOf(seen.firstTurn, seen.secondTurn);
        };
        return result;
    }
};

struct SearchOutcome {
    double rms = 0.0;
    double firstRotationDeg = 0.0;
    double secondRotationDeg = 0.0;
    std::int32_t pointCount = -5;
    std::string printed;
};

SearchOutcome solve(sorvek::Run& run, ScriptedSearch& script) {
    const PairMeasures calls = script.calls(run);
    SearchOutcome outcome;
    outcome.printed = printedBy([&] {
        outcome.rms = solvePartialLeastSquaresWith(run, calls, outcome.firstRotationDeg,
                                                   outcome.secondRotationDeg, outcome.pointCount);
    });
    return outcome;
}

TEST(PartialLeastSquares, WalksShrinkingRangesAroundTheBestCandidate) {
    sorvek::Run run = probeRun();
    ScriptedSearch script;
    const double targetRad = 0.3 * degToRad;
    script.rmsOf = [targetRad](double firstTurn, double) {
        return 0.1 + std::fabs(firstTurn - targetRad);
    };
    const SearchOutcome outcome = solve(run, script);

    // Each estimate settles at once, so one estimate and one measure per candidate.
    ASSERT_EQ(script.measures.size(), 32U);
    EXPECT_EQ(script.estimates.size(), 32U);
    for (std::size_t k = 0; k < 10; ++k) {
        SCOPED_TRACE(k);
        EXPECT_NEAR(script.measures[k].firstTurn * radToDeg, -2.0 + 0.4 * static_cast<double>(k), 1e-9);
    }
    // Iteration 1 is centred on 0.4 degrees, the best of iteration 0.
    EXPECT_NEAR(script.measures[10].firstTurn * radToDeg, 0.0, 1e-9);
    EXPECT_NEAR(outcome.firstRotationDeg, 0.3, 0.01);
    EXPECT_EQ(outcome.secondRotationDeg, 0.0);
    EXPECT_NEAR(outcome.rms, 0.1, 0.01 * degToRad);
    EXPECT_EQ(outcome.pointCount, 64);  // from the last call, not from the best candidate
    EXPECT_TRUE(run.pair.firstWork.empty());
    EXPECT_TRUE(run.pair.secondWork.empty());
}

// The limits of the iterations in the order the calls met them.
std::vector<double> limitsInOrder(const std::vector<Seen>& calls) {
    std::vector<double> limits;
    for (const Seen& seen : calls) {
        if (limits.empty() || limits.back() != seen.maxDistance) limits.push_back(seen.maxDistance);
    }
    return limits;
}

TEST(PartialLeastSquares, EstimatesAndMeasuresUseTheWidenedThirtyTwoBitLimit) {
    sorvek::Run run = probeRun();
    ScriptedSearch script;
    solve(run, script);
    const std::vector<double> expected = {0.5, static_cast<double>(0.4F), static_cast<double>(0.3F),
                                          static_cast<double>(0.2F), static_cast<double>(0.1F)};
    EXPECT_EQ(limitsInOrder(script.measures), expected);
    EXPECT_EQ(limitsInOrder(script.estimates), expected);
}

TEST(PartialLeastSquares, ANegativeStepEndsThePassesButStaysInTheTotal) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;  // candidates -ALPHA and 0.0
    ScriptedSearch script;
    script.steps = {0.002, 0.001, -0.5, 0.004};
    script.rmsOf = [](double firstTurn, double) { return firstTurn < 0.0 ? 0.2 : 0.3; };
    const SearchOutcome outcome = solve(run, script);

    ASSERT_EQ(script.estimates.size(), 5U);  // three for the first candidate, two for the second
    EXPECT_NEAR(script.estimates[2].secondTurn, 0.003, probe::turnTolerance);
    ASSERT_EQ(script.measures.size(), 2U);
    EXPECT_NEAR(script.measures[0].secondTurn, -0.497, probe::turnTolerance);
    // The running total carries into the next candidate.
    EXPECT_NEAR(script.estimates[3].secondTurn, -0.497, probe::turnTolerance);
    EXPECT_DOUBLE_EQ(outcome.secondRotationDeg, radToDeg * (0.003 + -0.5));
    EXPECT_DOUBLE_EQ(outcome.firstRotationDeg, radToDeg * -run.options.ALPHA);
}

TEST(PartialLeastSquares, AFailedEstimateWithAThresholdOfZeroRunsAllThousandPasses) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;
    run.options.ALPHATHRESH = 0.0;
    ScriptedSearch script;
    script.estimatesFail = true;
    script.rmsOf = [](double, double) { return 999.0; };
    const SearchOutcome outcome = solve(run, script);
    EXPECT_EQ(script.estimates.size(), 2000U);
    EXPECT_EQ(outcome.rms, 0.5);
    EXPECT_EQ(outcome.firstRotationDeg, 0.0);
}

TEST(PartialLeastSquares, ACandidateThatTiesIsNotTaken) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    ScriptedSearch equalToInitial;
    equalToInitial.rmsOf = [](double, double) { return 0.5; };
    const SearchOutcome none = solve(run, equalToInitial);
    EXPECT_EQ(none.firstRotationDeg, 0.0);
    EXPECT_TRUE(probe::endsWith(none.printed,
        "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n"));

    sorvek::Run again = probeRun();
    again.options.MAXITER = 1;
    ScriptedSearch allEqual;
    allEqual.rmsOf = [](double, double) { return 0.25; };
    const SearchOutcome first = solve(again, allEqual);
    EXPECT_EQ(allEqual.measures.size(), 10U);
    EXPECT_DOUBLE_EQ(first.firstRotationDeg, radToDeg * -again.options.ALPHA);
}

TEST(PartialLeastSquares, NoIterationOrNoRangeKeepsTheStartValue) {
    struct Case { std::int32_t maxIter; double alphaDeg; };
    for (const Case c : {Case{0, 2.0}, Case{-2, 2.0}, Case{5, 0.0}, Case{5, -1.0}}) {
        SCOPED_TRACE(c.maxIter * 100 + static_cast<int>(c.alphaDeg));
        sorvek::Run run = probeRun();
        run.options.MAXITER = c.maxIter;
        run.options.ALPHA = c.alphaDeg * degToRad;
        run.state.scans[0].southRotation = 0.01;
        ScriptedSearch script;
        const SearchOutcome outcome = solve(run, script);
        EXPECT_TRUE(script.measures.empty());
        EXPECT_TRUE(script.estimates.empty());
        EXPECT_EQ(outcome.firstRotationDeg, radToDeg * 0.01);
        EXPECT_EQ(outcome.secondRotationDeg, 0.0);
        EXPECT_EQ(outcome.rms, 0.5);
        EXPECT_EQ(outcome.printed,
                  "Registering Scans\n"
                  "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n");
    }
}

TEST(PartialLeastSquares, OnlyTheFirstScansStoredRotationCentresTheRange) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.state.scans[0].northRotation = 0.02;
    run.state.scans[0].southRotation = 0.05;
    run.state.scans[1].northRotation = 0.04;
    ScriptedSearch script;
    solve(run, script);
    ASSERT_FALSE(script.estimates.empty());
    EXPECT_NEAR(script.estimates[0].firstTurn, 0.02 - run.options.ALPHA, probe::turnTolerance);
    EXPECT_NEAR(script.estimates[0].secondTurn, 0.0, probe::turnTolerance);
    EXPECT_EQ(run.state.scans[0].southRotation, 0.05);  // this solver stores nothing
    EXPECT_EQ(run.state.scans[1].northRotation, 0.04);
}

TEST(PartialLeastSquares, StopsOnlyWhenRotationsSettleAndTheRmsIsGood) {
    sorvek::Run run = probeRun();
    ScriptedSearch good;  // every candidate 0.01: the first is kept, nothing moves after
    good.rmsOf = [](double, double) { return 0.01; };
    solve(run, good);
    EXPECT_EQ(good.measures.size(), 20U);
    EXPECT_EQ(limitsInOrder(good.measures).size(), 2U);

    sorvek::Run poor = probeRun();
    ScriptedSearch settledButPoor;  // 0.3 is above RMSTHRESH: all five iterations run
    solve(poor, settledButPoor);
    EXPECT_EQ(limitsInOrder(settledButPoor.measures).size(), 5U);

    sorvek::Run moving = probeRun();
    ScriptedSearch goodButMoving;  // each iteration finds a new best: no early end
    goodButMoving.rmsOf = [&goodButMoving](double, double) {
        return 0.03 - 1e-4 * static_cast<double>(goodButMoving.measures.size());
    };
    solve(moving, goodButMoving);
    EXPECT_EQ(limitsInOrder(goodButMoving.measures).size(), 5U);
}

TEST(PartialLeastSquares, PrintsProgressAndTheRotationsWithScanIds) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;
    run.state.pairsDone = 2;
    run.state.progressScans = 8;
    ScriptedSearch script;
    script.rmsOf = [](double firstTurn, double) { return firstTurn < 0.0 ? 0.4 : 0.45; };
    const SearchOutcome outcome = solve(run, script);
    EXPECT_EQ(outcome.printed,
              "Registering Scans\n"
              "Percent Complete 25.000000 RMSmin = 0.500000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "RMSfinal:  0.400000  rotations of Scan 11 = -2.000000 && Scan 12 = 0.000000 from "
              "4 pts\n\n");
    EXPECT_EQ(run.state.percentDone, 25.0);
}

TEST(PartialLeastSquares, RefusesAPairThatWasNotPrepared) {
    sorvek::Run run = probeRun();
    run.pair.firstCloud.clear();
    ScriptedSearch script;
    const SearchOutcome outcome = solve(run, script);
    EXPECT_EQ(outcome.rms, 999.0);
    EXPECT_EQ(outcome.printed, "");
}

}  // namespace
}  // namespace sorvek

// Real pairs: a generated street scene seen from two set-ups, one heading written wrong.
namespace sorvek {
namespace {

synthetic::SolvedPair solveReal(sorvek::Run& run) {
    synthetic::SolvedPair solved;
    solved.printed = printedBy([&] {
        solved.rms = solvePartialLeastSquares(run, solved.firstRotationDeg,
                                              solved.secondRotationDeg, solved.pointCount);
    });
    return solved;
}

TEST(PartialLeastSquaresOnScans, DefaultOptionsUndoAHeadingErrorOnEitherScan) {
    struct Case { double firstErrorDeg; double secondErrorDeg; double spacing; };
    for (const Case c : {Case{0.0, 0.5, 15.0}, Case{0.6, 0.0, 12.0}}) {
        SCOPED_TRACE(c.firstErrorDeg + c.secondErrorDeg);
        sorvek::Run run;
        run.options = probe::optionsInRadians();
        synthetic::PairSpec spec;
        spec.label = "pls_accuracy";
        spec.firstErrorDeg = c.firstErrorDeg;
        spec.secondErrorDeg = c.secondErrorDeg;
        spec.spacing = c.spacing;
        synthetic::prepareSyntheticPair(run, spec);
        const synthetic::SolvedPair solved = solveReal(run);
        EXPECT_LT(solved.rms, static_cast<double>(run.pair.initialRms));
        // The last iteration steps the first rotation by 0.01 degrees and the second
        // converges to within ALPHATHRESH, so the search itself resolves about 0.01
        // degrees; 0.05 leaves room for the scan noise and still fails for a solver that
        // undoes only part of a 0.5 degree error.
        EXPECT_NEAR(solved.firstRotationDeg - solved.secondRotationDeg,
                    c.secondErrorDeg - c.firstErrorDeg, 0.05);
        EXPECT_NE(solved.printed.find("rotations of Scan 1 = "), std::string::npos);
    }
}

bool isSameBox(const CloudBounds& first, const CloudBounds& second) {
    return first.minX == second.minX && first.maxX == second.maxX && first.minY == second.minY &&
           first.maxY == second.maxY && first.minZ == second.minZ && first.maxZ == second.maxZ;
}

TEST(PartialLeastSquaresOnScans, EveryEstimateSeesBothCloudsFreshlyGriddedAndSorted) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.MAXITER = 1;
    synthetic::PairSpec spec;
    spec.label = "pls_regrid";
    synthetic::prepareSyntheticPair(run, spec);
    PairMeasures checked = standardPairMeasures();
    const RotationEstimateCall real = checked.estimate;
    std::int32_t mismatches = 0;
    std::int32_t estimates = 0;
    std::int32_t gridChanges = 0;
    CloudBounds lastBox;
    checked.estimate = [&](sorvek::Run& inner, std::span<const PointRecord> subject,
                           std::span<const PointRecord> reference, double maxDistance,
                           double minDistance, std::int32_t& accepted, double& rotationOut,
                           double pivotX, double pivotY, double zMin) {
        // A full rebuild, as if nothing were skipped: assign and sort in the current order.
        Cloud scratch;
        for (const std::span<const PointRecord> cloud : {subject, reference}) {
            Cloud rebuilt(cloud.begin(), cloud.end());
            assignCubes(inner, rebuilt, inner.pair.overlapBounds, zMin);
            sortByCube(rebuilt, scratch);
            if (std::memcmp(rebuilt.data(), cloud.data(), cloud.size_bytes()) != 0) ++mismatches;
        }
        if (estimates > 0 && !isSameBox(lastBox, inner.pair.overlapBounds)) {
            const CubeGrid before = layCubeGrid(inner.options, lastBox, zMin);
            const CubeGrid after = layCubeGrid(inner.options, inner.pair.overlapBounds, zMin);
            if (before.originX != after.originX || before.originY != after.originY ||
                before.nx != after.nx || before.ny != after.ny) {
                ++gridChanges;
            }
        }
        lastBox = inner.pair.overlapBounds;
        ++estimates;
        const double rms = real(inner, subject, reference, maxDistance, minDistance, accepted,
                                rotationOut, pivotX, pivotY, zMin);
        // Forced steps of a quarter degree keep the passes going and sweep the second
        // cloud's box across whole-cube boundaries, so that the grid really changes.
        if (estimates <= 60) rotationOut = 0.004;
        return rms;
    };
    double firstDeg = 0.0;
    double secondDeg = 0.0;
    std::int32_t pointCount = 0;
    printedBy([&] { solvePartialLeastSquaresWith(run, checked, firstDeg, secondDeg, pointCount); });
    EXPECT_GT(estimates, 60);
    EXPECT_GT(gridChanges, 0);
    EXPECT_EQ(mismatches, 0);
}

TEST(PartialLeastSquaresOnScans, PointToPointSearchesTheFirstRotationAlone) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.REGMODE = 0;
    synthetic::PairSpec spec;
    spec.label = "pls_point_to_point";
    synthetic::prepareSyntheticPair(run, spec);
    const synthetic::SolvedPair solved = solveReal(run);
    // Every estimate is 0.0 without planes, so the second rotation never moves.
    EXPECT_EQ(solved.secondRotationDeg, 0.0);
    EXPECT_LE(solved.rms, static_cast<double>(run.pair.initialRms));
}

}  // namespace
}  // namespace sorvek
