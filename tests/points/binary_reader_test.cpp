#include "points/binary_reader.h"

#include <gtest/gtest.h>

#include "points/point_file_kind.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

std::string bytesOf(const PointRecord& point) { return {reinterpret_cast<const char*>(&point), sizeof point}; }

// Three records and four bytes of tail: the records come in as they lie, cube and spare
// untouched. A sparse file of 2^31 records (64 GiB, no disk used) cannot be counted in
// 32 bits: it is refused before any allocation, like a file that does not open.
TEST(BinaryReader, LoadsWholeRecordsAsTheyLieAndRefusesACountBeyond32Bits) {
    const std::filesystem::path dir = testing::makeScratchDir("binary-reader");
    const PointRecord records[] = {{1.5, -2.25, 1e6, 0xDEADBEEF, 17}, {-0.0, 3, 4, 5, 0}, {7, 8, 9, 0, 0xFFFFFFFF}};
    testing::writeFile(dir / "three", bytesOf(records[0]) + bytesOf(records[1]) + bytesOf(records[2]) + "tail");
    testing::writeFile(dir / "huge", "");
    std::error_code error;
    std::filesystem::resize_file(dir / "huge", std::uintmax_t{1} << 36, error);
    const std::string huge = (dir / "huge").string();
    struct Case { const char* name; std::string out, err; };
    for (const Case& c : {Case{"three", "file size: 100\nnumpts: 3\n", "3 points successfully loaded! \n"},
                          {"huge", "", "Could not open input file " + huge + ".  Skipping to next! \n\n0 points successfully loaded! \n"}}) {
        SCOPED_TRACE(c.name);
        if (error && c.out.empty()) GTEST_SKIP() << "no sparse files here: " << error.message();
        Cloud cloud(4);  // what the cloud held before is replaced
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(readBinaryPoints((dir / c.name).string(), cloud), !c.out.empty());
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.out);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.err);
        ASSERT_EQ(cloud.size(), c.out.empty() ? 0U : 3U);
        for (std::size_t i = 0; i < cloud.size(); ++i) EXPECT_EQ(bytesOf(cloud[i]), bytesOf(records[i])) << i;
    }
    std::filesystem::remove(huge);
}

// Signatures decide first, since a PLY header is printable text too; then text is known by
// its first bytes, and anything else is tried as records.
TEST(PointFileKind, KnowsEachKindByItsFirstBytes) {
    const std::filesystem::path path = testing::makeScratchDir("file-kind") / "points";
    const std::string line = "1.000,2.000,3.000\r\n\t# a comment line\n";  // 38 bytes
    using enum PointFileKind;
    // Under 32 bytes is never text; only the first 512 bytes are looked at.
    const std::pair<std::string, PointFileKind> cases[] = {
        {line, text}, {"1,2,3\n", binary}, {bytesOf({1, 2, 3, 0, 0}), binary}, {line + "\x7f", binary},
        {"\xc3\xa9" + line, binary}, {line + std::string(1, '\0'), binary}, {std::string(512, '7') + "\x01\x02", text},
        {"LASF", las}, {"LASF" + bytesOf({1, 2, 3, 0, 0}), las}, {"ply\n" + line, ply}, {"ply\r\nformat", ply},
        {"ply 1.000,2.000,3.000 4,5,6 7,8,9\n", text}, {"ASTM-E57" + line, e57}, {"ASTM-E5", binary}};
    for (const auto& [contents, kind] : cases) {
        SCOPED_TRACE(contents);
        testing::writeFile(path, contents);
        EXPECT_EQ(pointFileKindOf(path.string()), kind);
    }
    EXPECT_EQ(pointFileKindOf(path.string() + "-missing"), binary);
}

}  // namespace
}  // namespace sorvek
