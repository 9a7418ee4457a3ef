// Runs of the program in mode 4: the whole chain, whose evaluation must show the alignment
// it made.
#include <gtest/gtest.h>

#include "batch/survey_job.h"

namespace sorvek {
namespace {

using testing::SurveyJob;

std::vector<double> rmswaveColumn(const std::filesystem::path& rmsPath) {
    std::vector<double> values;
    for (const auto& row : testing::readRows(rmsPath)) values.push_back(testing::number(row.at(6)));
    return values;
}

// The rotation stage of the chain turns each scan by its rotations and the evaluation
// measures the turned scans: the heading errors show in the RMS before, not after.
TEST(RunAll, RmsAfterTheChainIsClearlyBelowTheRmsBefore) {
    const SurveyJob job =
        testing::makeSurveyJob("runall", testing::smallSpec("line", "north", 5, 30000));
    testing::runMode(job, 3, "FILEEXT 1\n");
    const std::vector<double> before = rmswaveColumn(job.dir / "jobrms.csv");
    const testing::SessionResult result = testing::runMode(job, 4);
    EXPECT_EQ(result.exitCode, 0);
    const std::vector<double> after = rmswaveColumn(job.dir / "jobrms.csv");
    ASSERT_EQ(before.size(), 4U);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t k = 0; k < before.size(); ++k) {
        SCOPED_TRACE(k);
        EXPECT_GT(before[k], 0.025);  // the heading errors show well above the noise
        EXPECT_LT(after[k], 0.6 * before[k]);
        EXPECT_LT(after[k], 0.025);  // the scans' noise and sampling, not their headings
    }
    std::filesystem::remove_all(job.dir);
}

}  // namespace
}  // namespace sorvek
