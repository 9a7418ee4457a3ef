// Generated jobs: the same bytes for the same seed, and sorvek-synth's command line.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "support/scratch_dir.h"
#include "support/sorvek_session.h"
#include "synth/command_line.h"
#include "synth/exchange_writer.h"
#include "synth/synth.h"

namespace {

namespace fs = std::filesystem;
using namespace sorvek::synth;
using sorvek::testing::readFile;
using sorvek::testing::ScratchDir;

ScratchDir writeJob(const SurveySpec& surveySpec, const std::string& label) {
    ScratchDir dir(label);
    std::string error;
    EXPECT_TRUE(writeSurvey(surveySpec, dir.path, error)) << error;
    return dir;
}

// The text file carries the binary file's points, rounded to its six decimals.
TEST(SynthJob, SameSeedGivesTheSameBytesAndTextRepeatsTheBinaryPoints) {
    SurveySpec surveySpec{.scans = 2, .points = 500, .text = true};
    const ScratchDir first = writeJob(surveySpec, "synth-a"), second = writeJob(surveySpec, "synth-b");
    std::size_t fileCount = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(first.path)) {
        EXPECT_EQ(readFile(entry.path()), readFile(second.path / entry.path().filename())) << entry.path();
        ++fileCount;
    }
    EXPECT_EQ(fileCount, 2U + 2U + 3U);  // points twice per scan, database, truth, options
    const std::string binary = readFile(first.path / "survey_002_001_S002.bxyz");
    std::istringstream text(readFile(first.path / "survey_002_001_S002.txt"));
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
    const ScratchDir other = writeJob(surveySpec, "synth-c");
    EXPECT_NE(binary, readFile(other.path / "survey_002_001_S002.bxyz"));
}

template <typename Value>
Value valueAt(const std::string& bytes, std::size_t offset) {
    Value value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);  // the files and this machine are little-endian
    return value;
}

// The LAS writer against the format's own byte offsets. The fields the reader uses are
// pinned by its refusals of files changed at those offsets; here the file's length with
// its variable-length and extended records, the bounds and the stored integers.
TEST(SynthWriters, WriteLasHeadersAndRecordsWhereTheFormatPutsThem) {
    const ScratchDir scratch("synth-las");
    const fs::path& dir = scratch.path;
    const sorvek::Cloud cloud = {{1000.5, 2000.25, -3.0, 0, 0}, {999.9994, 2001.0, 0.0015, 0, 0}};
    struct Case { std::uint32_t minor, format, extraBytes; std::size_t header, record, vlrBytes, tail; };
    for (const Case& c : {Case{2, 3, 0, 227, 34, 54 + 16, 0}, Case{4, 6, 2, 375, 32, 54 + 16, 60 + 16}}) {
        SCOPED_TRACE(c.format);
        const LasLayout layout{.versionMinor = c.minor, .pointFormat = c.format, .extraBytes = c.extraBytes,
                               .vlrCount = 1, .scale = 0.001, .offsetX = 1000.0, .offsetY = 2000.0};
        ASSERT_TRUE(writeLasPoints(dir / "scan.las", cloud, layout));
        const std::string las = readFile(dir / "scan.las");
        const std::size_t data = c.header + c.vlrBytes;
        ASSERT_EQ(las.size(), data + (2 * c.record) + c.tail);
        EXPECT_EQ(valueAt<std::uint32_t>(las, 96), data);
        EXPECT_EQ(valueAt<double>(las, 179), 1000.5);  // greatest X as stored
        EXPECT_EQ(valueAt<double>(las, 187), 999.999);
        // Coordinates are rounded to the nearest step: 999.9994 to -1, 0.0015 to 2.
        const std::int32_t stored[] = {500, 250, -3000, -1, 1000, 2};
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(valueAt<std::int32_t>(las, data + ((i / 3) * c.record) + (4 * (i % 3))), stored[i]) << i;
        }
        EXPECT_EQ(lasQuantised(0.0015, 0.001, 0.0), 0.002);
    }
    EXPECT_FALSE(writeLasPoints(dir / "far.las", {{5.0e6, 0, 0, 0, 0}}, LasLayout{.scale = 0.001}));  // beyond 32 bits
}

// The PLY writer: the header with every kind of extra, and the bodies in all three encodings.
TEST(SynthWriters, WritePlyHeadersAndBodiesInEveryEncoding) {
    const ScratchDir scratch("synth-ply");
    const fs::path& dir = scratch.path;
    const sorvek::Cloud cloud = {{0.1, -2.5, 1e6, 0, 0}, {3.0, 4.0, 5.0, 0, 0}};
    ASSERT_TRUE(writePlyPoints(dir / "a.ply", cloud, {.format = "ascii", .isDouble = false, .extras = PlyExtras::lists}));
    EXPECT_EQ(readFile(dir / "a.ply"),
              "ply\nformat ascii 1.0\ncomment written by sorvek-synth\nelement scanner 1\nproperty float range\n"
              "property uchar channel\nproperty list ushort uchar label\nelement vertex 2\nproperty uchar flags\n"
              "property float x\nproperty short tag\nproperty float y\nproperty float z\nproperty float intensity\n"
              "property list uchar int neighbours\nproperty uchar red\nelement face 1\n"
              "property list uchar int vertex_indices\nend_header\n60 1 2 65 66\n"
              "0 0.100000001 -1000 -2.5 1000000 0 0 0\n1 3 -999 4 5 0.5 1 2 7\n3 0 1 2\n");
    ASSERT_TRUE(writePlyPoints(dir / "b.ply", cloud, {.format = "binary_big_endian", .isDouble = true}));
    const std::string big = readFile(dir / "b.ply");
    const std::string head = "ply\nformat binary_big_endian 1.0\ncomment written by sorvek-synth\nelement vertex 2\n"
                             "property double x\nproperty double y\nproperty double z\nend_header\n";
    ASSERT_EQ(big.size(), head.size() + 48);
    EXPECT_EQ(big.substr(0, head.size()), head);
    EXPECT_EQ(big.substr(head.size() + 8, 8), std::string("\xC0\x04\0\0\0\0\0\0", 8));  // -2.5
    ASSERT_TRUE(writePlyPoints(dir / "l.ply", cloud, {.isDouble = false}));
    const std::string little = readFile(dir / "l.ply");
    EXPECT_EQ(valueAt<float>(little, little.size() - 12), 3.0F);
    EXPECT_FALSE(writePlyPoints(dir / "x.ply", cloud, {.format = "binary"}));
}

TEST(SynthProgram, AnswersHelpAndBadArgumentsWithTheirExitCodes) {
    struct Case { const char* arguments; const char* message; };  // no message: help, exit 0
    const Case cases[] = {
        {"--help", nullptr},
        {"--layout ring", "--layout needs line or site, not 'ring'"},
        {"--points", "--points needs a value"},
        {"--seed -3", "--seed needs a whole number from 0 to 18446744073709551615, not '-3'"},
        {"--offset 5", "--offset needs two numbers X,Y, not '5'"},
        {"--noise 2", "--noise must lie between 0 and 0.5, not 2"},
        {"--colour red", "unknown option --colour"},
        {"--text=yes", "--text takes no value"},
        {"--format laz", "--format needs bxyz, text, las or ply, not 'laz'"},
        {"extra", "unexpected argument 'extra'"},
    };
    const ScratchDir scratch("synth-args");
    const fs::path& dir = scratch.path;
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
}

}  // namespace
