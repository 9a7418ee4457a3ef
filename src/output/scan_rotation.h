#pragma once
// Applies each scan's mean rotation to its points and writes the rotated point files.

#include "run/records.h"

namespace sorvek {

// Writes one rotated text point file per scan and the rotation result file at rotPath.
void rotateScans(Run& run);

}  // namespace sorvek
