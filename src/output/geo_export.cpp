#include "output/geo_export.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void exportScans(Run&) {}

}  // namespace sorvek
