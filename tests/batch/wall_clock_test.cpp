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

}  // namespace
}  // namespace sorvek
