// Runs of the program whose output files stop taking writes: a file that is a symbolic
// link to /dev/full, a file-size limit, a kill in the middle of a file. A failure must
// name the file and the system's reason, end with exit code 1 and without the closing
// prompt, leave no half-written file under a final name, and keep every earlier result.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

#include "batch/survey_job.h"
#include "run/output_file.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;
using testing::quickSolvers;

// Scan `scan`'s matrix file (mode 8) and export file (mode 9).
std::string matrixName(int scan) { return testing::scanFile(scan).substr(0, 16) + "s.dat"; }
std::string exportName(int scan) { return testing::scanFile(scan).substr(0, 17) + "_adj.txt"; }

std::vector<std::string> partialFilesIn(const fs::path& dir) {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(partialSuffix)) found.push_back(name);
    }
    return found;
}

std::size_t lineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Every kind of output file in turn is a link to a device that is always full. Scan 3's
// files fail, so scans 1 and 2 show that what was done before the failure stays.
TEST(WriteFailure, AFullDiskNamesTheFileAndKeepsWhatWasDone) {
    struct Case {
        int mode;
        std::string failing;                          // linked to /dev/full
        std::function<void(const fs::path&)> damage;  // what else makes the failure come
        std::vector<std::string> keptFiles;           // byte for byte as the clean run left them
        std::string rowFile;                          // its rows are the clean run's first rows
        std::size_t keptRows = 0;
    };
    const auto nothing = [](const fs::path&) {};
    const Case cases[] = {
        {1, "jobreg.csv", nothing, {}, "", 0},
        // A pair that cannot be read is the log's first line; the rows before it stay.
        {1, "joblog.txt", [](const fs::path& dir) { fs::remove(dir / testing::scanFile(4)); },
         {}, "jobreg.csv", 2},
        {2, "jobrot.csv", nothing, {}, "", 0},
        {2, testing::rotatedScanFile(3), nothing, {testing::rotatedScanFile(1), testing::rotatedScanFile(2)}, "jobrot.csv", 2},
        {8, matrixName(3), nothing, {matrixName(1), matrixName(2)}, "", 0},
        {9, exportName(3), nothing, {exportName(1), exportName(2)}, "", 0},
        {5, "PointsScan1.txt", nothing, {}, "", 0},
        {5, "RMSdistances.txt", nothing, {}, "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.failing);
        const SurveyJob job = testing::copyJob(testing::cleanLineJob(), "writes-full");
        c.damage(job.dir);
        for (const std::string& name : c.keptFiles) fs::remove(job.dir / name);
        fs::remove(job.dir / c.failing);
        fs::create_symlink("/dev/full", job.dir / c.failing);

        const testing::SessionResult result =
            c.mode == 5 ? testing::runSorvek(job.dir, {testing::scanFile(1), testing::scanFile(2)},
                                             "5\n\n", job.baseOptions + quickSolvers)
                        : testing::runMode(job, c.mode, quickSolvers);
        const std::string message = "Unable to write " + c.failing + ": No space left on device \n";
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.out.ends_with(message)) << result.out;  // no closing prompt after it
        // Mode 5 names its log after the default database.
        const std::string log = c.mode == 5 ? "testlog.txt" : "joblog.txt";
        if (c.failing != log) {
            EXPECT_TRUE(testing::readFile(job.dir / log).ends_with(message));
        }
        EXPECT_EQ(fs::read_symlink(job.dir / c.failing), "/dev/full");
        EXPECT_EQ(partialFilesIn(job.dir), std::vector<std::string>());
        for (const std::string& name : c.keptFiles) {
            SCOPED_TRACE(name);
            EXPECT_EQ(testing::readFile(job.dir / name), testing::readFile(testing::cleanLineJob().dir / name));
        }
        if (!c.rowFile.empty()) {
            const testing::Rows rows = testing::readRows(job.dir / c.rowFile);
            const testing::Rows cleanRows = testing::readRows(testing::cleanLineJob().dir / c.rowFile);
            ASSERT_GE(cleanRows.size(), c.keptRows);
            const auto keptEnd = cleanRows.begin() + static_cast<long>(c.keptRows);
            EXPECT_EQ(rows, testing::Rows(cleanRows.begin(), keptEnd));
        }
        fs::remove_all(job.dir);
    }
}

