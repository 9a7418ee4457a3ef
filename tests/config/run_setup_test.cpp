// What a run reads before its first stage: option file, output names, menu number.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "config/option_reader.h"
#include "config/output_names.h"
#include "config/summary.h"

namespace sorvek {
namespace {

// Four fields stand for the rest: both kinds of conversion, and the three keys that
// share the ALPHA stem.
TEST(OptionFile, EachLineSetsOnlyItsOwnKeyAndOnlyWhenTheValueConverts) {
    struct Case { std::string text; std::int32_t maxIter; double dCX; double alpha; std::int32_t alphaInc; };
    const Case cases[] = {
        {"", 5, 1.0, 2.0, 5}, {"# MAXITER 9\n#dCX 4\n\n", 5, 1.0, 2.0, 5},
        {"ALPHA 3.5\nALPHATHRESH 0.001\n", 5, 1.0, 3.5, 5}, {"ALPHAINC 7\n", 5, 1.0, 2.0, 7},
        {"MAXITER\t9\n MAXITER 9\nmaxiter 9\nDCX 3\nMAXITER\n", 5, 1.0, 2.0, 5},
        {"MAXITER   \nMAXITER nine\n", 5, 1.0, 2.0, 5}, {"dCX 4\ndCX 2.5e-1 remark\r\n", 5, 0.25, 2.0, 5},
        {"MAXITER 9", 9, 1.0, 2.0, 5},  // the last line counts without a line end
        {"MAXITER 010\n", 8, 1.0, 2.0, 5}, {"MAXITER 0x10\n", 16, 1.0, 2.0, 5},
        {"MAXITER 5.9\n", 5, 1.0, 2.0, 5}, {"MAXITER    \t -3 iterations per cycle\n", -3, 1.0, 2.0, 5},
        // An over-long comment arrives in pieces of 255; the second starts a line of its own.
        {"#" + std::string(254, '-') + "MAXITER 4\n", 4, 1.0, 2.0, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        RunOptions options;
        applyOptionText(options, c.text);
        EXPECT_EQ(options.MAXITER, c.maxIter);
        EXPECT_EQ(options.dCX, c.dCX);
        EXPECT_EQ(options.ALPHA, c.alpha);
        EXPECT_EQ(options.ALPHAINC, c.alphaInc);
    }
}

// The refusals' texts and order are pinned end to end; here the values just inside them.
TEST(OptionFile, ZeroPointsPerCubeAndTheSmallestPositiveValuesAreAccepted) {
    RunOptions options;
    options.NUMPPC = 0;
    options.ALPHAINC = 1;
    options.dCX = 5e-324;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(reportInvalidOptions(options, "sorvek.txt"), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

// An empty stem means the path is refused and no name is set.
TEST(OutputNames, DeriveFromTheDatabasePathWithoutSeparatorOrSetNothing) {
    struct Case { const char* path; std::string stem; };
    for (const Case& c : {Case{"D:\\job\\line7.txt", "D:\\job\\line7"}, Case{"jobs/line7.csv", "jobs/line7"},
                          Case{"a.tx", ""}, Case{"line7.TXT", ""}, Case{"line7.text", ""},
                          Case{"line7.bxyz", ""}}) {
        SCOPED_TRACE(c.path);
        RunState state;
        deriveOutputNames(state, c.path);
        const std::string& s = c.stem;
        EXPECT_EQ(state.databaseStem, s);
        EXPECT_EQ(state.regPath + "|" + state.rotPath + "|" + state.rmsPath + "|" + state.logPath,
                  s.empty() ? "|||" : s + "reg.csv|" + s + "rot.csv|" + s + "rms.csv|" + s + "log.txt");
    }
}

// What is left after the menu is what the confirmation reads next.
TEST(Menu, ReadsOneNumberAndDropsExactlyOneCharacterAfterIt) {
    struct Case { const char* typed; std::int32_t mode; const char* rest; };
    for (const Case c : {Case{"  7\n", 7, ""}, Case{"-2\n", -2, ""}, Case{"12\n", 12, ""},
                         Case{"4\nx\n", 4, "x\n"}, Case{"4 extra\n", 4, "extra\n"},
                         Case{"xyz\n", 1, "yz\n"}, Case{"", 1, ""}}) {
        SCOPED_TRACE(c.typed);
        std::string buffer = c.typed;
        std::FILE* input = fmemopen(buffer.data(), buffer.size(), "r");
        EXPECT_EQ(readModeNumber(input, 1), c.mode);
        std::string rest;
        for (int ch = std::fgetc(input); ch != EOF; ch = std::fgetc(input)) rest += static_cast<char>(ch);
        std::fclose(input);
        EXPECT_EQ(rest, c.rest);
    }
}

}  // namespace
}  // namespace sorvek
