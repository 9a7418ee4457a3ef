// sorvek-mpi under mpirun on small generated jobs, against sorvek on the same jobs: the
// same console text (time lines aside), standard error, exit code, result file and log;
// a rank killed in the middle; and --resume after it, with either program.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/survey_job.h"

namespace sorvek {
namespace {

using testing::SessionResult;
using testing::SurveyJob;

// mpirun refuses to start as root unless told, and the tests run three ranks on however
// few cores the machine has. The sanitizer build passes over what Open MPI keeps
// allocated to the end (see openmpi_leaks.supp); the default build ignores the setting.
std::string launcher(int rankCount) {
    std::string command = "env OMPI_MCA_mca_base_component_disable_dlclose=1 "
                          "LSAN_OPTIONS=suppressions=" SORVEK_SOURCE_DIR
                          "/tests/mpi/openmpi_leaks.supp:fast_unwind_on_malloc=0:"
                          "print_suppressions=0 mpirun --oversubscribe ";
    if (geteuid() == 0) command += "--allow-run-as-root ";
    return command + "-np " + std::to_string(rankCount) + " ";
}

// The flags that answer the dialogue, so that nothing is read from standard input, and
// the job's database.
std::vector<std::string> unattended(const SurveyJob& job, int mode, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"--mode", std::to_string(mode), "--yes"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    arguments.push_back(job.name + ".txt");
    return arguments;
}

SessionResult runAlone(const SurveyJob& job, const std::string& options,
                       const std::vector<std::string>& arguments) {
    return testing::runSorvek(job.dir.path, arguments, "", job.baseOptions + options);
}

SessionResult runSpread(const SurveyJob& job, const std::string& options,
                        const std::vector<std::string>& arguments) {
    return testing::runLaunched(launcher(3), SORVEK_MPI_BINARY, job.dir.path, arguments, "",
                                job.baseOptions + options);
}

// The report's line with the time the run took.
std::string withRunTimeDropped(std::string page) {
    const std::size_t start = page.find("<p class=\"run-time\">");
    if (start != std::string::npos) page.erase(start, page.find('\n', start) - start);
    return page;
}

// Runs `mode` with sorvek on one thread, then with sorvek-mpi on three ranks of two
// threads each, and compares everything: console text, standard error, exit code, the
// result file, the log, and the report that rank 0 writes after the pass.
void expectSameAsOneProcess(const SurveyJob& job, int mode, const std::string& options,
                            const std::string& resultName) {
    const std::vector<std::string> files = {resultName, "joblog.txt", "job.html"};
    const auto flags = [&](const char* threads) {
        return unattended(job, mode, {"--threads", threads, "--report", "job.html"});
    };
    const SessionResult alone = runAlone(job, options, flags("1"));
    ASSERT_EQ(alone.exitCode, 0) << alone.out;
    std::vector<std::string> aloneFiles;
    for (const std::string& name : files) {
        aloneFiles.push_back(testing::readFile(job.dir.path / name));
        std::filesystem::remove(job.dir.path / name);
    }
    EXPECT_GT(aloneFiles[0].size(), 200U);  // rows were written at all
    ASSERT_NE(aloneFiles[2].find("<p class=\"run-time\">"), std::string::npos);
    const SessionResult spread = runSpread(job, options, flags("2"));
    EXPECT_EQ(spread.exitCode, 0);
    EXPECT_EQ(testing::withTimesZeroed(spread.out), testing::withTimesZeroed(alone.out));
    EXPECT_EQ(spread.err, alone.err);
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(withRunTimeDropped(testing::readFile(job.dir.path / files[i])),
                  withRunTimeDropped(aloneFiles[i])) << files[i];
    }
}

// The first pairs are handed out before anyone knows that the very first one cannot be
// read, with progress figures that count it: those pairs are computed again. Every pair
// that does not need the scan goes as in a clean run.
TEST(SpreadRuns, SitePassesWithAnUnreadableScanLeaveTheSameRowsLogAndProgressFigures) {
    const SurveyJob site = testing::makeSurveyJob("spread-missing", testing::smallSpec("site", "north", 9, 6000));
    std::filesystem::remove(site.dir.path / testing::scanFile(2));
    expectSameAsOneProcess(site, 6, "GPSMAXDIST 25\nMAXITER 2\n", "jobreg.csv");
    expectSameAsOneProcess(site, 6, "GPSMAXDIST 25\nREGSOL 1\nMAXITER 1\nMAXREPEAT 1\n", "jobreg.csv");
    expectSameAsOneProcess(site, 7, "GPSMAXDIST 25\n", "jobrms.csv");
}

// A file-size limit is a disk that fills up in the middle of the pass. Rank 0 must tell
// it on the real console although its computing thread has the standard streams, and
// end as one process does. Shared memory between the ranks needs files far above the
// limit, so the ranks talk over TCP here.
TEST(SpreadRuns, AFailedRowWriteEndsTheRunAsInOneProcess) {
    const SurveyJob site = testing::makeSurveyJob("spread-full", testing::smallSpec("site", "north", 9, 3000));
    const std::string options = "GPSMAXDIST 25\n";
    const std::string limit = "prlimit --fsize=300 ";
    const SessionResult alone = testing::runLaunched(limit, SORVEK_BINARY, site.dir.path, unattended(site, 7),
                                                     "", site.baseOptions + options);
    const std::string aloneRows = testing::readFile(site.dir.path / "jobrms.csv");
    const std::string aloneLog = testing::readFile(site.dir.path / "joblog.txt");
    const SessionResult spread = testing::runLaunched(
        launcher(3) + "--mca btl self,tcp " + limit, SORVEK_MPI_BINARY, site.dir.path,
        unattended(site, 7), "", site.baseOptions + options);
    EXPECT_EQ(alone.exitCode, 1);
    EXPECT_EQ(spread.exitCode, 1);
    const std::string message = "Unable to write jobrms.csv: File too large \n";
    EXPECT_EQ(aloneRows.size(), 300U);
    EXPECT_EQ(testing::readFile(site.dir.path / "jobrms.csv"), aloneRows);
    EXPECT_EQ(testing::readFile(site.dir.path / "joblog.txt"), aloneLog);
    EXPECT_TRUE(aloneLog.ends_with(message));
    EXPECT_TRUE(spread.out.ends_with(message)) << spread.out;
}

// The rank of `rank` among the children of `launcherPid`, or -1.
pid_t childWithRank(pid_t launcherPid, int rank) {
    const std::string wanted = "OMPI_COMM_WORLD_RANK=" + std::to_string(rank);
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stat(entry.path() / "stat");
        std::string pid, command, state;
        pid_t parent = 0;
        stat >> pid >> command >> state >> parent;
        if (parent != launcherPid) continue;
        const std::string environment = testing::readFile(entry.path() / "environ");
        if (environment.find(wanted + '\0') != std::string::npos) return std::stoi(name);
    }
    return -1;
}

