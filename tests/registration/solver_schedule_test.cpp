#include "registration/solver_schedule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "run/records.h"

namespace sorvek {
namespace {

std::string tenDecimals(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.10f", value);
    return text;
}

RunOptions optionsWithRadians() {
    RunOptions options;
    options.ALPHA = options.ALPHA * degToRad;
    options.ALPHATHRESH = options.ALPHATHRESH * degToRad;
    return options;
}

// Values on one axis of a trial grid, as the solver's walk visits them.
std::vector<double> trialValues(const TrialGrid& grid) {
    std::vector<double> values;
    const double trialLimit = std::fabs(grid.trialStart);
    if (!(trialLimit > grid.trialStart)) return values;
    double trial = grid.trialStart;
    while (stepForward(trial, grid.trialStep)) {
        values.push_back(trial);
        if (!(trialLimit > trial)) break;
    }
    return values;
}

// Candidates of one searched iteration, as the solver's walk tries them.
std::vector<double> candidates(const CandidateWalk& walk) {
    std::vector<double> tried;
    double candidate = walk.firstCandidate;
    while (walk.upperAngle > candidate) {
        tried.push_back(candidate);
        if (!stepForward(candidate, walk.searchStep)) break;
    }
    return tried;
}

TEST(PingPongSchedule, ThreeCyclesDescendLinearlyAndEndExactlyAtTheFinalValue) {
    RunOptions options;  // MAXREPEAT 3, 0.5 to 0.1, minimum distances 0.0
    const double expected[] = {0.5, 0.3, 0.1};
    for (std::int32_t cycle = 0; cycle < 3; ++cycle) {
        SCOPED_TRACE(cycle);
        const PingPongThresholds limits = pingPongThresholds(options, cycle);
        EXPECT_NEAR(limits.maxDist, expected[cycle], 1e-15);
        EXPECT_EQ(limits.minDist, 0.0F);
    }
    // The line itself ends just below 0.1; the clamp makes the last cycle exactly final,
    // which the settled test at the end of a cycle compares for equality.
    EXPECT_LT(scheduledDistance(0.5, 0.1, 2, 3), 0.1);
    EXPECT_EQ(pingPongThresholds(options, 2).maxDist, 0.1);
}

TEST(PingPongSchedule, TwelveCyclesReachTheFinalValueAtCycleTen) {
    RunOptions options;
    options.MAXREPEAT = 12;
    struct Case { std::int32_t cycle; std::int32_t position; const char* maxDist; };
    const Case cases[] = {
        {0, 0, "0.500000"},  {1, 1, "0.463636"},  {2, 2, "0.427273"}, {3, 3, "0.390909"},
        {4, 4, "0.354545"},  {5, 6, "0.281818"},  {6, 7, "0.245455"}, {7, 8, "0.209091"},
        {8, 9, "0.172727"},  {9, 10, "0.136364"}, {10, 12, "0.100000"}, {11, 13, "0.100000"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cycle);
        EXPECT_EQ(schedulePosition(c.cycle, options.MAXREPEAT), c.position);
        char shown[32];
        std::snprintf(shown, sizeof shown, "%f", pingPongThresholds(options, c.cycle).maxDist);
        EXPECT_STREQ(shown, c.maxDist);
    }
    EXPECT_EQ(pingPongThresholds(options, 10).maxDist, options.MAXDISTFINAL);
    EXPECT_EQ(pingPongThresholds(options, 11).maxDist, options.MAXDISTFINAL);
    EXPECT_GT(pingPongThresholds(options, 9).maxDist, options.MAXDISTFINAL);
}

TEST(PingPongSchedule, TenCyclesAreFinalFromIndexNine) {
    EXPECT_EQ(schedulePosition(9, 10), 9);
    RunOptions options;
    options.MAXREPEAT = 10;
    EXPECT_EQ(pingPongThresholds(options, 9).maxDist, options.MAXDISTFINAL);
    EXPECT_GT(pingPongThresholds(options, 8).maxDist, options.MAXDISTFINAL);
}

TEST(PingPongSchedule, MinimumIsHeldInThirtyTwoBitsSoAFinalOfOneHundredthNeverMatches) {
    RunOptions options;
    options.MINDISTINITIAL = 0.05;
    options.MINDISTFINAL = 0.01;
    const PingPongThresholds last = pingPongThresholds(options, 2);
    char twelve[32];
    std::snprintf(twelve, sizeof twelve, "%.12f", static_cast<double>(last.minDist));
    EXPECT_STREQ(twelve, "0.009999999776");
    EXPECT_NE(static_cast<double>(last.minDist), options.MINDISTFINAL);
    // The middle cycle: 0.03 rounded to 32 bits.
    EXPECT_EQ(pingPongThresholds(options, 1).minDist, 0.03F);
}

TEST(PingPongSchedule, ClampsHoldEachLimitAtOrAboveItsFinalValue) {
    RunOptions options;
    options.MINDISTINITIAL = 0.0;
    options.MINDISTFINAL = 0.02;   // a rising line is flattened at the final value
    options.MAXDISTINITIAL = 0.05;
    options.MAXDISTFINAL = 0.1;
    for (std::int32_t cycle = 0; cycle < 3; ++cycle) {
        SCOPED_TRACE(cycle);
        const PingPongThresholds limits = pingPongThresholds(options, cycle);
        EXPECT_EQ(limits.maxDist, 0.1);
        EXPECT_EQ(limits.minDist, 0.02F);
    }
}

TEST(PingPongSchedule, ASingleCycleRunsAtTheFinalValues) {
    RunOptions options;
    options.MAXREPEAT = 1;
    options.MINDISTINITIAL = 0.05;
    options.MINDISTFINAL = 0.01;
    const PingPongThresholds limits = pingPongThresholds(options, 0);
    EXPECT_EQ(limits.maxDist, 0.1);
    EXPECT_EQ(limits.minDist, 0.01F);
    EXPECT_FALSE(std::isnan(limits.maxDist));
}

TEST(SearchSchedule, DefaultFiveIterationsNarrowInThirtyTwoBitSteps) {
    RunOptions options;
    const char* expected[] = {"0.5000000000", "0.4000000060", "0.3000000119", "0.2000000030",
                              "0.1000000015"};
    for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
        SCOPED_TRACE(iteration);
        const SearchThresholds limits = partialLeastSquaresThresholds(options, iteration);
        EXPECT_EQ(tenDecimals(static_cast<double>(limits.maxDist)), expected[iteration]);
        EXPECT_EQ(limits.minDist, 0.0F);
    }
}

TEST(SearchSchedule, ClampComparesTheWidenedValueAndStoresTheFinalInThirtyTwoBits) {
    RunOptions options;
    options.MAXITER = 12;
    // From index 10 on the position passes MAXITER - 1 and the clamp takes over.
    const SearchThresholds clamped = partialLeastSquaresThresholds(options, 10);
    EXPECT_EQ(clamped.maxDist, 0.1F);
    EXPECT_GT(static_cast<double>(partialLeastSquaresThresholds(options, 9).maxDist), 0.1);
    options.MINDISTINITIAL = 0.0;
    options.MINDISTFINAL = 0.03;
    EXPECT_EQ(partialLeastSquaresThresholds(options, 0).minDist, 0.03F);
}

TEST(SearchSchedule, ASingleIterationRunsAtTheFinalValues) {
    RunOptions options;
    options.MAXITER = 1;
    options.MINDISTFINAL = 0.01;
    const SearchThresholds limits = partialLeastSquaresThresholds(options, 0);
    EXPECT_EQ(limits.maxDist, 0.1F);
    EXPECT_EQ(limits.minDist, 0.01F);
}

TEST(SearchSchedule, ThresholdsBeyondFloatRangeRoundAsIeeeDoes) {
    RunOptions options;
    options.MAXITER = 1;
    options.MAXDISTFINAL = 1e300;
    options.MINDISTFINAL = -3.5e38;
    const SearchThresholds limits = partialLeastSquaresThresholds(options, 0);
    EXPECT_EQ(limits.maxDist, std::numeric_limits<float>::infinity());
    EXPECT_EQ(limits.minDist, -std::numeric_limits<float>::infinity());
    options.MAXDISTFINAL = 3.4028235e38;  // just above the largest float, below halfway
    EXPECT_EQ(partialLeastSquaresThresholds(options, 0).maxDist,
              std::numeric_limits<float>::max());
}

TEST(SchedulePosition, WrapsLikeThirtyTwoBitArithmeticForHugeCounts) {
    // 50000 * 50000 = 2500000000 wraps to -1794967296.
    EXPECT_EQ(schedulePosition(50000, 50000), -179496729);
    EXPECT_EQ(schedulePosition(7, 9), 7);
    EXPECT_EQ(schedulePosition(5, 12), 6);
}

TEST(CandidateWalk, DefaultIterationsTryTenTenFourFourFourCandidates) {
    const RunOptions options = optionsWithRadians();
    struct Row { double rangeDeg; double stepDeg; std::size_t count; };
    const Row rows[] = {{2.0, 0.4, 10}, {0.4, 0.08, 10}, {0.08, 0.04, 4}, {0.04, 0.02, 4},
                        {0.02, 0.01, 4}};
    double searchRange = options.ALPHA;
    for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
        SCOPED_TRACE(iteration);
        const Row& row = rows[iteration];
        EXPECT_NEAR(searchRange * radToDeg, row.rangeDeg, 1e-12);
        const CandidateWalk walk = candidateWalk(searchRange, 0.0, options.ALPHAINC, iteration);
        EXPECT_NEAR(walk.searchStep * radToDeg, row.stepDeg, 1e-12);
        const std::vector<double> tried = candidates(walk);
        EXPECT_EQ(tried.size(), row.count);
        EXPECT_EQ(tried.front(), -searchRange);
        searchRange = walk.searchStep;
    }
}

