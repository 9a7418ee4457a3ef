// Arbitrary bytes typed at the menu: the mode number, then what the confirmation reads.
#include "config/summary.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::ByteStream stream(data, size);
    if (stream.file == nullptr) return 0;
    (void)sorvek::readModeNumber(stream.file, 1);
    (void)std::fgetc(stream.file);  // the confirmation's one character
    return 0;
}
