#pragma once
// One 4x4 scanner-to-survey matrix file per scan.

#include "run/records.h"

namespace sorvek {

// Writes each scan's matrix to matrixFileName of its point file; the scan table is unchanged.
void writeTransformMatrices(Run& run);

}  // namespace sorvek
