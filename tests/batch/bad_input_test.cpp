// Runs of the program on a small line whose files have been damaged the way field data
// gets damaged: each run must say what is wrong, end with its defined exit code, and keep
// byte for byte every result that does not depend on the damage.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>

#include "batch/survey_job.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;

const char* const quickSolvers = "MINNUMPTS 50\nMAXITER 2\nMAXREPEAT 2\n";
const char* const lastScan = "job_004_001_S004.bxyz";

// A .bxyz file of `count` records whose coordinates are all `value`.
std::string recordsOf(double value, int count) {
    PointRecord record;
    record.x = record.y = record.z = value;
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    std::string file;
    for (int i = 0; i < count; ++i) file += bytes;
    return file;
}

// The first `count` lines of a file, head line included.
std::string leadingLines(const fs::path& path, int count) {
    const std::string text = testing::readFile(path);
    std::size_t end = 0;
    for (int i = 0; i < count && end != std::string::npos; ++i) end = text.find('\n', end + 1);
    return text.substr(0, end);
}

void replaceLine(const fs::path& path, int lineIndex, const std::string& line) {
    std::istringstream in(testing::readFile(path));
    std::string text;
    std::string read;
    for (int i = 0; std::getline(in, read); ++i) text += (i == lineIndex ? line : read) + "\n";
    testing::writeFile(path, text);
}

struct Damage {
    const char* name;
    std::function<void(const SurveyJob&)> apply;
    const char* extraOptions;
    const char* expectedOut;  // a passage of standard output
    int exitCode;
    int keptLines;            // leading lines of jobreg.csv that match the clean run's
    std::size_t rowCount;     // rows of jobreg.csv after the run
    std::function<void(const SurveyJob&, const testing::SessionResult&)> alsoCheck;
};

class BadInput : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        clean = new SurveyJob(
            testing::makeSurveyJob("clean", testing::smallSpec("line", "north", 4, 20000)));
        testing::runMode(*clean, 1, quickSolvers);
        testing::runMode(*clean, 2, quickSolvers);
    }
    static void TearDownTestSuite() {
        fs::remove_all(clean->dir);
        delete clean;
    }

    // A copy of the clean job, with the results of its runs in modes 1 and 2.
    static SurveyJob copyOfClean(const std::string& label) {
        SurveyJob job = *clean;
        job.dir = testing::makeScratchDir(label);
        fs::copy(clean->dir, job.dir, fs::copy_options::recursive);
        return job;
    }

    static SurveyJob* clean;
};

SurveyJob* BadInput::clean = nullptr;

std::string rotatedName(int scan) {
    const std::string number = std::to_string(scan);
    return "job_00" + number + "_001_S00" + number + "._rot.txt";
}

void writeLastScan(const SurveyJob& job, const std::string& bytes) {
    testing::writeFile(job.dir / lastScan, bytes);
}

const char* const outOfReach =
    "Coordinates of this pair are not numbers or too far out for the cube grid. "
    "Check the point files and TRANSX, TRANSY. \n";

// Every damage lies in scan 4, the database or the options. The rows of the pairs before
// scan 4 were flushed before the damage was met; a refused database leaves the last run's
// file as it was.
TEST_F(BadInput, EachDamageIsToldAndTheRowsBeforeItStay) {
    const auto noMore = [](const SurveyJob&, const testing::SessionResult&) {};
    const Damage damages[] = {
        {"truncated", [](const SurveyJob& job) { fs::resize_file(job.dir / lastScan, 32017); }, "",
         "file size: 32017\nnumpts: 1000\n", 0, 3, 3,
         [](const SurveyJob& job, const testing::SessionResult& result) {
             EXPECT_NE(result.err.find("1000 points successfully loaded! \n"), std::string::npos);
             EXPECT_EQ(testing::readRows(job.dir / "jobreg.csv").at(2),
                       (std::vector<std::string>{"3", "0.000000", "4", "0.000000", "999.000000",
                                                 "0", "0"}));
         }},
        {"nan", [](const SurveyJob& job) { writeLastScan(job, recordsOf(std::nan(""), 500)); }, "",
         outOfReach, 0, 3, 3, noMore},
        {"huge", [](const SurveyJob& job) { writeLastScan(job, recordsOf(1e300, 500)); }, "",
         outOfReach, 0, 3, 3, noMore},
        // Text that is no point file loads nothing: the pair is logged like a missing file.
        {"garbage",
         [](const SurveyJob& job) { writeLastScan(job, std::string(40, '?') + "\nnot, a, point\n"); },
         "",
         "Loading 2 points from file job_004_001_S004.bxyz \nCliff Distance -nan \n"
         "Finished loading 0 points\n",
         0, 3, 2,
         [](const SurveyJob& job, const testing::SessionResult&) {
             EXPECT_EQ(testing::readFile(job.dir / "joblog.txt"),
                       "Unable to open files: job_003_001_S003.bxyz \n and job_004_001_S004.bxyz \n"
                       "Please check your GPS file for an error here. \n"
                       "Unable to open files: job_004_001_S004.bxyz \n and job_003_001_S003.bxyz \n"
                       "Please check your GPS file for an error here. \n");
         }},
        {"second-header",
         [](const SurveyJob& job) {
             replaceLine(job.dir / "job.txt", 3, "X,Y,Z,rotX,rotY,rotZ,id,subid,name");
         },
         "",
         "Unable to read data file job.txt: in the row starting on line 4, the X position is "
         "not a number. Please correct the file and try again. \n",
         1, 4, 3, noMore},
        {"long-name",
         [](const SurveyJob& job) {
             std::string text = testing::readFile(job.dir / "job.txt");
             text.replace(text.find(",S002"), 5, ",S002_named_at_length");
             testing::writeFile(job.dir / "job.txt", text);
         },
         "",
         "Unable to read data file job.txt: in the row starting on line 3, the name is longer "
         "than 15 characters. Please correct the file and try again. \n",
         1, 4, 3, noMore},
        // A grid that cannot be indexed costs every pair its measure, never the run.
        {"grid-too-large", [](const SurveyJob&) {}, "dCX 0.00001\ndCY 0.00001\n",
         "Cube grid too large for this pair. Increase dCX, dCY or dCZ. \n", 0, 1, 3,
         [](const SurveyJob& job, const testing::SessionResult& result) {
             EXPECT_EQ(testing::linesStartingWith(result.out, "Cube grid too large").size(), 3U);
             for (const auto& row : testing::readRows(job.dir / "jobreg.csv"))
                 EXPECT_EQ(row.at(4), "999.000000");
         }},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        const SurveyJob job = copyOfClean(damage.name);
        damage.apply(job);
        const testing::SessionResult result =
            testing::runMode(job, 1, std::string(quickSolvers) + damage.extraOptions);
        EXPECT_NE(result.out.find(damage.expectedOut), std::string::npos) << result.out;
        EXPECT_EQ(result.exitCode, damage.exitCode);
        EXPECT_EQ(leadingLines(job.dir / "jobreg.csv", damage.keptLines),
                  leadingLines(clean->dir / "jobreg.csv", damage.keptLines));
        EXPECT_EQ(testing::readRows(job.dir / "jobreg.csv").size(), damage.rowCount);
        damage.alsoCheck(job, result);
        fs::remove_all(job.dir);
    }
}

