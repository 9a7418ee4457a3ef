#include "registration/surface_geometry.h"

#include <cmath>

// The local surface under a sample. The normal keeps the length of the cross product
// (twice the triangle's area); nothing downstream normalises it in place.
namespace sorvek {
namespace {

// A foot candidate this close to the plane, in length units, lies on it. The tolerance is
// absolute and does not grow with survey-sized coordinates.
constexpr double onPlaneTolerance = 1e-7;

}  // namespace

Plane planeThroughPoints(const Point3& p1, const Point3& p2, const Point3& p3) {
    const Point3 b{p2.x - p1.x, p2.y - p1.y, p2.z - p1.z};
    const Point3 a{p3.x - p1.x, p3.y - p1.y, p3.z - p1.z};
    Plane plane;
    plane.normalX = a.z * b.y - a.y * b.z;
    plane.normalY = a.x * b.z - a.z * b.x;
    plane.normalZ = a.y * b.x - a.x * b.y;
    plane.planeD = -((plane.normalX * p1.x + plane.normalY * p1.y) + plane.normalZ * p1.z);
    return plane;
}

bool isDegenerate(const Plane& plane) {
    return plane.normalX == 0.0 && plane.normalY == 0.0 && plane.normalZ == 0.0;
}

double distanceToPlane(const Plane& plane, const Point3& point) {
    const double length =
        std::sqrt(plane.normalZ * plane.normalZ +
                  (plane.normalY * plane.normalY + plane.normalX * plane.normalX));
    // Only underflow of the squares can bring a non-degenerate normal here.
    if (length == 0.0) return 0.0;
    const double offset =
        ((plane.normalY * point.y + plane.normalX * point.x) + plane.normalZ * point.z) +
        plane.planeD;
    return std::fabs(offset) / length;
}

// Of the two points at `distance` along the normal, the one on the plane is the foot.
// Only plus is tested; minus is taken on trust when plus fails.
Point3 planeFoot(const Plane& plane, double distance, const Point3& point) {
    const double inverse =
        1.0 / std::sqrt((plane.normalX * plane.normalX + plane.normalY * plane.normalY) +
                        plane.normalZ * plane.normalZ);
    const double ux = plane.normalX * inverse;
    const double uy = plane.normalY * inverse;
    const double uz = plane.normalZ * inverse;
    const double h = plane.planeD * inverse;
    const Point3 plus{point.x + distance * ux, point.y + distance * uy, point.z + distance * uz};
    const Point3 minus{point.x - distance * ux, point.y - distance * uy, point.z - distance * uz};
    const double plusDotU = (plus.x * ux + plus.y * uy) + plus.z * uz;
    if (std::fabs(-plusDotU - h) < onPlaneTolerance) return plus;
    return minus;
}

}  // namespace sorvek