TEST(CandidateWalk, IsCentredOnTheBestRotationSoFar) {
    const CandidateWalk walk = candidateWalk(0.01, 0.2, 5, 0);
    EXPECT_EQ(walk.upperAngle, 0.01 + 0.2);
    EXPECT_EQ(walk.firstCandidate, 0.2 - 0.01);
    EXPECT_EQ(walk.searchStep, 0.01 / 5.0);
}

TEST(CandidateWalk, WideningFromTheThirdIterationTakesTheGreaterStep) {
    struct Case { std::int32_t alphaIncrement; std::int32_t iteration; double step; };
    // Range 0.8: twice range / increment against a quarter of the full width 1.6.
    for (const Case c : {Case{5, 1, 0.8 / 5.0}, Case{5, 2, 0.4}, Case{3, 2, (0.8 / 3.0) * 2.0},
                         Case{4, 2, 0.4}, Case{2, 3, 0.8}}) {
        SCOPED_TRACE(c.alphaIncrement * 10 + c.iteration);
        EXPECT_EQ(candidateWalk(0.8, 0.0, c.alphaIncrement, c.iteration).searchStep, c.step);
    }
}

TEST(CandidateWalk, NoCandidateForARangeOfZeroOrBelow) {
    EXPECT_TRUE(candidates(candidateWalk(0.0, 0.3, 5, 0)).empty());
    EXPECT_TRUE(candidates(candidateWalk(-0.1, 0.3, 5, 0)).empty());
}

