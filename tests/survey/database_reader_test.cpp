// The survey database read for real: composed names, angles, and every refusal's wording.
#include "survey/database_reader.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using namespace std::string_literals;

// Ids of one digit or two (and negative ones) get their padding as text in front.
TEST(ScanFileName, PadsEachIdBelow100OnlyWhenZeropadIsOne) {
    struct Case { std::int32_t zeroPad; std::int32_t scanId; std::int32_t subId; const char* tail; };
    for (const Case c : {Case{1, 120, 7, "_120_007_R0042.bxyz"}, Case{1, 1000, 100, "_1000_100_R0042.bxyz"},
                         Case{1, 99, 10, "_099_010_R0042.bxyz"}, Case{1, -4, -120, "_00-4_00-120_R0042.bxyz"},
                         Case{0, -4, 7, "_-4_7_R0042.bxyz"}, Case{2, 3, 45, "_3_45_R0042.bxyz"},
                         Case{1, INT32_MIN, INT32_MAX, "_00-2147483648_2147483647_R0042.bxyz"},
                         Case{-1, 3, 45, "_3_45_R0042.bxyz"}}) {
        SCOPED_TRACE(c.tail);
        EXPECT_EQ(composeScanFileName("D:\\job\\line7", c.zeroPad, c.scanId, c.subId, "R0042"),
                  "D:\\job\\line7"s + c.tail);
    }
}

// Positions and heights are pinned through the matrix files; the angles are pinned here,
// where a difference of 1e-10 from the full pi still shows. A file that lost rows between
// the count and the load is refused, not half loaded.
TEST(LoadScanDatabase, ConvertsDegreesWithTheShortPiAndRefusesRowsLostSinceTheCount) {
    const testing::ScratchDir scratch("database");
    const std::filesystem::path& folder = scratch.path;
    testing::writeFile(folder / "line7.txt", "H\n512.12,421.50,101.25,0.10,-0.20,87.50,12,3,R0042\n");
    sorvek::Run run;
    run.state.databasePath = (folder / "line7.txt").string();
    run.state.databaseStem = (folder / "line7").string();
    ::testing::internal::CaptureStdout();
    const ScanRecord scan = loadScanDatabase(run, 1).at(0);
    ::testing::internal::GetCapturedStdout();
    EXPECT_DOUBLE_EQ(scan.rotZ, 1.52716309375);  // the full pi gives 1.5271630954950384
    EXPECT_DOUBLE_EQ(scan.rotX, 0.00174532925);
    EXPECT_DOUBLE_EQ(scan.rotY, -0.0034906585);
    const std::filesystem::path out = folder / "out.txt";
    EXPECT_EXIT(
        {
            std::freopen("/dev/null", "r", stdin);
            std::freopen(out.c_str(), "w", stdout);
            (void)loadScanDatabase(run, 2);
        },
        ::testing::ExitedWithCode(1), "");
    EXPECT_TRUE(testing::readFile(out).ends_with(
        "Unable to read data file " + run.state.databasePath +
        ": it ends on line 3 with fewer rows than were counted, so it changed while being read. Please try again. \n"))
        << testing::readFile(out);
}

// The first pass refuses the file, before any log file exists.
TEST(CountScans, RefusesADatabaseThatIsNoStreamOfRowsNamingTheLine) {
    const std::string good = "H\n1,2,3,4,5,6,7,8,A\n";
    const std::string frame = "Unable to read data file line7.txt: in the row starting on line ";
    const std::string advice = ". Please correct the file and try again. \n";
    struct Case { std::string database; std::string header; std::string message; };
    for (const Case& c : {
             Case{good + "1,2,3,4,five,6,7,8,N\n", "H", frame + "3, the rotation about Y is not a number" + advice},
             // Two files run together: the second one's head line.
             Case{good + "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n", "H", frame + "3, the X position is not a number" + advice},
             Case{std::string(256, 'h') + "\n1,2,3,4,5,6,7,8,A\n", std::string(255, 'h'),
                  "Unable to read data file line7.txt: the header on line 1 is longer than 255 characters. Please shorten it and try again. \n"},
             Case{good + "\n1,2,3,4,5,6,7,8,ABCDEFGHIJKLMNOP\n", "H", frame + "4, the name is longer than 15 characters" + advice},
             Case{good + "1,2,3,\n4,5", "H", frame + "3, the file ends before the row is complete" + advice},
             Case{good + "1,2,3,4,5,6,seven,8,A\n", "H", frame + "3, the first id is not a whole number within 32 bits" + advice},
             Case{good + "1,2,3,4,5,6,7,4294967296,N\n", "H", frame + "3, the second id is not a whole number within 32 bits" + advice},
             Case{good + "1,2,3,4,5,6,7,8,\0A\n"s, "H", frame + "3, the name begins with a zero byte" + advice}}) {
        SCOPED_TRACE(c.message);
        const testing::ScratchDir scratch("refused");
        const std::filesystem::path& folder = scratch.path;
        testing::writeFile(folder / "line7.txt", c.database);
        const testing::SessionResult result = testing::runSorvek(folder, {"line7.txt"}, "10\n\n\n");
        EXPECT_TRUE(result.out.ends_with("0 = quit and reformat your input file, \n\n" + c.header + "\n" + c.message))
            << result.out;
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_FALSE(std::filesystem::exists(folder / "line7log.txt"));
    }
}

}  // namespace
}  // namespace sorvek
