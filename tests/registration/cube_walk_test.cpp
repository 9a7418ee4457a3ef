#include "registration/cube_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace sorvek {
namespace {

PointRecord inCube(std::uint32_t cube, double x, double y, double z) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    point.cube = cube;
    return point;
}

// `count` points of cube 0 along x, numbered by their x.
Cloud rowInCubeZero(int count) {
    Cloud cloud;
    for (int i = 0; i < count; ++i) cloud.push_back(inCube(0, i, 0, 0.5));
    return cloud;
}

std::vector<double> sampledXs(sorvek::Run& run, const Cloud& subject, const Cloud& reference) {
    std::vector<double> xs;
    CubeWalk walk = startCubeWalk(run, subject, reference, run.options.ZMIN);
    while (nextSampledCube(walk)) {
        for (std::int32_t k = 0; k < walk.samplesPerCube; ++k) xs.push_back(sampleOf(walk, k).x);
    }
    return xs;
}

TEST(CubeWalk, SpreadsTheSamplesEvenlyOverTheCandidates) {
    sorvek::Run run;
    run.state.cubeCount = 1;
    const Cloud reference = rowInCubeZero(10);
    EXPECT_EQ(sampledXs(run, rowInCubeZero(25), reference),
              (std::vector<double>{0, 2, 5, 7, 10, 12, 15, 17, 20, 22}));
    EXPECT_EQ(sampledXs(run, rowInCubeZero(10), reference),
              (std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(CubeWalk, SamplesOnlyStrictlyInsideTheZBand) {
    sorvek::Run run;
    run.state.cubeCount = 1;
    run.options.NUMPPC = 2;
    run.options.ZMAX = 4.0;
    const double zMin = 1.0;
    Cloud subject;
    for (const double z : {1.0, 1.5, 4.0, 3.9, 0.0, std::numeric_limits<double>::quiet_NaN()}) {
        subject.push_back(inCube(0, z, 0, z));
    }
    const Cloud reference = rowInCubeZero(2);
    std::vector<double> xs;
    CubeWalk walk = startCubeWalk(run, subject, reference, zMin);
    while (nextSampledCube(walk)) {
        for (std::int32_t k = 0; k < walk.samplesPerCube; ++k) xs.push_back(sampleOf(walk, k).x);
    }
    EXPECT_EQ(xs, (std::vector<double>{1.5, 3.9}));
}

TEST(CubeWalk, DropsCubesShortOfNumppcInEitherCloud) {
    sorvek::Run run;
    run.options.NUMPPC = 3;
    run.state.cubeCount = 6;
    // Cube 1: 3 subject, 2 reference. Cube 2: 2 subject, 5 reference. Cube 4: 3 and 3.
    // Cube 6 is the out-of-grid index and is never visited.
    const Cloud subject{inCube(1, 10, 0, 0), inCube(1, 11, 0, 0), inCube(1, 12, 0, 0),
                        inCube(2, 20, 0, 0), inCube(2, 21, 0, 0), inCube(4, 40, 0, 0),
                        inCube(4, 41, 0, 0), inCube(4, 42, 0, 0), inCube(6, 60, 0, 0),
                        inCube(6, 61, 0, 0), inCube(6, 62, 0, 0)};
    Cloud reference{inCube(0, 0, 0, 0), inCube(1, 1, 0, 0), inCube(1, 1, 0, 0)};
    for (int i = 0; i < 5; ++i) reference.push_back(inCube(2, 2, 0, 0));
    for (int i = 0; i < 3; ++i) reference.push_back(inCube(4, 4, 0, 0));
    for (int i = 0; i < 3; ++i) reference.push_back(inCube(6, 6, 0, 0));
    EXPECT_EQ(sampledXs(run, subject, reference), (std::vector<double>{40, 41, 42}));

    run.options.NUMPPC = 0;
    EXPECT_TRUE(sampledXs(run, subject, reference).empty());
}

TEST(CubeWalk, VisitsNothingWhenTheFirstSubjectPointIsOutOfTheGrid) {
    sorvek::Run run;
    run.options.NUMPPC = 1;
    run.state.cubeCount = 2;
    const Cloud subject{inCube(2, 0, 0, 0), inCube(2, 1, 0, 0)};
    const Cloud reference{inCube(0, 0, 0, 0), inCube(1, 0, 0, 0), inCube(2, 0, 0, 0)};
    EXPECT_TRUE(sampledXs(run, subject, reference).empty());
    run.state.cubeCount = 0;  // the empty grid: every cube 0
    const Cloud zeros{inCube(0, 0, 0, 0)};
    EXPECT_TRUE(sampledXs(run, zeros, zeros).empty());
}

NearestList nearestOf(sorvek::Run& run, const Cloud& reference, const PointRecord& sample) {
    const Cloud subject(static_cast<std::size_t>(run.options.NUMPPC), sample);
    CubeWalk walk = startCubeWalk(run, subject, reference, run.options.ZMIN);
    EXPECT_TRUE(nextSampledCube(walk));
    return nearestInCube(walk, sample);
}

TEST(NearestList, PutsTheLaterOfEqualPointsInFrontExceptAtThirdPlace) {
    sorvek::Run run;
    run.options.NUMPPC = 1;
    run.state.cubeCount = 1;
    // Four points at squared distance 1 around the sample, then a nearer one at 0.25.
    const Cloud equal{inCube(0, 1, 0, 0), inCube(0, -1, 0, 0), inCube(0, 0, 1, 0), inCube(0, 0, -1, 0)};
    const NearestList list = nearestOf(run, equal, inCube(0, 0, 0, 0));
    EXPECT_EQ(list.position, (std::array<std::int32_t, 3>{2, 1, 0}));
    EXPECT_EQ(list.squaredDistance, (std::array<double, 3>{1, 1, 1}));

    Cloud withNearer = equal;
    withNearer.push_back(inCube(0, 0.5, 0, 0));
    const NearestList after = nearestOf(run, withNearer, inCube(0, 0, 0, 0));
    EXPECT_EQ(after.position, (std::array<std::int32_t, 3>{4, 2, 1}));
}

TEST(NearestList, NeverEntersPointsAt999OrBeyondOrNotANumber) {
    sorvek::Run run;
    run.options.NUMPPC = 3;
    run.state.cubeCount = 1;
    const double far = 31.607;  // squared, just above 999
    const Cloud reference{inCube(0, far, 0, 0), inCube(0, 0, 40, 0),
                          inCube(0, std::numeric_limits<double>::quiet_NaN(), 0, 0),
                          inCube(0, 0, 0, 31.6)};
    const NearestList list = nearestOf(run, reference, inCube(0, 0, 0, 0));
    EXPECT_EQ(list.position, (std::array<std::int32_t, 3>{3, -1, -1}));
    EXPECT_EQ(list.squaredDistance[1], 999.0);
}

// Whatever the order and the ties, the list holds the three smallest squared distances
// below 999 that a brute-force pass over the cube finds.
TEST(NearestList, HoldsTheThreeSmallestDistancesOfTheCube) {
    sorvek::Run run;
    run.options.NUMPPC = 1;
    run.state.cubeCount = 1;
    std::mt19937 random(11);
    std::uniform_int_distribution<int> step(-3, 3);  // small integers: many ties
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        Cloud reference;
        for (int i = 0; i < 12; ++i) reference.push_back(inCube(0, step(random), step(random), step(random)));
        const PointRecord sample = inCube(0, step(random), step(random), step(random));
        std::vector<double> all;
        for (const PointRecord& point : reference) {
            const double dx = point.x - sample.x;
            const double dy = point.y - sample.y;
            const double dz = point.z - sample.z;
            all.push_back(dx * dx + dy * dy + dz * dz);
        }
        std::sort(all.begin(), all.end());
        const NearestList list = nearestOf(run, reference, sample);
        for (std::size_t place = 0; place < 3; ++place) {
            EXPECT_EQ(list.squaredDistance[place], all[place]);
            const PointRecord& entered = reference[static_cast<std::size_t>(list.position[place])];
            const double dx = entered.x - sample.x;
            const double dy = entered.y - sample.y;
            const double dz = entered.z - sample.z;
            EXPECT_EQ(dx * dx + dy * dy + dz * dz, all[place]);
        }
    }
}

}  // namespace
}  // namespace sorvek
