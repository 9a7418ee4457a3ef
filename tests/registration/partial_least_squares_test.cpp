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

using probe::endsWith;
using probe::printedBy;
using probe::probeRun;
using probe::turnOf;

// What one estimate or measure saw: the turns of the two work clouds and the limit.
struct Seen {
    double firstTurn = 0.0;
    double secondTurn = 0.0;
    double maxDistance = 0.0;
};

// Estimates answer from `steps`, then 0.0, or write nothing when `estimatesFail`;
// measures answer rmsOf(first turn). Every call reports the next count from 1 on.
struct ScriptedSearch {
    std::deque<double> steps;
    bool estimatesFail = false;
    std::function<double(double)> rmsOf = [](double) { return 0.3; };
    std::vector<Seen> estimates;
    std::vector<Seen> measures;

    Seen seenIn(sorvek::Run& run, std::span<const PointRecord> first,
                std::span<const PointRecord> second, double maxDistance) const {
        return {turnOf(first, run.state.scans[0]), turnOf(second, run.state.scans[1]), maxDistance};
    }

    PairMeasures calls(sorvek::Run& run) {
        PairMeasures result;
        result.estimate = [this, &run](sorvek::Run&, std::span<const PointRecord> subject,
                                       std::span<const PointRecord> reference, double maxDistance,
                                       double, std::int32_t& accepted, double& rotationOut,
                                       double, double, double) {
            estimates.push_back(seenIn(run, subject, reference, maxDistance));
            accepted = static_cast<std::int32_t>(estimates.size() + measures.size());
            if (estimatesFail) return 999.0;
            rotationOut = steps.empty() ? 0.0 : steps.front();
            if (!steps.empty()) steps.pop_front();
            return 0.25;
        };
        result.measure = [this, &run](sorvek::Run&, std::span<const PointRecord> subject,
                                      std::span<const PointRecord> reference, double maxDistance,
                                      std::int32_t& accepted, double) {
            measures.push_back(seenIn(run, subject, reference, maxDistance));
            accepted = static_cast<std::int32_t>(estimates.size() + measures.size());
            return rmsOf(measures.back().firstTurn);
        };
        return result;
    }
};

struct Outcome {
    double rms = 0.0;
    double firstRotationDeg = 0.0;
    double secondRotationDeg = 0.0;
    std::int32_t pointCount = -5;
    std::string printed;
};

Outcome solve(sorvek::Run& run, ScriptedSearch& script) {
    const PairMeasures calls = script.calls(run);
    Outcome out;
    out.printed = printedBy([&] {
        out.rms = solvePartialLeastSquaresWith(run, calls, out.firstRotationDeg,
                                               out.secondRotationDeg, out.pointCount);
    });
    return out;
}

// The limits of the iterations in the order the calls met them.
std::vector<double> limitsInOrder(const std::vector<Seen>& calls) {
    std::vector<double> limits;
    for (const Seen& seen : calls) {
        if (limits.empty() || limits.back() != seen.maxDistance) limits.push_back(seen.maxDistance);
    }
    return limits;
}

TEST(PartialLeastSquares, WalksShrinkingRangesAroundTheBestCandidate) {
    sorvek::Run run = probeRun();
    ScriptedSearch script;
    script.rmsOf = [](double firstTurn) { return 0.1 + std::fabs(firstTurn - (0.3 * degToRad)); };
    const Outcome out = solve(run, script);
    ASSERT_EQ(script.measures.size(), 32U);  // 10, 10, 4, 4, 4; each estimate settles at once
    EXPECT_EQ(script.estimates.size(), 32U);
    for (std::size_t k = 0; k < 10; ++k) {
        EXPECT_NEAR(script.measures[k].firstTurn * radToDeg, -2.0 + (0.4 * static_cast<double>(k)),
                    1e-9);
    }
    EXPECT_NEAR(script.measures[10].firstTurn * radToDeg, 0.0, 1e-9);  // centred on 0.4
    EXPECT_NEAR(out.firstRotationDeg, 0.3, 0.01);
    EXPECT_EQ(out.secondRotationDeg, 0.0);
    EXPECT_EQ(out.pointCount, 64);  // the last call's count, not the best candidate's
    const std::vector<double> limits = {0.5, static_cast<double>(0.4F), static_cast<double>(0.3F),
                                        static_cast<double>(0.2F), static_cast<double>(0.1F)};
    EXPECT_EQ(limitsInOrder(script.measures), limits);
    EXPECT_EQ(limitsInOrder(script.estimates), limits);
    EXPECT_TRUE(run.pair.firstWork.empty());
    EXPECT_TRUE(run.pair.secondWork.empty());
}

