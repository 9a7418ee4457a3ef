#include "points/pair_preparation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include "registration/pair_measure.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

// A 4 m square of ground every 0.1 m, rippled so that no three neighbours are collinear,
// shifted by (dx, dy) and lifted by dz.
Cloud namedRippledGround(double dx, double dy, double dz) {
    Cloud cloud;
    for (int i = 0; i < 40; ++i) {
        for (int j = 0; j < 40; ++j) {
            PointRecord point;
            point.x = dx + 0.1 * i + 0.01 * std::sin(j);
            point.y = dy + 0.1 * j + 0.01 * std::cos(i);
            point.z = dz + 0.02 * std::sin(0.7 * i + 0.3 * j);
            cloud.push_back(point);
        }
    }
    return cloud;
}

std::string bytesOf(const Cloud& cloud) {
    return std::string(reinterpret_cast<const char*>(cloud.data()), cloud.size() * sizeof(PointRecord));
}

std::string textOf(const Cloud& cloud) {
    std::string text = "# x,y,z\n";
    char line[100];
    for (const PointRecord& point : cloud) {
        std::snprintf(line, sizeof line, "%.6f,%.6f,%.6f\n", point.x, point.y, point.z);
        text += line;
    }
    return text;
}

struct Prepared {
    std::int32_t result = -1;
    std::string out;
    std::string err;
};

Prepared prepare(sorvek::Run& run) {
    CaptureStdout();
    CaptureStderr();
    Prepared prepared;
    prepared.result = prepareScanPair(run);
    prepared.out = GetCapturedStdout();
    prepared.err = GetCapturedStderr();
    return prepared;
}

class PairPreparation : public ::testing::Test {
protected:
    void SetUp() override {
        dir = testing::makeScratchDir("pair-preparation");
        previous = std::filesystem::current_path();
        std::filesystem::current_path(dir);  // mode 5 writes its diagnostics here
        run.options.MINNUMPTS = 10;
    }
    void TearDown() override { std::filesystem::current_path(previous); }

    std::string write(const std::string& name, const std::string& contents) {
        testing::writeFile(dir / name, contents);
        return (dir / name).string();
    }

    std::filesystem::path dir;
    std::filesystem::path previous;
    sorvek::Run run;
};

TEST_F(PairPreparation, MeasuresBothDirectionsAndKeepsThe32BitMean) {
    run.state.runMode = 5;
    run.options.MAXDISTINITIAL = 0.045;  // near the lift, so that the directions differ
    run.pair.firstPath = write("a.bxyz", bytesOf(namedRippledGround(0, 0, 0)));
    run.pair.secondPath = write("b.bxyz", bytesOf(namedRippledGround(1.05, 0.03, 0.04)));
    const Prepared prepared = prepare(run);
    ASSERT_EQ(prepared.result, 1);

    // The prepared clouds are sorted on the pair's grid: measuring them again must give
    // the very numbers that were stored, rounded to 32 bits.
    std::int32_t count21 = 0;
    std::int32_t count12 = 0;
    const double rms21 = measurePairRms(run, run.pair.secondCloud, run.pair.firstCloud, 0.045, count21, run.options.ZMIN);
    const double rms12 = measurePairRms(run, run.pair.firstCloud, run.pair.secondCloud, 0.045, count12, run.options.ZMIN);
    EXPECT_NE(count21, count12);
    EXPECT_EQ(run.pair.initialRms21, static_cast<float>(rms21));
    EXPECT_EQ(run.pair.initialRms12, static_cast<float>(rms12));
    EXPECT_NE(static_cast<double>(run.pair.initialRms21), rms21);  // precision did fall
    const float sum = run.pair.initialRms12 + run.pair.initialRms21;
    EXPECT_EQ(run.pair.initialRms, static_cast<float>(static_cast<double>(sum) * 0.5));

    char line[100];
    std::snprintf(line, sizeof line, "Initial rms = %f calculated from %i pts\n",
                  static_cast<double>(run.pair.initialRms), count12);  // the second call's count
    EXPECT_EQ(prepared.out.substr(prepared.out.size() - std::string(line).size()), line);
    EXPECT_EQ(run.pair.meanCliffDistance, 0.0);
    EXPECT_EQ(prepared.out.find("Cliff"), std::string::npos);
    EXPECT_EQ(prepared.out.find("Rotation Matrix"), std::string::npos);  // never in mode 5
}

