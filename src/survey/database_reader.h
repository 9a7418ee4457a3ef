#pragma once
// The survey database: a header line, then rows of nine values, read in two passes.

#include <cstdint>
#include <string>
#include <vector>

#include "run/records.h"

namespace sorvek {

// First pass: echoes the header and counts the rows. A database that cannot be read as a
// stream of rows ends the run with a message naming the file and line.
std::int32_t countScans(const std::string& path);

// Second pass: fills a table of the `scanCount` records the first pass counted. Ends the
// run when the database cannot be opened or holds fewer rows.
std::vector<ScanRecord> loadScanDatabase(const Run& run, std::int32_t scanCount);

// databaseStem_<pad>scanId_<pad>subId_name.bxyz; padding only when zeroPad is exactly 1.
std::string composeScanFileName(const std::string& databaseStem, std::int32_t zeroPad,
                                std::int32_t scanId, std::int32_t subId, const std::string& name);

}  // namespace sorvek
