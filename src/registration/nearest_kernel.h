#pragma once
// The innermost loop of the walk: the three nearest points of a cube's reference run to
// one sample, with the ties as the nearest list rules them. Wide vector instructions
// take the distance of several points at once; they use only IEEE subtraction,
// multiplication, addition and comparison in the order of the scalar formula, so that
// every squared distance has the same bits as one computed alone.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sorvek {

// A squared distance; an empty place of the nearest list holds it, and no point at this
// squared distance or beyond ever enters the list.
inline constexpr double emptySquaredDistance = 999.0;

// The three nearest reference points of one sample, ascending; position -1 is empty.
struct NearestList {
    std::array<double, 3> squaredDistance{emptySquaredDistance, emptySquaredDistance,
                                          emptySquaredDistance};
    std::array<std::int32_t, 3> position{-1, -1, -1};  // index into the reference arrays
};

// A run of reference points, coordinates apart; `first` is the position of x[0].
struct ReferenceRun {
    const double* x = nullptr;
    const double* y = nullptr;
    const double* z = nullptr;
    std::size_t count = 0;
    std::int32_t first = 0;
};

// The three nearest points of `run` to (sx, sy, sz), met in run order. Squared distances
// are (dy * dy + dx * dx) + dz * dz with d = point - sample. Of equal distances the later
// point goes in front in first and second place, while a point that only equals third
// place is not entered; NaN enters nothing.
NearestList nearestInRun(const ReferenceRun& run, double sx, double sy, double sz);

// Which implementation nearestInRun uses on this processor: "avx512", "avx2" or "scalar".
const char* nearestKernelName();

// The scalar loop alone, for comparison.
NearestList nearestInRunScalar(const ReferenceRun& run, double sx, double sy, double sz);

// Every implementation this processor can run ("avx512", "avx2", "scalar"), and one of
// them by name (the scalar loop for a name it does not have), for comparison.
std::vector<std::string> availableNearestKernels();
NearestList nearestInRunWith(const std::string& kernelName, const ReferenceRun& run, double sx,
                             double sy, double sz);

}  // namespace sorvek
