#include "registration/pair_measure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "registration/cube_walk.h"
#include "registration/registration_fixtures.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

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
double literalMeasure(const sorvek::Run& run, const Cloud& subject, const Cloud& reference,
                      double maxDistance, std::int32_t& accepted) {
    const RunOptions& o = run.options;
    const auto numppc = static_cast<std::size_t>(o.NUMPPC);
    double sum = 0.0;
    accepted = 0;
    std::size_t subjectCursor = 0;
    std::size_t referenceCursor = 0;
    for (std::int64_t c = subject[0].cube; c < run.state.cubeCount; ++c) {
        std::vector<std::size_t> candidates;
        for (std::size_t i = subjectCursor; i < subject.size(); ++i) {
            if (subject[i].cube > c) { subjectCursor = i; break; }
            if (subject[i].cube == c && subject[i].z > o.ZMIN && o.ZMAX > subject[i].z) candidates.push_back(i);
        }
        for (std::size_t k = 0; candidates.size() >= numppc && k < numppc; ++k) {
            const PointRecord& s = subject[candidates[(k * candidates.size()) / numppc]];
            double d[3] = {999.0, 999.0, 999.0};
            std::size_t p[3] = {0, 0, 0};
            std::size_t neighbours = 0;
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
            if (isAccepted) {
                sum += squared;
                ++accepted;
            }
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
        Cloud first = namedGround(0.2, 0.0, 1);
        Cloud second = namedGround(0.15, 4.0, 2);  // the overlap is 8 m of 12, 2 cm higher
        fixtures::gridAndSort(run, first, second);
        for (const bool secondIsSubject : {true, false}) {  // the measure has a direction
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

// Sixteen subject points `lift` above sixteen small reference triangles, in one cube.
// Every coordinate is a binary fraction, so each distance is exactly `lift`.
TEST(PairMeasure, AcceptsUpToTheLimitAndNeedsMinnumptsSamples) {
    struct Case { std::int32_t regMode; double lift; double maxDistance; std::int32_t minNumPts; std::int32_t numppc; double rms; std::int32_t accepted; };
    const Case cases[] = {
        {0, 0.5, 0.5, 1, 10, 0.5, 10},     {1, 0.5, 0.5, 1, 10, 0.5, 10},  // the limit is inclusive
        {0, 0.5, 0.4999, 1, 10, 999.0, 0}, {1, 0.5, 0.4999, 1, 10, 999.0, 0},
        {1, 0.25, 1.0, 10, 10, 0.25, 10},  {1, 0.25, 1.0, 11, 10, 999.0, 10},  // count still valid
        {1, 0.25, 1.0, -5, 10, 0.25, 10},  {1, 0.25, 1.0, 0, 0, nan, 0},  // nothing taken: 0 / 0
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.regMode << " " << c.maxDistance << " " << c.minNumPts);
        sorvek::Run run;
        run.options.REGMODE = c.regMode;
        run.options.MINNUMPTS = c.minNumPts;
        run.options.NUMPPC = c.numppc;
        Cloud subject;
        Cloud reference;
        for (int i = 0; i < 16; ++i) {
            const double x = 0.0625 + 0.25 * (i / 4);
            const double y = 0.0625 + 0.25 * (i % 4);
            subject.push_back({x, y, 0.25 + c.lift});
            reference.insert(reference.end(), {{x, y, 0.25}, {x + 0.0625, y, 0.25}, {x, y + 0.0625, 0.25}});
        }
        fixtures::gridAndSort(run, subject, reference);
        std::int32_t accepted = 7;
        const double rms = measurePairRms(run, subject, reference, c.maxDistance, accepted, run.options.ZMIN);
        EXPECT_TRUE(rms == c.rms || (std::isnan(rms) && std::isnan(c.rms))) << rms;
        EXPECT_EQ(accepted, c.accepted);
    }
}

// A plane from fewer than three entered points, or a nearest point beyond 31.6 (999 is
// the empty place's squared distance), names no point: the sample is dropped.
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
        const bool isPointToPoint = c.regMode == 0;
        Cloud reference{{0, 0, 0}, {isPointToPoint ? 0 : c.spread, c.spread, 0}};
        const double subjectX = isPointToPoint ? c.spread : c.spread / 2;
        Cloud subject{{subjectX, 0, 0}, {subjectX, c.spread, 0}};
        fixtures::gridAndSort(run, subject, reference);
        std::int32_t accepted = -1;
        EXPECT_EQ(measurePairRms(run, subject, reference, 100.0, accepted, run.options.ZMIN), 999.0);
        EXPECT_EQ(accepted, 0);
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
    Cloud first = namedGround(0.2, 0.0, 1);
    Cloud second = namedGround(0.15, 4.0, 2);
    fixtures::gridAndSort(run, first, second);
    std::int32_t accepted = 0;
    const double quiet = measurePairRms(run, second, first, 0.05, accepted, run.options.ZMIN);
    run.state.runMode = 5;
    std::filesystem::current_path(dir);
    ::testing::internal::CaptureStdout();
    const double rms = measurePairRms(run, second, first, 0.05, accepted, run.options.ZMIN);
    const std::string out = ::testing::internal::GetCapturedStdout();
    std::filesystem::current_path(previous);
    EXPECT_EQ(out, "Unable to create PointsScan1.txt \n");
    EXPECT_EQ(rms, quiet);
    EXPECT_EQ(testing::readFile(dir / "RMSdistances.txt").rfind("#Distances for point pairs for Scanset\n", 0), 0U);
    EXPECT_EQ(testing::readFile(dir / "PointsScan2.txt").rfind("#X,Y,Z\n", 0), 0U);
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
    const std::string tail = "Sorting Data\ntoo many points!! Decrease cube search size!!! \n";
    ASSERT_GE(result.out.size(), tail.size());
    EXPECT_EQ(result.out.substr(result.out.size() - tail.size()), tail);
}

}  // namespace
}  // namespace sorvek
