#pragma once
// The generator's own random numbers: splitmix64 to seed, xoshiro256** to draw. Both are
// pure integer arithmetic, so a seed gives the same sequence on every machine and library.

#include <cstdint>

namespace sorvek::synth {

struct Rng {
    std::uint64_t state[4] = {0, 0, 0, 0};  // xoshiro256** state, never all zero once seeded
};

// One splitmix64 step over `value`: a well-mixed 64-bit hash of it.
std::uint64_t mixBits(std::uint64_t value);

// A stream of its own for every (seed, stream) pair, so that the scene, the plan and each
// scan draw independently and a scan does not change when another one is added.
Rng makeRng(std::uint64_t seed, std::uint64_t stream);

std::uint64_t nextBits(Rng& rng);

// Uniform in [0, 1), on a grid of 2^-53.
double uniform01(Rng& rng);

// Uniform in [low, high).
double uniformIn(Rng& rng, double low, double high);

// Zero mean, unit variance, bounded by +-2*sqrt(3): the sum of four uniforms. Bounded noise
// lets a test say exactly how far a sampled point may lie from its surface.
double unitNoise(Rng& rng);

// Largest magnitude unitNoise can return.
inline constexpr double unitNoiseBound = 3.4641016151377544;

}  // namespace sorvek::synth
