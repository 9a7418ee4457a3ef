#pragma once
// The local surface under a sample: plane through three points, distance and foot.

#include "points/point3.h"

namespace sorvek {

// normalX*x + normalY*y + normalZ*z + planeD = 0; the normal is not normalised.
struct Plane {
    double normalX = 0.0;
    double normalY = 0.0;
    double normalZ = 0.0;
    double planeD = 0.0;
};

// p1 is the nearest of the three; the normal is (p2 - p1) x (p3 - p1).
Plane planeThroughPoints(const Point3& p1, const Point3& p2, const Point3& p3);

// True when all three normal components are exactly 0.0 (NaN counts as non-zero).
bool isDegenerate(const Plane& plane);

// Non-negative distance; 0.0 when the normal's length underflows to zero.
double distanceToPlane(const Plane& plane, const Point3& point);

// Foot of `point` on the plane, given its distance from distanceToPlane.
Point3 planeFoot(const Plane& plane, double distance, const Point3& point);

}  // namespace sorvek
