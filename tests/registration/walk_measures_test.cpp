// The two measures of a pair on the cube walk: the RMS of one cloud against the other, and
// the closed-form turn that carries the reference's feet onto the samples.
#include "registration/pair_rms.h"
#include "registration/rotation_estimator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "points/work_cloud.h"
#include "registration/cube_walk.h"
#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Lays both clouds on the grid of their overlap and sorts them, as pair preparation does.
void gridAndSort(Run& run, Cloud& first, Cloud& second) {
    const CloudBounds overlap = overlapOf(computeBounds(first), computeBounds(second));
    for (Cloud* cloud : {&first, &second}) {
        assignCubes(run, *cloud, overlap, run.options.ZMIN);
        sortByCube(run, *cloud);
    }
}

// The walk reads clouds in cube order with their coordinates apart: sorted records are
// copied as they stand, their in-grid points being those below the grid's cube count.
WorkCloud workOf(const Run& run, const Cloud& sorted) {
    WorkCloud cloud;
    copySorted(run, sorted, run.state.cubeCount, cloud);
    return cloud;
}

double measure(Run& run, const Cloud& subject, const Cloud& reference, double maxDistance, std::int32_t& accepted) {
    return measurePairRms(run, workOf(run, subject), workOf(run, reference), maxDistance, accepted, run.options.ZMIN);
}

double estimate(Run& run, const Cloud& subject, const Cloud& reference, double maxDistance, double minDistance,
                std::int32_t& accepted, double& rotation, double pivotX, double pivotY) {
    return estimateRotation(run, workOf(run, subject), workOf(run, reference), maxDistance, minDistance, accepted,
                            rotation, pivotX, pivotY, run.options.ZMIN);
}

// Rolling ground, 12 m square, every `spacing` with a seeded jitter so that no three
// neighbours are collinear; shifted by `shiftX` and lifted by a two-hundredth of it.
Cloud namedGround(double spacing, double shiftX, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-0.3 * spacing, 0.3 * spacing);
    Cloud cloud;
    for (double y = 0.0; y < 12.0; y += spacing) {
        for (double x = 0.0; x < 12.0; x += spacing) {
            const double px = x + jitter(random);
            cloud.push_back({px + shiftX, y + jitter(random), 0.05 * std::sin(px) + (shiftX / 200.0)});
        }
    }
    return cloud;
}

// Sixteen subject points `lift` above sixteen small reference triangles, in one cube.
// Every coordinate is a binary fraction, so each distance is exactly `lift`.
std::pair<Cloud, Cloud> liftedTriangles(double lift) {
    Cloud subject, reference;
    for (int i = 0; i < 16; ++i) {
        const double x = 0.0625 + 0.25 * (i / 4);
        const double y = 0.0625 + 0.25 * (i % 4);
        subject.push_back({x, y, 0.25 + lift});
        reference.insert(reference.end(), {{x, y, 0.25}, {x + 0.0625, y, 0.25}, {x, y + 0.0625, 0.25}});
    }
    return {subject, reference};
}

