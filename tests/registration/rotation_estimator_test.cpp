#include "registration/rotation_estimator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "points/transforms.h"
#include "registration/registration_fixtures.h"

namespace sorvek {
namespace {

// One sample (1, 0) whose foot on the plane x - y + 1 = 0 is (0, 1): the reference must
// turn by -pi/2 about the origin to carry the foot onto the sample.
TEST(RotationEstimator, TurnsASingleFootOntoItsSample) {
    sorvek::Run run;
    run.options.NUMPPC = 1;
    run.options.MINNUMPTS = 1;
    run.state.cubeCount = 1;
    const Cloud subject{{1, 0, 0}};
    const Cloud reference{{0, 1, 0}, {0, 1, 1}, {1, 2, 0}};
    std::int32_t accepted = 0;
    double rotation = 99.0;
    EXPECT_NEAR(estimateRotation(run, subject, reference, 2.0, 0.0, accepted, rotation, 0.0, 0.0, run.options.ZMIN),
                std::sqrt(2.0), 1e-15);
    EXPECT_EQ(accepted, 1);
    EXPECT_NEAR(rotation, -1.5707963267948966, 1e-15);
    EXPECT_EQ(estimateRotation(run, subject, reference, 2.0, 1.5, accepted, rotation, 0.0, 0.0, run.options.ZMIN), 999.0);
    EXPECT_EQ(accepted, 0);  // the one distance, 1.414, lies below the lower limit
    run.options.NUMPPC = 0;  // nothing needed and nothing accepted: 0 / 0, and no turn
    run.options.MINNUMPTS = 0;
    EXPECT_TRUE(std::isnan(estimateRotation(run, subject, reference, 2.0, 0.0, accepted, rotation, 3.0, 4.0, run.options.ZMIN)));
    EXPECT_EQ(accepted, 0);
    EXPECT_EQ(rotation, 0.0);
}

// Four vertical walls that radiate from the scanner at (1000, 2000) like spokes, 2 to 10 m
// out. A turn about the scanner moves every wall point straight off its wall, so one
// closed-form step recovers nearly the whole angle.
Cloud namedSpokes(double turn, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-0.03, 0.03);
    Cloud cloud;
    for (const double headingDeg : {10.0, 55.0, 100.0, 145.0}) {
        for (double r = -10.0; r < 10.0; r += 0.05) {
            for (double z = 0.05; z < 3.0 && std::fabs(r) >= 2.0; z += 0.1) {
                const double along = r + jitter(random);
                cloud.push_back({1000.0 + along * std::cos(headingDeg * degToRad),
                                 2000.0 + along * std::sin(headingDeg * degToRad), z + jitter(random)});
            }
        }
    }
    rotateCloud(cloud, turn, 1000.0, 2000.0);
    return cloud;
}

TEST(RotationEstimator, FindsTheTurnBetweenTwoScansOfRadialWalls) {
    for (const double trueAngle : {0.004, -0.003}) {
        SCOPED_TRACE(trueAngle);
        sorvek::Run run;
        run.options.MINNUMPTS = 100;
        Cloud subject = namedSpokes(0.0, 1);
        Cloud reference = namedSpokes(-trueAngle, 2);
        fixtures::gridAndSort(run, subject, reference);
        std::int32_t accepted = 0;
        double rotation = 0.0;
        estimateRotation(run, subject, reference, 0.5, 0.0, accepted, rotation, 1000.0, 2000.0, run.options.ZMIN);
        EXPECT_GT(accepted, 1000);
        EXPECT_NEAR(rotation, trueAngle, 0.03 * std::fabs(trueAngle));
    }
}

}  // namespace
}  // namespace sorvek
