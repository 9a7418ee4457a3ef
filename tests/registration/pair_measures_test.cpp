// The two measures of a pair on the cube walk: the RMS of one cloud against the other, and
// the closed-form turn that carries the reference's feet onto the samples.
#include "registration/pair_measure.h"
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

Point3 pointOf(const PointRecord& record) { return {record.x, record.y, record.z}; }

// The walk reads clouds in cube order with their coordinates apart: sorted records are
// copied as they stand, their in-grid points being those below the grid's cube count.
WorkCloud workOf(const Run& run, const Cloud& sorted) {
    WorkCloud cloud;
    copySorted(sorted, run.state.cubeCount, cloud);
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

// The walk exactly as the measure is defined: every cube index in turn, the reference
// run re-scanned from its cursor for every sample, the cursor moved on the last one.
double literalMeasure(const Run& run, const Cloud& subject, const Cloud& reference, double maxDistance,
                      std::int32_t& accepted) {
    const RunOptions& o = run.options;
    const auto numppc = static_cast<std::size_t>(o.NUMPPC);
    double sum = 0.0;
    accepted = 0;
    std::size_t subjectCursor = 0, referenceCursor = 0;
    for (std::int64_t c = subject[0].cube; c < run.state.cubeCount; ++c) {
        std::vector<std::size_t> candidates;
        for (std::size_t i = subjectCursor; i < subject.size(); ++i) {
            if (subject[i].cube > c) { subjectCursor = i; break; }
            if (subject[i].cube == c && subject[i].z > o.ZMIN && o.ZMAX > subject[i].z) candidates.push_back(i);
        }
        for (std::size_t k = 0; candidates.size() >= numppc && k < numppc; ++k) {
            const PointRecord& s = subject[candidates[(k * candidates.size()) / numppc]];
            double d[3] = {999.0, 999.0, 999.0};
            std::size_t p[3] = {0, 0, 0}, neighbours = 0;
            for (std::size_t j = referenceCursor; j < reference.size(); ++j) {
                const PointRecord& r = reference[j];
                if (r.cube > c) { if (k == numppc - 1) referenceCursor = j; break; }
                if (r.cube != c) continue;
                ++neighbours;
                const double q = ((r.y - s.y) * (r.y - s.y) + (r.x - s.x) * (r.x - s.x)) + (r.z - s.z) * (r.z - s.z);
                if (!(d[2] > q)) continue;
                if (d[0] >= q) { d[2] = d[1]; p[2] = p[1]; d[1] = d[0]; p[1] = p[0]; d[0] = q; p[0] = j; }
                else if (d[1] >= q) { d[2] = d[1]; p[2] = p[1]; d[1] = q; p[1] = j; }
                else { d[2] = q; p[2] = j; }
            }
            if (neighbours < numppc || d[o.REGMODE == 0 ? 0 : 2] == 999.0) continue;
            double squared = d[0];
            bool isAccepted = maxDistance * maxDistance >= squared;
            if (o.REGMODE != 0) {
                const Plane plane = planeThroughPoints(pointOf(reference[p[0]]), pointOf(reference[p[1]]), pointOf(reference[p[2]]));
                const double distance = distanceToPlane(plane, pointOf(s));
                squared = distance * distance;
                isAccepted = !isDegenerate(plane) && maxDistance >= distance;
            }
            if (isAccepted) { sum += squared; ++accepted; }
        }
    }
    return accepted >= o.MINNUMPTS ? std::sqrt(sum / accepted) : 999.0;
}

TEST(PairMeasure, AgreesWithTheLiteralWalkOnGroundsThatOverlapInPart) {
    struct Case { const char* name; std::int32_t regMode; double dC; std::int32_t numppc; double zMax; double maxDistance; };
    const Case cases[] = {
        {"point to plane, metre cubes", 1, 1.0, 10, 1e10, 0.05},
        {"point to point, metre cubes", 0, 1.0, 10, 1e10, 0.15},
        {"point to plane, small cubes, a z cut", 1, 0.5, 4, 0.03, 0.05},
        {"point to plane, large cubes", 1, 3.0, 25, 1e10, 0.05},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        run.options.REGMODE = c.regMode;
        run.options.dCX = run.options.dCY = run.options.dCZ = c.dC;
        run.options.NUMPPC = c.numppc;
        run.options.ZMAX = c.zMax;
        run.options.MINNUMPTS = 10;
        // The second ground is denser, 4 m east and 2 cm higher: they overlap in 8 m of 12.
        Cloud first = namedGround(0.2, 0.0, 1), second = namedGround(0.15, 4.0, 2);
        gridAndSort(run, first, second);
        for (const bool secondIsSubject : {true, false}) {  // the measure has a direction
            const Cloud& subject = secondIsSubject ? second : first;
            const Cloud& reference = secondIsSubject ? first : second;
            std::int32_t accepted = -1, expectedAccepted = -2;
            const double rms = measure(run, subject, reference, c.maxDistance, accepted);
            const double expected = literalMeasure(run, subject, reference, c.maxDistance, expectedAccepted);
            EXPECT_EQ(accepted, expectedAccepted);
            EXPECT_GT(accepted, 100);
            EXPECT_EQ(std::memcmp(&rms, &expected, sizeof rms), 0) << rms << " vs " << expected;
        }
    }
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
    const std::filesystem::path dir = testing::makeScratchDir("diagnostics");
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
    EXPECT_TRUE(testing::readFile(dir / "RMSdistances.txt").starts_with("#Distances for point pairs for Scanset\n"));
    EXPECT_TRUE(testing::readFile(dir / "PointsScan2.txt").starts_with("#X,Y,Z\n"));
    std::filesystem::remove_all(dir);
}

// 999,996 subject points in one cube end the run at once: the message, a key, status 0.
TEST(PairMeasure, TooManyPointsInOneCubeEndTheRunWithStatusZero) {
    const std::filesystem::path dir = testing::makeScratchDir("too-many");
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
