#pragma once
// Neighbours along the survey line, and the user's confirmation of the scan table.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// Fills northDist, southDist, northScan and southScan of every scan and prints one line
// per scan.
void findScanNeighbors(Run& run);

// Counts and loads the table, finds the neighbours and waits for the user; 'x' ends the
// run with exit code 1. Sets scans, progressScans and percentStep.
void prepareScans(Run& run);

// 100 over the product of the two counts taken as a 32-bit integer, wrapping as 32-bit
// arithmetic wraps; +inf (or -inf) when that product is 0.
double percentStepFor(std::int32_t maxIter, std::int32_t scanCount);

}  // namespace sorvek
