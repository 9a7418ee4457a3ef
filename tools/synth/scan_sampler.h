#pragma once
// Casting the rays of one set-up: the scanner's view of the scene, sorted for speed.

#include <cstdint>
#include <vector>

#include "synth/ray_hits.h"
#include "synth/scene.h"
#include "synth/synth.h"

namespace sorvek::synth {

// Plan azimuth bins of the solids a set-up can reach, each bin nearest first, so that a
// ray tests only what lies in its direction and stops once nothing nearer can follow.
struct SolidsByAzimuth {
    std::vector<std::vector<std::int32_t>> bins;  // indices into Scene::solids
    std::vector<double> nearDistance;             // plan distance to each solid's circle
};

SolidsByAzimuth binSolids(const Scene& scene, double originX, double originY, double rangeLimit);

// The first surface along the ray within rangeLimit; noHit when there is none.
double castRay(const Scene& scene, const SolidsByAzimuth& solids, const Ray& ray,
               double rangeLimit);

// Every surface the ray enters before it reaches the ground or rangeLimit, ground
// included: the view of a scanner that nothing hides from. Appends to `distances`.
void castRayThrough(const Scene& scene, const SolidsByAzimuth& solids, const Ray& ray,
                    double rangeLimit, std::vector<double>& distances);

}  // namespace sorvek::synth
