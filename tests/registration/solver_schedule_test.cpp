#include "registration/solver_schedule.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "registration/solver_progress.h"

namespace sorvek {
namespace {

// From ten cycles on the position runs ahead of the cycle, so the last cycles sit on the
// clamp. The settled test compares for equality: the final value must be exact.
TEST(PingPongSchedule, ThreeAndTwelveCyclesDescendToExactlyTheFinalValue) {
    struct Case { std::int32_t cycles, cycle, position; const char* maxDist; };
    for (const Case c : {Case{3, 0, 0, "0.500000"}, Case{3, 1, 1, "0.300000"}, Case{3, 2, 2, "0.100000"},
                         Case{12, 0, 0, "0.500000"}, Case{12, 1, 1, "0.463636"}, Case{12, 4, 4, "0.354545"},
                         Case{12, 5, 6, "0.281818"}, Case{12, 9, 10, "0.136364"}, Case{12, 10, 12, "0.100000"},
                         Case{12, 11, 13, "0.100000"}, Case{10, 9, 9, "0.100000"}}) {
        SCOPED_TRACE(c.cycles * 100 + c.cycle);
        RunOptions options;
        options.MAXREPEAT = c.cycles;
        EXPECT_EQ(schedulePosition(c.cycle, c.cycles), c.position);
        const PingPongThresholds limits = pingPongThresholds(options, c.cycle);
        EXPECT_EQ(std::to_string(limits.maxDist), c.maxDist);
        EXPECT_EQ(limits.maxDist == 0.1, std::string(c.maxDist) == "0.100000");
        EXPECT_EQ(limits.minDist, 0.0F);
    }
    EXPECT_LT(scheduledDistance(0.5, 0.1, 2, 3), 0.1);  // the clamp is what makes it exact
}

// A single cycle or iteration would divide 0 by 0, so it runs at the final values.
TEST(Schedules, HoldTheMinimumInThirtyTwoBitsAndRunASingleStepAtTheFinalValues) {
    RunOptions options;
    options.MINDISTINITIAL = 0.05;
    options.MINDISTFINAL = 0.01;
    EXPECT_EQ(pingPongThresholds(options, 2).minDist, 0.01F);  // 0.009999999776, not the option's 0.01
    EXPECT_EQ(pingPongThresholds(options, 1).minDist, 0.03F);
    options.MAXREPEAT = options.MAXITER = 1;
    EXPECT_EQ(pingPongThresholds(options, 0).maxDist, 0.1);
    EXPECT_EQ(pingPongThresholds(options, 0).minDist, 0.01F);
    EXPECT_EQ(partialLeastSquaresThresholds(options, 0).maxDist, 0.1F);
    EXPECT_EQ(partialLeastSquaresThresholds(options, 0).minDist, 0.01F);
}

TEST(Schedules, HugeCountsWrapAndHugeLimitsRoundWithoutUndefinedBehaviour) {
    EXPECT_EQ(schedulePosition(50000, 50000), -179496729);  // 2500000000 wraps in 32 bits
    EXPECT_EQ(wholePercentOfPairs(30000000, 7), -184995328.0);  // the product wraps to -1294967296
    EXPECT_EQ(wholePercentOfPairs(536870912, -1), -2147483648.0);  // INT32_MIN, and INT32_MIN / -1 wraps back
    EXPECT_EQ(wholePercentOfPairs(5, 0), 0.0);  // progress over no scans: 0 instead of a trap
    RunOptions huge;
    huge.MAXITER = 1;
    huge.MAXDISTFINAL = 1e300;
    huge.MINDISTFINAL = 3.4028235e38;  // above the largest float, below the halfway point
    const SearchThresholds limits = partialLeastSquaresThresholds(huge, 0);
    EXPECT_EQ(limits.maxDist, std::numeric_limits<float>::infinity());
    EXPECT_EQ(limits.minDist, std::numeric_limits<float>::max());
}

// A negative ALPHAINC, a range below rounding or a step that underflows would walk
// forever; such walks end where the step stops carrying the value forward.
TEST(CandidateWalk, WalksThatCannotMoveForwardEndInsteadOfRunningForever) {
    struct Case { double range, centre; std::int32_t increment; std::size_t count; };
    for (const Case c : {Case{0.0, 0.3, 5, 0}, Case{-0.1, 0.3, 5, 0}, Case{0.1, 0.0, -5, 1}, Case{1e-16, 1.0, 5, 1}}) {
        SCOPED_TRACE(c.range);
        const CandidateWalk walk = candidateWalk(c.range, c.centre, c.increment, 0);
        std::size_t tried = 0;
        for (double candidate = walk.firstCandidate; walk.upperAngle > candidate;) {
            ++tried;
            if (!stepForward(candidate, walk.searchStep)) break;
        }
        EXPECT_EQ(tried, c.count);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Step { double value, step; bool moves; };
    for (const Step c : {Step{0.0, 0.1, true}, Step{0.0, 0.0, false}, Step{0.0, -0.1, false}, Step{0.0, nan, false},
                         Step{1.0, 1e-17, false}, Step{-1.0, std::numeric_limits<double>::infinity(), true}}) {
        SCOPED_TRACE(c.step);
        double value = c.value;
        EXPECT_EQ(stepForward(value, c.step), c.moves);
        EXPECT_EQ(value, c.moves ? c.value + c.step : c.value);
    }
}

}  // namespace
}  // namespace sorvek