// A file-size limit is a full disk that a file meets halfway: the limit lies above the
// whole rotated file of a short scan 1 and below half of scan 2's.
TEST(WriteFailure, AFileSizeLimitStopsTheRunInsteadOfKillingIt) {
    const SurveyJob job = testing::copyJob(testing::cleanLineJob(), "writes-limit");
    constexpr int shortScanPoints = 4000;
    fs::resize_file(job.dir / testing::scanFile(1), shortScanPoints * sizeof(PointRecord));
    for (int scan = 1; scan <= 4; ++scan) fs::remove(job.dir / testing::rotatedScanFile(scan));
    // A third of the file in the shell's blocks, 512 or 1024 bytes: either way the limit
    // falls inside the file.
    const std::uintmax_t fullSize = fs::file_size(testing::cleanLineJob().dir / testing::rotatedScanFile(2));
    const std::string limit = "ulimit -f " + std::to_string(fullSize / 3 / 512) + "; ";

    const testing::SessionResult result = testing::runSorvek(
        job.dir, {"job.txt"}, "2\n\n\n", job.baseOptions + quickSolvers, limit);
    const std::string message = "Unable to write " + testing::rotatedScanFile(2) + ": File too large \n";
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.ends_with(message)) << result.out;
    EXPECT_TRUE(testing::readFile(job.dir / "joblog.txt").ends_with(message));
    EXPECT_FALSE(fs::exists(job.dir / testing::rotatedScanFile(2)));
    EXPECT_EQ(partialFilesIn(job.dir), std::vector<std::string>());
    EXPECT_EQ(lineCount(testing::readFile(job.dir / testing::rotatedScanFile(1))), shortScanPoints);
    const testing::Rows rows = testing::readRows(job.dir / "jobrot.csv");
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0][0], "1");
    EXPECT_EQ(rows[0][4] + "," + rows[0][5], "4000,4000 ");
    fs::remove_all(job.dir);
}

// Killed in the middle of a rotated file of a million points, the run leaves no file
// under the final name, only a partial one that says what it is; the next run replaces
// it and leaves the whole file.
TEST(KilledRun, LeavesNoPartFileUnderTheFinalName) {
    const SurveyJob job =
        testing::makeSurveyJob("writes-kill", testing::smallSpec("line", "north", 1, 1000000));
    const fs::path rotated = job.dir / testing::rotatedScanFile(1);
    const fs::path partial = job.dir / (testing::rotatedScanFile(1) + partialSuffix);
    const std::size_t pointCount =
        fs::file_size(job.dir / testing::scanFile(1)) / sizeof(PointRecord);

    const pid_t pid = testing::startSorvek(job.dir, {"job.txt"}, "2\n\n\n", job.baseOptions);
    ASSERT_GT(pid, 0);
    int status = 0;
    constexpr std::uintmax_t killAtBytes = 4 << 20;  // about a tenth of the whole file
    std::error_code error;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (fs::file_size(partial, error) >= killAtBytes && !error) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    testing::finishSorvek(job.dir, status);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "the run ended before the kill";
    EXPECT_FALSE(fs::exists(rotated));
    EXPECT_TRUE(fs::exists(partial));

    const testing::SessionResult rerun = testing::runMode(job, 2);
    EXPECT_EQ(rerun.exitCode, 0);
    EXPECT_FALSE(fs::exists(partial));
    EXPECT_EQ(lineCount(testing::readFile(rotated)), pointCount);
    fs::remove_all(job.dir);
}

}  // namespace
}  // namespace sorvek