TEST(CandidateWalk, ANegativeIncrementTriesOnlyTheLowerEnd) {
    const std::vector<double> tried = candidates(candidateWalk(0.1, 0.0, -5, 0));
    ASSERT_EQ(tried.size(), 1U);
    EXPECT_EQ(tried.front(), -0.1);
}

TEST(CandidateWalk, ARangeBelowTheResolutionOfTheCentreStillEnds) {
    // Half an ulp of 1.0 is 1.1e-16: the steps no longer move the candidate.
    const std::vector<double> tried = candidates(candidateWalk(1e-16, 1.0, 5, 0));
    EXPECT_EQ(tried.size(), 1U);
}

TEST(TrialGrid, DefaultsGiveTheTableOfStartsAndStepsAndMeasures) {
    const RunOptions options = optionsWithRadians();
    const double halfWidthDeg[] = {2.0, 1.0, 0.5};
    // Which iteration gets an eleventh value depends on where the repeated addition
    // rounds: with ALPHA = 2 * degToRad it stops just short of the limit in the finest
    // grid of each cycle. The total per cycle is 4 * 100 + 121 either way.
    const std::size_t valuesPerAxis[] = {10, 10, 10, 10, 11};
    std::size_t measures = 0;
    for (std::int32_t cycle = 0; cycle < 3; ++cycle) {
        TrialGrid grid = cycleTrialGrid(options.ALPHA, options.ALPHAINC, cycle);
        double expectedStartDeg = -halfWidthDeg[cycle];
        for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
            SCOPED_TRACE(cycle * 10 + iteration);
            if (iteration > 0) grid = refinedTrialGrid(grid, options.ALPHAINC);
            EXPECT_NEAR(grid.trialStart * radToDeg, expectedStartDeg, 1e-13);
            EXPECT_NEAR(grid.trialStep * radToDeg, -expectedStartDeg / 5.0, 1e-13);
            const std::vector<double> values = trialValues(grid);
            EXPECT_EQ(values.size(), valuesPerAxis[iteration]);
            EXPECT_GT(values.front(), grid.trialStart);
            EXPECT_GE(values.back(), -grid.trialStart);
            measures += values.size() * values.size();
            expectedStartDeg = expectedStartDeg / 5.0;
        }
    }
    EXPECT_EQ(measures, 1563U);
}

