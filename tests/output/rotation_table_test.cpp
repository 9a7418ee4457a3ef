// The registration result file read back: counting, loading, and one scan's mean, count
// and spread.
#include "output/rotation_table.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

const char* const headLine = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

std::vector<RotationEntry> tableOf(const std::string& text) {
    std::istringstream counting(text);
    const std::int32_t entryCount = countRotationLines(counting);
    std::istringstream loading(text);
    return readRotationRows(loading, entryCount);
}

void expectEntry(const RotationEntry& entry, std::int32_t scanId, double rotationDeg) {
    EXPECT_EQ(entry.scanId, scanId);
    EXPECT_EQ(entry.rotation, rotationDeg);
}

TEST(RotationTable, CountsTwoEntriesPerLineAfterTheHeadLine) {
    struct Case {
        const char* label;
        std::string text;
        std::int32_t entries;
    };
    const std::string row = "3,0.5,4,-0.25,0.01,1500,0\n";
    const Case cases[] = {
        {"empty file", "", 0},
        {"head line alone", headLine, 0},
        {"head line without line end", "scan1,rotation2", 0},
        {"one row", std::string(headLine) + row, 2},
        {"three rows", std::string(headLine) + row + row + row, 6},
        {"last row without line end", std::string(headLine) + row + "5,1.0,6,2.0,0.1,9,0", 4},
        {"CR LF line ends", "head\r\n1,0,2,0,0,0,0\r\n", 2},
        {"an empty line counts", std::string(headLine) + "\n" + row, 4},
        {"a long line counts once", std::string(headLine) + std::string(1000, '7') + "\n", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        std::istringstream in(c.text);
        EXPECT_EQ(countRotationLines(in), c.entries);
    }
}

TEST(RotationTable, ReadsBothRowFormsInFileOrder) {
    const std::vector<RotationEntry> table = tableOf(std::string(headLine) +
                                                     "12,0.731200,13,-0.402100,0.021000,1834,7\n"
                                                     "13,0.000000,14,0.000000,0.052000,1200,0\n");
    ASSERT_EQ(table.size(), 4U);
    expectEntry(table[0], 12, 0.7312);
    expectEntry(table[1], 13, -0.4021);
    expectEntry(table[2], 13, 0.0);
    expectEntry(table[3], 14, 0.0);
}

TEST(RotationTable, FieldThatDoesNotParseZeroesTheRestOfTheTable) {
    const std::vector<RotationEntry> table = tableOf(std::string(headLine) +
                                                     "1,0.5,2,0.25,0.1,100,0\n"
                                                     "3,bad,4,0.75,0.1,100,0\n"
                                                     "5,1.5,6,1.25,0.1,100,0\n");
    ASSERT_EQ(table.size(), 6U);
    expectEntry(table[0], 1, 0.5);
    expectEntry(table[1], 2, 0.25);
    expectEntry(table[2], 3, 0.0);  // the field before the failure stands
    expectEntry(table[3], 0, 0.0);
    expectEntry(table[4], 0, 0.0);  // the stream stays failed for every later row
    expectEntry(table[5], 0, 0.0);
}

TEST(RotationTable, SurvivesArbitraryBytes) {
    std::string bytes(headLine);
    for (int value = 0; value < 256; ++value) bytes.push_back(static_cast<char>(value));
    bytes += "\n99999999999,1e999,-,\n";
    const std::vector<RotationEntry> table = tableOf(bytes);
    EXPECT_EQ(table.size(), 6U);
    std::istringstream empty;
    const std::vector<RotationEntry> unfilled = readRotationRows(empty, 4);
    ASSERT_EQ(unfilled.size(), 4U);
    expectEntry(unfilled[3], 0, 0.0);
}

TEST(RotationTable, FileThatCannotBeOpenedGivesNoTable) {
    sorvek::Run run;
    run.state.regPath = "/nonexistent-folder/jobreg.csv";
    ::testing::internal::CaptureStdout();
    const std::int32_t entryCount = countRotationRows(run);
    const std::vector<RotationEntry> table = loadRotationTable(run, entryCount);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Unable to open data file at /nonexistent-folder/jobreg.csv \n"
              "NO POINTS in file!!!!!  \n");
    EXPECT_EQ(entryCount, 0);
    EXPECT_TRUE(table.empty());
}

TEST(RotationTable, LoadsTheRegistrationResultFile) {
    const std::filesystem::path dir = testing::makeScratchDir("rotation-table");
    sorvek::Run run;
    run.state.regPath = (dir / "jobreg.csv").string();
    testing::writeFile(run.state.regPath, std::string(headLine) + "7,1.5,8,-1.5,0.02,300,0\n");
    ::testing::internal::CaptureStdout();
    const std::vector<RotationEntry> table = loadRotationTable(run, countRotationRows(run));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Loading data from file " + run.state.regPath + " \n");
    ASSERT_EQ(table.size(), 2U);
    expectEntry(table[1], 8, -1.5);
    std::filesystem::remove_all(dir);
}

TEST(AverageRotation, TakesMeanCountAndSpreadOfEveryMatchingEntry) {
    const std::vector<RotationEntry> table = {{4, 0.0}, {5, 9.0}, {4, 2.0}, {6, -3.0}};
    std::int32_t rotationCount = -1;
    double rotationSpread = -1.0;
    EXPECT_EQ(averageRotation(table, 4, rotationCount, rotationSpread), 1.0);
    EXPECT_EQ(rotationCount, 2);
    EXPECT_EQ(rotationSpread, 2.0);
    EXPECT_EQ(averageRotation(table, 6, rotationCount, rotationSpread), -3.0);
    EXPECT_EQ(rotationCount, 1);
    EXPECT_EQ(rotationSpread, 0.0);
}

TEST(AverageRotation, ScanWithoutEntriesIsToldAndGetsZero) {
    const std::vector<RotationEntry> table = {{4, 1.0}};
    std::int32_t rotationCount = -1;
    double rotationSpread = -1.0;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(averageRotation(table, 9, rotationCount, rotationSpread), 0.0);
    EXPECT_EQ(averageRotation({}, 4, rotationCount, rotationSpread), 0.0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "9 has no rotations, so the rotation will not be performed \n"
              "4 has no rotations, so the rotation will not be performed \n");
    EXPECT_EQ(rotationCount, 0);
    EXPECT_EQ(rotationSpread, 0.0);
}

}  // namespace
}  // namespace sorvek
