#include "points/point_file_kind.h"

// Placeholder until the real implementation lands.
namespace sorvek {

bool isTextPointFile(const std::string&) { return false; }

}  // namespace sorvek
