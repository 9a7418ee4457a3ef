#include "survey/scan_neighbors.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void findScanNeighbors(Run&) {}
void prepareScans(Run&) {}

}  // namespace sorvek
