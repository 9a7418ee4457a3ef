#include "points/binary_reader.h"

#include <gtest/gtest.h>

#include "points/point_file_kind.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

std::string bytesOf(const PointRecord& point) {
    return {reinterpret_cast<const char*>(&point), sizeof(PointRecord)};
}

TEST(BinaryReader, LoadsWholeRecordsAsTheyLieAndIgnoresATrailingPiece) {
    const std::filesystem::path path = testing::makeScratchDir("binary-reader") / "three.bxyz";
    // The cube from the file comes in untouched, and so do the four spare bytes.
    const PointRecord records[] = {{1.5, -2.25, 1e6, 0xDEADBEEF, 17}, {-0.0, 3, 4, 5, 0},
                                   {7, 8, 9, 0, 0xFFFFFFFF}};
    testing::writeFile(path, bytesOf(records[0]) + bytesOf(records[1]) + bytesOf(records[2]) + "tail");
    Cloud cloud(4);  // what the cloud held before is replaced
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(readBinaryPoints(path.string(), cloud));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "file size: 100\nnumpts: 3\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "3 points successfully loaded! \n");
    ASSERT_EQ(cloud.size(), 3U);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(bytesOf(cloud[i]), bytesOf(records[i])) << i;
}

// A sparse file of 2^31 records (64 GiB, no disk used) cannot be counted in 32 bits: it is
// refused before any allocation, like a file that does not open.
TEST(BinaryReader, RefusesAFileOf2To31RecordsLikeOneThatDoesNotOpen) {
    const std::filesystem::path path = testing::makeScratchDir("binary-reader") / "huge.bxyz";
    testing::writeFile(path, "");
    std::error_code error;
    std::filesystem::resize_file(path, std::uintmax_t{1} << 36, error);
    if (error) GTEST_SKIP() << "no sparse files here: " << error.message();
    Cloud cloud(2);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(readBinaryPoints(path.string(), cloud));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Could not open input file " + path.string() +
                  ".  Skipping to next! \n\n0 points successfully loaded! \n");
    EXPECT_TRUE(cloud.empty());
    std::filesystem::remove(path);
}

// Text point files go to the text reader; anything else is tried as records first.
TEST(PointFileKind, KnowsTextByItsFirstBytes) {
    const std::filesystem::path path = testing::makeScratchDir("file-kind") / "points";
    const std::string line = "1.000,2.000,3.000\r\n\t# a comment line\n";  // 38 bytes
    const std::pair<std::string, bool> cases[] = {
        {line, true},
        {"1,2,3\n", false},  // shorter than one record
        {bytesOf({1, 2, 3, 0, 0}), false},
        {line + "\x7f", false},
        {"\xc3\xa9" + line, false},
        {line + std::string(1, '\0'), false},
        {std::string(512, '7') + "\x01\x02", true},  // only the first 512 bytes are looked at
    };
    for (const auto& [contents, isText] : cases) {
        SCOPED_TRACE(contents);
        testing::writeFile(path, contents);
        EXPECT_EQ(isTextPointFile(path.string()), isText);
    }
    EXPECT_FALSE(isTextPointFile(path.string() + "-missing"));
}

}  // namespace
}  // namespace sorvek
