#include "points/pair_preparation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// A 4 m square of ground every 0.1 m, rippled so that no three neighbours are collinear,
// shifted by (dx, dy) and lifted by dz, as the bytes of a .bxyz file. The waves of height
// `waveZ` (metres) make it rough; without them it is the flat plane z = dz.
std::string groundBytes(double dx, double dy, double dz, double waveZ = 0.02) {
    Cloud cloud;
    for (int i = 0; i < 1600; ++i) {
        const int row = i / 40, column = i % 40;
        cloud.push_back({dx + 0.1 * row + 0.01 * std::sin(column), dy + 0.1 * column + 0.01 * std::cos(row),
                         dz + waveZ * std::sin(0.7 * row + 0.3 * column), 0, 0});
    }
    return {reinterpret_cast<const char*>(cloud.data()), cloud.size() * sizeof(PointRecord)};
}

// Prepares the pair of table rows 0 and 1 from files of these bytes (no first file for
// empty bytes), the files taken as lying in the survey frame. Gives standard output.
std::string prepare(Run& run, std::int32_t& result, const std::string& firstBytes, const std::string& secondBytes) {
    const testing::ScratchDir scratch("pair-preparation");
    const std::filesystem::path& dir = scratch.path;
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

// Two flat grids 4 cm apart, the second also shifted in plan: every point lies 4 cm from
// the other plane, so both directions and their mean are 0.04 rounded to 32 bits. On rough
// ground the two directions differ, and the mean is the one printed.
TEST(PairPreparation, MeasuresBothDirectionsAndKeepsThe32BitMean) {
    sorvek::Run run;
    run.state.runMode = 1;
    run.options.MINNUMPTS = 10;
    run.options.MAXDISTINITIAL = 0.045;
    std::int32_t result = 0;
    std::string out = prepare(run, result, groundBytes(0, 0, 0, 0.0), groundBytes(1.05, 0.03, 0.04, 0.0));
    ASSERT_EQ(result, 1);
    EXPECT_EQ(run.pair.initialRms12, 0.04F);
    EXPECT_EQ(run.pair.initialRms21, 0.04F);
    EXPECT_EQ(run.pair.initialRms, 0.04F);
    EXPECT_NE(out.find("Initial rms = 0.040000 calculated from "), std::string::npos) << out;

    out = prepare(run, result, groundBytes(0, 0, 0), groundBytes(1.05, 0.03, 0.04));
    ASSERT_EQ(result, 1);
    const auto [lower, higher] = std::minmax(run.pair.initialRms12, run.pair.initialRms21);
    EXPECT_LT(lower, higher);
    EXPECT_TRUE(lower < run.pair.initialRms && run.pair.initialRms < higher);
    EXPECT_TRUE(out.ends_with(" pts\n")) << out;
    EXPECT_NE(out.find("Initial rms = " + std::to_string(static_cast<double>(run.pair.initialRms)) + " calculated"),
              std::string::npos) << out;
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