// Without its option file the program says so and runs the job on the defaults.
TEST_F(BadInput, MissingOptionFileRunsOnTheDefaults) {
    const SurveyJob job = copyOfClean("no-options");
    const testing::SessionResult result =
        testing::runSorvek(job.dir, {"job.txt"}, "1\n\n\n", std::nullopt);
    EXPECT_EQ(result.out.rfind("Could not open master input file ./bin/sorvek.txt\n"
                               "Make sure this file is in the same directory as the program \n"
                               "USING DEFAULT VALUES!!!!\n",
                               0),
              0U);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(testing::registeredPairs(job.dir / "jobreg.csv"),
              (std::vector<std::string>{"1,2", "2,3", "3,4"}));
    fs::remove_all(job.dir);
}

// The rotation stage reads back the registration rows: a row that does not parse leaves
// its scans and every later one without rotations, and says so scan by scan, while the
// scans of the rows before it are rotated exactly as from the whole file. A rotated file
// that cannot be created costs its scan alone.
TEST_F(BadInput, RotationStageKeepsEveryScanTheDamageDoesNotReach) {
    struct Case {
        const char* name;
        std::function<void(const SurveyJob&)> apply;
        const char* expectedText;
        std::vector<int> keptScans;
    };
    const Case cases[] = {
        {"broken-row",
         [](const SurveyJob& job) {
             replaceLine(job.dir / "jobreg.csv", 3, "3,abc,4,0.1,0.01,100,0");
         },
         "4 has no rotations, so the rotation will not be performed \n", {1, 2}},
        {"rotated-file-uncreatable",
         [](const SurveyJob& job) {
             fs::remove(job.dir / rotatedName(3));
             fs::create_directory(job.dir / rotatedName(3));
         },
         "Unable to create job_003_001_S003._rot.txt", {1, 2, 4}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const SurveyJob job = copyOfClean(c.name);
        c.apply(job);
        // The kept files are written anew, not left from the clean run.
        for (int scan : c.keptScans) fs::remove(job.dir / rotatedName(scan));
        const testing::SessionResult result = testing::runMode(job, 2, quickSolvers);
        EXPECT_NE(result.out.find(c.expectedText), std::string::npos);
        EXPECT_EQ(result.exitCode, 0);
        for (int scan : c.keptScans) {
            SCOPED_TRACE(rotatedName(scan));
            const std::string rotated = testing::readFile(job.dir / rotatedName(scan));
            EXPECT_FALSE(rotated.empty());
            EXPECT_EQ(rotated, testing::readFile(clean->dir / rotatedName(scan)));
        }
        fs::remove_all(job.dir);
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
    const fs::path dir = testing::makeScratchDir("memory");
    testing::writeFile(dir / "small.bxyz", recordsOf(1.0, 4));
    testing::writeFile(dir / "big.bxyz", "");
    fs::resize_file(dir / "big.bxyz", std::uintmax_t{3} << 30);  // sparse: no disk used
    const testing::SessionResult result = testing::runSorvek(
        dir, {"big.bxyz", "small.bxyz"}, "5\n\n", std::string(), "ulimit -v 600000; ");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sorvek: out of memory\n");
    EXPECT_NE(result.out.find("file size: 3221225472\nnumpts: 100663296\n"), std::string::npos);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace sorvek
