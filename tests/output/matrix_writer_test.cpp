// Mode 8 on the real program: one four-line matrix file per scan, named after the point
// file, built from the survey database alone.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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

// An unrotated scan, and one turned by 0.1, 0.2 and 0.3 radians (the degrees below
// convert back to exactly those) standing at (10, 20, 30) once the scanner height is in.
constexpr const char* twoScans = "Easting,Northing,Elev,Roll,Pitch,Heading,Scan,Sub,Name\n"
                                 "100,200,50,0,0,0,3,45,R0042\n"
                                 "10,20,29.71,5.72957795785523,11.45915591571046,17.18873387356569,120,7,R0043\n";

constexpr const char* unrotatedMatrix = "1.0000000000 0.0000000000 0.0000000000 100.0000000000 \n"
                                        "0.0000000000 1.0000000000 0.0000000000 200.0000000000 \n"
                                        "-0.0000000000 0.0000000000 1.0000000000 50.2900000000 \n"
                                        "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n";

constexpr const char* rotatedMatrix = "0.9362933636 -0.2750958473 0.2183506631 10.0000000000 \n"
                                      "0.2896294776 0.9564250858 -0.0369570135 20.0000000000 \n"
                                      "-0.1986693308 0.0978433950 0.9751703272 30.0000000000 \n"
                                      "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n";

SessionResult runModeEight(const std::filesystem::path& folder, const std::string& database,
                           const std::optional<std::string>& options = std::nullopt) {
    writeFile(folder / "line7.txt", database);
    return runSorvek(folder, {"line7.txt"}, "8\n\n\n", options);
}

TEST(MatrixWriter, WritesFourLinesPerScanBesideItsPointFile) {
    const std::filesystem::path folder = makeScratchDir("matrices");
    writeFile(folder / "line7_003_045_R0042.bxyz", "point file bytes");
    writeFile(folder / "line7_120_007_R0043s.dat", "an older matrix file that is longer than the new one\n");
    const SessionResult result = runModeEight(folder, twoScans);
    EXPECT_EQ(afterConfirmation(result.out),
              std::string("Writing Transform Matricies for 2 scans....\n") + closingLines);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(readFile(folder / "line7_003_045_R0042s.dat"), unrotatedMatrix);
    EXPECT_EQ(readFile(folder / "line7_120_007_R0043s.dat"), rotatedMatrix);
    EXPECT_EQ(readFile(folder / "line7_003_045_R0042.bxyz"), "point file bytes");
}

TEST(MatrixWriter, TakesThePositionAfterTheTranslationAndWithTheScannerHeight) {
    const std::filesystem::path folder = makeScratchDir("translated");
    runModeEight(folder, "H\n1100,2200,-0.29,0,0,0,1,1,A", "TRANSX 1000\nTRANSY 2300\nZEROPAD 0\n");
    EXPECT_EQ(readFile(folder / "line7_1_1_As.dat"),
              "1.0000000000 0.0000000000 0.0000000000 100.0000000000 \n"
              "0.0000000000 1.0000000000 0.0000000000 -100.0000000000 \n"
              "-0.0000000000 0.0000000000 1.0000000000 0.0000000000 \n"
              "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n");
}

TEST(MatrixWriter, AFileThatCannotBeCreatedIsReportedAndTheNextScanStillWritten) {
    const std::filesystem::path folder = makeScratchDir("blocked");
    std::filesystem::create_directory(folder / "line7_003_045_R0042s.dat");
    const SessionResult result = runModeEight(folder, twoScans);
    EXPECT_EQ(afterConfirmation(result.out),
              std::string("Writing Transform Matricies for 2 scans....\n"
                          "Unable to create line7_003_045_R0042s.dat \n") +
                  closingLines);
    EXPECT_EQ(readFile(folder / "line7_120_007_R0043s.dat"), rotatedMatrix);
}

TEST(MatrixWriter, AnEmptyTableWritesNothing) {
    const std::filesystem::path folder = makeScratchDir("no-rows");
    const SessionResult result = runModeEight(folder, "H\n");
    EXPECT_EQ(afterConfirmation(result.out),
              std::string("Writing Transform Matricies for 0 scans....\n") + closingLines);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_NE(entry.path().extension(), ".dat") << entry.path();
    }
}

}  // namespace
}  // namespace sorvek
