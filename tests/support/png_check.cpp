#include "support/png_check.h"

#include <zlib.h>

namespace sorvek::testing {
namespace {

std::uint32_t bigEndianAt(std::string_view bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t k = 0; k < 4; ++k) value = (value << 8) | static_cast<unsigned char>(bytes[at + k]);
    return value;
}

DecodedPng refused(const std::string& fault) {
    DecodedPng png;
    png.fault = fault;
    return png;
}

}  // namespace

DecodedPng decodePng(std::string_view bytes) {
    if (bytes.substr(0, 8) != std::string_view("\x89PNG\r\n\x1a\n", 8)) return refused("signature");
    DecodedPng png;
    std::string packed;
    bool hasEnd = false;
    for (std::size_t at = 8; at < bytes.size() && !hasEnd;) {
        if (bytes.size() - at < 12) return refused("chunk cut off");
        const std::uint32_t length = bigEndianAt(bytes, at);
        if (bytes.size() - at - 12 < length) return refused("chunk longer than the file");
        const std::string_view typeAndData = bytes.substr(at + 4, 4 + length);
        const auto* raw = reinterpret_cast<const Bytef*>(typeAndData.data());
        if (crc32(0L, raw, static_cast<uInt>(typeAndData.size())) != bigEndianAt(bytes, at + 8 + length)) {
            return refused("CRC of " + std::string(typeAndData.substr(0, 4)));
        }
        const std::string_view type = typeAndData.substr(0, 4);
        const std::string_view data = typeAndData.substr(4);
        if (type == "IHDR") {
            if (data.size() != 13 || data.substr(8) != std::string_view("\x08\x02\x00\x00\x00", 5)) {
                return refused("header");
            }
            png.width = bigEndianAt(data, 0);
            png.height = bigEndianAt(data, 4);
        }
        if (type == "IDAT") packed += data;
        hasEnd = type == "IEND";
        at += 12 + length;
    }
    if (!hasEnd || png.width == 0 || png.height == 0) return refused("no header or no end");
    const std::size_t rowBytes = (std::size_t{png.width} * 3) + 1;
    std::vector<Bytef> rows((rowBytes * png.height) + 1);
    uLongf rowsSize = static_cast<uLongf>(rows.size());
    if (uncompress(rows.data(), &rowsSize, reinterpret_cast<const Bytef*>(packed.data()),
                   static_cast<uLong>(packed.size())) != Z_OK ||
        rowsSize != rows.size() - 1) {
        return refused("zlib stream");
    }
    for (std::size_t row = 0; row < png.height; ++row) {
        if (rows[row * rowBytes] != 0) return refused("filter");
        png.pixels.insert(png.pixels.end(), rows.begin() + static_cast<std::ptrdiff_t>((row * rowBytes) + 1),
                          rows.begin() + static_cast<std::ptrdiff_t>((row + 1) * rowBytes));
    }
    png.isValid = true;
    return png;
}

std::string base64Decoded(std::string_view text) {
    const std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t group = 0;
    int bits = 0;
    for (const char c : text) {
        const std::size_t value = digits.find(c);
        if (value == std::string_view::npos) break;
        group = (group << 6) | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<char>((group >> bits) & 0xFFU));
        }
    }
    return bytes;
}

}  // namespace sorvek::testing
