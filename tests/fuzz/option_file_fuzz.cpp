// Arbitrary bytes as an option file: every line goes through the real key matching and
// value conversion.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "config/option_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::RunOptions options;
    sorvek::applyOptionText(options, std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
