#pragma once
// Pictures as PNG files and as text that a web page can hold inline.

#include <string>
#include <string_view>

#include "output/overlap_image.h"

namespace sorvek {

// The bytes of a PNG file of `image`: 8-bit RGB, no interlace, every row unfiltered,
// compressed by zlib. Empty when the image is empty or zlib fails.
std::string encodePng(const RgbImage& image);

// Standard base64 with '=' padding, no line breaks.
std::string base64Of(std::string_view bytes);

}  // namespace sorvek
