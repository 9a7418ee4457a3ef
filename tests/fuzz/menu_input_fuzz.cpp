// Arbitrary bytes typed at the menu: the mode number, then what the confirmation reads.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "config/summary.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::vector<std::uint8_t> bytes(data, data + size);
    std::FILE* input = fmemopen(bytes.data(), bytes.size(), "r");
    if (input == nullptr) return 0;
    (void)sorvek::readModeNumber(input, 1);
    (void)std::fgetc(input);  // the confirmation's one character
    std::fclose(input);
    return 0;
}
