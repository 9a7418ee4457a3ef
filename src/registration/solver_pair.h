#pragma once
// The pair as every solver sees it: the two scan rows, whose gpsX and gpsY are the pivots
// of the turns, and the rotation a scan starts from when an earlier pair stored one.

#include "run/records.h"

namespace sorvek {

// True when both scan indices name rows of the table and both clouds hold points, as
// prepareScanPair leaves them when it succeeds. The solvers refuse any other pair.
bool pairIsPrepared(const Run& run);

// The rows of the pair; only valid once pairIsPrepared holds.
ScanRecord& firstScanOf(Run& run);
ScanRecord& secondScanOf(Run& run);

// Radians a solver starts the scan from: northRotation when it is greater than -999.0,
// else southRotation when that is, else 0.0. noRotation fails both tests.
double storedRotation(const ScanRecord& scan);

// What every solver answers for a pair that is not prepared, without a word: rotations
// 0.0 and this RMS.
inline constexpr double refusedPairRms = 999.0;

// True, with both rotations set to 0.0, when pairIsPrepared fails.
bool refusePair(const Run& run, double& firstRotationDeg, double& secondRotationDeg);

}  // namespace sorvek
