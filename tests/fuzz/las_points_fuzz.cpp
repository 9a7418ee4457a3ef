// Arbitrary bytes as a LAS file: the header checks, the point records read in chunks, and
// the same bytes through the door.
#include "exchange_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::readAsExchangeFile(data, size, ".las", sorvek::PointFileKind::las);
    return 0;
}
