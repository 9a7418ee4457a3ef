#include "points/cube_grid.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double hi = 10000000000.0, lo = -hi;  // the default z limits

CloudBounds box(double minX, double maxX, double minY, double maxY, double minZ, double maxZ) {
    return {0, minX, maxX, minY, maxY, minZ, maxZ};
}

Run runWith(double dC, double zMax = hi) {
    sorvek::Run run;
    run.options.dCX = run.options.dCY = run.options.dCZ = dC;
    run.options.ZMAX = zMax;
    return run;
}

TEST(TruncToInt32, CutsTowardZeroAndRefusesWhatInt32CannotHold) {
    for (const auto& [in, out] : {std::pair<double, std::optional<std::int32_t>>{-1.5, -1}, {-0.5, 0}, {1.5, 1},
             {2147483647.9, INT32_MAX}, {-2147483648.9, INT32_MIN}, {2147483648.0, {}}, {-2147483649.0, {}}, {nan, {}}}) {
        EXPECT_EQ(truncToInt32(in), out) << in;
    }
}

// Counts nx, ny, nz and cubeCount, then the whole-number origin. Past 2^31 - 1 cubes, or
// with a count or an origin that int32 cannot hold, the grid is empty instead.
TEST(CubeGrid, LaysTheGridFromTheBoxTheEdgesAndTheZLimits) {
    struct Case { const char* name; CloudBounds box; double dC, zMin, zMax; std::array<std::int32_t, 4> counts;
                  std::array<double, 3> origin; };
    const Case cases[] = {
        {"worked example", box(10.4, 13.9, -5.2, -1.1, 2.5, 4.0), 1, lo, hi, {5, 6, 3, 90}, {9, -6, 1}},
        // Layers are cut only when the box sticks out of both z limits; the origin follows the lower.
        {"both z limits", box(0, 1, 0, 1, -2, 40), 1, 0, 10, {3, 3, 12, 108}, {-1, -1, 0}},
        {"lower z limit", box(0, 1, 0, 1, -2, 40), 1, 0, hi, {3, 3, 44, 396}, {-1, -1, 0}},
        {"upper z limit", box(0, 1, 0, 1, -2, 40), 1, lo, 10, {3, 3, 44, 396}, {-1, -1, -3}},
        {"half cubes", box(10.4, 13.9, 0, 0, 0, 0), 0.5, lo, hi, {9, 2, 2, 36}, {9, 0, 0}},
        {"one point", box(1e6, 1e6, 2e6, 2e6, 30, 30), 1, lo, hi, {2, 2, 2, 8}, {999999, 1999999, 29}},
        {"a gap under two cubes", box(10, 9.2, 0, 1, 0, 1), 1, lo, hi, {2, 3, 3, 18}, {9, -1, -1}},
        // x from 20 to 5: trunc(-15) + 2 cubes, and the 32-bit product keeps its sign.
        {"boxes that miss", box(20, 5, 0, 1, 0, 1), 1, lo, hi, {-13, 3, 3, -117}, {19, -1, -1}},
        {"largest indexable", box(0, 0, 0, 46339, 0, 23168), 1, lo, hi, {2, 46341, 23170, 2147441940}, {-1, -1, -1}},
        {"2^31 cubes", box(0, 2000, 0, 2000, 0, 1000), 1, lo, hi, {}, {}},
        {"a long count", box(0, 1e10, 0, 1, 0, 1), 1, lo, hi, {}, {}},
        {"a far origin", box(3e9, 3e9 + 1, 0, 1, 0, 1), 1, lo, hi, {}, {}},
        {"a product beyond 64 bits", box(0, 2e9, 0, 2e9, 0, 2e9), 1, lo, hi, {}, {}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CubeGrid grid = layCubeGrid(runWith(c.dC, c.zMax).options, c.box, c.zMin);
        EXPECT_EQ(grid.isTooLarge, c.counts[3] == 0);
        EXPECT_EQ((std::array{grid.nx, grid.ny, grid.nz, grid.cubeCount}), c.counts);
        EXPECT_EQ((std::array{grid.originX, grid.originY, grid.originZ}), c.origin);
    }
}

// The worked example's box has 90 cubes from (9, -6, 1); the tall box from -2 to 40, with
// zMin 0 and ZMAX 10, has 108 from (-1, -1, 0), where (0.5, 0.5) is ix 1 and iy 1. A lower
// face belongs to its cube, the top face of the box (iz equal to nz) does not. Less than one
// cube below the origin truncates to 0, so layer 0 of each axis is twice as deep.
TEST(CubeGrid, PlacesPointsByTruncationAndSendsTheRestOutOfTheGrid) {
    struct Case { bool isTall; double x, y, z; std::uint32_t cube; };
    for (const Case& c : {Case{false, 12.3, -3.7, 3.2, 43}, {false, 10.4, -5.2, 2.5, 6}, {false, 13.9, -1.1, 3.9, 74},
                          {false, 12.0, -3.7, 3.2, 43}, {false, 8.0, -3.7, 3.2, 90}, {false, 14.0, -3.7, 3.2, 90},
                          {false, nan, -3.7, 3.2, 90}, {false, 12.3, -3.7, nan, 90}, {true, 0.5, 0.5, -1.5, 108},
                          {true, 0.5, 0.5, 12.0, 108}, {true, 0.5, 0.5, 11.9, 37 + 11 * 3},
                          {false, 13.9, -1.1, 4.0, 90}, {false, 8.5, -3.7, 3.2, 40}, {true, 0.5, 0.5, -0.5, 37}}) {
        SCOPED_TRACE(::testing::Message() << c.x << ", " << c.y << ", " << c.z);
        sorvek::Run run = runWith(1.0, c.isTall ? 10.0 : hi);
        Cloud cloud{{c.x, c.y, c.z, 12345, 0}};
        assignCubes(run, cloud, c.isTall ? box(0, 1, 0, 1, -2, 40) : box(10.4, 13.9, -5.2, -1.1, 2.5, 4.0),
                    c.isTall ? 0.0 : lo);
        EXPECT_EQ(cloud[0].cube, c.cube);
        EXPECT_EQ(run.state.cubeCount, c.isTall ? 108 : 90);
    }
}

}  // namespace
}  // namespace sorvek
