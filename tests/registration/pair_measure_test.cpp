#include "registration/pair_measure.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "registration/surface_geometry.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

PointRecord at(double x, double y, double z) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    return point;
}

// A gently rolling ground of `side` by `side` metres sampled every `spacing`, with a
// seeded jitter so that no three neighbours are collinear, lifted by `lift`.
Cloud namedGround(double side, double spacing, double lift, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-0.3 * spacing, 0.3 * spacing);
    Cloud cloud;
    for (double y = 0.0; y < side; y += spacing) {
        for (double x = 0.0; x < side; x += spacing) {
            const double px = x + jitter(random);
            const double py = y + jitter(random);
            cloud.push_back(at(px, py, 0.05 * std::sin(px) + lift));
        }
    }
    return cloud;
}

// Lays the grid of the common box on both clouds and sorts them, as pair preparation does.
void gridAndSort(sorvek::Run& run, Cloud& first, Cloud& second) {
    const CloudBounds overlap = overlapOf(computeBounds(first), computeBounds(second));
    assignCubes(run, first, overlap, run.options.ZMIN);
    assignCubes(run, second, overlap, run.options.ZMIN);
    sortByCube(first, run.pair.buffers.sortScratch);
    sortByCube(second, run.pair.buffers.sortScratch);
}

// The walk exactly as the measure is defined: every cube index in turn, the reference
// run re-scanned from its cursor for every sample, the cursor moved on the last one.
double literalMeasure(const sorvek::Run& run, const Cloud& subject, const Cloud& reference,
                      double maxDistance, std::int32_t& acceptedCount) {
    const RunOptions& o = run.options;
    const auto numppc = static_cast<std::size_t>(o.NUMPPC);
    double sum = 0.0;
    acceptedCount = 0;
    std::size_t subjectCursor = 0;
    std::size_t referenceCursor = 0;
    std::vector<std::size_t> candidates;
    for (std::int64_t c = subject[0].cube; c < run.state.cubeCount; ++c) {
        candidates.clear();
        for (std::size_t i = subjectCursor; i < subject.size(); ++i) {
            if (subject[i].cube > c) { subjectCursor = i; break; }
            if (subject[i].cube == c && subject[i].z > o.ZMIN && o.ZMAX > subject[i].z) candidates.push_back(i);
        }
        if (candidates.size() < numppc) continue;
        for (std::size_t k = 0; k < numppc; ++k) {
            const PointRecord& s = subject[candidates[(k * candidates.size()) / numppc]];
            double d[3] = {999.0, 999.0, 999.0};
            std::int64_t p[3] = {-1, -1, -1};
            std::size_t neighbours = 0;
            for (std::size_t j = referenceCursor; j < reference.size(); ++j) {
                const PointRecord& r = reference[j];
                if (r.cube > c) { if (k == numppc - 1) referenceCursor = j; break; }
                if (r.cube != c) continue;
                ++neighbours;
                const double q = ((r.y - s.y) * (r.y - s.y) + (r.x - s.x) * (r.x - s.x)) + (r.z - s.z) * (r.z - s.z);
                const auto j64 = static_cast<std::int64_t>(j);
                if (!(d[2] > q)) continue;
                if (d[0] >= q) { d[2] = d[1]; p[2] = p[1]; d[1] = d[0]; p[1] = p[0]; d[0] = q; p[0] = j64; }
                else if (d[1] >= q) { d[2] = d[1]; p[2] = p[1]; d[1] = q; p[1] = j64; }
                else { d[2] = q; p[2] = j64; }
            }
            if (neighbours < numppc) continue;
            if (o.REGMODE == 0) {
                if (p[0] < 0 || !(maxDistance * maxDistance >= d[0])) continue;
                sum += d[0];
                ++acceptedCount;
                continue;
            }
            if (p[2] < 0) continue;
            const auto point = [&](int place) {
                const PointRecord& r = reference[static_cast<std::size_t>(p[place])];
                return Point3{r.x, r.y, r.z};
            };
            const Plane plane = planeThroughPoints(point(0), point(1), point(2));
            if (isDegenerate(plane)) continue;
            const double distance = distanceToPlane(plane, {s.x, s.y, s.z});
            if (!(maxDistance >= distance)) continue;
            sum += distance * distance;
            ++acceptedCount;
        }
    }
    return acceptedCount >= o.MINNUMPTS ? std::sqrt(sum / acceptedCount) : 999.0;
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
        Cloud first = namedGround(12.0, 0.2, 0.0, 1);
        Cloud second = namedGround(12.0, 0.15, 0.02, 2);
        for (PointRecord& point : second) point.x += 4.0;  // the overlap is 8 m of 12
        gridAndSort(run, first, second);
        for (const bool secondIsSubject : {true, false}) {
            const Cloud& subject = secondIsSubject ? second : first;
            const Cloud& reference = secondIsSubject ? first : second;
            std::int32_t accepted = -1;
            std::int32_t expectedAccepted = -2;
            const double rms = measurePairRms(run, subject, reference, c.maxDistance, accepted, run.options.ZMIN);
            const double expected = literalMeasure(run, subject, reference, c.maxDistance, expectedAccepted);
            EXPECT_EQ(accepted, expectedAccepted);
            EXPECT_GT(accepted, 100);
            EXPECT_EQ(std::memcmp(&rms, &expected, sizeof rms), 0) << rms << " vs " << expected;
        }
    }
}