TEST(TrialGrid, LaterCyclesShrinkByTwiceTheCycleNotByHalves) {
    for (const std::int32_t cycle : {1, 2, 3, 4}) {
        SCOPED_TRACE(cycle);
        EXPECT_EQ(cycleTrialGrid(0.8, 5, cycle).trialStart, 0.8 / (-2.0 * cycle));
    }
}

TEST(TrialGrid, SignsOfAlphaAndIncrementDoNotMatter) {
    const TrialGrid positive = cycleTrialGrid(0.03, 5, 0);
    const TrialGrid negative = cycleTrialGrid(-0.03, -5, 0);
    EXPECT_EQ(positive.trialStart, negative.trialStart);
    EXPECT_EQ(positive.trialStep, negative.trialStep);
    EXPECT_EQ(refinedTrialGrid(positive, -5).trialStep, refinedTrialGrid(positive, 5).trialStep);
}

TEST(TrialGrid, AlphaZeroWalksNoGrid) {
    EXPECT_TRUE(trialValues(cycleTrialGrid(0.0, 5, 0)).empty());
}

TEST(TrialGrid, AStepThatUnderflowsToZeroWalksNoGridInsteadOfForever) {
    const TrialGrid tiny{-std::numeric_limits<double>::denorm_min(), 0.0};
    EXPECT_TRUE(trialValues(tiny).empty());
}

TEST(StepForward, RefusesStepsThatDoNotCarryTheValueForward) {
    struct Case { double value; double step; bool moves; };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Case c : {Case{0.0, 0.1, true}, Case{0.0, 0.0, false}, Case{0.0, -0.1, false},
                         Case{0.0, nan, false}, Case{1.0, 1e-17, false},
                         Case{-1.0, std::numeric_limits<double>::infinity(), true}}) {
        SCOPED_TRACE(c.step);
        double value = c.value;
        EXPECT_EQ(stepForward(value, c.step), c.moves);
        if (c.moves) {
            EXPECT_EQ(value, c.value + c.step);
        } else {
            EXPECT_EQ(value, c.value);
        }
    }
}

}  // namespace
}  // namespace sorvek
