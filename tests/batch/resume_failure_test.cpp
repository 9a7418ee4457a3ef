// --resume meets a result file it cannot read: it must refuse and leave the file as it
// was, never take it for an empty file and start the pass afresh over it. And what counts
// as a scan id when a row is read back, by resume and report alike.
#include <gtest/gtest.h>

#include <unistd.h>

#include "batch/result_rows.h"
#include "support/survey_job.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;

testing::SessionResult resumeSiteRms(const SurveyJob& job) {
    return testing::runSorvek(job.dir.path, {"--resume", "job.txt"}, "7\n\n\n", job.baseOptions);
}

TEST(ResumeFailure, ADirectoryInPlaceOfTheResultFileIsRefusedAndKept) {
    const SurveyJob job = testing::makeSurveyJob("resumedir", testing::smallSpec("site", "north", 3, 2000));
    fs::create_directory(job.dir.path / "jobrms.csv");
    testing::writeFile(job.dir.path / "jobrms.csv" / "inside.txt", "kept\n");
    const testing::SessionResult refused = resumeSiteRms(job);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.out.find("Cannot resume jobrms.csv: it cannot be read (Is a directory) \n"
                               "Run it again without --resume to start the pass afresh. \n"),
              std::string::npos);
    EXPECT_EQ(testing::readFile(job.dir.path / "jobrms.csv" / "inside.txt"), "kept\n");
}

TEST(ResumeFailure, AResultFileWithoutReadPermissionIsRefusedUntouched) {
    if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not stop reads for root";
    const SurveyJob job = testing::makeSurveyJob("resumeperm", testing::smallSpec("site", "north", 3, 2000));
    testing::runMode(job, 7);
    const fs::path result = job.dir.path / "jobrms.csv";
    const std::string finished = testing::readFile(result);
    ASSERT_NE(finished.find('\n'), std::string::npos);
    fs::permissions(result, fs::perms::owner_write);
    const testing::SessionResult refused = resumeSiteRms(job);
    fs::permissions(result, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.out.find("Cannot resume jobrms.csv: it cannot be read (Permission denied) \n"),
              std::string::npos);
    EXPECT_EQ(testing::readFile(result), finished);
}

TEST(RowIds, AnIdIsWhatPercentIWritesAndNothingElse) {
    EXPECT_EQ(parseRowId("-3"), -3);
    EXPECT_EQ(parseRowId("2147483647"), INT32_MAX);
    for (const char* notAnId : {"", " 7", "+7", "7 ", "7.0", "2147483648"}) {
        EXPECT_FALSE(parseRowId(notAnId)) << '"' << notAnId << '"';
    }
}

}  // namespace
}  // namespace sorvek
