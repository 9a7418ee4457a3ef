#include "batch/linear_sequence.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void runLinearSequence(Run&, const std::string&) {}

}  // namespace sorvek
