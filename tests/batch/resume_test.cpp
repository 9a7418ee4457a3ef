// Picking up a stopped pass: what is kept of a result file, how its rows are matched to
// the planned pairs, and runs of the program that resume from every kind of cut.
#include "batch/resume.h"

#include <gtest/gtest.h>

#include "support/survey_job.h"

namespace sorvek {
namespace {

using testing::SurveyJob;

const char* const siteHead = "scan1,scan2,rms12,np12,rms21,np21,rmswave,spacing,range,num_iters \n";
const char* const regHead = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

// Files cut at every line end and inside the head and the rows are resumed whole by the
// runs below; here the cuts and rows those runs never meet.
TEST(KeptRows, AHeadWithoutItsLineEndKeepsNothingAndARowWithoutScanIdsIsNotOurs) {
    const std::string head = siteHead;
    struct Case { const char* label; std::string text; bool belongs; };
    for (const Case& c : {Case{"head without its line end", head.substr(0, head.size() - 1), true},
                          Case{"a row that names no scans", head + "a,b,c\n", false},
                          Case{"an id beyond 32 bits", head + "1,4294967296,0\n", false}}) {
        SCOPED_TRACE(c.label);
        const KeptRows kept = readKeptRows(c.text, ResultFileKind::siteRms);
        EXPECT_EQ(kept.belongsToKind, c.belongs);
        EXPECT_EQ(kept.keptByteCount, 0);
        EXPECT_TRUE(kept.rows.empty());
    }
}

TEST(MatchKeptRows, RowsMatchThePlanInOrderAndGapsBeforeTheLastRowFailedBefore) {
    const std::vector<RowIds> plan{{1, 2}, {1, 3}, {2, 3}, {2, 4}, {3, 4}};
    using F = PairFate;
    // (1,3) and (2,3) have no row: scan 3 could not be read in the earlier run.
    EXPECT_EQ(matchKeptRows(plan, {{1, 2}, {2, 4}}),
              (std::vector<F>{F::kept, F::failedBefore, F::failedBefore, F::kept, F::toDo}));
    EXPECT_FALSE(matchKeptRows(plan, {{2, 1}}));                 // not in this order
    EXPECT_FALSE(matchKeptRows(plan, {{3, 4}, {1, 2}}));         // the order is the plan's
    EXPECT_FALSE(matchKeptRows({{1, 2}}, {{1, 2}, {1, 2}}));     // more rows than pairs
}

// A finished run of `mode`, then runs with --resume from files cut back at every line
// end and inside lines: each must end with the finished file and log, byte for byte.
void expectResumeFromEveryCut(const SurveyJob& job, int mode, const std::string& resultName,
                              const std::string& options) {
    const testing::SessionResult whole = testing::runMode(job, mode, options);
    ASSERT_EQ(whole.exitCode, 0);
    const std::string finished = testing::readFile(job.dir.path / resultName);
    const std::string finishedLog = testing::readFile(job.dir.path / "joblog.txt");
    std::vector<std::size_t> cuts{0, 10};
    for (std::size_t end = finished.find('\n'); end != std::string::npos; end = finished.find('\n', end + 1)) {
        cuts.push_back(end + 1);
        if (end + 6 < finished.size()) cuts.push_back(end + 6);
    }
    for (const std::size_t cut : cuts) {
        SCOPED_TRACE("cut at byte " + std::to_string(cut));
        testing::writeFile(job.dir.path / resultName, finished.substr(0, cut));
        const testing::SessionResult resumed = testing::runSorvek(
            job.dir.path, {"--resume", job.name + ".txt"}, std::to_string(mode) + "\n\n\n",
            job.baseOptions + options);
        EXPECT_EQ(resumed.exitCode, 0);
        EXPECT_EQ(testing::readFile(job.dir.path / resultName), finished);
        EXPECT_EQ(testing::readFile(job.dir.path / "joblog.txt"), finishedLog);
    }
}

// Five scans, all within reach of each other: ten pairs, four of which need scan 3.
TEST(Resume, SiteEvaluationWithAnUnreadableScanEndsAsOneUninterruptedRunAndSaysSo) {
    const SurveyJob job = testing::makeSurveyJob("resume7", testing::smallSpec("site", "north", 5, 3000));
    std::filesystem::remove(job.dir.path / testing::scanFile(3));
    expectResumeFromEveryCut(job, 7, "jobrms.csv", "GPSMAXDIST 1000\n");
    const std::string finished = testing::readFile(job.dir.path / "jobrms.csv");
    testing::writeFile(job.dir.path / "jobrms.csv", finished.substr(0, finished.find('\n', finished.find('\n') + 1) + 1));
    const testing::SessionResult resumed = testing::runSorvek(
        job.dir.path, {"--resume", "job.txt"}, "7\n\n\n", job.baseOptions + "GPSMAXDIST 1000\n");
    EXPECT_NE(resumed.out.find("\nResuming jobrms.csv: 1 rows kept, 9 pairs to do \n"), std::string::npos);
    // Only the pairs still to do are read, and five of them can be.
    EXPECT_EQ(testing::linesStartingWith(resumed.out, "RMS for scans ").size(), 5U);
}

TEST(Resume, SiteRegistrationAndLineEvaluationEndAsOneUninterruptedRun) {
    const SurveyJob site = testing::makeSurveyJob("resume6", testing::smallSpec("site", "north", 4, 3000));
    expectResumeFromEveryCut(site, 6, "jobreg.csv", "GPSMAXDIST 1000\nMAXITER 2\n");
    const SurveyJob line = testing::makeSurveyJob("resume3", testing::smallSpec("line", "south", 5, 3000));
    expectResumeFromEveryCut(line, 3, "jobrms.csv", "FILEEXT 1\n");
}

TEST(Resume, RefusesAFileOfAnotherPassAndPassesThatCannotResume) {
    const SurveyJob job = testing::makeSurveyJob("resumeno", testing::smallSpec("site", "north", 3, 2000));
    const std::string foreign = std::string(regHead) + "1,0.1,2,0.2,0.01,100,0\n";
    testing::writeFile(job.dir.path / "jobrms.csv", foreign);
    const testing::SessionResult refused =
        testing::runSorvek(job.dir.path, {"--resume", "job.txt"}, "7\n\n\n", job.baseOptions);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.out.find("Cannot resume jobrms.csv: it is not the result file of this pass \n"
                               "Run it again without --resume to start the pass afresh. \n"),
              std::string::npos);
    EXPECT_EQ(testing::readFile(job.dir.path / "jobrms.csv"), foreign);

    // These are refused at the menu, before the log or any result file is touched.
    std::filesystem::remove(job.dir.path / "joblog.txt");
    struct Case { const char* label; int mode; const char* options; };
    for (const Case& c : {Case{"line registration", 1, ""}, Case{"run all", 4, ""},
                          Case{"Ping Pong site", 6, "REGSOL 2\n"}}) {
        SCOPED_TRACE(c.label);
        const testing::SessionResult result = testing::runSorvek(
            job.dir.path, {"--resume", "job.txt"}, std::to_string(c.mode) + "\n\n\n", job.baseOptions + c.options);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.out.find("--resume continues the passes of modes 3 and 7, and of mode 6 "
                                  "unless Ping Pong solves it \n"),
                  std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(job.dir.path / "joblog.txt"));
    }
}

}  // namespace
}  // namespace sorvek
