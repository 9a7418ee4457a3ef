#include "points/cube_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <tuple>

#include "points/cube_grid.h"
#include "run/worker_pool.h"

namespace sorvek {
namespace {

// The oracle is the library's stable sort with the grid's comparison. The spare field
// numbers the records, so that any reordering within a cube shows. One thread or three.
TEST(SortByCube, MatchesAStableComparisonSortOnKeysOfEveryWidth) {
    const auto byCube = [](const PointRecord& a, const PointRecord& b) { return compareCube(a, b) < 0; };
    const auto fields = [](const PointRecord& p) { return std::tuple(p.cube, p.spare, p.x); };
    struct Case { std::uint32_t low, high, size; };
    for (const Case& c : {Case{0, 1000, 5000}, {0, 3000000, 5000}, {0, 0xFFFFFFFFU, 5000}, {0, 4, 5000},
                          {0, 70000, 30000}, {0, 0xFFFFFFFFU, 30000}, {90, 90, 50}, {0, 9, 1}, {0, 9, 0}}) {
        for (const std::size_t threads : {1U, 3U}) {
            SCOPED_TRACE(::testing::Message() << c.low << " to " << c.high << ", " << c.size << ", " << threads);
            std::mt19937 random(7);
            std::uniform_int_distribution<std::uint32_t> key(c.low, c.high);
            Cloud cloud(c.size);
            sorvek::Run run;
            if (threads > 1) run.state.workers = std::make_shared<WorkerPool>(threads);
            for (std::uint32_t i = 0; i < c.size; ++i) cloud[i] = {0.5 * i, 0, 0, key(random), i};
            Cloud expected = cloud;
            std::stable_sort(expected.begin(), expected.end(), byCube);
            sortByCube(run, cloud);
            EXPECT_TRUE(std::ranges::equal(cloud, expected, {}, fields, fields));
        }
    }
}

}  // namespace
}  // namespace sorvek
