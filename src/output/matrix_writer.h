#pragma once
// One 4x4 scanner-to-survey matrix file per scan.

#include "run/records.h"

namespace sorvek {

// Renames each fileName's last five characters to "s.dat" in place and writes the matrix.
void writeTransformMatrices(Run& run);

}  // namespace sorvek