TEST(PairMeasure, FindsTheLiftBetweenTwoSamplingsOfOneGround) {
    sorvek::Run run;
    run.options.MINNUMPTS = 100;
    Cloud reference = namedGround(10.0, 0.1, 0.0, 3);
    Cloud subject = namedGround(10.0, 0.1, 0.03, 3);  // the same points, 3 cm higher
    gridAndSort(run, subject, reference);
    std::int32_t accepted = 0;
    const double rms = measurePairRms(run, subject, reference, 0.5, accepted, run.options.ZMIN);
    EXPECT_GT(accepted, 500);
    EXPECT_NEAR(rms, 0.03, 2e-4);  // the ground is nearly flat within a cube
}

// A flat pair in one cube: sixteen subject points `lift` above sixteen small reference
// triangles. Every coordinate is a binary fraction, so each distance is exactly `lift`.
void liftedFlatPair(sorvek::Run& run, double lift, Cloud& subject, Cloud& reference) {
    reference.clear();
    subject.clear();
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            const double x = 0.0625 + 0.25 * i;
            const double y = 0.0625 + 0.25 * j;
            subject.push_back(at(x, y, 0.25 + lift));
            reference.push_back(at(x, y, 0.25));
            reference.push_back(at(x + 0.0625, y, 0.25));
            reference.push_back(at(x, y + 0.0625, 0.25));
        }
    }
    gridAndSort(run, subject, reference);
}

TEST(PairMeasure, AcceptsADistanceEqualToTheLimitInBothMetrics) {
    for (const std::int32_t regMode : {0, 1}) {
        SCOPED_TRACE(regMode);
        sorvek::Run run;
        run.options.REGMODE = regMode;
        run.options.MINNUMPTS = 1;
        Cloud subject;
        Cloud reference;
        liftedFlatPair(run, 0.5, subject, reference);
        std::int32_t accepted = 0;
        EXPECT_EQ(measurePairRms(run, subject, reference, 0.5, accepted, run.options.ZMIN), 0.5);
        EXPECT_EQ(accepted, 10);
        EXPECT_EQ(measurePairRms(run, subject, reference, 0.4999, accepted, run.options.ZMIN), 999.0);
        EXPECT_EQ(accepted, 0);
    }
}

TEST(PairMeasure, NeedsMinnumptsAcceptedSamples) {
    struct Case { std::int32_t minNumPts; double rms; };
    for (const Case c : {Case{10, 0.25}, Case{11, 999.0}, Case{-5, 0.25}}) {
        SCOPED_TRACE(c.minNumPts);
        sorvek::Run run;
        run.options.MINNUMPTS = c.minNumPts;
        Cloud subject;
        Cloud reference;
        liftedFlatPair(run, 0.25, subject, reference);
        std::int32_t accepted = 0;
        EXPECT_EQ(measurePairRms(run, subject, reference, 1.0, accepted, run.options.ZMIN), c.rms);
        EXPECT_EQ(accepted, 10);  // valid whatever the result
    }
}

TEST(PairMeasure, GivesNotANumberWhenNoSampleIsNeededAndNoneAccepted) {
    sorvek::Run run;
    run.options.MINNUMPTS = 0;
    run.options.NUMPPC = 0;  // takes no samples at all
    Cloud subject;
    Cloud reference;
    liftedFlatPair(run, 0.25, subject, reference);
    std::int32_t accepted = 7;
    EXPECT_TRUE(std::isnan(measurePairRms(run, subject, reference, 1.0, accepted, run.options.ZMIN)));
    EXPECT_EQ(accepted, 0);
}

TEST(PairMeasure, DropsSamplesWhosePlaneIsDegenerateButNotTheirNearestPoint) {
    struct Case { std::int32_t regMode; std::int32_t accepted; };
    for (const Case c : {Case{1, 0}, Case{0, 3}}) {
        SCOPED_TRACE(c.regMode);
        sorvek::Run run;
        run.options.REGMODE = c.regMode;
        run.options.NUMPPC = 3;
        run.options.MINNUMPTS = 1;
        // Reference points on one line: every plane through them is degenerate.
        Cloud reference{at(0.1, 0.1, 0.1), at(0.2, 0.2, 0.2), at(0.4, 0.4, 0.4), at(0.8, 0.8, 0.8)};
        Cloud subject{at(0.1, 0.2, 0.3), at(0.3, 0.2, 0.1), at(0.5, 0.5, 0.6), at(0.9, 0.8, 0.7)};
        gridAndSort(run, subject, reference);
        std::int32_t accepted = 0;
        measurePairRms(run, subject, reference, 1.0, accepted, run.options.ZMIN);
        EXPECT_EQ(accepted, c.accepted);
    }
}