std::size_t lineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Starts sorvek-mpi on three ranks in the background, waits for `rowsBeforeKill` rows,
// kills rank 2 and returns mpirun's exit status.
int runAndKillARank(const SurveyJob& job, const std::string& options, std::size_t rowsBeforeKill) {
    std::filesystem::remove(job.dir.path / "jobreg.csv");
    const pid_t launcherPid =
        testing::startLaunched(launcher(3), SORVEK_MPI_BINARY, job.dir.path,
                               unattended(job, 6), "", job.baseOptions + options);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    pid_t victim = -1;
    while (std::chrono::steady_clock::now() < deadline) {
        if (lineCount(testing::readFile(job.dir.path / "jobreg.csv")) >= rowsBeforeKill + 1) {
            victim = childWithRank(launcherPid, 2);
            if (victim > 0) {
                kill(victim, SIGKILL);
                break;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_GT(victim, 0) << "rank 2 was not found while the job ran";
    int status = 0;
    waitpid(launcherPid, &status, 0);
    testing::finishSorvek(job.dir.path, status);
    return status;
}

TEST(SpreadRuns, AKilledRankEndsTheJobAndResumeCompletesTheFileWithEitherProgram) {
    const SurveyJob job = testing::makeSurveyJob("spread-kill", testing::smallSpec("site", "north", 9, 30000));
    const std::string options = "GPSMAXDIST 25\n";
    ASSERT_EQ(testing::runMode(job, 6, options).exitCode, 0);
    const std::string finished = testing::readFile(job.dir.path / "jobreg.csv");
    ASSERT_GE(lineCount(finished), 8U);

    const int status = runAndKillARank(job, options, 2);
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::string stopped = testing::readFile(job.dir.path / "jobreg.csv");
    const std::string kept = stopped.substr(0, stopped.rfind('\n') + 1);
    EXPECT_EQ(finished.substr(0, kept.size()), kept);  // rows of the pairs finished in order
    EXPECT_LT(kept.size(), finished.size());
    EXPECT_GE(lineCount(kept), 3U);

    const SessionResult resumed = runSpread(job, options, unattended(job, 6, {"--resume"}));
    EXPECT_EQ(resumed.exitCode, 0);
    EXPECT_EQ(testing::readFile(job.dir.path / "jobreg.csv"), finished);

    testing::writeFile(job.dir.path / "jobreg.csv", stopped);
    const SessionResult alone = runAlone(job, options, unattended(job, 6, {"--resume"}));
    EXPECT_EQ(alone.exitCode, 0);
    EXPECT_EQ(testing::readFile(job.dir.path / "jobreg.csv"), finished);
}

}  // namespace
}  // namespace sorvek
