#include "registration/rotation_estimator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "registration/pair_measure.h"

namespace sorvek {
namespace {

constexpr double halfPi = 1.5707963267948966;

PointRecord inCube(std::uint32_t cube, double x, double y, double z) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    point.cube = cube;
    return point;
}

// A street seen from a scanner at (pivotX, pivotY): ground, two house fronts along x and
// a gable wall across the end, each sampled every 0.1 m with a seeded jitter.
Cloud namedStreet(double pivotX, double pivotY, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-0.03, 0.03);
    Cloud cloud;
    const auto add = [&](double x, double y, double z) {
        cloud.push_back(inCube(0, pivotX + x + jitter(random), pivotY + y + jitter(random), z + jitter(random)));
    };
    for (double x = -10.0; x < 10.0; x += 0.1) {
        for (double y = -6.0; y < 6.0; y += 0.2) add(x, y, 0.0);
        for (double z = 0.05; z < 4.0; z += 0.1) {
            add(x, -6.0 + 0.1 * std::sin(z), z);
            add(x, 6.0, z);
        }
    }
    for (double y = -6.0; y < 6.0; y += 0.1) {
        for (double z = 0.05; z < 4.0; z += 0.1) add(10.0, y, z);
    }
    return cloud;
}

// Four vertical walls that radiate from the scanner like spokes, 2 to 10 m out. A turn
// about the scanner moves every wall point straight off its wall, so one closed-form step
// recovers nearly the whole angle.
Cloud namedSpokes(double pivotX, double pivotY, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-0.03, 0.03);
    Cloud cloud;
    for (const double headingDeg : {10.0, 55.0, 100.0, 145.0}) {
        const double c = std::cos(headingDeg * degToRad);
        const double s = std::sin(headingDeg * degToRad);
        for (double r = -10.0; r < 10.0; r += 0.05) {
            if (std::fabs(r) < 2.0) continue;
            for (double z = 0.05; z < 3.0; z += 0.1) {
                const double along = r + jitter(random);
                cloud.push_back(inCube(0, pivotX + along * c, pivotY + along * s, z + jitter(random)));
            }
        }
    }
    return cloud;
}

void gridAndSort(sorvek::Run& run, Cloud& first, Cloud& second) {
    const CloudBounds overlap = overlapOf(computeBounds(first), computeBounds(second));
    assignCubes(run, first, overlap, run.options.ZMIN);
    assignCubes(run, second, overlap, run.options.ZMIN);
    sortByCube(first, run.pair.buffers.sortScratch);
    sortByCube(second, run.pair.buffers.sortScratch);
}

sorvek::Run streetRun() {
    sorvek::Run run;
    run.options.MINNUMPTS = 100;
    return run;
}

