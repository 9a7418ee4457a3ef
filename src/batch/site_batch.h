#pragma once
// Driver of a site: every pair of scans within the distance span, once.

#include <string>

#include "run/records.h"

namespace sorvek {

// Registers (run mode 6) or evaluates (run mode 7) every pair i < j within
// GPSMINDIST..GPSMAXDIST, one result row per pair.
void runSiteBatch(Run& run, const std::string& path);

}  // namespace sorvek
