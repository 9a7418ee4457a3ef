#include "config/option_reader.h"

#include <gtest/gtest.h>

#include <string>

namespace sorvek {
namespace {

RunOptions optionsFrom(const std::string& text) {
    RunOptions options;
    applyOptionText(options, text);
    return options;
}

TEST(OptionFile, EmptyOrCommentOnlyTextKeepsEveryDefault) {
    for (const char* text : {"", "# MAXITER 9\n#dCX 4\n", "\n\n"}) {
        SCOPED_TRACE(text);
        const RunOptions options = optionsFrom(text);
        EXPECT_EQ(options.MAXITER, 5);
        EXPECT_EQ(options.dCX, 1.0);
        EXPECT_EQ(options.ALPHATHRESH, 0.0000175);
    }
}

TEST(OptionFile, TrailingBlankKeepsAlphaKeysApart) {
    const RunOptions alpha = optionsFrom("ALPHA 3.5\n");
    EXPECT_EQ(alpha.ALPHA, 3.5);
    EXPECT_EQ(alpha.ALPHAINC, 5);
    EXPECT_EQ(alpha.ALPHATHRESH, 0.0000175);
    const RunOptions steps = optionsFrom("ALPHAINC 7\n");
    EXPECT_EQ(steps.ALPHAINC, 7);
    EXPECT_EQ(steps.ALPHA, 2.0);
}

TEST(OptionFile, IgnoresKeysThatAreNotWrittenExactly) {
    struct Case { const char* line; };
    for (const Case c : {Case{"MAXITER\t9\n"}, Case{" MAXITER 9\n"}, Case{"maxiter 9\n"},
                         Case{"MAXITER\n"}, Case{"MAXITER 9"}, Case{"MAXITER   \n"},
                         Case{"MAXITER nine\n"}, Case{"DCX 3\n"}}) {
        SCOPED_TRACE(c.line);
        const RunOptions options = optionsFrom(c.line);
        const bool isLastLineWithoutEnd = std::string(c.line) == "MAXITER 9";
        EXPECT_EQ(options.MAXITER, isLastLineWithoutEnd ? 9 : 5);
        EXPECT_EQ(options.dCX, 1.0);
    }
}

TEST(OptionFile, IntegersReadWithSignOctalHexAndWholePartOfDecimals) {
    struct Case { const char* text; std::int32_t maxIter; };
    for (const Case c : {Case{"MAXITER 010\n", 8}, Case{"MAXITER 0x10\n", 16},
                         Case{"MAXITER 5.9\n", 5}, Case{"MAXITER -3\n", -3},
                         Case{"MAXITER    \t 12 iterations per cycle\n", 12}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(optionsFrom(c.text).MAXITER, c.maxIter);
    }
}

TEST(OptionFile, FloatsTakeExponentsAndLastOccurrenceWins) {
    const RunOptions options = optionsFrom("dCX 2.5e-1 remark\r\ndCY 4\ndCY 0.5\ndCZ 3");
    EXPECT_EQ(options.dCX, 0.25);
    EXPECT_EQ(options.dCY, 0.5);
    EXPECT_EQ(options.dCZ, 3.0);
}

TEST(OptionFile, LongLineArrivesInPiecesOfTwoHundredFiftyFiveCharacters) {
    // The second piece of an over-long comment starts in column 1 and is read as a line.
    const std::string comment = "#" + std::string(254, '-');
    const RunOptions options = optionsFrom(comment + "NUMPPC 4\nMINNUMPTS 7\n");
    EXPECT_EQ(options.NUMPPC, 4);
    EXPECT_EQ(options.MINNUMPTS, 7);
}

TEST(OptionFile, InvalidValuesAreReportedInTableOrder) {
    RunOptions options;
    options.ALPHAINC = 0;
    options.dCZ = -1.0;
    options.NUMPPC = -1;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(reportInvalidOptions(options, "C:\\run\\sorvek.txt"), 3);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Option dCZ has an invalid value. Please correct C:\\run\\sorvek.txt \n"
              "Option NUMPPC has an invalid value. Please correct C:\\run\\sorvek.txt \n"
              "Option ALPHAINC has an invalid value. Please correct C:\\run\\sorvek.txt \n");
}

TEST(OptionFile, ZeroPointsPerCubeAndOneIterationAreAccepted) {
    RunOptions options;
    options.NUMPPC = 0;
    options.MAXITER = 1;
    options.MAXREPEAT = 1;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(reportInvalidOptions(options, "sorvek.txt"), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace sorvek