TEST(PartialLeastSquares, ANegativeStepEndsThePassesButStaysInTheRunningTotal) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;  // candidates -ALPHA and 0.0
    ScriptedSearch script;
    script.steps = {0.002, 0.001, -0.5, 0.004};
    script.rmsOf = [](double firstTurn) { return firstTurn < 0.0 ? 0.2 : 0.3; };
    const Outcome out = solve(run, script);
    ASSERT_EQ(script.estimates.size(), 5U);  // three for the first candidate, two for the second
    EXPECT_NEAR(script.estimates[2].secondTurn, 0.003, probe::turnTolerance);
    EXPECT_NEAR(script.measures[0].secondTurn, -0.497, probe::turnTolerance);
    EXPECT_NEAR(script.estimates[3].secondTurn, -0.497, probe::turnTolerance);  // carried on
    EXPECT_DOUBLE_EQ(out.secondRotationDeg, radToDeg * (0.003 + -0.5));
    EXPECT_DOUBLE_EQ(out.firstRotationDeg, radToDeg * -run.options.ALPHA);
}

TEST(PartialLeastSquares, AFailedEstimateWithAThresholdOfZeroRunsAllThousandPasses) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;
    run.options.ALPHATHRESH = 0.0;
    ScriptedSearch script;
    script.estimatesFail = true;
    script.rmsOf = [](double) { return 999.0; };
    const Outcome out = solve(run, script);
    EXPECT_EQ(script.estimates.size(), 2000U);
    EXPECT_EQ(out.rms, 0.5);
}

TEST(PartialLeastSquares, OfEqualRmsValuesTheEarlierStays) {
    sorvek::Run tie = probeRun();
    tie.options.MAXITER = 1;
    ScriptedSearch equalToInitial;
    equalToInitial.rmsOf = [](double) { return 0.5; };
    const Outcome none = solve(tie, equalToInitial);
    EXPECT_EQ(none.firstRotationDeg, 0.0);
    EXPECT_TRUE(endsWith(none.printed,
        "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n"));

    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    ScriptedSearch allEqual;
    allEqual.rmsOf = [](double) { return 0.25; };
    EXPECT_DOUBLE_EQ(solve(run, allEqual).firstRotationDeg, radToDeg * -run.options.ALPHA);
}

TEST(PartialLeastSquares, NoIterationOrNoRangeKeepsTheFirstScansStartValue) {
    struct Case { std::int32_t maxIter; double alphaDeg; };
    for (const Case c : {Case{0, 2.0}, Case{-2, 2.0}, Case{5, 0.0}, Case{5, -1.0}}) {
        SCOPED_TRACE(c.maxIter * 100 + static_cast<int>(c.alphaDeg));
        sorvek::Run run = probeRun();
        run.options.MAXITER = c.maxIter;
        run.options.ALPHA = c.alphaDeg * degToRad;
        run.state.scans[0].southRotation = 0.01;
        ScriptedSearch script;
        const Outcome out = solve(run, script);
        EXPECT_TRUE(script.measures.empty() && script.estimates.empty());
        EXPECT_EQ(out.firstRotationDeg, radToDeg * 0.01);
        EXPECT_EQ(out.secondRotationDeg, 0.0);
        EXPECT_EQ(out.rms, 0.5);
        EXPECT_EQ(out.printed, "Registering Scans\nRMSfinal:  0.500000  No rotation necessary.  "
                               "Scan is at optimal alignment \n\n");
    }
}

TEST(PartialLeastSquares, OnlyTheFirstScansStoredRotationCentresTheRangeAndNothingIsStored) {
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
    EXPECT_EQ(run.state.scans[0].southRotation, 0.05);
    EXPECT_EQ(run.state.scans[1].northRotation, 0.04);
}

