// Arbitrary bytes as a PLY file: the header, the vertices as fixed records or item by item,
// and the same bytes through the door.
#include "exchange_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::readAsExchangeFile(data, size, ".ply", sorvek::PointFileKind::ply);
    return 0;
}
