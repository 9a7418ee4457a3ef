// Mode 9 on the real program: every scan's .bxyz cloud moved into the survey frame by its
// scan matrix and written as text, one file per scan, in table order.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "run/records.h"
#include "support/sorvek_session.h"
#include "survey/session_output.h"

namespace sorvek {
namespace {

using testing::afterConfirmation;
using testing::closingLines;
using testing::makeScratchDir;
using testing::readFile;
using testing::runSorvek;
using testing::SessionResult;
using testing::writeFile;

void writeCloud(const std::filesystem::path& path, const std::vector<PointRecord>& points) {
    std::string bytes(points.size() * sizeof(PointRecord), '\0');
    if (!points.empty()) std::memcpy(bytes.data(), points.data(), bytes.size());
    writeFile(path, bytes);
}

// Scan 3 stands unrotated at (100, 200, 50) once the scanner height is in; scan 5 has no
// point file; scan 4 is turned a quarter turn (with the short pi) about Z at (10, 20, 30.29).
constexpr const char* threeScans = "H\n100,200,49.71,0,0,0,3,45,R0042\n0,0,0,0,0,0,5,45,GONE\n"
                                   "10,20,30,0,0,90,4,45,R0043\n";

// Unsorted coordinates and stray cube numbers: the export keeps the file's order.
const std::vector<PointRecord> scanThreePoints = {
    {1.0, 2.0, 3.0, 7, 0}, {-1.0, -2.0, -3.0, 1, 0}, {0.5, 0.0, 0.0, 3, 0}};
const std::vector<PointRecord> scanFourPoints = {{1.0, 0.0, 0.0, 0, 0}};

void writeThreeScans(const std::filesystem::path& folder) {
    writeFile(folder / "line7.txt", threeScans);
    writeCloud(folder / "line7_003_045_R0042.bxyz", scanThreePoints);
    writeCloud(folder / "line7_004_045_R0043.bxyz", scanFourPoints);
}

void expectExportedClouds(const std::filesystem::path& folder) {
    EXPECT_EQ(readFile(folder / "line7_003_045_R0042._adj.txt"),
              "#X,Y,Z\n101.000000 202.000000 53.000000\n99.000000 198.000000 47.000000\n"
              "100.500000 200.000000 50.000000\n");
    EXPECT_EQ(readFile(folder / "line7_005_045_GONE._adj.txt"), "#X,Y,Z\n");
    EXPECT_EQ(readFile(folder / "line7_004_045_R0043._adj.txt"), "#X,Y,Z\n10.000000 21.000000 30.290000\n");
}

TEST(GeoExport, WritesEachScanInTheSurveyFrameAndAHeaderAloneForAMissingFile) {
    const std::filesystem::path folder = makeScratchDir("export");
    writeThreeScans(folder);
    const SessionResult result = runSorvek(folder, {"line7.txt"}, "9\n\n\n");
    expectExportedClouds(folder);
    // cos of the short pi's quarter turn is 1.79e-9, which shows in the tenth decimal.
    EXPECT_EQ(afterConfirmation(result.out),
              std::string("Preparing data for export.... \n"
                          "file size: 96\nnumpts: 3\n"
                          "\nRotation Matrix Calculated for scan: \n\n"
                          "1.0000000000 0.0000000000 0.0000000000 100.0000000000 \n"
                          "0.0000000000 1.0000000000 0.0000000000 200.0000000000 \n"
                          "-0.0000000000 0.0000000000 1.0000000000 50.0000000000 \n"
                          "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n"
                          "file size: 32\nnumpts: 1\n"
                          "\nRotation Matrix Calculated for scan: \n\n"
                          "0.0000000018 -1.0000000000 0.0000000000 10.0000000000 \n"
                          "1.0000000000 0.0000000018 0.0000000000 20.0000000000 \n"
                          "-0.0000000000 0.0000000000 1.0000000000 30.2900000000 \n"
                          "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n") +
                  closingLines);
    EXPECT_EQ(result.err, "3 points successfully loaded! \n"
                          "Could not open input file line7_005_045_GONE.bxyz.  Skipping to next! \n\n"
                          "0 points successfully loaded! \n"
                          "1 points successfully loaded! \n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST(GeoExport, TransformsWhateverScantransformSays) {
    const std::filesystem::path folder = makeScratchDir("scantransform");
    writeThreeScans(folder);
    runSorvek(folder, {"line7.txt"}, "9\n\n\n", "SCANTRANSFORM 1\n");
    expectExportedClouds(folder);
}

TEST(GeoExport, AFileThatCannotBeCreatedIsReportedAndTheNextScanStillWritten) {
    const std::filesystem::path folder = makeScratchDir("export-blocked");
    writeThreeScans(folder);
    std::filesystem::create_directory(folder / "line7_003_045_R0042._adj.txt");
    const SessionResult result = runSorvek(folder, {"line7.txt"}, "9\n\n\n");
    const std::string out = afterConfirmation(result.out);
    const std::string cannot = "Unable to create line7_003_045_R0042._adj.txt \n";
    EXPECT_NE(out.find("0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n" + cannot + "file size: 32"),
              std::string::npos)
        << out;
    EXPECT_EQ(readFile(folder / "line7_004_045_R0043._adj.txt"), "#X,Y,Z\n10.000000 21.000000 30.290000\n");
}

TEST(GeoExport, AnEmptyTableWritesNothing) {
    const std::filesystem::path folder = makeScratchDir("export-empty");
    writeFile(folder / "line7.txt", "H");
    const SessionResult result = runSorvek(folder, {"line7.txt"}, "9\n\n\n");
    EXPECT_EQ(afterConfirmation(result.out), std::string("Preparing data for export.... \n") + closingLines);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_FALSE(entry.path().string().ends_with("_adj.txt")) << entry.path();
    }
}

}  // namespace
}  // namespace sorvek
