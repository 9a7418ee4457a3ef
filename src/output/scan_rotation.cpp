#include "output/scan_rotation.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void rotateScans(Run&) {}

}  // namespace sorvek
