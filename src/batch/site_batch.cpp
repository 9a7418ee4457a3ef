#include "batch/site_batch.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void runSiteBatch(Run&, const std::string&) {}

}  // namespace sorvek
