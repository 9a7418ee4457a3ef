#include "points/pair_preparation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "registration/pair_measure.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// A 4 m square of ground every 0.1 m, rippled so that no three neighbours are collinear,
// shifted by (dx, dy) and lifted by dz, as the bytes of a .bxyz file.
std::string groundBytes(double dx, double dy, double dz) {
    Cloud cloud;
    for (int i = 0; i < 40; ++i) {
        for (int j = 0; j < 40; ++j) {
            cloud.push_back({dx + 0.1 * i + 0.01 * std::sin(j), dy + 0.1 * j + 0.01 * std::cos(i),
                             dz + 0.02 * std::sin(0.7 * i + 0.3 * j), 0, 0});
        }
    }
    return {reinterpret_cast<const char*>(cloud.data()), cloud.size() * sizeof(PointRecord)};
}

// Writes the files (no first one for empty bytes) into a fresh folder and prepares the pair
// there, since mode 5 writes its diagnostic files where it runs. Gives standard output.
std::string prepare(Run& run, std::int32_t& result, const std::string& firstBytes,
                    const std::string& secondBytes) {
    const std::filesystem::path dir = testing::makeScratchDir("pair-preparation");
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(dir);
    if (!firstBytes.empty()) testing::writeFile(dir / "a", firstBytes);
    testing::writeFile(dir / "b", secondBytes);
    run.pair.firstPath = (dir / "a").string();
    run.pair.secondPath = (dir / "b").string();
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    result = prepareScanPair(run);
    ::testing::internal::GetCapturedStderr();
    std::filesystem::current_path(previous);
    return ::testing::internal::GetCapturedStdout();
}

// Each direction is rounded to 32 bits, the two are added in 32 bits and the sum is halved
// in 64. The count printed is that of the second measure, first cloud against second.
TEST(PairPreparation, MeasuresBothDirectionsAndKeepsThe32BitMean) {
    sorvek::Run run;
    run.state.runMode = 5;
    run.options.MINNUMPTS = 10;
    run.options.MAXDISTINITIAL = 0.045;  // near the lift, so that the directions differ
    std::int32_t result = 0;
    const std::string out = prepare(run, result, groundBytes(0, 0, 0), groundBytes(1.05, 0.03, 0.04));
    ASSERT_EQ(result, 1);
    run.state.runMode = 1;  // measured again, without diagnostic files, it gives what was stored
    std::int32_t count12 = 0;
    const double rms12 = measurePairRms(run, run.pair.firstCloud, run.pair.secondCloud, 0.045,
                                        count12, run.options.ZMIN);
    EXPECT_EQ(run.pair.initialRms12, static_cast<float>(rms12));
    EXPECT_NE(static_cast<double>(run.pair.initialRms12), rms12);  // precision did fall
    EXPECT_NE(run.pair.initialRms21, run.pair.initialRms12);
    const float sum = run.pair.initialRms12 + run.pair.initialRms21;
    EXPECT_EQ(run.pair.initialRms, static_cast<float>(static_cast<double>(sum) * 0.5));
    EXPECT_TRUE(out.ends_with("Initial rms = " + std::to_string(static_cast<double>(run.pair.initialRms)) +
                              " calculated from " + std::to_string(count12) + " pts\n")) << out;
}

// With SCANTRANSFORM 1 the files lie in the survey frame already. A text scan's Cliff
// Distance is still taken from its own scan position, and a .bxyz scan adds 0 to the mean.
// A grid too fine to index in 32 bits is empty, and the user is told what to change. Mode 3
// measures no initial RMS.
TEST(PairPreparation, LeavesScansAsTheyLieWhenAskedAndNamesAGridTooFine) {
    sorvek::Run run;
    run.state.runMode = 3;  // prepared, not measured
    run.options.SCANTRANSFORM = 1;
    run.options.dCX = run.options.dCY = run.options.dCZ = 1e-9;
    run.state.scans.resize(2);
    run.state.scans[0].gpsX = 1.0;
    run.state.scans[0].gpsZ = 2.0;
    run.state.scans[1].scanId = 42;
    run.pair.secondIndex = 1;
    std::int32_t result = 0;
    std::string out = prepare(run, result, "0,0,0\n2,0,0\n", groundBytes(0, 0, 0));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.pair.firstBounds.minX, 0.0);  // not moved by the scan's gpsX
    EXPECT_EQ(run.pair.meanCliffDistance, 1.0);  // Cliff Distances 2 and 0
    EXPECT_TRUE(out.ends_with("Assigned 1600 Points from scan 42 to 0 Cubes\nCube grid too large for "
                              "this pair. Increase dCX, dCY or dCZ. \nSorting Data\n")) << out;

    // A missing first file still lets the second one load; its Cliff Distance is 0 / 0.
    out = prepare(run, result, "", groundBytes(0, 0, 0));
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(std::isnan(run.pair.meanCliffDistance));
    EXPECT_TRUE(out.ends_with("Finished loading 0 points\nfile size: 51200\nnumpts: 1600\n")) << out;
}

}  // namespace
}  // namespace sorvek
