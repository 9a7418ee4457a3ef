#pragma once
// The rotation stage's adjustment over all pairs: what it tells the user, the adjustment
// file at adjPath, and the rotation each scan is then turned by.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "output/heading_adjustment.h"
#include "run/records.h"

namespace sorvek {

// Adjusts the rotations of the scans of the run over `pairs`, prints the pairs it set aside
// and the scans no accepted pair reaches, and writes the adjustment file whole. The run
// ends with exit code 1 when that file cannot be created or written.
std::vector<ScanRotation> adjustScanRotations(const Run& run,
                                              std::span<const RegistrationPair> pairs);

// The adjustment file's text: the scans' head line and rows, then the pairs'.
std::string adjustmentFileText(const HeadingAdjustment& adjustment);

// The adjusted rotation of `scanId`, or `meanDeg` when the list does not hold it.
double adjustedRotation(std::span<const ScanRotation> rotations, std::int32_t scanId,
                        double meanDeg);

}  // namespace sorvek
