#include "points/cube_grid.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

PointRecord at(double x, double y, double z) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    return point;
}

CloudBounds box(double minX, double maxX, double minY, double maxY, double minZ, double maxZ) {
    CloudBounds bounds;
    bounds.minX = minX;
    bounds.maxX = maxX;
    bounds.minY = minY;
    bounds.maxY = maxY;
    bounds.minZ = minZ;
    bounds.maxZ = maxZ;
    return bounds;
}

// The cube that assignCubes gives one point on the grid of `bounds`.
std::uint32_t cubeOf(Run& run, const CloudBounds& bounds, PointRecord point, double zMin) {
    std::vector<PointRecord> cloud{point};
    cloud[0].cube = 12345;
    assignCubes(run, cloud, bounds, zMin);
    return cloud[0].cube;
}

TEST(TruncToInt32, CutsTowardZeroOnBothSidesOfZero) {
    struct Case { double in; std::int32_t out; };
    for (const Case c : {Case{-1.5, -1}, Case{-0.5, 0}, Case{0.5, 0}, Case{1.5, 1},
                         Case{2147483647.9, INT32_MAX}, Case{-2147483648.9, INT32_MIN}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(truncToInt32(c.in), c.out);
    }
}

TEST(TruncToInt32, RefusesValuesInt32CannotHold) {
    for (const double in : {nan, 2147483648.0, -2147483649.0, 1e300,
                            std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(in);
        EXPECT_FALSE(truncToInt32(in));
    }
}

// A box with minX 10.4, maxX 13.9, minY -5.2, maxY -1.1, minZ 2.5, maxZ 4.0 and cubes of
// 1.0: nx 5, ny 6, nz 3, origin (9, -6, 1); z runs before y in the index.
TEST(CubeGrid, PlacesTheWorkedExamplePointsByTruncation) {
    sorvek::Run run;
    const CloudBounds bounds = box(10.4, 13.9, -5.2, -1.1, 2.5, 4.0);
    const CubeGrid grid = layCubeGrid(run.options, bounds, run.options.ZMIN);
    EXPECT_EQ(grid.nx, 5);
    EXPECT_EQ(grid.ny, 6);
    EXPECT_EQ(grid.nz, 3);
    EXPECT_EQ(grid.cubeCount, 90);
    EXPECT_EQ(grid.originX, 9.0);
    EXPECT_EQ(grid.originY, -6.0);
    EXPECT_EQ(grid.originZ, 1.0);
    EXPECT_FALSE(grid.isTooLarge);

    struct Case { PointRecord point; std::uint32_t cube; };
    const Case cases[] = {
        {at(12.3, -3.7, 3.2), 43}, {at(10.4, -5.2, 2.5), 6},  {at(13.9, -1.1, 3.9), 74},
        {at(13.9, -1.1, 4.0), 90},  // iz equals nz although the point lies on the box
        {at(8.5, -3.7, 3.2), 40},   // -0.5 below the origin still truncates to 0
        {at(8.0, -3.7, 3.2), 90},  {at(14.0, -3.7, 3.2), 90},
        {at(12.0, -3.7, 3.2), 43},  // on a lower face: belongs to that cube
        {at(nan, -3.7, 3.2), 90},  {at(12.3, -3.7, nan), 90},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.point.x << ", " << c.point.y << ", " << c.point.z);
        EXPECT_EQ(cubeOf(run, bounds, c.point, run.options.ZMIN), c.cube);
        EXPECT_EQ(run.state.cubeCount, 90);
    }
}

TEST(CubeGrid, CutsTheLayersOnlyWhenTheBoxSticksOutOfBothZLimits) {
    struct Case { double zMin, zMax; std::int32_t nz; double originZ; };
    const double noLimit = 10000000000.0;
    for (const Case c : {Case{0, 10, 12, 0}, Case{0, noLimit, 44, 0}, Case{-noLimit, 10, 44, -3}}) {
        SCOPED_TRACE(::testing::Message() << c.zMin << " " << c.zMax);
        sorvek::Run run;
        run.options.ZMAX = c.zMax;
        const CubeGrid grid = layCubeGrid(run.options, box(0, 1, 0, 1, -2, 40), c.zMin);
        EXPECT_EQ(grid.nz, c.nz);
        EXPECT_EQ(grid.originZ, c.originZ);
    }
}

TEST(CubeGrid, FirstLayerIsTwiceAsDeepAndTheTopLayerEndsTheGrid) {
    sorvek::Run run;
    run.options.ZMAX = 10.0;
    // nx 3, ny 3, nz 12 and origin (-1, -1, 0): (0.5, 0.5, z) lies in cube 1 + 3 iz + 36.
    const CloudBounds bounds = box(0, 1, 0, 1, -2, 40);
    struct Case { double z; std::uint32_t cube; };
    const std::uint32_t outside = 3 * 12 * 3;
    for (const Case c : {Case{-0.5, 37}, Case{-1.5, outside}, Case{12.0, outside},
                         Case{11.9, 37 + 11 * 3}, Case{0.0, 37}}) {
        SCOPED_TRACE(c.z);
        EXPECT_EQ(cubeOf(run, bounds, at(0.5, 0.5, c.z), 0.0), c.cube);
    }
}

TEST(CubeGrid, SmallCubesChangeTheCountButNotTheWholeNumberOrigin) {
    sorvek::Run run;
    run.options.dCX = 0.5;
    const CubeGrid grid = layCubeGrid(run.options, box(10.4, 13.9, 0, 0, 0, 0), run.options.ZMIN);
    EXPECT_EQ(grid.nx, 9);
    EXPECT_EQ(grid.originX, 9.0);
}

TEST(CubeGrid, ABoxOfOnePointHasEightCubes) {
    sorvek::Run run;
    const CubeGrid grid = layCubeGrid(run.options, box(1e6, 1e6, 2e6, 2e6, 30, 30), run.options.ZMIN);
    EXPECT_EQ(grid.cubeCount, 8);
    EXPECT_EQ(grid.originX, 999999.0);
    EXPECT_EQ(cubeOf(run, box(1e6, 1e6, 2e6, 2e6, 30, 30), at(1e6, 2e6, 30), run.options.ZMIN),
                     1U + 2U + 4U);
}

TEST(CubeGrid, BoxesThatMissEachOtherSendEveryPointOutOfTheGrid) {
    sorvek::Run run;
    // x from 20 to 5: trunc(-15) + 2 = -13 cubes; the 32-bit product is -13 * 3 * 3.
    const CloudBounds bounds = box(20, 5, 0, 1, 0, 1);
    std::vector<PointRecord> cloud{at(6, 0.5, 0.5), at(19, 0.5, 0.5)};
    assignCubes(run, cloud, bounds, run.options.ZMIN);
    EXPECT_EQ(run.state.cubeCount, -117);
    for (const PointRecord& point : cloud) EXPECT_EQ(point.cube, static_cast<std::uint32_t>(-117));
    EXPECT_FALSE(layCubeGrid(run.options, bounds, run.options.ZMIN).isTooLarge);
}

TEST(CubeGrid, AGapOfLessThanTwoCubesStillGivesAGrid) {
    sorvek::Run run;
    const CubeGrid grid = layCubeGrid(run.options, box(10, 9.2, 0, 1, 0, 1), run.options.ZMIN);
    EXPECT_EQ(grid.nx, 2);  // trunc(-0.8) is 0
    EXPECT_EQ(grid.cubeCount, 2 * 3 * 3);
}

TEST(CubeGrid, AGridTooLargeToIndexIsEmpty) {
    struct Case { const char* name; CloudBounds bounds; double dC; };
    const Case cases[] = {
        {"2^31 cubes and more", box(0, 2000, 0, 2000, 0, 1000), 1.0},
        {"a count beyond int32", box(0, 1e10, 0, 1, 0, 1), 1.0},
        {"an origin beyond int32", box(3e9, 3e9 + 1, 0, 1, 0, 1), 1.0},
        {"a zero cube edge", box(0, 1, 0, 1, 0, 1), 0.0},
        {"three counts whose product overflows 64 bits", box(0, 2e9, 0, 2e9, 0, 2e9), 1.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        run.options.dCX = c.dC;
        run.state.cubeCount = 5;
        const CubeGrid grid = layCubeGrid(run.options, c.bounds, run.options.ZMIN);
        EXPECT_TRUE(grid.isTooLarge);
        EXPECT_EQ(grid.cubeCount, 0);
        std::vector<PointRecord> cloud{at(c.bounds.minX, 0.5, 0.5), at(c.bounds.maxX, 0.5, 0.5)};
        cloud[0].cube = 7;
        assignCubes(run, cloud, c.bounds, run.options.ZMIN);
        EXPECT_EQ(run.state.cubeCount, 0);
        EXPECT_EQ(cloud[0].cube, 0U);
        EXPECT_EQ(cloud[1].cube, 0U);
    }
}

TEST(CubeGrid, TheLargestIndexableGridIsKept) {
    sorvek::Run run;
    // 2 * 46341 * 23170 = 2147441940 cubes, just below the limit.
    const CubeGrid grid = layCubeGrid(run.options, box(0, 0, 0, 46339, 0, 23168), run.options.ZMIN);
    EXPECT_FALSE(grid.isTooLarge);
    EXPECT_EQ(grid.cubeCount, 2147441940);
}

TEST(ComputeBounds, TakesTheFirstRecordAndThenWidens) {
    const std::vector<PointRecord> one{at(1e6, -2e6, 3)};
    const CloudBounds single = computeBounds(one);
    EXPECT_EQ(single.count, 1);
    EXPECT_EQ(single.minX, 1e6);
    EXPECT_EQ(single.maxX, 1e6);
    EXPECT_EQ(single.minY, -2e6);
    EXPECT_EQ(single.maxZ, 3.0);

    const std::vector<PointRecord> many{at(0, 0, 0), at(nan, nan, nan), at(-1, 2, -3), at(4, -5, 6)};
    const CloudBounds bounds = computeBounds(many);
    EXPECT_EQ(bounds.count, 4);
    EXPECT_EQ(bounds.minX, -1.0);
    EXPECT_EQ(bounds.maxX, 4.0);
    EXPECT_EQ(bounds.minY, -5.0);
    EXPECT_EQ(bounds.maxY, 2.0);
    EXPECT_EQ(bounds.minZ, -3.0);
    EXPECT_EQ(bounds.maxZ, 6.0);
}

TEST(OverlapOf, IsTheIntersectionOfTheTwoBoxes) {
    CloudBounds first = box(0, 10, -5, 5, 0, 3);
    first.count = 7;
    CloudBounds second = box(6, 20, -1, 9, 1, 2);
    second.count = 5;
    const CloudBounds overlap = overlapOf(first, second);
    EXPECT_EQ(overlap.count, 12);
    EXPECT_EQ(overlap.minX, 6.0);
    EXPECT_EQ(overlap.maxX, 10.0);
    EXPECT_EQ(overlap.minY, -1.0);
    EXPECT_EQ(overlap.maxY, 5.0);
    EXPECT_EQ(overlap.minZ, 1.0);
    EXPECT_EQ(overlap.maxZ, 2.0);
}

TEST(CompareCube, ComparesTheCubeFieldsAsUnsignedNumbers) {
    PointRecord low = at(9, 9, 9);
    PointRecord high = at(0, 0, 0);
    low.cube = 3;
    high.cube = 0xFFFFFFFFU;
    EXPECT_EQ(compareCube(low, high), -1);
    EXPECT_EQ(compareCube(high, low), 1);
    high.cube = 3;
    EXPECT_EQ(compareCube(low, high), 0);
}

}  // namespace
}  // namespace sorvek
