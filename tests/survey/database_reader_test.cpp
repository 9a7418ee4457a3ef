// The two passes over a real file: what a record holds after loading, how many rows a
// file has, and the composed point file names.
#include "survey/database_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using testing::makeScratchDir;
using testing::readFile;
using testing::writeFile;

// A run whose database is `contents`, written to a fresh folder as line7.txt.
Run runOnDatabase(const std::string& label, const std::string& contents) {
    const std::filesystem::path folder = makeScratchDir(label);
    writeFile(folder / "line7.txt", contents);
    sorvek::Run run;
    run.state.databasePath = (folder / "line7.txt").string();
    run.state.databaseStem = (folder / "line7").string();
    return run;
}

TEST(ScanFileName, PadsEachIdBelow100OnlyWhenZeropadIsOne) {
    struct Case { std::int32_t zeroPad; std::int32_t scanId; std::int32_t subId; const char* name; };
    for (const Case c : {Case{1, 3, 45, "D:\\job\\line7_003_045_R0042.bxyz"},
                         Case{1, 120, 7, "D:\\job\\line7_120_007_R0042.bxyz"},
                         Case{1, 1000, 100, "D:\\job\\line7_1000_100_R0042.bxyz"},
                         Case{1, 99, 10, "D:\\job\\line7_099_010_R0042.bxyz"},
                         Case{1, 9, 0, "D:\\job\\line7_009_000_R0042.bxyz"},
                         Case{1, -4, -120, "D:\\job\\line7_00-4_00-120_R0042.bxyz"},
                         Case{1, INT32_MIN, INT32_MAX,
                              "D:\\job\\line7_00-2147483648_2147483647_R0042.bxyz"},
                         Case{0, 3, 45, "D:\\job\\line7_3_45_R0042.bxyz"},
                         Case{0, -4, 7, "D:\\job\\line7_-4_7_R0042.bxyz"},
                         Case{2, 3, 45, "D:\\job\\line7_3_45_R0042.bxyz"},
                         Case{-1, 3, 45, "D:\\job\\line7_3_45_R0042.bxyz"}}) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(composeScanFileName("D:\\job\\line7", c.zeroPad, c.scanId, c.subId, "R0042"), c.name);
    }
}

TEST(CountScans, CountsRowsNotLines) {
    const std::string rows = "1,2,3,4,5,6,7,8,A\n\n  1;2;3;4;5;6;7;8;B";
    struct Case { const char* label; std::string contents; std::int32_t count; };
    for (const Case& c : {Case{"empty file", "", 0}, Case{"header without line end", "H", 0},
                          Case{"header only", "H\n", 0}, Case{"header and blank lines", "H\n\n \n", 0},
                          Case{"no final line end", "H\n" + rows, 2},
                          Case{"blank lines behind", "H\n" + rows + "\n\n\n", 2},
                          Case{"one row over four lines", "H\n1,2,\n3,4,5,\n6,7,8,\n\nC\n", 1}}) {
        SCOPED_TRACE(c.label);
        sorvek::Run run = runOnDatabase("count", c.contents);
        EXPECT_EQ(countScans(run), c.count);
    }
}

TEST(CountScans, GivesZeroForADatabaseThatDoesNotOpen) {
    sorvek::Run run;
    run.state.databasePath = (makeScratchDir("missing") / "none.txt").string();
    EXPECT_EQ(countScans(run), 0);
}

TEST(LoadScanDatabase, ConvertsEachRowIntoTheSurveyFrameWithRadians) {
    sorvek::Run run = runOnDatabase("load", "X,Y,Z,RX,RY,RZ,ID,SUB,NAME\n"
                                    "512.12,421.50,101.25,0.10,-0.20,87.50,12,3,R0042\n"
                                    "1000,2000,0,0,0,-90,-1,250,B\n");
    run.options.TRANSX = 500.0;
    run.options.TRANSY = 400.0;
    run.state.scanCount = 2;
    const std::vector<ScanRecord> scans = loadScanDatabase(run);
    ASSERT_EQ(scans.size(), 2U);

    const ScanRecord& first = scans[0];
    EXPECT_EQ(first.gpsX, 512.12 - 500.0);
    EXPECT_EQ(first.gpsY, 21.5);
    EXPECT_DOUBLE_EQ(first.gpsZ, 101.54);
    // 87.5 degrees with the short pi 3.14159265; the full pi would give 1.5271630954950384.
    EXPECT_DOUBLE_EQ(first.rotZ, 1.52716309375);
    EXPECT_DOUBLE_EQ(first.rotX, 0.00174532925);
    EXPECT_DOUBLE_EQ(first.rotY, -0.0034906585);
    EXPECT_EQ(first.scanId, 12);
    EXPECT_EQ(first.subId, 3);
    EXPECT_EQ(first.fileName, run.state.databaseStem + "_012_003_R0042.bxyz");

    const ScanRecord& second = scans[1];
    EXPECT_EQ(second.gpsX, 500.0);
    EXPECT_EQ(second.gpsZ, 0.29);
    EXPECT_DOUBLE_EQ(second.rotZ, -1.570796325);
    EXPECT_EQ(second.fileName, run.state.databaseStem + "_00-1_250_B.bxyz");
    for (const ScanRecord& scan : scans) {
        EXPECT_EQ(scan.northRotation, noRotation);
        EXPECT_EQ(scan.southRotation, noRotation);
        EXPECT_EQ(scan.northScan, 0);
        EXPECT_EQ(scan.southScan, 0);
        EXPECT_EQ(scan.northPoints, 0);
        EXPECT_EQ(scan.southPoints, 0);
    }
}

TEST(LoadScanDatabase, RefusesAFileThatLostRowsSinceTheyWereCounted) {
    sorvek::Run run = runOnDatabase("changed", "H\n1,2,3,4,5,6,7,8,A\n");
    run.state.scanCount = 2;
    const std::filesystem::path out = makeScratchDir("changed-out") / "out.txt";
    EXPECT_EXIT(
        {
            std::freopen("/dev/null", "r", stdin);
            std::freopen(out.c_str(), "w", stdout);
            (void)loadScanDatabase(run);
        },
        ::testing::ExitedWithCode(1), "");
    EXPECT_TRUE(readFile(out).ends_with(
        "H\n1.000000 2.000000 3.000000 4.000000 5.000000 6.000000 7 8 A\n7 8\n" +
        run.state.databaseStem + "_007_008_A.bxyz \nUnable to read data file " +
        run.state.databasePath +
        ": it ends on line 3 with fewer rows than were counted, so it changed while being read. "
        "Please try again. \n"))
        << readFile(out);
}

}  // namespace
}  // namespace sorvek
