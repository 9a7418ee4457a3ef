// Arbitrary bytes as lines of the rotation stage's seven-column text input.
#include <string_view>

#include "fuzz_input.h"
#include "output/scan_rotation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        (void)sorvek::parseTextPointLine(text.substr(start, end - start));
        start = end + 1;
    }
    return 0;
}
