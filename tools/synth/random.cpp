#include "synth/random.h"

namespace sorvek::synth {
namespace {

std::uint64_t rotateLeft(std::uint64_t value, int shift) {
    return (value << shift) | (value >> (64 - shift));
}

}  // namespace

std::uint64_t mixBits(std::uint64_t value) {
    std::uint64_t z = value + 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

Rng makeRng(std::uint64_t seed, std::uint64_t stream) {
    std::uint64_t chain = mixBits(seed) ^ mixBits(stream + 0x5851F42D4C957F2DULL);
    Rng rng;
    for (std::uint64_t& word : rng.state) {
        chain = mixBits(chain);
        word = chain;
    }
    if ((rng.state[0] | rng.state[1] | rng.state[2] | rng.state[3]) == 0) rng.state[0] = 1;
    return rng;
}

std::uint64_t nextBits(Rng& rng) {
    std::uint64_t* s = rng.state;
    const std::uint64_t result = rotateLeft(s[1] * 5, 7) * 9;
    const std::uint64_t shifted = s[1] << 17;
    s[2] ^= s[0];
    s[3] ^= s[1];
    s[1] ^= s[2];
    s[0] ^= s[3];
    s[2] ^= shifted;
    s[3] = rotateLeft(s[3], 45);
    return result;
}

double uniform01(Rng& rng) {
    // The top 53 bits fill a double's mantissa exactly, so no rounding is involved.
    return static_cast<double>(nextBits(rng) >> 11) * 0x1.0p-53;
}

double uniformIn(Rng& rng, double low, double high) {
    return low + ((high - low) * uniform01(rng));
}

double unitNoise(Rng& rng) {
    const double sum = ((uniform01(rng) + uniform01(rng)) + uniform01(rng)) + uniform01(rng);
    return (sum - 2.0) * 1.7320508075688772;  // variance of the sum is 4/12; sqrt(3) makes it 1
}

}  // namespace sorvek::synth
