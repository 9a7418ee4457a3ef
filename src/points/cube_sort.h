#pragma once
// Stable linear-time sort of a loaded cloud's records by cube.

#include "run/records.h"

namespace sorvek {

// Sorts by `cube` ascending; records of one cube keep their order. Only 4-byte cube
// numbers and places are sorted; the records move once.
void sortByCube(Run& run, Cloud& cloud);

}  // namespace sorvek