// The distance limit is inclusive, and MINNUMPTS decides the result but not the count. A
// plane from fewer than three entered points, or a nearest point beyond 31.6 (999 is the
// empty place's squared distance), names no point: the sample is dropped.
TEST(PairMeasure, AcceptsUpToTheLimitNeedsMinnumptsAndDropsSamplesWithAnEmptyPlace) {
    const std::pair<Cloud, Cloud> half = liftedTriangles(0.5), quarter = liftedTriangles(0.25);
    const std::pair<Cloud, Cloud> pair{{{0.05, 0, 0}, {0.05, 0.1, 0}}, {{0, 0, 0}, {0.1, 0.1, 0}}};
    const std::pair<Cloud, Cloud> far{{{80, 0, 0}, {80, 80, 0}}, {{0, 0, 0}, {0, 80, 0}}};
    struct Case { const char* name; const std::pair<Cloud, Cloud>& clouds; std::int32_t regMode, numppc, minNumPts;
                  double maxDistance, dC, rms; std::int32_t accepted; };
    const Case cases[] = {
        {"point at the limit", half, 0, 10, 1, 0.5, 1, 0.5, 10}, {"plane at the limit", half, 1, 10, 1, 0.5, 1, 0.5, 10},
        {"point beyond", half, 0, 10, 1, 0.4999, 1, 999.0, 0}, {"plane beyond", half, 1, 10, 1, 0.4999, 1, 999.0, 0},
        {"just enough", quarter, 1, 10, 10, 1.0, 1, 0.25, 10}, {"one short", quarter, 1, 10, 11, 1.0, 1, 999.0, 10},
        {"negative minimum", quarter, 1, 10, -5, 1.0, 1, 0.25, 10}, {"nothing taken: 0 / 0", quarter, 1, 0, 0, 1.0, 1, nan, 0},
        {"a plane from two points", pair, 1, 2, 1, 100.0, 1000, 999.0, 0}, {"a plane from one point", pair, 1, 1, 1, 100.0, 1000, 999.0, 0},
        {"a nearest point beyond 31.6", far, 0, 2, 1, 100.0, 1000, 999.0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        run.options.REGMODE = c.regMode;
        run.options.MINNUMPTS = c.minNumPts;
        run.options.NUMPPC = c.numppc;
        run.options.dCX = run.options.dCY = run.options.dCZ = c.dC;
        auto [subject, reference] = c.clouds;
        gridAndSort(run, subject, reference);
        std::int32_t accepted = 7;
        const double rms = measure(run, subject, reference, c.maxDistance, accepted);
        EXPECT_TRUE(rms == c.rms || (std::isnan(rms) && std::isnan(c.rms))) << rms;
        EXPECT_EQ(accepted, c.accepted);
    }
}

// In mode 5 the measure writes its pairs beside the run; a file it cannot create is
// reported and left out, and the measure comes out as it does without diagnostics.
TEST(PairMeasure, ReportsADiagnosticFileItCannotCreateAndGoesOn) {
    const testing::ScratchDir scratch("diagnostics");
    const std::filesystem::path& dir = scratch.path;
    std::filesystem::create_directory(dir / "PointsScan1.txt");
    const std::filesystem::path previous = std::filesystem::current_path();
    sorvek::Run run;
    run.options.MINNUMPTS = 10;
    Cloud first = namedGround(0.2, 0.0, 1), second = namedGround(0.15, 4.0, 2);
    gridAndSort(run, first, second);
    std::int32_t accepted = 0;
    const double quiet = measure(run, second, first, 0.05, accepted);
    run.state.runMode = 5;
    std::filesystem::current_path(dir);
    ::testing::internal::CaptureStdout();
    const double rms = measure(run, second, first, 0.05, accepted);
    const std::string out = ::testing::internal::GetCapturedStdout();
    std::filesystem::current_path(previous);
    EXPECT_EQ(out, "Unable to create PointsScan1.txt \n");
    EXPECT_EQ(rms, quiet);
    EXPECT_TRUE(std::filesystem::exists(dir / "PointsScan2.txt"));
}

// 999,996 subject points in one cube end the run at once: the message, a key, status 0.
TEST(PairMeasure, TooManyPointsInOneCubeEndTheRunWithStatusZero) {
    const testing::ScratchDir scratch("too-many");
    const std::filesystem::path& dir = scratch.path;
    Cloud crowd(999996);
    for (std::size_t i = 0; i < crowd.size(); ++i) {
        crowd[i] = {0.5 * static_cast<double>(i % 1000) / 1000.0, 0.5 * static_cast<double>(i / 1000) / 1000.0, 0.25};
    }
    Cloud corners{{0, 0, 0}, {0.5, 0.5, 0.5}};
    for (const auto& [name, cloud] : {std::pair{"corners.bxyz", &corners}, std::pair{"crowd.bxyz", &crowd}}) {
        testing::writeFile(dir / name, std::string(reinterpret_cast<const char*>(cloud->data()), cloud->size() * sizeof(PointRecord)));
    }
    const testing::SessionResult result = testing::runSorvek(dir, {"corners.bxyz", "crowd.bxyz"}, "5\n");
    std::filesystem::remove(dir / "crowd.bxyz");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.ends_with("Sorting Data\ntoo many points!! Decrease cube search size!!! \n")) << result.out;
}

