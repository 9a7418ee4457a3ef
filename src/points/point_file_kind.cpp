#include "points/point_file_kind.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "run/records.h"

// A file read as the wrong kind gives nonsense coordinates without a word of warning, so
// every reader is chosen by what the file begins with. The test reads at most the first
// 512 bytes. Signatures come first: a PLY header is printable text too.
namespace sorvek {
namespace {

constexpr long leastTextSize = 32;  // shorter files never reach the binary records anyway
constexpr std::size_t probeSize = 512;

bool isTextByte(unsigned char byte) {
    return (byte >= 0x20 && byte <= 0x7E) || byte == '\t' || byte == '\r' || byte == '\n';
}

bool startsWith(std::string_view head, std::string_view signature) {
    return head.substr(0, signature.size()) == signature;
}

bool isAllText(std::string_view head) {
    for (const char c : head) {
        if (!isTextByte(static_cast<unsigned char>(c))) return false;
    }
    return true;
}

bool fileExists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

}  // namespace

PointFileKind pointFileKindOf(const std::string& path) {
    FileHandle file = openFile(path, "rb");
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return PointFileKind::binary;
    const long size = std::ftell(file.get());
    std::rewind(file.get());
    std::array<char, probeSize> bytes{};
    const std::size_t got = std::fread(bytes.data(), 1, probeSize, file.get());
    const std::string_view head(bytes.data(), got);
    if (startsWith(head, "LASF")) return PointFileKind::las;
    if (startsWith(head, "ply\n") || startsWith(head, "ply\r\n")) return PointFileKind::ply;
    if (startsWith(head, "ASTM-E57")) return PointFileKind::e57;
    const std::size_t wanted =
        size < static_cast<long>(probeSize) ? static_cast<std::size_t>(size) : probeSize;
    if (size >= leastTextSize && got == wanted && isAllText(head)) return PointFileKind::text;
    return PointFileKind::binary;
}

bool isExchangeKind(PointFileKind kind) {
    return kind == PointFileKind::las || kind == PointFileKind::ply || kind == PointFileKind::e57;
}

std::string scanPointFile(const std::string& path) {
    constexpr std::string_view binaryEnding = ".bxyz";
    if (!path.ends_with(binaryEnding) || fileExists(path)) return path;
    const std::string stem = path.substr(0, path.size() - binaryEnding.size());
    for (const char* ending : {".las", ".ply"}) {
        if (fileExists(stem + ending)) return stem + ending;
    }
    return path;
}

}  // namespace sorvek
