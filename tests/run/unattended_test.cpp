// Runs with no one at the keyboard: the flags answer the dialogue, standard input is
// never read, and the files are those of the scripted run.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>

#include "batch/survey_job.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;

const char* const menuEnd = "0 = quit and reformat your input file, \n";

// Every file of the job folder but the program's own, with its bytes.
std::map<std::string, std::string> jobFiles(const fs::path& dir) {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir)) {
        if (entry.is_regular_file()) files[entry.path().filename().string()] = testing::readFile(entry.path());
    }
    return files;
}

TEST(Unattended, ModeFourWithClosedInputLeavesTheFilesOfTheScriptedRun) {
    const SurveyJob job = testing::makeSurveyJob("unattended", testing::smallSpec("line", "north", 4, 20000));
    const std::map<std::string, std::string> inputs = jobFiles(job.dir);
    const testing::SessionResult scripted = testing::runMode(job, 4);
    ASSERT_EQ(scripted.exitCode, 0);
    const std::map<std::string, std::string> scriptedFiles = jobFiles(job.dir);
    ASSERT_GT(scriptedFiles.size(), inputs.size() + 4);  // result files, log, rotated files
    for (const auto& [name, bytes] : scriptedFiles) {
        if (!inputs.contains(name)) fs::remove(job.dir / name);
    }
    const testing::SessionResult flagged = testing::runSorvekRedirected(
        job.dir, {"--mode", "4", "--yes", "job.txt"}, "<&-", job.baseOptions, 120);
    EXPECT_EQ(flagged.exitCode, 0);
    EXPECT_EQ(flagged.err, scripted.err);
    EXPECT_EQ(jobFiles(job.dir), scriptedFiles);
    // The console text is the scripted one with the answer printed after the menu.
    std::string expected = testing::withTimesZeroed(scripted.out);
    const std::size_t menu = expected.find(menuEnd);
    ASSERT_NE(menu, std::string::npos);
    expected.insert(menu + std::string(menuEnd).size(), "4\n");
    EXPECT_EQ(testing::withTimesZeroed(flagged.out), expected);
    fs::remove_all(job.dir);
}

// The confirmation reads nothing with --yes, so an x waiting on standard input stops
// nothing. (--mode alone leaves the confirmation to the keyboard: see the flag table.)
TEST(Unattended, YesTakesTheConfirmationAsEnter) {
    const SurveyJob job = testing::makeSurveyJob("unattended-yes", testing::smallSpec("line", "north", 2, 3000));
    const testing::SessionResult confirmed =
        testing::runSorvek(job.dir, {"--mode", "3", "--yes", "job.txt"}, "x\n", job.baseOptions);
    EXPECT_EQ(confirmed.exitCode, 0);
    EXPECT_NE(confirmed.out.find("EVALUATION OF RMS COMPLETE\n\n100 percent complete \n"
                                 "Press ENTER to close the program  \n"),
              std::string::npos);
    EXPECT_TRUE(fs::exists(job.dir / "joblog.txt"));
    fs::remove(job.dir / "joblog.txt");
    // Without --mode the menu still takes its answer from standard input, and only that.
    const testing::SessionResult answered =
        testing::runSorvek(job.dir, {"--yes", "job.txt"}, "3\nx\n", job.baseOptions);
    EXPECT_EQ(answered.exitCode, 0);
    EXPECT_NE(answered.out.find("EVALUATION OF RMS COMPLETE\n"), std::string::npos);
    fs::remove_all(job.dir);
}

// Standard input that never ends would hold any read for ever: with --yes the failure
// ends the run at once with its code, without it the run waits for the user's key.
TEST(Unattended, AFailureWithYesEndsAtOnceWithItsCode) {
    const fs::path dir = testing::makeScratchDir("unattended-failure");
    ASSERT_EQ(mkfifo((dir / "never").c_str(), 0600), 0);
    const testing::SessionResult ended = testing::runSorvekRedirected(
        dir, {"--mode", "1", "--yes", "nothere.txt"}, "<> never", std::nullopt, 60);
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.ends_with("Unable to open data file at nothere.txt \n"
                                    "Please verify the location of the file and try again. \n"));
    const testing::SessionResult waiting = testing::runSorvekRedirected(
        dir, {"--mode", "1", "nothere.txt"}, "<> never", std::nullopt, 2);
    EXPECT_EQ(waiting.exitCode, 124);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace sorvek
