// Runs of the program in modes 6 and 7 on small synthetic sites: every pair within the
// distance span once, lower table index first, with the plan distance as spacing.
#include "batch/site_batch.h"

#include <gtest/gtest.h>

#include "batch/survey_job.h"

namespace sorvek {
namespace {

using testing::SurveyJob;

const char* const quickSolvers = "MAXITER 2\nMAXREPEAT 2\nGPSMAXDIST 1000\n";

// Five scans at whole-number distances: 3, 4, 5, 10 and 10 are among them exactly.
const char* const measuredSite =
    "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n"
    "0,0,1,0,0,10,1,1,S001\n"
    "3,4,1,0,0,20,2,1,S002\n"
    "6,8,1,0,0,30,3,1,S003\n"
    "0,10,1,0,0,40,4,1,S004\n"
    "3,0,1,0,0,50,5,1,S005\n";

TEST(SiteEvaluation, DistanceSpanIncludesBothLimits) {
    const SurveyJob job =
        testing::makeSurveyJob("span", testing::smallSpec("site", "north", 5, 3000));
    testing::writeFile(job.dir / "job.txt", measuredSite);
    const std::string out = testing::runMode(job, 7, "GPSMINDIST 4\nGPSMAXDIST 10\nTRANSX 0\nTRANSY 0\n").out;
    EXPECT_TRUE(testing::linesStartingWith(out, "1:  N:  ").empty());  // no distance line here
    const auto rows = testing::readRows(job.dir / "jobrms.csv");
    EXPECT_EQ(testing::evaluatedPairs(job.dir / "jobrms.csv"),
              (std::vector<std::string>{"1,2", "1,3", "1,4", "2,3", "2,4", "2,5", "3,4", "3,5"}));
    ASSERT_EQ(rows.size(), 8U);
    EXPECT_EQ(rows[0][7], "5.000000");
    EXPECT_EQ(rows[1][7], "10.000000");
    EXPECT_EQ(rows[5][7], "4.000000");
    std::filesystem::remove_all(job.dir);
}

// Every other pair within reach is solved once, lower table index first.
TEST(SiteRegistration, PairThatCannotBeReadIsSkippedAlone) {
    const SurveyJob job =
        testing::makeSurveyJob("sitefail", testing::smallSpec("site", "north", 5, 4000));
    std::filesystem::remove(job.dir / testing::scanFile(3));
    const testing::SessionResult result = testing::runMode(job, 6, quickSolvers);
    EXPECT_EQ(testing::registeredPairs(job.dir / "jobreg.csv"),
              (std::vector<std::string>{"1,2", "1,4", "1,5", "2,4", "2,5", "4,5"}));
    EXPECT_EQ(testing::readFile(job.dir / "joblog.txt"),
              testing::failedPairLog({{1, 3}, {2, 3}, {3, 4}, {3, 5}}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(testing::linesStartingWith(result.out, "Time for registration of scan ").size(), 5U);
    std::filesystem::remove_all(job.dir);
}

}  // namespace
}  // namespace sorvek