// One sample (1, 0) whose foot on the plane x - y + 1 = 0 is (0, 1): the reference must
// turn by -pi/2 about the origin to carry the foot onto the sample.
TEST(RotationEstimator, TurnsASingleFootOntoItsSample) {
    sorvek::Run run;
    run.options.NUMPPC = 1;
    run.options.MINNUMPTS = 1;
    run.state.cubeCount = 1;
    const Cloud subject{inCube(0, 1, 0, 0)};
    const Cloud reference{inCube(0, 0, 1, 0), inCube(0, 0, 1, 1), inCube(0, 1, 2, 0)};
    std::int32_t accepted = 0;
    double rotation = 99.0;
    const double rms = estimateRotation(run, subject, reference, 2.0, 0.0, accepted, rotation, 0.0, 0.0,
                                        run.options.ZMIN);
    EXPECT_EQ(accepted, 1);
    EXPECT_NEAR(rms, std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(rotation, -halfPi, 1e-15);
}

TEST(RotationEstimator, FindsTheTurnBetweenTwoScansOfRadialWalls) {
    const double pivotX = 1000.0;
    const double pivotY = 2000.0;
    for (const double trueAngle : {0.004, -0.003}) {
        SCOPED_TRACE(trueAngle);
        sorvek::Run run = streetRun();
        Cloud subject = namedSpokes(pivotX, pivotY, 1);
        Cloud reference = namedSpokes(pivotX, pivotY, 2);
        rotateCloud(reference, -trueAngle, pivotX, pivotY);
        gridAndSort(run, subject, reference);
        std::int32_t accepted = 0;
        double rotation = 0.0;
        estimateRotation(run, subject, reference, 0.5, 0.0, accepted, rotation, pivotX, pivotY,
                         run.options.ZMIN);
        EXPECT_GT(accepted, 1000);
        EXPECT_NEAR(rotation, trueAngle, 0.03 * std::fabs(trueAngle));
    }
}

TEST(RotationEstimator, SeesNoTurnWhenTheSamplesLieOnTheSurface) {
    sorvek::Run run = streetRun();
    Cloud subject = namedStreet(1000.0, 2000.0, 3);
    Cloud reference = subject;
    gridAndSort(run, subject, reference);
    std::int32_t accepted = 0;
    double rotation = 1.0;
    const double rms = estimateRotation(run, subject, reference, 0.5, 0.0, accepted, rotation, 1000.0,
                                        2000.0, run.options.ZMIN);
    EXPECT_GT(accepted, 1000);
    EXPECT_EQ(rms, 0.0);
    EXPECT_NEAR(rotation, 0.0, 1e-9);
}

// The estimator makes the measure's walk: with no lower limit its point-to-plane RMS and
// count are the measure's, to the last bit.
TEST(RotationEstimator, MeasuresExactlyWhatThePairMeasureMeasures) {
    for (const std::int32_t regMode : {0, 1}) {
        SCOPED_TRACE(regMode);
        sorvek::Run run = streetRun();
        run.options.REGMODE = regMode;
        Cloud subject = namedStreet(0.0, 0.0, 4);
        Cloud reference = namedStreet(0.0, 0.0, 5);
        rotateCloud(reference, 0.002, 0.0, 0.0);
        gridAndSort(run, subject, reference);
        std::int32_t measured = 0;
        std::int32_t estimated = 0;
        double rotation = 7.0;
        const double rms = measurePairRms(run, subject, reference, 0.2, measured, run.options.ZMIN);
        const double estimateRms = estimateRotation(run, subject, reference, 0.2, 0.0, estimated, rotation,
                                                    5.0, 5.0, run.options.ZMIN);
        EXPECT_EQ(estimated, measured);
        EXPECT_EQ(std::memcmp(&rms, &estimateRms, sizeof rms), 0);
        if (regMode == 0) {
            EXPECT_EQ(rotation, 0.0);  // point to point gives no turn
        }
    }
}

TEST(RotationEstimator, AcceptsOnlyDistancesBetweenBothLimits) {
    sorvek::Run run = streetRun();
    Cloud subject = namedStreet(0.0, 0.0, 6);
    Cloud reference = namedStreet(0.0, 0.0, 7);
    gridAndSort(run, subject, reference);
    std::int32_t all = 0;
    std::int32_t farOnes = 0;
    double rotation = 0.0;
    estimateRotation(run, subject, reference, 0.5, 0.0, all, rotation, 0.0, 0.0, run.options.ZMIN);
    estimateRotation(run, subject, reference, 0.5, 0.01, farOnes, rotation, 0.0, 0.0, run.options.ZMIN);
    EXPECT_GT(farOnes, 100);
    EXPECT_LT(farOnes, all);

    std::int32_t none = -1;
    rotation = 42.0;
    EXPECT_EQ(estimateRotation(run, subject, reference, 0.1, 0.2, none, rotation, 0.0, 0.0,
                               run.options.ZMIN), 999.0);
    EXPECT_EQ(none, 0);
    EXPECT_EQ(rotation, 42.0);  // left as the caller set it
}

TEST(RotationEstimator, FitsNothingInAnyOtherRegmode) {
    sorvek::Run run = streetRun();
    run.options.REGMODE = 2;
    Cloud subject = namedStreet(0.0, 0.0, 8);
    Cloud reference = namedStreet(0.0, 0.0, 9);
    gridAndSort(run, subject, reference);
    std::int32_t accepted = -1;
    double rotation = 42.0;
    EXPECT_EQ(estimateRotation(run, subject, reference, 0.5, 0.0, accepted, rotation, 0.0, 0.0,
                               run.options.ZMIN), 999.0);
    EXPECT_EQ(accepted, 0);
    EXPECT_EQ(rotation, 42.0);
    std::int32_t measured = 0;
    measurePairRms(run, subject, reference, 0.5, measured, run.options.ZMIN);
    EXPECT_GT(measured, 1000);  // the measure reads the same value as point to plane
}

TEST(RotationEstimator, GivesNotANumberAndNoTurnWhenNothingIsNeededAndNothingAccepted) {
    sorvek::Run run;
    run.options.MINNUMPTS = 0;
    run.options.NUMPPC = 0;
    run.state.cubeCount = 1;
    const Cloud cloud{inCube(0, 1, 2, 3)};
    std::int32_t accepted = -1;
    double rotation = 42.0;
    EXPECT_TRUE(std::isnan(estimateRotation(run, cloud, cloud, 0.5, 0.0, accepted, rotation, 3.0, 4.0,
                                            run.options.ZMIN)));
    EXPECT_EQ(accepted, 0);
    EXPECT_EQ(rotation, 0.0);
}

}  // namespace
}  // namespace sorvek
