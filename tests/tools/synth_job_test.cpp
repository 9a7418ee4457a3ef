// Generated jobs: the same bytes for the same seed, and sorvek-synth's command line.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "support/sorvek_session.h"
#include "synth/command_line.h"
#include "synth/synth.h"

namespace {

namespace fs = std::filesystem;
using namespace sorvek::synth;
using sorvek::testing::readFile;

fs::path writeJob(const SurveySpec& surveySpec, const std::string& label) {
    const fs::path dir = sorvek::testing::makeScratchDir(label);
    std::string error;
    EXPECT_TRUE(writeSurvey(surveySpec, dir, error)) << error;
    return dir;
}

// The text file carries the binary file's points, rounded to its six decimals.
TEST(SynthJob, SameSeedGivesTheSameBytesAndTextRepeatsTheBinaryPoints) {
    SurveySpec surveySpec{.scans = 2, .points = 500, .text = true};
    const fs::path first = writeJob(surveySpec, "synth-a"), second = writeJob(surveySpec, "synth-b");
    std::size_t fileCount = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(first)) {
        EXPECT_EQ(readFile(entry.path()), readFile(second / entry.path().filename())) << entry.path();
        ++fileCount;
    }
    EXPECT_EQ(fileCount, 2U + 2U + 3U);  // points twice per scan, database, truth, options
    const std::string binary = readFile(first / "survey_002_001_S002.bxyz");
    std::istringstream text(readFile(first / "survey_002_001_S002.txt"));
    std::string line;
    ASSERT_TRUE(std::getline(text, line) && line == "#X,Y,Z");
    for (std::size_t pointIndex = 0; pointIndex < 500; ++pointIndex) {
        sorvek::PointRecord p;
        std::memcpy(&p, binary.data() + (pointIndex * 32), 32);
        double x = 0.0, y = 0.0, z = 0.0;
        ASSERT_TRUE(std::getline(text, line) && std::sscanf(line.c_str(), "%lf,%lf,%lf", &x, &y, &z) == 3);
        ASSERT_TRUE(std::abs(x - p.x) <= 5e-7 && std::abs(y - p.y) <= 5e-7 && std::abs(z - p.z) <= 5e-7) << line;
    }
    surveySpec.seed = 2;
    const fs::path other = writeJob(surveySpec, "synth-c");
    EXPECT_NE(binary, readFile(other / "survey_002_001_S002.bxyz"));
    for (const fs::path& dir : {first, second, other}) fs::remove_all(dir);
}

TEST(SynthProgram, AnswersHelpAndBadArgumentsWithTheirExitCodes) {
    struct Case { const char* arguments; const char* message; };  // no message: help, exit 0
    const Case cases[] = {
        {"--help", nullptr},
        {"--scans 0", "--scans needs a whole number from 1 to 9999, not '0'"},
        {"--layout ring", "--layout needs line or site, not 'ring'"},
        {"--points", "--points needs a value"},
        {"--points 12k", "--points needs a whole number from 1 to 50000000, not '12k'"},
        {"--seed -3", "--seed needs a whole number from 0 to 18446744073709551615, not '-3'"},
        {"--offset 5", "--offset needs two numbers X,Y, not '5'"},
        {"--noise 2", "--noise must lie between 0 and 0.5, not 2"},
        {"--colour red", "unknown option --colour"},
        {"--text=yes", "--text takes no value"},
        {"extra", "unexpected argument 'extra'"},
    };
    const fs::path dir = sorvek::testing::makeScratchDir("synth-args");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const int status = std::system(("cd '" + dir.string() + "' && " + SORVEK_SYNTH_BINARY + " " +
                                        c.arguments + " > synth.out 2> synth.err").c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, c.message ? 2 : 0);
        EXPECT_EQ(readFile(dir / "synth.err"),
                  c.message ? "sorvek-synth: " + std::string(c.message) + "\nTry 'sorvek-synth --help'.\n" : "");
        EXPECT_EQ(readFile(dir / "synth.out").find("--no-occlusion") != std::string::npos, !c.message);
    }
    EXPECT_FALSE(fs::exists(dir / "synthetic-survey"));
    fs::remove_all(dir);
}

TEST(SynthCommandLine, ReadsEveryOptionIntoTheSpec) {
    const std::vector<std::string> words = {
        "--out", "jobs/a", "--layout=site", "--direction", "west", "--scans", "12", "--points", "5000",
        "--spacing", "20", "--error-deg", "0.75", "--noise", "0.002", "--seed", "18446744073709551615",
        "--name", "site-7", "--text", "--tilt-deg", "0.5", "--offset", "512000.5,-3e3", "--range", "45",
        "--no-occlusion"};
    CommandLine commandLine;
    ASSERT_EQ(parseCommandLine(words, commandLine), "");
    const SurveySpec& s = commandLine.surveySpec;
    char read[400];
    std::snprintf(read, sizeof read, "%s %d %s %s %d %lld %.17g %.17g %.17g %llu %s %d %.17g %.17g,%.17g %.17g %d",
                  commandLine.outDir.c_str(), commandLine.isHelp, s.layout.c_str(), s.direction.c_str(),
                  s.scans, static_cast<long long>(s.points), s.spacing, s.errorDeg, s.noise,
                  static_cast<unsigned long long>(s.seed), s.name.c_str(), s.text, s.tiltDeg, s.offsetX,
                  s.offsetY, s.rangeLimit, s.occlusion);
    EXPECT_STREQ(read, "jobs/a 0 site west 12 5000 20 0.75 0.002 18446744073709551615 site-7 1 0.5 "
                       "512000.5,-3000 45 0");
}

}  // namespace
