// Runs of the program in modes 2 and 4: the rotation stage reading a registration result
// file back, and the whole chain, whose evaluation must show the alignment it made.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

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
    testing::runMode(job, 3, "FILEEXT 1\n");
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

TEST(RotateScans, ReadsAHandWrittenRegistrationFileBack) {
    const SurveyJob job =
        testing::makeSurveyJob("rotate", testing::smallSpec("line", "north", 3, 2000));
    testing::writeFile(job.dir / "jobreg.csv",
                       "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n"
                       "1,0.500000,2,-0.250000,0.012000,1500,0\n"
                       "2,0.750000,3,0.000000,0.020000,1400,0\n"
                       "3,0.000000,2,0.000000,0.020000,1400,0");
    const testing::SessionResult result = testing::runMode(job, 2, "APPLYFILTER 1\nMAXRANGE 12\n");
    EXPECT_EQ(result.exitCode, 0);
    const auto rows = testing::readRows(job.dir / "jobrot.csv");
    EXPECT_EQ(testing::headLineOf(job.dir / "jobrot.csv"),
              "ID,rotation(degrees),numRotVals,RotSpread(Degrees),Numpoints,NumpointsED ");
    ASSERT_EQ(rows.size(), 3U);
    // Scan 2 has three entries, -0.25, 0.75 and 0.0; scan 3 averages exactly 0.0.
    EXPECT_EQ(std::vector<std::string>(rows[0].begin(), rows[0].begin() + 4),
              (std::vector<std::string>{"1", "0.500000", "1", "0.000000"}));
    EXPECT_EQ(std::vector<std::string>(rows[1].begin(), rows[1].begin() + 4),
              (std::vector<std::string>{"2", "0.166667", "3", "1.000000"}));
    EXPECT_EQ(std::vector<std::string>(rows[2].begin(), rows[2].begin() + 4),
              (std::vector<std::string>{"3", "0.000000", "0", "0.0"}));
    for (std::size_t k = 0; k < rows.size(); ++k) {
        SCOPED_TRACE(k);
        const std::string name =
            "job_00" + std::to_string(k + 1) + "_001_S00" + std::to_string(k + 1) + "._rot.txt";
        const std::string text = testing::readFile(job.dir / name);
        const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        EXPECT_EQ(rows[k][4], "2000");
        EXPECT_EQ(rows[k][5], std::to_string(lines) + " ");
        EXPECT_LT(lines, 2000U);  // the range filter dropped the far points
        EXPECT_GT(lines, 0U);
    }
    const std::string out = testing::withTimesZeroed(result.out);
    EXPECT_NE(out.find("Loading data from file jobreg.csv \n"), std::string::npos);
    EXPECT_NE(out.find("Rotating 2000 Points in 2 by 0.166667 degrees \n"), std::string::npos);
    EXPECT_NE(
        out.find("No rotation values found !=0 for 3 so 2000 points will not be rotated.  \n"),
        std::string::npos);
    EXPECT_NE(out.find("Total Time for rotations of 3 files is 0 seconds \n"), std::string::npos);
    std::filesystem::remove_all(job.dir);
}

}  // namespace
}  // namespace sorvek
