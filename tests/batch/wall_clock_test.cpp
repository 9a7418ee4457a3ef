// The time lines print whole seconds as a 32-bit number, whatever the clock did.
#include "batch/wall_clock.h"

#include <gtest/gtest.h>

#include <limits>

namespace sorvek {
namespace {

// A scan's time line in a spread pass adds up what its pairs took, in fractions of a
// second, cut toward zero; elsewhere it is the difference of two clock readings.
TEST(WallClock, SecondsAreHeldToWhatThirtyTwoBitsHold) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t least = std::numeric_limits<std::int32_t>::min();
    struct Difference { std::int64_t start; std::int64_t end; std::int32_t seconds; };
    for (const Difference c : {Difference{100, 100, 0}, Difference{100, 107, 7}, Difference{107, 100, -7},
                               Difference{0, 1LL << 40, most}, Difference{1LL << 40, 0, least}}) {
        SCOPED_TRACE(c.end - c.start);
        EXPECT_EQ(wholeSecondsBetween(static_cast<std::time_t>(c.start), static_cast<std::time_t>(c.end)),
                  c.seconds);
    }
    struct Measured { double seconds; std::int32_t whole; };
    for (const Measured c : {Measured{0.0, 0}, Measured{0.999, 0}, Measured{1.5, 1}, Measured{59.99, 59},
                             Measured{-0.5, 0}, Measured{std::numeric_limits<double>::quiet_NaN(), 0},
                             Measured{2147483647.5, most}, Measured{1e300, most}}) {
        SCOPED_TRACE(c.seconds);
        EXPECT_EQ(wholeSecondsOf(c.seconds), c.whole);
    }
}

}  // namespace
}  // namespace sorvek
