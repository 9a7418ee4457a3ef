#pragma once
// Where a ray from the scanner first meets the ground or a solid of the scene.

#include "synth/scene.h"

namespace sorvek::synth {

// A half-line in the survey frame; the direction has unit length.
struct Ray {
    double originX = 0.0;
    double originY = 0.0;
    double originZ = 0.0;
    double dirX = 0.0;
    double dirY = 0.0;
    double dirZ = 0.0;
};

// Sentinel of the two functions below: no hit.
inline constexpr double noHit = 1.0e300;

// Distance along the ray to the point where it enters the solid; noHit when it misses
// or starts inside (a scanner never stands inside a solid).
double enterSolid(const Solid& solid, const Ray& ray);

// Distance along the ray to a point of the ground, found by safeguarded Newton steps in
// the band that the roughness allows around the sloping plane; noHit beyond maxDistance,
// for a ray that climbs at least as fast as the plane, or one that starts below ground.
// Where a grazing ray crosses several bumps the point returned lies on the ground but
// need not be the first crossing.
double reachGround(const GroundModel& ground, const Ray& ray, double maxDistance);

}  // namespace sorvek::synth