TEST(PairMeasure, DropsSamplesWhoseNearestListHasAnEmptyPlaceItNeeds) {
    struct Case { const char* name; std::int32_t regMode; std::int32_t numppc; double spread; };
    const Case cases[] = {
        {"a plane from two points", 1, 2, 0.1},
        {"a plane from one point", 1, 1, 0.1},
        {"a nearest point beyond 31.6", 0, 2, 80.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        run.options.REGMODE = c.regMode;
        run.options.NUMPPC = c.numppc;
        run.options.MINNUMPTS = 1;
        run.options.dCX = run.options.dCY = run.options.dCZ = 1000.0;
        Cloud reference{at(0, 0, 0), at(c.spread, c.spread, 0)};
        Cloud subject{at(c.spread / 2, 0, 0), at(c.spread / 2, c.spread, 0)};
        if (c.regMode == 0) reference = {at(0, 0, 0), at(0, c.spread, 0)};
        if (c.regMode == 0) subject = {at(c.spread, 0, 0), at(c.spread, c.spread, 0)};
        gridAndSort(run, subject, reference);
        std::int32_t accepted = -1;
        EXPECT_EQ(measurePairRms(run, subject, reference, 100.0, accepted, run.options.ZMIN), 999.0);
        EXPECT_EQ(accepted, 0);
    }
}

TEST(PairMeasure, HasADirection) {
    sorvek::Run run;
    run.options.MINNUMPTS = 1;
    Cloud first = namedGround(6.0, 0.1, 0.0, 5);
    Cloud second = namedGround(6.0, 0.3, 0.01, 6);
    gridAndSort(run, first, second);
    std::int32_t accepted = 0;
    const double firstAgainstSecond = measurePairRms(run, first, second, 0.5, accepted, run.options.ZMIN);
    const double secondAgainstFirst = measurePairRms(run, second, first, 0.5, accepted, run.options.ZMIN);
    EXPECT_NE(firstAgainstSecond, secondAgainstFirst);
}

// In mode 5 the measure writes its pairs beside the run; a file it cannot create is
// reported and left out, and the measure goes on.
TEST(PairMeasure, ReportsADiagnosticFileItCannotCreateAndGoesOn) {
    const std::filesystem::path dir = testing::makeScratchDir("diagnostics");
    std::filesystem::create_directory(dir / "PointsScan1.txt");
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(dir);
    sorvek::Run run;
    run.state.runMode = 5;
    run.options.REGMODE = 0;
    run.options.MINNUMPTS = 1;
    Cloud subject;
    Cloud reference;
    liftedFlatPair(run, 0.25, subject, reference);
    std::int32_t accepted = 0;
    ::testing::internal::CaptureStdout();
    const double rms = measurePairRms(run, subject, reference, 1.0, accepted, run.options.ZMIN);
    const std::string out = ::testing::internal::GetCapturedStdout();
    std::filesystem::current_path(previous);
    EXPECT_EQ(out, "Unable to create PointsScan1.txt \n");
    EXPECT_EQ(rms, 0.25);
    std::string expectedDistances = "#Distances for point pairs for Scanset\n";
    for (int i = 0; i < 10; ++i) expectedDistances += "0.062500\n";
    EXPECT_EQ(testing::readFile(dir / "RMSdistances.txt"), expectedDistances);
    EXPECT_EQ(testing::readFile(dir / "PointsScan2.txt").substr(0, 34), "#X,Y,Z\n0.062500,0.062500,0.250000\n");
}

// 999,996 subject points in one cube end the run at the first measure: the message, one
// key, and exit status 0, without the closing lines.
TEST(PairMeasure, TooManyPointsInOneCubeEndTheRunWithStatusZero) {
    const std::filesystem::path dir = testing::makeScratchDir("too-many");
    Cloud crowd(999996);
    for (std::size_t i = 0; i < crowd.size(); ++i) {
        crowd[i].x = 0.5 * static_cast<double>(i % 1000) / 1000.0;
        crowd[i].y = 0.5 * static_cast<double>(i / 1000) / 1000.0;
        crowd[i].z = 0.25;
    }
    const Cloud corners{at(0, 0, 0), at(0.5, 0.5, 0.5)};
    const auto bytesOf = [](const Cloud& cloud) {
        return std::string(reinterpret_cast<const char*>(cloud.data()), cloud.size() * sizeof(PointRecord));
    };
    testing::writeFile(dir / "corners.bxyz", bytesOf(corners));
    testing::writeFile(dir / "crowd.bxyz", bytesOf(crowd));
    const testing::SessionResult result = testing::runSorvek(dir, {"corners.bxyz", "crowd.bxyz"}, "5\n");
    std::filesystem::remove(dir / "crowd.bxyz");
    EXPECT_EQ(result.exitCode, 0);
    const std::string tail = "Sorting Data\ntoo many points!! Decrease cube search size!!! \n";
    ASSERT_GE(result.out.size(), tail.size());
    EXPECT_EQ(result.out.substr(result.out.size() - tail.size()), tail);
}

}  // namespace
}  // namespace sorvek
