// Work clouds made by sorting 4-byte keys must hold exactly what a turned copy of whole
// records, assigned and stably sorted, holds: same points, same bits, same order.

#include "points/work_cloud.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "run/worker_pool.h"

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Street-like points, 40 m by 30 m by 8 m around (1000, 2000), with duplicates (a scanner
// records a point twice) and a few far strays, so that ties inside cubes and points
// outside the grid both occur.
Cloud namedJitteredStreet(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> along(980.0, 1020.0), across(1985.0, 2015.0), up(30.0, 38.0);
    Cloud cloud;
    for (std::size_t i = 0; i < count; ++i) {
        if (i % 97 == 5 && !cloud.empty()) cloud.push_back(cloud.back());
        else if (i % 211 == 7) cloud.push_back({1500.0, 2000.0, 34.0});
        else cloud.push_back({along(random), across(random), up(random)});
    }
    return cloud;
}

Run runWithThreads(std::size_t threads, double edge) {
    Run run;
    run.options.dCX = run.options.dCY = run.options.dCZ = edge;
    if (threads > 1) run.state.workers = std::make_shared<WorkerPool>(threads);
    return run;
}

// The oracle: whole records turned, assigned and stably sorted by the library sort.
Cloud turnedAndSorted(const Cloud& source, const Turn& turn, const CubeGrid& grid) {
    Cloud copy = source;
    for (PointRecord& point : copy) {
        const double x = point.x, y = point.y;
        point.x = turnedX(turn, x, y);
        point.y = turnedY(turn, x, y);
        point.cube = hasCubes(grid) ? cubeOf(grid, point.x, point.y, point.z)
                                    : static_cast<std::uint32_t>(grid.cubeCount);
    }
    std::stable_sort(copy.begin(), copy.end(), [](const PointRecord& a, const PointRecord& b) { return a.cube < b.cube; });
    return copy;
}

void expectSame(const WorkCloud& cloud, const Cloud& expected, const CubeGrid& grid) {
    ASSERT_EQ(pointCount(cloud), expected.size());
    std::size_t inGrid = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(std::memcmp(&cloud.x[i], &expected[i].x, 8), 0);
        ASSERT_EQ(std::memcmp(&cloud.y[i], &expected[i].y, 8), 0);
        ASSERT_EQ(std::memcmp(&cloud.z[i], &expected[i].z, 8), 0);
        ASSERT_EQ(cloud.cube[i], expected[i].cube);
        if (hasCubes(grid) && expected[i].cube < static_cast<std::uint32_t>(grid.cubeCount)) ++inGrid;
    }
    EXPECT_EQ(cloud.inGridCount, inGrid);
}

// Metre cubes sort by counting; 5 cm cubes give far more cubes than points, which sorts
// by radix; a box that misses leaves no cube at all. One thread and several must agree.
TEST(WorkCloud, PlacesATurnedCloudAsATurnedSortedCopyWouldHoldIt) {
    const Cloud source = namedJitteredStreet(20000, 3);
    struct Case { const char* name; double edge; CloudBounds box; };
    const Case cases[] = {{"counting", 1.0, {0, 985.0, 1015.0, 1990.0, 2010.0, 31.0, 37.0}},
                          {"radix", 0.05, {0, 985.0, 1015.0, 1990.0, 2010.0, 31.0, 37.0}},
                          {"no cubes", 1.0, {0, 985.0, 900.0, 1990.0, 2010.0, 31.0, 37.0}}};
    for (const Case& c : cases) {
        for (const std::size_t threads : {1U, 3U}) {
            SCOPED_TRACE(::testing::Message() << c.name << ", " << threads << " threads");
            sorvek::Run run = runWithThreads(threads, c.edge);
            const CubeGrid grid = layCubeGrid(run.options, c.box, run.options.ZMIN);
            const Turn turn = turnAbout(0.003, 1001.5, 1999.25);
            CubeOrderScratch scratch;
            WorkCloud cloud;
            CloudCoordinates coordinates;
            splitCoordinates(run, source, coordinates);
            // Keys taken under a wrong guess must not be used; under the right one they are.
            for (const CubeGrid& guess : std::initializer_list<CubeGrid>{layCubeGrid(run.options, {0, 0, 9, 0, 9, 0, 9}, 0.0), grid}) {
                turnedBounds(run, coordinates, turn, guess, scratch);
                placeTurned(run, coordinates, turn, grid, scratch, cloud);
                expectSame(cloud, turnedAndSorted(source, turn, grid), grid);
            }
            // Put in order again on another grid, stably from the order it has.
            const CubeGrid coarser = layCubeGrid(runWithThreads(1, 2.0).options, c.box, run.options.ZMIN);
            Cloud expected = turnedAndSorted(source, turn, grid);
            for (PointRecord& point : expected) point.cube = hasCubes(coarser) ? cubeOf(coarser, point.x, point.y, point.z) : 0;
            std::stable_sort(expected.begin(), expected.end(), [](const PointRecord& a, const PointRecord& b) { return a.cube < b.cube; });
            WorkCloud spare;
            reorderOnGrid(run, cloud, coarser, scratch, spare);
            if (hasCubes(coarser)) expectSame(cloud, expected, coarser);
        }
    }
}

// The bounds of the parts are joined as one pass over the turned copy would find them:
// a NaN first point spoils every bound, a NaN elsewhere changes none, and of two equal
// extremes, 0.0 and -0.0, the earlier stays.
TEST(WorkCloud, TakesTheBoundsOfATurnedCloudAsComputeBoundsDoes) {
    const Turn turn = turnAbout(0.002, 1000.0, 2000.0);
    struct Case { const char* name; Cloud cloud; };
    Cloud zeros(5000, PointRecord{1.0, 1.0, 1.0});
    zeros[1000].z = -0.0;  // z is not turned: the zeros reach the bounds as they are
    zeros[4000].z = 0.0;
    Cloud laterNan = namedJitteredStreet(5000, 4);
    laterNan[2500].x = nan;
    Cloud firstNan = laterNan;
    firstNan[0].y = nan;
    for (const Case& c : {Case{"zeros", zeros}, Case{"a later NaN", laterNan}, Case{"a first NaN", firstNan}}) {
        for (const std::size_t threads : {1U, 4U}) {
            SCOPED_TRACE(::testing::Message() << c.name << ", " << threads << " threads");
            sorvek::Run run = runWithThreads(threads, 1.0);
            CubeOrderScratch scratch;
            CloudCoordinates coordinates;
            splitCoordinates(run, c.cloud, coordinates);
            const CloudBounds got = turnedBounds(run, coordinates, turn, CubeGrid{}, scratch);
            Cloud copy;
            rotatedCopy(c.cloud, 0.002, 1000.0, 2000.0, copy);
            const CloudBounds want = computeBounds(copy);
            EXPECT_EQ(got.count, want.count);
            EXPECT_EQ(std::memcmp(&got.minX, &want.minX, 6 * sizeof(double)), 0);
        }
    }
}

}  // namespace
}  // namespace sorvek