// The walk keeps its sampling of a subject between walks. Walking the same subject cloud
// again, after the sampling limits change, after it is placed anew on another grid, and
// with the roles of the clouds swapped must give what fresh copies give: a kept sampling
// that outlives its subject would show as a different count or RMS.
TEST(PairMeasure, KeptSamplingOfTheSubjectFollowsItsChanges) {
    sorvek::Run run;
    run.options.MINNUMPTS = 10;
    Cloud first = namedGround(0.2, 0.0, 1), second = namedGround(0.15, 4.0, 2);
    gridAndSort(run, first, second);
    WorkCloud subject = workOf(run, second);
    WorkCloud reference = workOf(run, first);
    const auto expectSame = [&](const char* step) {
        SCOPED_TRACE(step);
        std::int32_t kept = -1, fresh = -2;
        const double rms = measurePairRms(run, subject, reference, 0.05, kept, run.options.ZMIN);
        WorkCloud copy = subject;
        markChanged(copy);
        const double expected = measurePairRms(run, copy, reference, 0.05, fresh, run.options.ZMIN);
        EXPECT_GT(fresh, 20);
        EXPECT_EQ(kept, fresh);
        EXPECT_EQ(std::memcmp(&rms, &expected, sizeof rms), 0) << rms << " vs " << expected;
        measurePairRms(run, subject, reference, 0.05, kept, run.options.ZMIN);  // kept for the next step
    };
    expectSame("first walk");
    expectSame("same subject again");
    run.options.NUMPPC = 4;  // enough points a cube on the finer grid below
    expectSame("fewer samples a cube");
    // Both clouds placed anew on a finer grid: as many points, in another order.
    run.options.dCX = run.options.dCY = run.options.dCZ = 0.5;
    const CubeGrid finer =
        layCubeGrid(run.options, overlapOf(computeBounds(first), computeBounds(second)), run.options.ZMIN);
    CubeOrderScratch order;
    CloudCoordinates coordinates;
    splitCoordinates(run, second, coordinates);
    placeTurned(run, coordinates, turnAbout(0.0, 0.0, 0.0), finer, order, subject);
    splitCoordinates(run, first, coordinates);
    placeTurned(run, coordinates, turnAbout(0.0, 0.0, 0.0), finer, order, reference);
    expectSame("both on a finer grid");
    std::swap(subject, reference);
    expectSame("roles swapped");
}

// One sample (1, 0) whose foot on the plane x - y + 1 = 0 is (0, 1): the reference must
// turn by -pi/2 about the origin to carry the foot onto the sample.
TEST(RotationEstimator, TurnsASingleFootOntoItsSample) {
    sorvek::Run run;
    run.options.NUMPPC = run.options.MINNUMPTS = 1;
    run.state.cubeCount = 1;
    const Cloud subject{{1, 0, 0}};
    const Cloud reference{{0, 1, 0}, {0, 1, 1}, {1, 2, 0}};
    std::int32_t accepted = 0;
    double rotation = 99.0;
    EXPECT_NEAR(estimate(run, subject, reference, 2.0, 0.0, accepted, rotation, 0.0, 0.0), std::sqrt(2.0), 1e-15);
    EXPECT_EQ(accepted, 1);
    EXPECT_NEAR(rotation, -1.5707963267948966, 1e-15);
    EXPECT_EQ(estimate(run, subject, reference, 2.0, 1.5, accepted, rotation, 0.0, 0.0), 999.0);
    EXPECT_EQ(accepted, 0);  // the one distance, 1.414, lies below the lower limit
    run.options.NUMPPC = run.options.MINNUMPTS = 0;  // nothing needed and nothing accepted: 0 / 0, and no turn
    EXPECT_TRUE(std::isnan(estimate(run, subject, reference, 2.0, 0.0, accepted, rotation, 3.0, 4.0)));
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
        gridAndSort(run, subject, reference);
        std::int32_t accepted = 0;
        double rotation = 0.0;
        estimate(run, subject, reference, 0.5, 0.0, accepted, rotation, 1000.0, 2000.0);
        EXPECT_GT(accepted, 1000);
        EXPECT_NEAR(rotation, trueAngle, 0.03 * std::fabs(trueAngle));
    }
}

}  // namespace
}  // namespace sorvek
