#include "points/binary_reader.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <vector>

// A .bxyz file is the in-memory record array as it lies on disk: one size query, one
// allocation and one bulk read, with no parsing and no filter.
namespace sorvek {
namespace {

static_assert(sizeof(long) >= 8, "the file size is taken with a 64-bit seek");

// Counts travel as signed 32-bit numbers everywhere downstream.
constexpr std::int64_t mostRecords = INT32_MAX;

// Records read at a time: 1 MiB.
constexpr std::size_t chunkRecords = std::size_t{1} << 15;

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
    // Read through a small buffer that stays in cache, so that the cloud is written once,
    // not first cleared and then overwritten. A file that shrank under us keeps only the
    // records that really came in.
    const auto wanted = static_cast<std::size_t>(recordCount);
    cloud.reserve(wanted);
    std::vector<PointRecord> chunk(std::min(wanted, chunkRecords));
    while (cloud.size() < wanted) {
        const std::size_t asked = std::min(chunk.size(), wanted - cloud.size());
        const std::size_t got = std::fread(chunk.data(), sizeof(PointRecord), asked, file.get());
        cloud.insert(cloud.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(got));
        if (got < asked) break;
    }
    file.reset();
    const auto loadedCount = static_cast<std::int32_t>(cloud.size());
    std::fprintf(stderr, "%i points successfully loaded! \n", loadedCount);
    return true;
}

}  // namespace sorvek
