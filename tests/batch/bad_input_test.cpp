// Runs of the program on a small line whose files have been damaged the way field data
// gets damaged: each run must say what is wrong, end with its defined exit code, and keep
// byte for byte every result that does not depend on the damage.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "support/survey_job.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;
using testing::Rows;
using testing::quickSolvers;

// A .bxyz file of `count` records whose coordinates are all `value`.
std::string recordsOf(double value, int count) {
    PointRecord record{value, value, value, 0, 0};
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    std::string file;
    for (int i = 0; i < count; ++i) file += bytes;
    return file;
}

// The files of the job, changed in place.
void replaceText(const fs::path& path, const std::string& from, const std::string& to) {
    std::string text = testing::readFile(path);
    text.replace(text.find(from), from.size(), to);
    testing::writeFile(path, text);
}

// Every damage lies in scan 4 or the options. The rows of the pairs before scan 4 were
// flushed before the damage was met.
TEST(BadInput, EachDamageIsToldAndTheRowsBeforeItStay) {
    struct Damage {
        const char* name;
        std::function<void(const fs::path&)> apply;
        const char* options;      // on top of the quick ones; nullptr: no option file at all
        std::string expectedOut;  // a passage of standard output
        std::size_t keptRows;     // leading rows of jobreg.csv equal to the clean run's
        std::size_t rowCount;
    };
    const Damage damages[] = {
        {"truncated", [](const fs::path& dir) { fs::resize_file(dir / testing::scanFile(4), 32017); },
         "", "file size: 32017\nnumpts: 1000\n", 2, 3},
        {"nan", [](const fs::path& dir) { testing::writeFile(dir / testing::scanFile(4), recordsOf(std::nan(""), 500)); }, "",
         "Coordinates of this pair are not numbers or too far out for the cube grid. "
         "Check the point files and TRANSX, TRANSY. \n", 2, 3},
        // Text that is no point file loads nothing: the pair is not made.
        {"garbage", [](const fs::path& dir) { testing::writeFile(dir / testing::scanFile(4), std::string(40, '?') + "\nnot, a, point\n"); },
         "", "Loading 2 points from file job_004_001_S004.bxyz \nCliff Distance -nan \nFinished loading 0 points\n",
         2, 2},
        // A grid that cannot be indexed costs every pair its measure, never the run.
        {"grid-too-large", [](const fs::path&) {}, "dCX 0.00001\ndCY 0.00001\n",
         "Cube grid too large for this pair. Increase dCX, dCY or dCZ. \n", 0, 3},
        {"no-option-file", [](const fs::path&) {}, nullptr,
         "Could not open master input file ./bin/sorvek.txt\n"
         "Make sure this file is in the same directory as the program \nUSING DEFAULT VALUES!!!!\n",
         0, 3},
    };
    const Rows cleanRows = testing::readRows(testing::cleanLineJob().dir.path / "jobreg.csv");
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        const SurveyJob job = testing::copyJob(testing::cleanLineJob(), damage.name);
        damage.apply(job.dir.path);
        const testing::SessionResult result =
            damage.options ? testing::runMode(job, 1, std::string(quickSolvers) + damage.options)
                           : testing::runSorvek(job.dir.path, {"job.txt"}, "1\n\n\n");
        EXPECT_NE(result.out.find(damage.expectedOut), std::string::npos) << result.out;
        EXPECT_EQ(result.exitCode, 0);
        const Rows rows = testing::readRows(job.dir.path / "jobreg.csv");
        EXPECT_EQ(rows.size(), damage.rowCount);
        EXPECT_EQ(Rows(rows.begin(), rows.begin() + static_cast<long>(std::min(damage.keptRows, rows.size()))),
                  Rows(cleanRows.begin(), cleanRows.begin() + static_cast<long>(damage.keptRows)));
    }
}

// The rotation stage reads back the registration rows: a row that does not parse leaves
// its scans and every later one without rotations, and says so scan by scan, while the
// scans of the rows before it are rotated exactly as from the whole file. A rotated file
// that cannot be created costs its scan alone.
TEST(BadInput, RotationStageKeepsEveryScanTheDamageDoesNotReach) {
    struct Case {
        const char* name;
        std::function<void(const fs::path&)> apply;
        const char* expectedOut;
        std::vector<int> keptScans;
    };
    const Case cases[] = {
        {"broken-row", [](const fs::path& dir) { replaceText(dir / "jobreg.csv", "\n3,", "\n3,abc,"); },
         "4 has no rotations, so the rotation will not be performed \n", {1, 2}},
        {"rotated-file-uncreatable",
         [](const fs::path& dir) {
             fs::remove(dir / testing::rotatedScanFile(3));
             fs::create_directory(dir / testing::rotatedScanFile(3));
         },
         "Unable to create job_003_001_S003._rot.txt", {1, 2, 4}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const SurveyJob job = testing::copyJob(testing::cleanLineJob(), c.name);
        c.apply(job.dir.path);
        // The kept files are written anew, not left from the clean run.
        for (int scan : c.keptScans) fs::remove(job.dir.path / testing::rotatedScanFile(scan));
        const testing::SessionResult result = testing::runMode(job, 2, quickSolvers);
        EXPECT_NE(result.out.find(c.expectedOut), std::string::npos);
        EXPECT_EQ(result.exitCode, 0);
        for (int scan : c.keptScans) {
            SCOPED_TRACE(scan);
            const std::string rotated = testing::readFile(job.dir.path / testing::rotatedScanFile(scan));
            EXPECT_FALSE(rotated.empty());
            EXPECT_EQ(rotated, testing::readFile(testing::cleanLineJob().dir.path / testing::rotatedScanFile(scan)));
        }
    }
}

// The sanitizer's allocator reports an allocation it cannot serve instead of throwing.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool allocationFailureThrows = false;
#else
constexpr bool allocationFailureThrows = true;
#endif

// A cloud larger than the memory the run may use ends the run with one line on the error
// stream and exit 1, after everything printed before it. The file of 3 GiB also shows that
// a size beyond 32 bits is printed as it is.
TEST(OutOfMemory, EndsTheRunWithOneLineAndExitOne) {
    if (!allocationFailureThrows) GTEST_SKIP() << "the sanitizer's allocator does not throw";
    const testing::ScratchDir scratch("memory");
    const fs::path& dir = scratch.path;
    testing::writeFile(dir / "small.bxyz", recordsOf(1.0, 4));
    testing::writeFile(dir / "big.bxyz", "");
    fs::resize_file(dir / "big.bxyz", std::uintmax_t{3} << 30);  // sparse: no disk used
    const testing::SessionResult result = testing::runSorvek(
        dir, {"big.bxyz", "small.bxyz"}, "5\n\n", std::string(), "ulimit -v 600000; ");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sorvek: out of memory\n");
    EXPECT_NE(result.out.find("file size: 3221225472\nnumpts: 100663296\n"), std::string::npos);
}

}  // namespace
}  // namespace sorvek
