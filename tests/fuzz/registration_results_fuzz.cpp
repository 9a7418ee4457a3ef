// Arbitrary bytes as a registration result file read back into the rotation table, and
// adjusted over all pairs for scans 0 to 15, whatever numbers the rows hold.
#include <numeric>
#include <sstream>
#include <string>

#include "fuzz_input.h"
#include "output/heading_adjustment.h"
#include "output/rotation_table.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream counting(text);
    const std::int32_t entryCount = sorvek::countRotationLines(counting);
    std::istringstream loading(text);
    const std::vector<sorvek::RegistrationPair> pairs = sorvek::readRegistrationPairs(loading, entryCount);
    const std::vector<sorvek::RotationEntry> table = sorvek::rotationEntriesOf(pairs);
    std::int32_t rotationCount = 0;
    double rotationSpread = 0.0;
    if (!table.empty()) (void)sorvek::averageRotation(table, table[0].scanId, rotationCount, rotationSpread);
    std::int32_t scanIds[16];
    std::iota(scanIds, scanIds + 16, 0);
    (void)sorvek::adjustHeadings(scanIds, pairs);
    return 0;
}
