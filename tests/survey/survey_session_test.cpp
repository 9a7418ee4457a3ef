// Sessions of the real program on small survey databases: the echo of both passes, the
// composed names, the neighbour lines, the confirmation, and every refused database.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/sorvek_session.h"
#include "survey/session_output.h"

namespace sorvek {
namespace {

using namespace std::string_literals;
using testing::afterMenu;
using testing::closingLines;
using testing::confirmationLines;
using testing::makeScratchDir;
using testing::readFile;
using testing::runSorvek;
using testing::SessionResult;
using testing::writeFile;

// Menu entry 10 selects no stage, so that a session shows the survey table alone.
constexpr const char* noStage = "10\n\n\n";

struct Session {
    std::filesystem::path folder;
    SessionResult result;
};

Session runOnDatabase(const std::string& label, const std::string& database, const std::string& input,
                      const std::optional<std::string>& options = std::nullopt) {
    Session session{makeScratchDir(label), {}};
    writeFile(session.folder / "line7.txt", database);
    session.result = runSorvek(session.folder, {"line7.txt"}, input, options);
    return session;
}

std::string loadingLines(const std::string& header) {
    return "Loading GPS points from file line7.txt \n\nFiles to be processed:  \n\n" + header + "\n";
}

constexpr const char* neighbourHeading = "\nFinding Scan Neighbors...... \n\n";

TEST(SurveySession, EchoesTheHeaderTwiceAndEachRowAsItStandsInTheFile) {
    const std::string header = "Easting,Northing,Elev,Roll,Pitch,Heading,Scan,Sub,Name";
    const std::string expected =
        "\n" + header + "\nThere are 2 scans to process\n" + loadingLines(header) +
        "512.120000 421.500000 101.250000 0.100000 -0.200000 87.500000 12 3 R0042\n12 3\n"
        "line7_012_003_R0042.bxyz \n"
        "512.120000 441.500000 101.250000 0.000000 0.000000 0.000000 13 4 R0043\n13 4\n"
        "line7_013_004_R0043.bxyz \n" +
        neighbourHeading + " Location:  12 N: 13 S: None \n Location:  13 N: None S: 12 \n" +
        confirmationLines + closingLines;
    const std::string rowA = "512.12,421.50,101.25,0.10,-0.20,87.50,12,3,R0042";
    const std::string rowB = "512.12,441.50,101.25,0,0,0,13,4,R0043";
    struct Case { const char* label; std::string rows; };
    for (const Case& c : {Case{"one row a line", rowA + "\n" + rowB + "\n"},
                          Case{"no final line end", rowA + "\n" + rowB},
                          Case{"blank lines", "\n\n" + rowA + "\n\n \n" + rowB + "\n\n\n"},
                          Case{"two rows on a line", rowA + "  " + rowB + "\n"},
                          Case{"broken rows, mixed separators",
                               "512.12;421.50 ;\n101.25|0.10,\n-0.20,87.50,12,3,\nR0042\n\n"
                               "512.12\t,441.50 /101.25 ,0:0 ,0\n,13,4,R0043"}}) {
        SCOPED_TRACE(c.label);
        // The translation changes the records, never the echo.
        const Session session = runOnDatabase("echo", header + "\n" + c.rows, noStage,
                                              "TRANSX 500\nTRANSY 400\n");
        EXPECT_EQ(afterMenu(session.result.out), expected);
        EXPECT_EQ(session.result.exitCode, 0);
    }
}

std::vector<std::string> composedNames(const std::string& out) {
    std::vector<std::string> names;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with(".bxyz ")) names.push_back(line);
    }
    return names;
}

TEST(SurveySession, PadsIdsInNamesOnlyWhenZeropadIsOne) {
    const std::string database = "H\n0,0,0,0,0,0,3,99,A\n0,1,0,0,0,0,100,-4,B\n0,2,0,0,0,0,1000,10,C\n";
    const std::vector<std::string> padded = {"line7_003_099_A.bxyz ", "line7_100_00-4_B.bxyz ",
                                             "line7_1000_010_C.bxyz "};
    const std::vector<std::string> plain = {"line7_3_99_A.bxyz ", "line7_100_-4_B.bxyz ",
                                            "line7_1000_10_C.bxyz "};
    struct Case { std::optional<std::string> options; std::vector<std::string> names; };
    for (const Case& c : {Case{std::nullopt, padded}, Case{"ZEROPAD 1\n", padded},
                          Case{"ZEROPAD 0\n", plain}, Case{"ZEROPAD 2\n", plain}}) {
        SCOPED_TRACE(c.options.value_or("no option file"));
        EXPECT_EQ(composedNames(runOnDatabase("names", database, noStage, c.options).result.out), c.names);
    }
}

TEST(SurveySession, AnEmptyDatabaseOrAHeaderAloneGivesAnEmptyTable) {
    const std::string longest(255, 'h');
    for (const std::string& header : {""s, "X,Y,Z,RX,RY,RZ,ID,SUB,NAME"s, longest}) {
        SCOPED_TRACE(header.size());
        for (const std::string& database : {header, header + "\n", header + "\n\n  \n"}) {
            if (database.empty() && !header.empty()) continue;
            const Session session = runOnDatabase("empty", database, noStage);
            EXPECT_EQ(afterMenu(session.result.out),
                      "\n" + header + "\nThere are 0 scans to process\n" + loadingLines(header) +
                          neighbourHeading + confirmationLines + closingLines);
            EXPECT_EQ(session.result.exitCode, 0);
        }
    }
}

