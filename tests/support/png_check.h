#pragma once
// An independent reader of the PNG files the report embeds: enough of the format to
// prove that a picture decodes, and to read its pixels back.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sorvek::testing {

struct DecodedPng {
    bool isValid = false;               // every check passed
    std::string fault;                  // the first check that failed
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> pixels;   // RGB, top row first
};

// Reads an 8-bit RGB, non-interlaced PNG whose rows all use filter 0: signature, chunk
// CRCs, header fields, the zlib stream and its exact length are all checked.
DecodedPng decodePng(std::string_view bytes);

// Standard base64 back to bytes; stops at the first character that is no digit.
std::string base64Decoded(std::string_view text);

}  // namespace sorvek::testing
