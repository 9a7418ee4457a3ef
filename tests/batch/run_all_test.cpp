// Runs of the program in mode 4: the whole chain, whose evaluation must show the alignment
// it made.
#include <gtest/gtest.h>

#include <cmath>

#include "batch/survey_job.h"

namespace sorvek {
namespace {

using testing::SurveyJob;

std::vector<double> rmswaveColumn(const std::filesystem::path& rmsPath) {
    std::vector<double> values;
    for (const auto& row : testing::readRows(rmsPath)) values.push_back(testing::number(row.at(6)));
    return values;
}

TEST(RunAll, RmsAfterTheChainIsClearlyBelowTheRmsBefore) {
    const SurveyJob job =
        testing::makeSurveyJob("runall", testing::smallSpec("line", "north", 5, 30000));
    // Before: each scan measured against its south neighbour, the spacing column the plan
    // distance between them, no Cliff Distance for .bxyz files.
    const std::string evaluated = testing::withTimesZeroed(testing::runMode(job, 3, "FILEEXT 1\n").out);
    EXPECT_NE(evaluated.find("EVALUATING RMS OF SCANS\nTime for RMS evaluation of scan 1 is 0 seconds \n\n"),
              std::string::npos);
    EXPECT_EQ(testing::linesStartingWith(evaluated, "RMS for scans ").size(), 4U);
    EXPECT_EQ(testing::linesStartingWith(evaluated, "3:  N:  ").size(), 1U);
    const auto truth = testing::readRows(job.dir / "job_truth.csv");
    const auto rows = testing::readRows(job.dir / "jobrms.csv");
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const double dx = testing::number(truth[k + 1][6]) - testing::number(truth[k][6]);
        const double dy = testing::number(truth[k + 1][7]) - testing::number(truth[k][7]);
        EXPECT_NEAR(testing::number(rows[k].at(7)), std::sqrt((dx * dx) + (dy * dy)), 1e-6) << k;
        EXPECT_EQ(rows[k].at(8), "0.000000") << k;
    }
    const std::vector<double> before = rmswaveColumn(job.dir / "jobrms.csv");
    const testing::SessionResult result = testing::runMode(job, 4);
    EXPECT_EQ(result.exitCode, 0);
    const std::vector<double> after = rmswaveColumn(job.dir / "jobrms.csv");
    EXPECT_EQ(testing::evaluatedPairs(job.dir / "jobrms.csv"),
              (std::vector<std::string>{"2,1", "3,2", "4,3", "5,4"}));
    ASSERT_EQ(before.size(), 4U);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t k = 0; k < before.size(); ++k) {
        SCOPED_TRACE(k);
        EXPECT_GT(before[k], 0.025);  // the heading errors show well above the noise
        EXPECT_LT(after[k], 0.6 * before[k]);
        EXPECT_LT(after[k], 0.025);  // the scans' noise and sampling, not their headings
    }
    // The registration stage of this mode measures no initial RMS, so every solver result
    // below 999.0 counts as an improvement.
    EXPECT_TRUE(testing::linesStartingWith(result.out, "Initial rms = ").empty());
    for (const auto& row : testing::readRows(job.dir / "jobreg.csv")) {
        EXPECT_TRUE(row.at(1) != "0.000000" || row.at(3) != "0.000000") << row.at(0);
    }
    const std::string out = testing::withTimesZeroed(result.out);
    EXPECT_NE(out.find("REGISTRATION OF SCANS COMPLETE\n\nROTATING SCANS\n"), std::string::npos);
    EXPECT_NE(out.find("Total Time for rotations of 5 files is 0 seconds \n"
                       "ROTATION OF SCANS COMPLETE\n\nEVALUATING RMS OF SCANS\n"),
              std::string::npos);
    std::filesystem::remove_all(job.dir);
}

}  // namespace
}  // namespace sorvek
