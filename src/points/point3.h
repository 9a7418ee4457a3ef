#pragma once
// A point or a position: three coordinates, in whatever frame the holder says.

namespace sorvek {

struct Point3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

}  // namespace sorvek
