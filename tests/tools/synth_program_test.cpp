// Generated jobs in the real programs: sorvek loads them and sees neighbouring scans
// overlap, and sorvek-synth answers its command line with the agreed exit codes.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "points/transforms.h"
#include "support/sorvek_session.h"
#include "synth/command_line.h"
#include "synth/scan_plan.h"
#include "synth/survey_writer.h"
#include "synth/synth.h"

namespace {

namespace fs = std::filesystem;
using namespace sorvek::synth;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(SynthProgram, JobLoadsInSorvekWithItsNamesNeighboursAndCounts) {
    SurveySpec surveySpec;
    surveySpec.scans = 3;
    surveySpec.points = 3000;
    surveySpec.name = "job";
    surveySpec.offsetX = 731000.0;  // survey-sized coordinates, taken off again by TRANSX and TRANSY
    surveySpec.offsetY = 5612000.0;
    const fs::path dir = sorvek::testing::makeScratchDir("synth-load");
    std::string error;
    ASSERT_TRUE(writeSurvey(surveySpec, dir, error)) << error;
    const std::string options = sorvek::testing::readFile(dir / "sorvek.txt");
    // Mode 2 loads the table; x at the confirmation ends the run before anything is written.
    const auto loaded = sorvek::testing::runSorvek(dir, {"job.txt"}, "2\nx", options);
    EXPECT_EQ(loaded.exitCode, 1);
    EXPECT_TRUE(contains(loaded.out, "There are 3 scans to process\n"));
    for (const char* name : {"job_001_001_S001.bxyz", "job_002_001_S002.bxyz", "job_003_001_S003.bxyz"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(contains(loaded.out, std::string("\n") + name + " \n"));
        EXPECT_TRUE(fs::exists(dir / name));
    }
    EXPECT_TRUE(contains(loaded.out, " Location:  2 N: 3 S: 1 \n"));
    const auto read =
        sorvek::testing::runSorvek(dir, {"job_001_001_S001.bxyz", "job_003_001_S003.bxyz"}, "5\n\n", options);
    EXPECT_EQ(read.exitCode, 0);
    EXPECT_TRUE(contains(read.out, "file size: 96000\nnumpts: 3000\n"));
    EXPECT_TRUE(contains(read.err, "3000 points successfully loaded! \n"));
    fs::remove_all(dir);
}

// Initial RMS that sorvek's mode 5 measures between two clouds in the survey frame.
// Samples farther than 5 cm from the other cloud's surface are left out: they come from
// corners, where one scan sees a side wall that the other barely sees, and the three
// nearest points of the other scan lie on the front face.
double measuredRms(const fs::path& dir, const sorvek::Cloud& first, const sorvek::Cloud& second) {
    EXPECT_TRUE(writeBinaryPoints(dir / "first.bxyz", first));
    EXPECT_TRUE(writeBinaryPoints(dir / "second.bxyz", second));
    const auto session =
        sorvek::testing::runSorvek(dir, {"first.bxyz", "second.bxyz"}, "5\n\n", "MAXDISTINITIAL 0.05\n");
    const std::size_t at = session.out.find("Initial rms = ");
    double rms = -1.0;
    int sampleCount = 0;
    if (at == std::string::npos ||
        std::sscanf(session.out.c_str() + at, "Initial rms = %lf calculated from %d pts", &rms,
                    &sampleCount) != 2) {
        ADD_FAILURE() << "no initial rms in:\n" << session.out.substr(0, 2000);
    }
    return rms;
}

sorvek::Cloud surveyFrame(sorvek::Cloud cloud, const ScanPose& pose, double headingDeg) {
    sorvek::applyMatrix(
        cloud, sorvek::composeScanMatrix(pose.rotXDeg * sorvek::degToRad, pose.rotYDeg * sorvek::degToRad,
                                         headingDeg * sorvek::degToRad, 1.0, pose.x, pose.y, pose.z));
    return cloud;
}

TEST(SynthProgram, NeighboursOverlapAtNoiseLevelOnlyWithoutTheHeadingError) {
    SurveySpec surveySpec;
    surveySpec.scans = 2;
    surveySpec.points = 80000;
    surveySpec.spacing = 15.0;
    surveySpec.noise = 0.003;
    std::vector<ScanPose> poses = planScans(surveySpec);
    poses[0].headingErrorDeg = 0.25;  // neighbours turned apart by half a degree
    poses[1].headingErrorDeg = -0.25;
    const SceneHandle scene = makeScene(surveySpec, poses);
    const sorvek::Cloud first = sampleScan(scene, poses[0], surveySpec);
    const sorvek::Cloud second = sampleScan(scene, poses[1], surveySpec);
    const fs::path dir = sorvek::testing::makeScratchDir("synth-overlap");
    const double trueRms = measuredRms(dir, surveyFrame(first, poses[0], poses[0].trueHeadingDeg),
                                       surveyFrame(second, poses[1], poses[1].trueHeadingDeg));
    const double loadedRms = measuredRms(dir, surveyFrame(first, poses[0], databaseHeadingDeg(poses[0])),
                                         surveyFrame(second, poses[1], databaseHeadingDeg(poses[1])));
    // A plane through three noisy points adds its own error to the sample's noise.
    EXPECT_GT(trueRms, 0.5 * surveySpec.noise);
    EXPECT_LT(trueRms, 3.0 * surveySpec.noise);
    EXPECT_GT(loadedRms, 2.5 * trueRms);
    fs::remove_all(dir);
}

struct ProgramRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

ProgramRun runSynth(const fs::path& dir, const std::string& arguments) {
    const std::string command =
        "cd '" + dir.string() + "' && " + SORVEK_SYNTH_BINARY + " " + arguments + " > synth.out 2> synth.err";
    const int status = std::system(command.c_str());
    ProgramRun result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = sorvek::testing::readFile(dir / "synth.out");
    result.err = sorvek::testing::readFile(dir / "synth.err");
    return result;
}

TEST(SynthProgram, HelpExplainsEveryOption) {
    const fs::path dir = sorvek::testing::makeScratchDir("synth-help");
    const ProgramRun help = runSynth(dir, "--help");
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option : {"--out DIR", "--layout line|site", "--direction", "--scans N", "--points N",
                               "--spacing M", "--error-deg D", "--noise M", "--seed S", "--name STEM",
                               "--text", "--tilt-deg D", "--offset X,Y", "--range M", "--no-occlusion"}) {
        EXPECT_TRUE(contains(help.out, option)) << option;
    }
    fs::remove_all(dir);
}

TEST(SynthProgram, BadArgumentsSayWhatIsWrongAndExitWithTwo) {
    struct Case {
        const char* arguments;
        const char* message;
    };
    const Case cases[] = {
        {"--scans 0", "sorvek-synth: --scans needs a whole number from 1 to 9999, not '0'\n"},
        {"--layout ring", "sorvek-synth: --layout needs line or site, not 'ring'\n"},
        {"--points", "sorvek-synth: --points needs a value\n"},
        {"--points 12k", "sorvek-synth: --points needs a whole number from 1 to 50000000, not '12k'\n"},
        {"--seed -3", "sorvek-synth: --seed needs a whole number from 0 to 18446744073709551615, not '-3'\n"},
        {"--offset 5", "sorvek-synth: --offset needs two numbers X,Y, not '5'\n"},
        {"--noise 2", "sorvek-synth: --noise must lie between 0 and 0.5, not 2\n"},
        {"--colour red", "sorvek-synth: unknown option --colour\n"},
        {"--text=yes", "sorvek-synth: --text takes no value\n"},
        {"extra", "sorvek-synth: unexpected argument 'extra'\n"},
    };
    const fs::path dir = sorvek::testing::makeScratchDir("synth-args");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ProgramRun run = runSynth(dir, c.arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.err, std::string(c.message) + "Try 'sorvek-synth --help'.\n");
    }
    EXPECT_FALSE(fs::exists(dir / "synthetic-survey"));
    fs::remove_all(dir);
}

