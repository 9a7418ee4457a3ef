#include "points/text_reader.h"

// Placeholder until the real implementation lands.
namespace sorvek {

bool readTextPoints(const Run&, const std::string&, Cloud& cloud, CloudBounds& bounds, double&, double,
                    double, double, double) {
    cloud.clear();
    bounds = CloudBounds{};
    return false;
}

}  // namespace sorvek
