#pragma once
// Reader of .bxyz files: a bare run of 32-byte PointRecords, loaded as they lie on disk.

#include <string>

#include "run/records.h"

namespace sorvek {

// Replaces the contents of `cloud` with the whole records of the file (capacity is kept).
// Returns false when the file cannot be opened; `cloud` is then empty. A file shorter
// than one record gives true and an empty cloud. Prints its messages as it goes.
bool readBinaryPoints(const std::string& path, Cloud& cloud);

}  // namespace sorvek
