#include "config/option_reader.h"

#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace sorvek
