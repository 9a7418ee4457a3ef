#include "run/int32_arithmetic.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace sorvek {
namespace {

constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

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
