#include "registration/surface_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace sorvek {
namespace {

// Swapping the two farther points flips the normal but neither the distance nor the foot.
TEST(SurfaceGeometry, FindsDistanceAndFootOnEitherSideOfAFlatPlane) {
    for (const double sign : {1.0, -1.0}) {
        const Plane plane = sign > 0 ? planeThroughPoints({0, 0, 0}, {1, 0, 0}, {0, 1, 0})
                                     : planeThroughPoints({0, 0, 0}, {0, 1, 0}, {1, 0, 0});
        EXPECT_EQ(plane.normalX, 0.0);
        EXPECT_EQ(plane.normalY, 0.0);
        EXPECT_EQ(plane.normalZ, sign);
        EXPECT_EQ(plane.planeD, 0.0);
        for (const double z : {2.0, -2.0, 0.0}) {  // minus candidate, plus candidate, on it
            SCOPED_TRACE(sign * z);
            const double distance = distanceToPlane(plane, {5, 5, z});
            EXPECT_EQ(distance, std::fabs(z));
            const Point3 foot = planeFoot(plane, distance, {5, 5, z});
            EXPECT_EQ(foot.x, 5.0);
            EXPECT_EQ(foot.y, 5.0);
            EXPECT_EQ(foot.z, 0.0);
        }
    }
}

TEST(SurfaceGeometry, OnlyAnExactlyZeroNormalIsDegenerate) {
    struct Case { const char* name; Plane plane; bool isDegenerate; };
    const Case cases[] = {
        {"second equals first", planeThroughPoints({1, 2, 3}, {1, 2, 3}, {4, 5, 7}), true},
        {"third equals first", planeThroughPoints({1, 2, 3}, {4, 5, 7}, {1, 2, 3}), true},
        {"exactly collinear", planeThroughPoints({0, 0, 0}, {1, 1, 1}, {2, 2, 2}), true},
        {"a sliver", Plane{0.0, 1e-30, 0.0, 0.0}, false},
        {"a component not a number", Plane{std::numeric_limits<double>::quiet_NaN(), 0, 0, 0}, false},
        {"negative zeros", Plane{-0.0, -0.0, 0.0, 5.0}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(isDegenerate(c.plane), c.isDegenerate);
    }
    const Plane underflowing{1e-170, 0.0, 0.0, 0.0};  // its squares underflow to zero
    EXPECT_EQ(distanceToPlane(underflowing, {5, 5, 5}), 0.0);
    EXPECT_TRUE(std::isnan(planeFoot(underflowing, 0.0, {5, 5, 5}).x));
}

}  // namespace
}  // namespace sorvek
