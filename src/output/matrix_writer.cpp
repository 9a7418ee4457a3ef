#include "output/matrix_writer.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void writeTransformMatrices(Run&) {}

}  // namespace sorvek
