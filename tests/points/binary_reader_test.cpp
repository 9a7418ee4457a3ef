#include "points/binary_reader.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace sorvek
