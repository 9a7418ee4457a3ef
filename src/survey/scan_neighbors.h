#pragma once
// Neighbours along the survey line, and the user's confirmation of the scan table.

#include "run/records.h"

namespace sorvek {

// Fills northDist, southDist, northScan and southScan of every scan and prints one line
// per scan.
void findScanNeighbors(Run& run);

// Counts and loads the table, finds the neighbours and waits for the user; 'x' ends the
// run with exit code 1. Sets scanCount, scans, progressScans and percentStep.
void prepareScans(Run& run);

}  // namespace sorvek
