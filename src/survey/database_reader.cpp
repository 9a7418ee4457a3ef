#include "survey/database_reader.h"

// Placeholder until the real implementation lands.
namespace sorvek {

std::int32_t countScans(Run&) { return 0; }
std::vector<ScanRecord> loadScanDatabase(Run&) { return {}; }
std::string composeScanFileName(const std::string&, std::int32_t, std::int32_t, std::int32_t,
                                const std::string&) {
    return {};
}

}  // namespace sorvek
