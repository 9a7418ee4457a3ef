#include "points/pair_preparation.h"

#include <gtest/gtest.h>

#include "points/work_cloud.h"

#include <cmath>
#include <tuple>

#include "registration/pair_measure.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// A 4 m square of ground every 0.1 m, rippled so that no three neighbours are collinear,
// shifted by (dx, dy) and lifted by dz, as the bytes of a .bxyz file.
std::string groundBytes(double dx, double dy, double dz) {
    Cloud cloud;
    for (int i = 0; i < 1600; ++i) {
        const int row = i / 40, column = i % 40;
        cloud.push_back({dx + 0.1 * row + 0.01 * std::sin(column), dy + 0.1 * column + 0.01 * std::cos(row),
                         dz + 0.02 * std::sin(0.7 * row + 0.3 * column), 0, 0});
    }
    return {reinterpret_cast<const char*>(cloud.data()), cloud.size() * sizeof(PointRecord)};
}

// Prepares the pair of table rows 0 and 1 from files of these bytes (no first file for
// empty bytes), the files taken as lying in the survey frame. Gives standard output.
std::string prepare(Run& run, std::int32_t& result, const std::string& firstBytes, const std::string& secondBytes) {
    const std::filesystem::path dir = testing::makeScratchDir("pair-preparation");
    run.pair.firstPath = (dir / "a").string();
    run.pair.secondPath = (dir / "b").string();
    if (!firstBytes.empty()) testing::writeFile(run.pair.firstPath, firstBytes);
    testing::writeFile(run.pair.secondPath, secondBytes);
    run.options.SCANTRANSFORM = 1;
    run.state.scans.resize(2);
    run.pair.secondIndex = 1;
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    result = prepareScanPair(run);
    ::testing::internal::GetCapturedStderr();
    return ::testing::internal::GetCapturedStdout();
}

// Each direction is rounded to 32 bits, the two are added in 32 bits and the sum is halved
// in 64. The count printed is that of the second measure, first cloud against second.
TEST(PairPreparation, MeasuresBothDirectionsAndKeepsThe32BitMean) {
    sorvek::Run run;
    run.state.runMode = 1;
    run.options.MINNUMPTS = 10;
    run.options.MAXDISTINITIAL = 0.045;  // near the lift, so that the directions differ
    std::int32_t result = 0, count12 = 0;
    const std::string out = prepare(run, result, groundBytes(0, 0, 0), groundBytes(1.05, 0.03, 0.04));
    ASSERT_EQ(result, 1);
    WorkCloud first, second;
    copySorted(run, run.pair.firstCloud, run.state.cubeCount, first);
    copySorted(run, run.pair.secondCloud, run.state.cubeCount, second);
    const double rms12 = measurePairRms(run, first, second, 0.045, count12, run.options.ZMIN);
    EXPECT_EQ(run.pair.initialRms12, static_cast<float>(rms12));
    EXPECT_NE(static_cast<double>(run.pair.initialRms12), rms12);  // precision did fall
    EXPECT_NE(run.pair.initialRms21, run.pair.initialRms12);
    const float sum = run.pair.initialRms12 + run.pair.initialRms21;
    EXPECT_EQ(run.pair.initialRms, static_cast<float>(static_cast<double>(sum) * 0.5));
    EXPECT_TRUE(out.ends_with("Initial rms = " + std::to_string(static_cast<double>(run.pair.initialRms)) +
                              " calculated from " + std::to_string(count12) + " pts\n")) << out;
}

// With SCANTRANSFORM 1 the points stay where the files put them, and the grid lies on the
// intersection of the two boxes. A text scan's Cliff Distance is still taken from its own
// scan position, and a .bxyz scan adds 0 to the mean. A missing first file still lets the
// second one load; the mean is then 0 / 0. Mode 3 measures no initial RMS.
TEST(PairPreparation, LeavesScansAsTheyLieWhenAskedAndLoadsBothFilesAlways) {
    sorvek::Run run;
    run.state.runMode = 3;
    run.state.scans.resize(2);
    std::tie(run.state.scans[0].gpsX, run.state.scans[0].gpsZ, run.state.scans[1].scanId) = std::tuple{1.0, 2.0, 42};
    std::int32_t result = 0;
    std::string out = prepare(run, result, "0,0,0\n2,0,0\n", groundBytes(0, 0, 0));
    EXPECT_EQ(result, 1);
    const CloudBounds& box = run.pair.overlapBounds;
    EXPECT_EQ((std::array{1.0 * box.count, box.minX, box.maxX, box.minY, box.maxY}), (std::array{1602.0, 0.0, 2.0, 0.0, 0.0}));
    EXPECT_EQ(run.pair.meanCliffDistance, 1.0);  // Cliff Distances 2 and 0
    EXPECT_TRUE(out.ends_with(" from scan 42 to 16 Cubes\nSorting Data\n")) << out;
    out = prepare(run, result, "", groundBytes(0, 0, 0));
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(std::isnan(run.pair.meanCliffDistance));
    EXPECT_TRUE(out.ends_with("Finished loading 0 points\nfile size: 51200\nnumpts: 1600\n")) << out;
}

}  // namespace
}  // namespace sorvek
