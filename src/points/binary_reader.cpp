#include "points/binary_reader.h"

// Placeholder until the real implementation lands.
namespace sorvek {

bool readBinaryPoints(const std::string&, Cloud& cloud) {
    cloud.clear();
    return false;
}

}  // namespace sorvek