TEST_F(PairPreparation, MovesBothScansIntoTheSurveyFrameOnlyWhenAsked) {
    run.state.runMode = 3;  // prepared, not measured
    run.state.scans.resize(2);
    run.state.scans[0].gpsX = 100.0;
    run.state.scans[0].scanId = 41;
    run.state.scans[1].gpsX = 101.0;
    run.state.scans[1].rotZ = 0.5;
    run.state.scans[1].scanId = 42;
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstPath = write("a.bxyz", bytesOf(namedRippledGround(0, 0, 0)));
    run.pair.secondPath = write("b.bxyz", bytesOf(namedRippledGround(0, 0, 0)));

    const Prepared moved = prepare(run);
    EXPECT_EQ(moved.result, 1);
    EXPECT_NEAR(run.pair.firstBounds.minX, 100.0, 0.02);
    EXPECT_NE(moved.out.find("Assigned 1600 Points from scan 41 to "), std::string::npos);
    EXPECT_NE(moved.out.find("Assigned 1600 Points from scan 42 to "), std::string::npos);
    std::size_t matrices = 0;
    for (std::size_t at = moved.out.find("Rotation Matrix"); at != std::string::npos;
         at = moved.out.find("Rotation Matrix", at + 1)) {
        ++matrices;
    }
    EXPECT_EQ(matrices, 2U);
    EXPECT_EQ(moved.out.find("Initial rms"), std::string::npos);
    EXPECT_EQ(run.pair.initialRms, noInitialRms);

    run.options.SCANTRANSFORM = 1;
    const Prepared raw = prepare(run);
    EXPECT_EQ(raw.out.find("Rotation Matrix"), std::string::npos);
    EXPECT_NEAR(run.pair.firstBounds.minX, 0.0, 0.02);
}

TEST_F(PairPreparation, TriesTheSecondFileWhenTheFirstIsMissing) {
    run.state.runMode = 5;
    run.pair.firstPath = (dir / "missing.bxyz").string();
    run.pair.secondPath = write("b.txt", textOf(namedRippledGround(0, 0, 0)));
    const Prepared prepared = prepare(run);
    EXPECT_EQ(prepared.result, 0);
    EXPECT_EQ(prepared.out, "Preparing data for registration.... \n"
                            "UNABLE TO OPEN FILE " + run.pair.firstPath + " \n"
                            "NO POINTS in file!!!!!  \n"
                            "Finished loading 0 points\n"
                            "Loading 1600 points from file " + run.pair.secondPath + " \n"
                            "Finished loading 1600 points\n");
    EXPECT_EQ(prepared.err, "Could not open input file " + run.pair.firstPath +
                                ".  Skipping to next! \n\n0 points successfully loaded! \n");
}

TEST_F(PairPreparation, HalvesTheCliffDistanceOfATextScanBesideABinaryOne) {
    run.state.runMode = 1;
    run.state.scans.resize(2);
    run.options.SCANTRANSFORM = 1;
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstPath = write("a.txt", "0,0,1\n2,0,1\n");
    run.pair.secondPath = write("b.bxyz", bytesOf(namedRippledGround(0, 0, 0)));
    run.state.scans[0].gpsX = 1.0;
    run.state.scans[0].gpsZ = 3.0;
    const Prepared prepared = prepare(run);
    EXPECT_EQ(prepared.result, 1);
    EXPECT_EQ(run.pair.meanCliffDistance, 1.0);  // (2 + 0) * 0.5
    EXPECT_NE(prepared.out.find("Cliff Distance 2.000000 \n"), std::string::npos);
}

TEST_F(PairPreparation, BoxesFarApartMeasure999AndStillSucceed) {
    run.state.runMode = 5;
    run.pair.firstPath = write("a.bxyz", bytesOf(namedRippledGround(0, 0, 0)));
    run.pair.secondPath = write("b.bxyz", bytesOf(namedRippledGround(50, 0, 0)));
    const Prepared prepared = prepare(run);
    EXPECT_EQ(prepared.result, 1);
    EXPECT_EQ(run.pair.initialRms, 999.0F);
    EXPECT_NE(prepared.out.find("Initial rms = 999.000000 calculated from 0 pts\n"), std::string::npos);
}

TEST_F(PairPreparation, SaysOnceWhenTheGridIsTooLargeToIndex) {
    run.state.runMode = 5;
    run.options.dCX = run.options.dCY = run.options.dCZ = 0.0001;
    run.pair.firstPath = write("a.bxyz", bytesOf(namedRippledGround(0, 0, 0)));
    run.pair.secondPath = write("b.bxyz", bytesOf(namedRippledGround(1, 0, 0)));
    const Prepared prepared = prepare(run);
    EXPECT_EQ(prepared.result, 1);
    const std::string expected = "Assigning Points to Cubes\n"
                                 "Assigned 1600 Points from scan 1 to 0 Cubes\n"
                                 "Assigned 1600 Points from scan 2 to 0 Cubes\n"
                                 "Cube grid too large for this pair. Increase dCX, dCY or dCZ. \n"
                                 "Sorting Data\n"
                                 "Initial rms = 999.000000 calculated from 0 pts\n";
    ASSERT_GE(prepared.out.size(), expected.size());
    EXPECT_EQ(prepared.out.substr(prepared.out.size() - expected.size()), expected);
}

}  // namespace
}  // namespace sorvek
