#include "run/int32_arithmetic.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace sorvek {
namespace {

constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

TEST(WrapToInt32, KeepsTheLowThirtyTwoBitsAsTwosComplement) {
    struct Case { std::int64_t in; std::int32_t out; };
    for (const Case c : {Case{0, 0}, Case{-1, -1}, Case{greatest, greatest}, Case{std::int64_t{greatest} + 1, least},
                         Case{std::int64_t{least} - 1, greatest}, Case{std::int64_t{1} << 32, 0},
                         Case{(std::int64_t{1} << 32) + 5, 5}, Case{std::int64_t{5} * 1000000000, 705032704}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(wrapToInt32(c.in), c.out);
    }
}

// The two ways a count may meet the top: a pass count wraps, a line count stays.
TEST(Int32Counts, IncrementWrapsOrStopsAtTheTopAsItsNameSays) {
    EXPECT_EQ(wrappingIncrement(41), 42);
    EXPECT_EQ(wrappingIncrement(greatest), least);
    std::int32_t count = greatest - 1;
    saturatingIncrement(count);
    EXPECT_EQ(count, greatest);
    saturatingIncrement(count);
    EXPECT_EQ(count, greatest);
    EXPECT_EQ(countAsInt32(7), 7);
    EXPECT_EQ(countAsInt32(std::size_t{1} << 31), greatest);
    EXPECT_EQ(countAsInt32(std::numeric_limits<std::size_t>::max()), greatest);
}

}  // namespace
}  // namespace sorvek
