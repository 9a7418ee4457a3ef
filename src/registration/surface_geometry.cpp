#include "registration/surface_geometry.h"

// Placeholder until the real implementation lands.
namespace sorvek {

Plane planeThroughPoints(const Point3&, const Point3&, const Point3&) { return {}; }
bool isDegenerate(const Plane&) { return true; }
double distanceToPlane(const Plane&, const Point3&) { return 0.0; }
Point3 planeFoot(const Plane&, double, const Point3& point) { return point; }

}  // namespace sorvek
