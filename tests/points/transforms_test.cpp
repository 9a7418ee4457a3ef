#include "points/transforms.h"

#include <gtest/gtest.h>

#include <vector>

namespace sorvek {
namespace {

constexpr double halfPi = 1.5707963267948966;

// A quarter turn about (100, 200) takes (101, 200, 5) to (100, 201, 5): counter-clockwise
// seen from above. The pivot stays, and so does the cube, stale until it is reassigned.
TEST(RotateCloud, TurnsCounterClockwiseAboutThePivotAndTheCopyAgrees) {
    const std::vector<PointRecord> source{{101, 200, 5, 9, 0}, {100, 200, -3, 4, 0}, {-4, 5, 6, 1, 0}};
    std::vector<PointRecord> turned = source;
    rotateCloud(turned, halfPi, 100.0, 200.0);
    EXPECT_NEAR(turned[0].x, 100.0, 1e-13);
    EXPECT_NEAR(turned[0].y, 201.0, 1e-13);
    EXPECT_EQ((std::vector{turned[0].z, 1.0 * turned[0].cube, turned[1].x, turned[1].y}),
              (std::vector{5.0, 9.0, 100.0, 200.0}));
    Cloud copy(10);
    rotatedCopy(source, halfPi, 100.0, 200.0, copy);
    ASSERT_EQ(copy.size(), 3U);
    EXPECT_EQ((std::vector{copy[2].x, copy[2].y, copy[2].z}), (std::vector{turned[2].x, turned[2].y, 6.0}));
}

}  // namespace
}  // namespace sorvek
