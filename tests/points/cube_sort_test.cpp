#include "points/cube_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "points/cube_grid.h"

namespace sorvek {
namespace {

// Records whose spare field numbers them, so that any reordering shows.
Cloud numberedCloud(const std::vector<std::uint32_t>& cubes) {
    Cloud cloud(cubes.size());
    for (std::size_t i = 0; i < cubes.size(); ++i) {
        cloud[i].x = static_cast<double>(i);
        cloud[i].cube = cubes[i];
        cloud[i].spare = static_cast<std::uint32_t>(i);
    }
    return cloud;
}

// The oracle: the library's stable comparison sort with the grid's comparison.
Cloud stablySorted(Cloud cloud) {
    std::stable_sort(cloud.begin(), cloud.end(), [](const PointRecord& a, const PointRecord& b) {
        return compareCube(a, b) < 0;
    });
    return cloud;
}

void expectSameRecords(const Cloud& actual, const Cloud& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(actual[i].cube, expected[i].cube);
        ASSERT_EQ(actual[i].spare, expected[i].spare);
        ASSERT_EQ(actual[i].x, expected[i].x);
    }
}

TEST(SortByCube, MatchesAStableComparisonSortOnKeysOfEveryWidth) {
    struct Case { const char* name; std::uint32_t keyLimit; };
    // Key ranges that need one, two and three digit passes, and the full 32 bits.
    for (const Case c : {Case{"one pass", 1000}, Case{"two passes", 3000000},
                         Case{"three passes", 0xFFFFFFFFU}, Case{"few keys, many ties", 4}}) {
        SCOPED_TRACE(c.name);
        std::mt19937 random(7);
        std::uniform_int_distribution<std::uint32_t> key(0, c.keyLimit);
        std::vector<std::uint32_t> cubes(5000);
        for (std::uint32_t& cube : cubes) cube = key(random);
        Cloud cloud = numberedCloud(cubes);
        const Cloud expected = stablySorted(cloud);
        Cloud scratch;
        sortByCube(cloud, scratch);
        expectSameRecords(cloud, expected);
    }
}

TEST(SortByCube, KeepsTheOrderOfRecordsInOneCube) {
    Cloud cloud = numberedCloud({5, 2, 5, 90, 2, 5, 0xFFFFFFFFU, 0});
    Cloud scratch;
    sortByCube(cloud, scratch);
    std::vector<std::uint32_t> order;
    for (const PointRecord& point : cloud) order.push_back(point.spare);
    EXPECT_EQ(order, (std::vector<std::uint32_t>{7, 1, 4, 0, 2, 5, 3, 6}));
}

TEST(SortByCube, LeavesACloudOfOneCubeAsItWas) {
    Cloud cloud = numberedCloud({90, 90, 90, 90});  // all out of the grid, say
    const Cloud before = cloud;
    Cloud scratch;
    sortByCube(cloud, scratch);
    expectSameRecords(cloud, before);
}

TEST(SortByCube, ReusesTheScratchItAlreadyHolds) {
    Cloud scratch(100);
    const PointRecord* storage = scratch.data();
    Cloud cloud = numberedCloud({3, 1, 2});
    sortByCube(cloud, scratch);
    EXPECT_EQ(scratch.data(), storage);
    EXPECT_EQ(cloud[0].cube, 1U);

    Cloud empty;
    sortByCube(empty, scratch);  // nothing to do, nothing to break
    EXPECT_TRUE(empty.empty());
}

}  // namespace
}  // namespace sorvek
