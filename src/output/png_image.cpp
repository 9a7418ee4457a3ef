#include "output/png_image.h"

#include <zlib.h>

#include <cstdint>
#include <vector>

namespace sorvek {
namespace {

void appendBigEndian(std::string& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

// Length, type, data and the CRC of type and data.
void appendChunk(std::string& out, std::string_view type, std::string_view data) {
    appendBigEndian(out, static_cast<std::uint32_t>(data.size()));
    const std::string typeAndData = std::string(type) + std::string(data);
    out += typeAndData;
    const auto* bytes = reinterpret_cast<const Bytef*>(typeAndData.data());
    const uLong crc = crc32(crc32(0L, Z_NULL, 0), bytes, static_cast<uInt>(typeAndData.size()));
    appendBigEndian(out, static_cast<std::uint32_t>(crc));
}

std::string headerChunkData(const RgbImage& image) {
    std::string data;
    appendBigEndian(data, static_cast<std::uint32_t>(image.width));
    appendBigEndian(data, static_cast<std::uint32_t>(image.height));
    data += std::string{'\x08', '\x02', '\x00', '\x00',
                        '\x00'};  // 8 bits, RGB, deflate, no filter choice, no interlace
    return data;
}

// Each row behind its filter byte 0 (none).
std::vector<Bytef> filteredRows(const RgbImage& image) {
    const auto rowBytes = static_cast<std::size_t>(image.width) * 3;
    std::vector<Bytef> rows;
    rows.reserve((rowBytes + 1) * static_cast<std::size_t>(image.height));
    for (std::size_t row = 0; row < static_cast<std::size_t>(image.height); ++row) {
        rows.push_back(0);
        const auto begin = image.pixels.begin() + static_cast<std::ptrdiff_t>(row * rowBytes);
        rows.insert(rows.end(), begin, begin + static_cast<std::ptrdiff_t>(rowBytes));
    }
    return rows;
}

}  // namespace

std::string encodePng(const RgbImage& image) {
    const auto expectedBytes =
        static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3;
    if (image.width < 1 || image.height < 1 || image.pixels.size() != expectedBytes) return {};
    const std::vector<Bytef> rows = filteredRows(image);
    uLongf packedSize = compressBound(static_cast<uLong>(rows.size()));
    std::vector<Bytef> packed(packedSize);
    if (compress2(packed.data(), &packedSize, rows.data(), static_cast<uLong>(rows.size()),
                  Z_DEFAULT_COMPRESSION) != Z_OK) {
        return {};
    }
    std::string png = "\x89PNG\r\n\x1a\n";
    appendChunk(png, "IHDR", headerChunkData(image));
    appendChunk(png, "IDAT",
                std::string_view(reinterpret_cast<const char*>(packed.data()), packedSize));
    appendChunk(png, "IEND", {});
    return png;
}

std::string base64Of(std::string_view bytes) {
    static constexpr char digits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(((bytes.size() + 2) / 3) * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t taken = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto byte = k < taken ? static_cast<unsigned char>(bytes[at + k]) : 0U;
            group = (group << 8) | byte;
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text.push_back(k <= taken ? digits[(group >> (18 - (6 * k))) & 0x3FU] : '=');
        }
    }
    return text;
}

}  // namespace sorvek
