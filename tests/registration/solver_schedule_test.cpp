#include "registration/solver_schedule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "registration/solver_probe.h"

namespace sorvek {
namespace {

std::string printed(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// Values on one axis of a trial grid, or candidates of a walk, as the solvers visit them.
std::vector<double> trialValues(const TrialGrid& grid) {
    std::vector<double> values;
    const double trialLimit = std::fabs(grid.trialStart);
    double trial = grid.trialStart;
    if (!(trialLimit > trial)) return values;
    while (stepForward(trial, grid.trialStep)) {
        values.push_back(trial);
        if (!(trialLimit > trial)) break;
    }
    return values;
}

std::vector<double> candidates(const CandidateWalk& walk) {
    std::vector<double> tried;
    for (double candidate = walk.firstCandidate; walk.upperAngle > candidate;) {
        tried.push_back(candidate);
        if (!stepForward(candidate, walk.searchStep)) break;
    }
    return tried;
}

TEST(PingPongSchedule, ThreeAndTwelveCyclesDescendToExactlyTheFinalValue) {
    struct Case {
        std::int32_t cycles;
        std::int32_t cycle;
        std::int32_t position;
        const char* maxDist;
    };
    const Case cases[] = {
        {3, 0, 0, "0.500000"},   {3, 1, 1, "0.300000"},   {3, 2, 2, "0.100000"},
        {12, 0, 0, "0.500000"},  {12, 1, 1, "0.463636"},  {12, 4, 4, "0.354545"},
        {12, 5, 6, "0.281818"},  {12, 9, 10, "0.136364"}, {12, 10, 12, "0.100000"},
        {12, 11, 13, "0.100000"}, {10, 9, 9, "0.100000"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cycles * 100 + c.cycle);
        RunOptions options;
        options.MAXREPEAT = c.cycles;
        EXPECT_EQ(schedulePosition(c.cycle, c.cycles), c.position);
        const PingPongThresholds limits = pingPongThresholds(options, c.cycle);
        EXPECT_EQ(printed("%f", limits.maxDist), c.maxDist);
        // The settled test compares for equality: the final value must be exact.
        EXPECT_EQ(limits.maxDist == 0.1, std::string(c.maxDist) == "0.100000");
        EXPECT_EQ(limits.minDist, 0.0F);
    }
    EXPECT_LT(scheduledDistance(0.5, 0.1, 2, 3), 0.1);  // the clamp is what makes it exact
}

TEST(PingPongSchedule, TheMinimumIsHeldInThirtyTwoBitsSoOneHundredthNeverMatches) {
    RunOptions options;
    options.MINDISTINITIAL = 0.05;
    options.MINDISTFINAL = 0.01;
    const PingPongThresholds last = pingPongThresholds(options, 2);
    EXPECT_EQ(printed("%.12f", static_cast<double>(last.minDist)), "0.009999999776");
    EXPECT_NE(static_cast<double>(last.minDist), options.MINDISTFINAL);
    EXPECT_EQ(pingPongThresholds(options, 1).minDist, 0.03F);
}

TEST(SearchSchedule, DefaultIterationsNarrowInThirtyTwoBitSteps) {
    const char* expected[] = {"0.5000000000", "0.4000000060", "0.3000000119", "0.2000000030",
                              "0.1000000015"};
    for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
        SCOPED_TRACE(iteration);
        const SearchThresholds limits = partialLeastSquaresThresholds(RunOptions{}, iteration);
        EXPECT_EQ(printed("%.10f", static_cast<double>(limits.maxDist)), expected[iteration]);
        EXPECT_EQ(limits.minDist, 0.0F);
    }
}

TEST(Schedules, ClampsHoldTheFinalValuesAndASingleStepRunsAtThem) {
    RunOptions rising;  // limits that rise towards the final value are held at it
    rising.MINDISTFINAL = 0.02;
    rising.MAXDISTINITIAL = 0.05;
    EXPECT_EQ(pingPongThresholds(rising, 0).maxDist, 0.1);
    EXPECT_EQ(pingPongThresholds(rising, 0).minDist, 0.02F);
    EXPECT_EQ(partialLeastSquaresThresholds(rising, 0).minDist, 0.02F);
    RunOptions twelve;
    twelve.MAXITER = 12;
    EXPECT_EQ(partialLeastSquaresThresholds(twelve, 10).maxDist, 0.1F);
    EXPECT_GT(static_cast<double>(partialLeastSquaresThresholds(twelve, 9).maxDist), 0.1);

    RunOptions single;  // one cycle or iteration would divide 0 by 0
    single.MAXREPEAT = 1;
    single.MAXITER = 1;
    single.MINDISTINITIAL = 0.05;
    single.MINDISTFINAL = 0.01;
    EXPECT_EQ(pingPongThresholds(single, 0).maxDist, 0.1);
    EXPECT_EQ(pingPongThresholds(single, 0).minDist, 0.01F);
    EXPECT_EQ(partialLeastSquaresThresholds(single, 0).maxDist, 0.1F);
    EXPECT_EQ(partialLeastSquaresThresholds(single, 0).minDist, 0.01F);
}

TEST(Schedules, HugeCountsWrapAndHugeLimitsRoundWithoutUndefinedBehaviour) {
    EXPECT_EQ(schedulePosition(50000, 50000), -179496729);  // 2500000000 wraps in 32 bits
    RunOptions huge;
    huge.MAXITER = 1;
    huge.MAXDISTFINAL = 1e300;
    huge.MINDISTFINAL = 3.4028235e38;  // above the largest float, below the halfway point
    const SearchThresholds limits = partialLeastSquaresThresholds(huge, 0);
    EXPECT_EQ(limits.maxDist, std::numeric_limits<float>::infinity());
    EXPECT_EQ(limits.minDist, std::numeric_limits<float>::max());
}

TEST(CandidateWalk, DefaultsTryTenTenFourFourFourCandidates) {
    const RunOptions options = probe::optionsInRadians();
    const double stepDeg[] = {0.4, 0.08, 0.04, 0.02, 0.01};
    const std::size_t count[] = {10, 10, 4, 4, 4};
    double searchRange = options.ALPHA;
    for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
        SCOPED_TRACE(iteration);
        const CandidateWalk walk = candidateWalk(searchRange, 0.0, options.ALPHAINC, iteration);
        EXPECT_NEAR(walk.searchStep * radToDeg, stepDeg[iteration], 1e-12);
        EXPECT_EQ(candidates(walk).size(), count[iteration]);
        EXPECT_EQ(candidates(walk).front(), -searchRange);
        searchRange = walk.searchStep;
    }
    // Below an increment of 4 twice the range over the increment is the wider step.
    EXPECT_EQ(candidateWalk(0.8, 0.0, 3, 2).searchStep, (0.8 / 3.0) * 2.0);
    EXPECT_EQ(candidateWalk(0.8, 0.0, 5, 2).searchStep, 0.4);
}

TEST(CandidateWalk, WalksThatCannotMoveForwardEndInsteadOfRunningForever) {
    struct Case { double range; double centre; std::int32_t increment; std::size_t count; };
    for (const Case c : {Case{0.0, 0.3, 5, 0}, Case{-0.1, 0.3, 5, 0},
                         Case{0.1, 0.0, -5, 1},     // a negative step would walk away
                         Case{1e-16, 1.0, 5, 1}}) {  // steps below half an ulp of 1.0
        SCOPED_TRACE(c.range);
        EXPECT_EQ(candidates(candidateWalk(c.range, c.centre, c.increment, 0)).size(), c.count);
    }
}

TEST(TrialGrid, DefaultsGiveTenOrElevenValuesPerAxisAnd1563Measures) {
    const RunOptions options = probe::optionsInRadians();
    // Where the repeated addition stops just short of the limit depends on rounding: with
    // ALPHA = 2 * degToRad it is the finest grid of each cycle that gets eleven values.
    const std::size_t valuesPerAxis[] = {10, 10, 10, 10, 11};
    std::size_t measures = 0;
    for (std::int32_t cycle = 0; cycle < 3; ++cycle) {
        TrialGrid grid = cycleTrialGrid(options.ALPHA, options.ALPHAINC, cycle);
        double startDeg = cycle == 0 ? -2.0 : -2.0 / (2.0 * cycle);
        for (std::int32_t iteration = 0; iteration < 5; ++iteration) {
            SCOPED_TRACE(cycle * 10 + iteration);
            if (iteration > 0) grid = refinedTrialGrid(grid, options.ALPHAINC);
            EXPECT_NEAR(grid.trialStart * radToDeg, startDeg, 1e-13);
            EXPECT_NEAR(grid.trialStep * radToDeg, -startDeg / 5.0, 1e-13);
            const std::vector<double> values = trialValues(grid);
            EXPECT_EQ(values.size(), valuesPerAxis[iteration]);
            EXPECT_GT(values.front(), grid.trialStart);  // the start itself is never a trial
            measures += values.size() * values.size();
            startDeg = startDeg / 5.0;
        }
    }
    EXPECT_EQ(measures, 1563U);
    const TrialGrid underflow{-std::numeric_limits<double>::denorm_min(), 0.0};
    EXPECT_TRUE(trialValues(underflow).empty());
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
        EXPECT_EQ(value, c.moves ? c.value + c.step : c.value);
    }
}

}  // namespace
}  // namespace sorvek
