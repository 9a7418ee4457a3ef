#include "synth/scene.h"

#include <cmath>

#include "synth/random.h"

namespace sorvek::synth {
namespace {

// Lattice coordinates of a survey area stay far inside this; anything beyond (NaN
// included) is sent to node 0 rather than converted, which would be undefined.
std::int64_t latticeIndex(double flooredValue) {
    if (!(flooredValue > -4.0e15 && flooredValue < 4.0e15)) return 0;
    return static_cast<std::int64_t>(flooredValue);
}

// A lattice node's value, uniform in [-1, 1).
double latticeValue(std::uint64_t seed, std::int64_t i, std::int64_t j) {
    // One mixing round over a linear combination: cheap, and no visible pattern in a field
    // of a few thousand nodes.
    const std::uint64_t hashed =
        mixBits((seed ^ (static_cast<std::uint64_t>(i) * 0x9E3779B97F4A7C15ULL)) ^
                (static_cast<std::uint64_t>(j) * 0xC2B2AE3D27D4EB4FULL));
    return (static_cast<double>(hashed >> 11) * 0x1.0p-52) - 1.0;
}

// One octave of value noise with smoothstep blending: continuous with a continuous
// gradient, so Newton steps on the ground behave.
GroundSample octave(std::uint64_t seed, double amplitude, double cell, double x, double y) {
    const double fx = x / cell;
    const double fy = y / cell;
    const double floorX = std::floor(fx);
    const double floorY = std::floor(fy);
    const double tx = fx - floorX;
    const double ty = fy - floorY;
    const std::int64_t ix = latticeIndex(floorX);
    const std::int64_t iy = latticeIndex(floorY);
    const double v00 = latticeValue(seed, ix, iy);
    const double v10 = latticeValue(seed, ix + 1, iy);
    const double v01 = latticeValue(seed, ix, iy + 1);
    const double v11 = latticeValue(seed, ix + 1, iy + 1);
    const double sx = (tx * tx) * (3.0 - (2.0 * tx));
    const double sy = (ty * ty) * (3.0 - (2.0 * ty));
    const double dsx = (6.0 * tx) * (1.0 - tx);
    const double dsy = (6.0 * ty) * (1.0 - ty);
    const double lower = v00 + ((v10 - v00) * sx);
    const double upper = v01 + ((v11 - v01) * sx);
    GroundSample result;
    result.z = amplitude * (lower + ((upper - lower) * sy));
    result.dzdx = amplitude * ((((v10 - v00) * (1.0 - sy)) + ((v11 - v01) * sy)) * dsx) / cell;
    result.dzdy = amplitude * ((upper - lower) * dsy) / cell;
    return result;
}

}  // namespace

GroundSample sampleGround(const GroundModel& ground, double x, double y) {
    const GroundSample coarse =
        octave(ground.latticeSeed, ground.coarseAmplitude, ground.coarseCell, x, y);
    const GroundSample fine =
        octave(mixBits(ground.latticeSeed), ground.fineAmplitude, ground.fineCell, x, y);
    GroundSample result;
    result.z = ((ground.baseZ + (ground.slopeX * x)) + (ground.slopeY * y)) + (coarse.z + fine.z);
    result.dzdx = ground.slopeX + (coarse.dzdx + fine.dzdx);
    result.dzdy = ground.slopeY + (coarse.dzdy + fine.dzdy);
    return result;
}

double groundHeight(const GroundModel& ground, double x, double y) {
    return sampleGround(ground, x, y).z;
}

double roughnessBound(const GroundModel& ground) {
    return std::abs(ground.coarseAmplitude) + std::abs(ground.fineAmplitude);
}

}  // namespace sorvek::synth