TEST(SurveySession, AMissingDatabaseEndsTheRunAfterItsMessages) {
    const std::filesystem::path folder = makeScratchDir("missing");
    const SessionResult result = runSorvek(folder, {"nothere.txt"}, "10\n\n");
    EXPECT_EQ(afterMenu(result.out),
              "\nUnable to open data file at nothere.txt \nThere are 0 scans to process\n"
              "Loading GPS points from file nothere.txt \n\nFiles to be processed:  \n\n"
              "Unable to open data file at nothere.txt \n"
              "Please verify the location of the file and try again. \n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "notherelog.txt"));
}

TEST(SurveySession, RefusesADatabaseThatIsNoStreamOfRowsNamingTheLine) {
    const std::string good = "H\n1,2,3,4,5,6,7,8,A\n";
    const std::string frame = "Unable to read data file line7.txt: ";
    const std::string advice = ". Please correct the file and try again. \n";
    struct Case { const char* label; std::string database; std::string header; std::string message; };
    for (const Case& c : {
             Case{"second header line", "H\nX,Y,Z,RX,RY,RZ,ID,SUB,NAME\n1,2,3,4,5,6,7,8,A\n", "H",
                  frame + "in the row starting on line 2, the X position is not a number" + advice},
             Case{"header of 256", std::string(256, 'h') + "\n1,2,3,4,5,6,7,8,A\n", std::string(255, 'h'),
                  frame + "the header on line 1 is longer than 255 characters. Please shorten it and try again. \n"},
             Case{"name of 16", good + "\n1,2,3,4,5,6,7,8,ABCDEFGHIJKLMNOP\n", "H",
                  frame + "in the row starting on line 4, the name is longer than 15 characters" + advice},
             Case{"cut off", good + "1,2,3,\n4,5", "H",
                  frame + "in the row starting on line 3, the file ends before the row is complete" + advice},
             Case{"word for an id", good + "1,2,3,4,5,6,seven,8,A\n", "H",
                  frame + "in the row starting on line 3, the first id is not a whole number within 32 bits" + advice},
             Case{"zero byte name", good + "1,2,3,4,5,6,7,8,\0A\n"s, "H",
                  frame + "in the row starting on line 3, the name begins with a zero byte" + advice},
         }) {
        SCOPED_TRACE(c.label);
        const Session session = runOnDatabase("refused", c.database, noStage);
        EXPECT_EQ(afterMenu(session.result.out), "\n" + c.header + "\n" + c.message);
        EXPECT_EQ(session.result.exitCode, 1);
        EXPECT_FALSE(std::filesystem::exists(session.folder / "line7log.txt"));
    }
}

std::string neighbourLines(const std::string& out) {
    const std::size_t from = out.find(neighbourHeading);
    const std::size_t to = out.find(confirmationLines);
    if (from == std::string::npos || to == std::string::npos) return "(no neighbour lines)";
    return out.substr(from + std::string(neighbourHeading).size(), to - from - std::string(neighbourHeading).size());
}

TEST(SurveySession, ListsTheNeighboursOfEachScanByItsIds) {
    // Scan 24 lies exactly GPSMINDIST from 21, scan 25 exactly GPSMAXDIST from 23; 26 is
    // level with 21 in Y, and 21 and 23 are equally far west of 22.
    const std::string database = "H\n0,0,0,0,0,0,21,1,A\n1,4,0,0,0,0,22,1,B\n0,8,0,0,0,0,23,1,C\n"
                                 "0,-2,0,0,0,0,24,1,D\n0,18,0,0,0,0,25,1,E\n-3,0,0,0,0,0,26,1,F\n";
    const std::string bounds = "GPSMINDIST 2\nGPSMAXDIST 10\n";
    EXPECT_EQ(neighbourLines(runOnDatabase("north", database, noStage, bounds).result.out),
              " Location:  21 N: 22 S: 24 \n Location:  22 N: 23 S: 21 \n"
              " Location:  23 N: None S: 22 \n Location:  24 N: 21 S: None \n"
              "No scans available to match with 25 \n Location:  26 N: 22 S: 24 \n");
    EXPECT_EQ(neighbourLines(runOnDatabase("east", database, noStage, bounds + "DATADIR -1\n").result.out),
              " Location:  21 E: 22 W: 26 \n Location:  22 E: None W: 21 \n"
              " Location:  23 E: 22 W: 26 \n Location:  24 E: 22 W: 26 \n"
              "No scans available to match with 25 \n Location:  26 E: 21 W: None \n");
    EXPECT_EQ(neighbourLines(runOnDatabase("single", "H\n5,5,5,0,0,0,7,1,A", noStage).result.out),
              "No scans available to match with 7 \n");
}

TEST(SurveySession, OnlyALowerCaseXAtTheConfirmationEndsTheRun) {
    const std::string database = "H\n0,0,0,0,0,0,1,1,A\n";
    struct Case { const char* input; int exitCode; bool goesOn; };
    for (const Case c : {Case{"10\nx\n", 1, false}, Case{"10\nxyz\n", 1, false}, Case{"10\nX\n", 0, true},
                         Case{"10\n\n", 0, true}, Case{"10\n", 0, true}, Case{"10\n y\n", 0, true}}) {
        SCOPED_TRACE(c.input);
        const Session session = runOnDatabase("confirm", database, c.input);
        const std::string out = afterMenu(session.result.out);
        const std::string tail = std::string(confirmationLines) + (c.goesOn ? closingLines : "");
        EXPECT_TRUE(out.ends_with(tail)) << out;
        EXPECT_EQ(session.result.exitCode, c.exitCode);
        EXPECT_EQ(std::filesystem::exists(session.folder / "line7log.txt"), c.goesOn);
    }
}

}  // namespace
}  // namespace sorvek
