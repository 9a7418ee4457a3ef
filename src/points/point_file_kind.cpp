#include "points/point_file_kind.h"

#include <array>
#include <cstdint>
#include <cstdio>

#include "run/records.h"

// A text point file read as .bxyz records would give nonsense coordinates without a word
// of warning, so files that look like text go to the text reader directly. The test reads
// at most the first 512 bytes.
namespace sorvek {
namespace {

constexpr long leastSize = 32;  // shorter files never reach the binary records anyway
constexpr std::size_t probeSize = 512;

bool isTextByte(unsigned char byte) {
    return (byte >= 0x20 && byte <= 0x7E) || byte == '\t' || byte == '\r' || byte == '\n';
}

}  // namespace

bool isTextPointFile(const std::string& path) {
    FileHandle file = openFile(path, "rb");
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return false;
    const long size = std::ftell(file.get());
    if (size < leastSize) return false;
    std::rewind(file.get());
    std::array<unsigned char, probeSize> head{};
    const std::size_t wanted = static_cast<std::size_t>(size) < probeSize
                                   ? static_cast<std::size_t>(size)
                                   : probeSize;
    const std::size_t got = std::fread(head.data(), 1, wanted, file.get());
    if (got != wanted) return false;
    for (std::size_t i = 0; i < got; ++i) {
        if (!isTextByte(head[i])) return false;
    }
    return true;
}

}  // namespace sorvek
