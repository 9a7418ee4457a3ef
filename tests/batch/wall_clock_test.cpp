// The time lines print whole seconds as a 32-bit number, whatever the clock did.
#include "batch/wall_clock.h"

#include <gtest/gtest.h>

#include <limits>

namespace sorvek {
namespace {

TEST(WallClock, DifferenceIsHeldToWhatThirtyTwoBitsHold) {
    struct Case {
        std::int64_t start;
        std::int64_t end;
        std::int32_t seconds;
    };
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t least = std::numeric_limits<std::int32_t>::min();
    for (const Case c : {Case{100, 100, 0}, Case{100, 107, 7}, Case{107, 100, -7},
                         Case{0, 1LL << 40, most}, Case{1LL << 40, 0, least}}) {
        SCOPED_TRACE(c.end - c.start);
        EXPECT_EQ(
            wholeSecondsBetween(static_cast<std::time_t>(c.start), static_cast<std::time_t>(c.end)),
            c.seconds);
    }
}

// A scan's time line in a spread pass adds up what its pairs took, in fractions of a second.
TEST(WallClock, MeasuredSecondsAreCutTowardZeroAndHeldToThirtyTwoBits) {
    struct Case {
        double seconds;
        std::int32_t whole;
    };
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    for (const Case c : {Case{0.0, 0}, Case{0.999, 0}, Case{1.5, 1}, Case{59.99, 59},
                         Case{-0.5, 0}, Case{notANumber, 0}, Case{2147483647.5, most},
                         Case{1e300, most}}) {
        SCOPED_TRACE(c.seconds);
        EXPECT_EQ(wholeSecondsOf(c.seconds), c.whole);
    }
}

}  // namespace
}  // namespace sorvek
