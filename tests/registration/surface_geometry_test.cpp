#include "registration/surface_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(SurfaceGeometry, FindsDistanceAndFootOnEitherSideOfAFlatPlane) {
    const Plane plane = planeThroughPoints({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    EXPECT_EQ(plane.normalX, 0.0);
    EXPECT_EQ(plane.normalY, 0.0);
    EXPECT_EQ(plane.normalZ, 1.0);
    EXPECT_EQ(plane.planeD, 0.0);
    struct Case { const char* name; Point3 point; };
    for (const Case& c : {Case{"above: the minus candidate", {5, 5, 2}},
                          Case{"below: the plus candidate", {5, 5, -2}}}) {
        SCOPED_TRACE(c.name);
        const double distance = distanceToPlane(plane, c.point);
        EXPECT_EQ(distance, 2.0);
        const Point3 foot = planeFoot(plane, distance, c.point);
        EXPECT_EQ(foot.x, 5.0);
        EXPECT_EQ(foot.y, 5.0);
        EXPECT_EQ(foot.z, 0.0);
    }
}

TEST(SurfaceGeometry, OrderOfTheFartherPointsFlipsOnlyTheSigns) {
    const Point3 p1{1, 2, 3};
    const Point3 p2{4, -1, 2};
    const Point3 p3{0, 5, 7};
    const Plane plane = planeThroughPoints(p1, p2, p3);
    const Plane flipped = planeThroughPoints(p1, p3, p2);
    EXPECT_EQ(flipped.normalX, -plane.normalX);
    EXPECT_EQ(flipped.normalY, -plane.normalY);
    EXPECT_EQ(flipped.normalZ, -plane.normalZ);
    EXPECT_EQ(flipped.planeD, -plane.planeD);
    const Point3 point{3, 3, -4};
    const double distance = distanceToPlane(plane, point);
    EXPECT_EQ(distanceToPlane(flipped, point), distance);
    const Point3 foot = planeFoot(plane, distance, point);
    const Point3 flippedFoot = planeFoot(flipped, distance, point);
    EXPECT_NEAR(flippedFoot.x, foot.x, 1e-12);
    EXPECT_NEAR(flippedFoot.y, foot.y, 1e-12);
    EXPECT_NEAR(flippedFoot.z, foot.z, 1e-12);
}

// The foot lies on the plane, and the step from the point to it runs along the normal
// with the length of the distance.
TEST(SurfaceGeometry, FootIsThePerpendicularProjection) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(-20.0, 20.0);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        const Point3 p1{coordinate(random), coordinate(random), coordinate(random)};
        const Point3 p2{coordinate(random), coordinate(random), coordinate(random)};
        const Point3 p3{coordinate(random), coordinate(random), coordinate(random)};
        const Point3 point{coordinate(random), coordinate(random), coordinate(random)};
        const Plane plane = planeThroughPoints(p1, p2, p3);
        const double length = std::sqrt(plane.normalX * plane.normalX +
                                        plane.normalY * plane.normalY + plane.normalZ * plane.normalZ);
        const double distance = distanceToPlane(plane, point);
        const Point3 foot = planeFoot(plane, distance, point);
        const double residual =
            (plane.normalX * foot.x + plane.normalY * foot.y + plane.normalZ * foot.z + plane.planeD) / length;
        EXPECT_NEAR(residual, 0.0, 1e-9);
        const Point3 step{point.x - foot.x, point.y - foot.y, point.z - foot.z};
        EXPECT_NEAR(std::sqrt(step.x * step.x + step.y * step.y + step.z * step.z), distance, 1e-9);
        const Point3 cross{step.y * plane.normalZ - step.z * plane.normalY,
                           step.z * plane.normalX - step.x * plane.normalZ,
                           step.x * plane.normalY - step.y * plane.normalX};
        EXPECT_NEAR(std::sqrt(cross.x * cross.x + cross.y * cross.y + cross.z * cross.z) / length,
                    0.0, 1e-9);
    }
}

TEST(SurfaceGeometry, APointOnThePlaneIsItsOwnFoot) {
    const Plane plane = planeThroughPoints({0, 0, 1}, {2, 0, 1}, {0, 3, 1});
    const Point3 point{7, -4, 1};
    EXPECT_EQ(distanceToPlane(plane, point), 0.0);
    const Point3 foot = planeFoot(plane, 0.0, point);
    EXPECT_EQ(foot.x, 7.0);
    EXPECT_EQ(foot.y, -4.0);
    EXPECT_EQ(foot.z, 1.0);
}

TEST(SurfaceGeometry, OnlyAnExactlyZeroNormalIsDegenerate) {
    struct Case { const char* name; Plane plane; bool isDegenerate; };
    const Case cases[] = {
        {"second equals first", planeThroughPoints({1, 2, 3}, {1, 2, 3}, {4, 5, 7}), true},
        {"third equals first", planeThroughPoints({1, 2, 3}, {4, 5, 7}, {1, 2, 3}), true},
        {"exactly collinear", planeThroughPoints({0, 0, 0}, {1, 1, 1}, {2, 2, 2}), true},
        {"a sliver", Plane{0.0, 1e-30, 0.0, 0.0}, false},
        {"a component not a number", Plane{nan, 0.0, 0.0, 0.0}, false},
        {"negative zeros", Plane{-0.0, -0.0, 0.0, 5.0}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(isDegenerate(c.plane), c.isDegenerate);
    }
}

TEST(SurfaceGeometry, ANormalWhoseSquaresUnderflowGivesDistanceZeroAndNoFoot) {
    const Plane plane{1e-170, 0.0, 0.0, 0.0};
    ASSERT_FALSE(isDegenerate(plane));
    EXPECT_EQ(distanceToPlane(plane, {5, 5, 5}), 0.0);
    EXPECT_TRUE(std::isnan(planeFoot(plane, 0.0, {5, 5, 5}).x));
}

}  // namespace
}  // namespace sorvek
