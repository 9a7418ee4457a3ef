// Point arrays come from mappings of their own, and a mapping given back is handed out
// again: an array must still start as std::vector starts it, whatever the memory held.

#include "run/large_array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace sorvek {
namespace {

TEST(LargeArray, ReusedMemoryStartsZeroAndGrowthKeepsTheValues) {
    constexpr std::size_t count = 3 * largeArrayBytes / sizeof(std::uint32_t) + 5;
    for (int round = 0; round < 3; ++round) {
        LargeArray<std::uint32_t> values(count);
        EXPECT_TRUE(std::all_of(values.begin(), values.end(), [](std::uint32_t v) { return v == 0; }))
            << "round " << round;
        std::fill(values.begin(), values.end(), 0xFFFFFFFFU);  // left behind for the next round
    }
    LargeArray<std::uint32_t> growing;
    for (std::uint32_t i = 0; i < count; ++i) growing.push_back(i);
    growing.resize(2 * count);
    EXPECT_EQ(growing[count - 1], count - 1);
    EXPECT_EQ(growing[count], 0U);
    EXPECT_EQ(growing.back(), 0U);
}

}  // namespace
}  // namespace sorvek
