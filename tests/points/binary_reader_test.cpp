#include "points/binary_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "points/point_file_kind.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

std::string bytesOf(const PointRecord& point) {
    std::string bytes(sizeof(PointRecord), '\0');
    std::memcpy(bytes.data(), &point, sizeof(PointRecord));
    return bytes;
}

PointRecord record(double x, double y, double z, std::uint32_t cube, std::uint32_t spare) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    point.cube = cube;
    point.spare = spare;
    return point;
}

struct Messages {
    std::string out;
    std::string err;
};

Messages readCapturing(const std::string& path, Cloud& cloud, bool& opened) {
    CaptureStdout();
    CaptureStderr();
    opened = readBinaryPoints(path, cloud);
    Messages messages;
    messages.out = GetCapturedStdout();
    messages.err = GetCapturedStderr();
    return messages;
}

TEST(BinaryReader, LoadsWholeRecordsAsTheyLieAndIgnoresATrailingPiece) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    const PointRecord a = record(1.5, -2.25, 1e6, 0xDEADBEEF, 17);
    const PointRecord b = record(-0.0, 3.0, 4.0, 5, 0);
    const PointRecord c = record(7.0, 8.0, 9.0, 0, 0xFFFFFFFF);
    testing::writeFile(dir / "three.bxyz", bytesOf(a) + bytesOf(b) + bytesOf(c) + "tail");

    Cloud cloud;
    bool opened = false;
    const Messages messages = readCapturing((dir / "three.bxyz").string(), cloud, opened);
    EXPECT_TRUE(opened);
    EXPECT_EQ(messages.out, "file size: 100\nnumpts: 3\n");
    EXPECT_EQ(messages.err, "3 points successfully loaded! \n");
    ASSERT_EQ(cloud.size(), 3U);
    EXPECT_EQ(bytesOf(cloud[0]), bytesOf(a));  // the cube from the file comes in untouched
    EXPECT_EQ(bytesOf(cloud[1]), bytesOf(b));
    EXPECT_EQ(bytesOf(cloud[2]), bytesOf(c));
}

TEST(BinaryReader, GivesAnEmptyCloudForAFileShorterThanOneRecord) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    testing::writeFile(dir / "short.bxyz", std::string(20, 'x'));
    Cloud cloud(4);
    bool opened = false;
    const Messages messages = readCapturing((dir / "short.bxyz").string(), cloud, opened);
    EXPECT_TRUE(opened);
    EXPECT_TRUE(cloud.empty());
    EXPECT_EQ(messages.out, "file size: 20\nnumpts: 0\n");
    EXPECT_EQ(messages.err, "0 points successfully loaded! \n");
}

TEST(BinaryReader, ReportsAFileThatDoesNotOpenOnTheErrorStream) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    const std::string path = (dir / "missing.bxyz").string();
    Cloud cloud(4);
    bool opened = true;
    const Messages messages = readCapturing(path, cloud, opened);
    EXPECT_FALSE(opened);
    EXPECT_TRUE(cloud.empty());
    EXPECT_EQ(messages.out, "");
    EXPECT_EQ(messages.err, "Could not open input file " + path +
                                ".  Skipping to next! \n\n0 points successfully loaded! \n");
}

TEST(BinaryReader, KeepsTheCapacityOfTheCloudItFills) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    testing::writeFile(dir / "one.bxyz", bytesOf(record(1, 2, 3, 4, 5)));
    Cloud cloud(50);
    const PointRecord* storage = cloud.data();
    bool opened = false;
    readCapturing((dir / "one.bxyz").string(), cloud, opened);
    EXPECT_EQ(cloud.size(), 1U);
    EXPECT_EQ(cloud.data(), storage);
}

// A sparse file of 2^31 records (64 GiB) costs no disk space and is refused before any
// allocation, like a file that does not open.
TEST(BinaryReader, RefusesAFileOf2To31RecordsLikeOneThatDoesNotOpen) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    const std::filesystem::path path = dir / "huge.bxyz";
    testing::writeFile(path, "");
    std::error_code error;
    std::filesystem::resize_file(path, std::uintmax_t{1} << 36, error);
    if (error) GTEST_SKIP() << "no sparse files here: " << error.message();
    Cloud cloud(2);
    bool opened = true;
    const Messages messages = readCapturing(path.string(), cloud, opened);
    std::filesystem::remove(path);
    EXPECT_FALSE(opened);
    EXPECT_TRUE(cloud.empty());
    EXPECT_EQ(messages.out, "");
    EXPECT_EQ(messages.err, "Could not open input file " + path.string() +
                                ".  Skipping to next! \n\n0 points successfully loaded! \n");
}

TEST(PointFileKind, KnowsTextByItsFirstBytes) {
    const std::filesystem::path dir = testing::makeScratchDir("file-kind");
    const std::string line = "1.000,2.000,3.000\r\n\t# a comment line\n";  // 38 bytes
    struct Case { const char* name; std::string contents; bool isText; };
    const Case cases[] = {
        {"text lines", line, true},
        {"text shorter than 32 bytes", "1,2,3\n", false},
        {"a .bxyz record", bytesOf(record(1, 2, 3, 0, 0)), false},
        {"a delete byte", line + "\x7f", false},
        {"a byte beyond ASCII", "\xc3\xa9" + line, false},
        {"a zero byte", line + std::string(1, '\0'), false},
        {"binary after the first 512 bytes", std::string(512, '7') + "\x01\x02", true},
        {"an empty file", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        testing::writeFile(dir / "points", c.contents);
        EXPECT_EQ(isTextPointFile((dir / "points").string()), c.isText);
    }
    EXPECT_FALSE(isTextPointFile((dir / "missing").string()));
}

}  // namespace
}  // namespace sorvek
