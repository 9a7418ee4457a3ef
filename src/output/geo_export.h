#pragma once
// Each scan exported as a text cloud in the survey frame.

#include "run/records.h"

namespace sorvek {

// Writes <fileName less 4 characters>_adj.txt for every scan.
void exportScans(Run& run);

}  // namespace sorvek
