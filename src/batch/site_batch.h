#pragma once
// Driver of a site: every pair of scans within the distance span, once.

#include <string>

#include "run/records.h"

namespace sorvek {

// Registers (run mode 6) or evaluates (run mode 7) every pair i < j within
// GPSMINDIST..GPSMAXDIST, one result row per pair.
void runSiteBatch(Run& run, const std::string& path);

// Plan distance between two scans, dy first as the neighbour search forms it.
double planDistance(const ScanRecord& first, const ScanRecord& second);

// True when a pair at `distance` is taken: GPSMINDIST and GPSMAXDIST both inclusive.
bool isWithinSpan(const RunOptions& options, double distance);

}  // namespace sorvek