TEST(PartialLeastSquares, StopsOnlyWhenRotationsSettleAndTheRmsIsGood) {
    struct Case { const char* name; std::function<double(double)> rmsOf; std::size_t iterations; };
    std::size_t calls = 0;
    const Case cases[] = {
        {"settled and good", [](double) { return 0.01; }, 2},  // the first iteration cannot end it
        {"settled but poor", [](double) { return 0.3; }, 5},
        {"good but moving",
         [&calls](double) { return 0.03 - (1e-4 * static_cast<double>(++calls)); }, 5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run = probeRun();
        ScriptedSearch script;
        script.rmsOf = c.rmsOf;
        solve(run, script);
        EXPECT_EQ(limitsInOrder(script.measures).size(), c.iterations);
    }
}

TEST(PartialLeastSquares, PrintsProgressAndTheRotationsWithScanIds) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;
    run.state.pairsDone = 2;
    run.state.progressScans = 8;
    ScriptedSearch script;
    script.rmsOf = [](double firstTurn) { return firstTurn < 0.0 ? 0.4 : 0.45; };
    const Outcome out = solve(run, script);
    EXPECT_EQ(out.printed,
              "Registering Scans\n"
              "Percent Complete 25.000000 RMSmin = 0.500000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "RMSfinal:  0.400000  rotations of Scan 11 = -2.000000 && Scan 12 = 0.000000 from "
              "4 pts\n\n");
}

synthetic::SolvedPair solveReal(sorvek::Run& run, const PairMeasures& calls) {
    synthetic::SolvedPair solved;
    solved.printed = printedBy([&] {
        solved.rms = solvePartialLeastSquaresWith(run, calls, solved.firstRotationDeg,
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
        const synthetic::PairSpec surveySpec{"pls_accuracy", 60000, c.spacing, c.firstErrorDeg,
                                       c.secondErrorDeg};
        synthetic::prepareSyntheticPair(run, surveySpec);
        const synthetic::SolvedPair solved = solveReal(run, standardPairMeasures());
        EXPECT_LT(solved.rms, static_cast<double>(run.pair.initialRms));
        // The last iteration steps the first rotation by 0.01 degrees and the second
        // settles to within ALPHATHRESH, so the search resolves about 0.01 degrees; 0.05
        // leaves room for scan noise and still fails a solver that undoes part of it.
        EXPECT_NEAR(solved.firstRotationDeg - solved.secondRotationDeg,
                    c.secondErrorDeg - c.firstErrorDeg, 0.05);
    }
}

TEST(PartialLeastSquaresOnScans, EveryEstimateSeesBothCloudsFreshlyGriddedAndSorted) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.MAXITER = 1;
    synthetic::prepareSyntheticPair(run, {"pls_regrid"});
    PairMeasures checked = standardPairMeasures();
    const RotationEstimateCall real = checked.estimate;
    std::int32_t mismatches = 0;
    std::int32_t estimates = 0;
    std::int32_t gridChanges = 0;
    CubeGrid lastGrid;
    checked.estimate = [&](sorvek::Run& inner, std::span<const PointRecord> subject,
                           std::span<const PointRecord> reference, double maxDistance,
                           double minDistance, std::int32_t& accepted, double& rotationOut,
                           double pivotX, double pivotY, double zMin) {
        // A full rebuild in the current order, as if nothing were skipped.
        Cloud scratch;
        for (const std::span<const PointRecord> cloud : {subject, reference}) {
            Cloud rebuilt(cloud.begin(), cloud.end());
            assignCubes(inner, rebuilt, inner.pair.overlapBounds, zMin);
            sortByCube(rebuilt, scratch);
            if (std::memcmp(rebuilt.data(), cloud.data(), cloud.size_bytes()) != 0) ++mismatches;
        }
        const CubeGrid grid = layCubeGrid(inner.options, inner.pair.overlapBounds, zMin);
        if (estimates > 0 &&
            (grid.originX != lastGrid.originX || grid.originY != lastGrid.originY ||
             grid.nx != lastGrid.nx || grid.ny != lastGrid.ny)) {
            ++gridChanges;
        }
        lastGrid = grid;
        const double rms = real(inner, subject, reference, maxDistance, minDistance, accepted,
                                rotationOut, pivotX, pivotY, zMin);
        // Forced steps of a quarter degree keep the passes going and sweep the second
        // cloud's box across whole cubes, so that the grid does change now and then.
        if (++estimates <= 60) rotationOut = 0.004;
        return rms;
    };
    solveReal(run, checked);
    EXPECT_GT(gridChanges, 0);
    EXPECT_EQ(mismatches, 0);
}

TEST(PartialLeastSquaresOnScans, PointToPointSearchesTheFirstRotationAlone) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.REGMODE = 0;
    synthetic::prepareSyntheticPair(run, {"pls_point_to_point"});
    const synthetic::SolvedPair solved = solveReal(run, standardPairMeasures());
    EXPECT_EQ(solved.secondRotationDeg, 0.0);  // every estimate is 0.0 without planes
    EXPECT_LE(solved.rms, static_cast<double>(run.pair.initialRms));
}

}  // namespace
}  // namespace sorvek