TEST(SynthCommandLine, ReadsEveryOptionIntoTheSpec) {
    const std::vector<std::string> words = {"--out",
                                            "jobs/a",
                                            "--layout=site",
                                            "--direction",
                                            "west",
                                            "--scans",
                                            "12",
                                            "--points",
                                            "5000",
                                            "--spacing",
                                            "20",
                                            "--error-deg",
                                            "0.75",
                                            "--noise",
                                            "0.002",
                                            "--seed",
                                            "18446744073709551615",
                                            "--name",
                                            "site-7",
                                            "--text",
                                            "--tilt-deg",
                                            "0.5",
                                            "--offset",
                                            "512000.5,-3e3",
                                            "--range",
                                            "45",
                                            "--no-occlusion"};
    CommandLine commandLine;
    ASSERT_EQ(parseCommandLine(words, commandLine), "");
    const SurveySpec& surveySpec = commandLine.surveySpec;
    EXPECT_EQ(commandLine.outDir, "jobs/a");
    EXPECT_EQ(surveySpec.layout, "site");
    EXPECT_EQ(surveySpec.direction, "west");
    EXPECT_EQ(surveySpec.scans, 12);
    EXPECT_EQ(surveySpec.points, 5000);
    EXPECT_EQ(surveySpec.spacing, 20.0);
    EXPECT_EQ(surveySpec.errorDeg, 0.75);
    EXPECT_EQ(surveySpec.noise, 0.002);
    EXPECT_EQ(surveySpec.seed, 18446744073709551615ULL);
    EXPECT_EQ(surveySpec.name, "site-7");
    EXPECT_TRUE(surveySpec.text);
    EXPECT_EQ(surveySpec.tiltDeg, 0.5);
    EXPECT_EQ(surveySpec.offsetX, 512000.5);
    EXPECT_EQ(surveySpec.offsetY, -3000.0);
    EXPECT_EQ(surveySpec.rangeLimit, 45.0);
    EXPECT_FALSE(surveySpec.occlusion);
    EXPECT_FALSE(commandLine.isHelp);
}

}  // namespace
