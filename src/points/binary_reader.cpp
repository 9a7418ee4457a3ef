#include "points/binary_reader.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>

// A .bxyz file is the in-memory record array as it lies on disk: one size query, one
// allocation and one bulk read, with no parsing and no filter.
namespace sorvek {
namespace {

static_assert(sizeof(long) >= 8, "the file size is taken with a 64-bit seek");

// Counts travel as signed 32-bit numbers everywhere downstream.
constexpr std::int64_t mostRecords = INT32_MAX;

// The size in bytes, or -1 when the stream cannot seek.
std::int64_t sizeOf(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return -1;
    const long size = std::ftell(file);
    std::rewind(file);
    return size;
}

void reportUnopened(const std::string& path) {
    std::fprintf(stderr, "Could not open input file %s.  Skipping to next! \n", path.c_str());
    std::fprintf(stderr, "\n");
}

}  // namespace

bool readBinaryPoints(const std::string& path, Cloud& cloud) {
    cloud.clear();
    FileHandle file = openFile(path, "rb");
    const std::int64_t size = file ? sizeOf(file.get()) : -1;
    const std::int64_t recordCount = size / std::int64_t{sizeof(PointRecord)};
    // A file of 2^31 records or more cannot be counted in 32 bits: it is refused like a
    // file that does not open.
    if (size < 0 || recordCount > mostRecords) {
        reportUnopened(path);
        std::fprintf(stderr, "%i points successfully loaded! \n", 0);
        return false;
    }
    std::printf("file size: %" PRId64 "\n", size);
    std::printf("numpts: %i\n", static_cast<std::int32_t>(recordCount));
    cloud.resize(static_cast<std::size_t>(recordCount));
    const std::size_t recordsRead =
        std::fread(cloud.data(), sizeof(PointRecord), cloud.size(), file.get());
    // A file that shrank under us keeps only the records that really came in.
    cloud.resize(recordsRead);
    file.reset();
    const auto loadedCount = static_cast<std::int32_t>(cloud.size());
    std::fprintf(stderr, "%i points successfully loaded! \n", loadedCount);
    return true;
}

}  // namespace sorvek
