#pragma once
// The walk over the cubes of two clouds in cube order that both the pair measure and the
// rotation estimator make: per cube, NUMPPC samples of the subject and, for each, the
// three nearest reference points of the same cube. The cubes are walked in parts, side by
// side; each part keeps what its samples gave, and the caller forms every sum afterwards,
// part after part, in the order of the cubes.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "points/work_cloud.h"
#include "registration/nearest_kernel.h"
#include "registration/surface_geometry.h"
#include "run/records.h"

namespace sorvek {

// A cloud as the walk reads it: its in-grid points, in cube order.
struct CubeRuns {
    std::span<const double> x;
    std::span<const double> y;
    std::span<const double> z;
    std::span<const std::uint32_t> cube;  // ascending
    std::uint64_t stamp = 0;              // the work cloud's stamp; 0: keep nothing of it
};

CubeRuns inGridRuns(const WorkCloud& cloud);

// What is made of a sample that passed the neighbour test.
struct SampleRule {
    bool isPointToPoint = false;   // the nearest point; else the plane of three
    bool measuresNothing = false;  // the estimator under an unnamed metric: no sample
    bool needsPartner = false;     // keep the nearest point or the foot on the plane
    double maxDistance = 0.0;      // accepted up to it, inclusive
    double minDistance = 0.0;      // point to plane: accepted down to it, inclusive
};

// One accepted sample.
struct SampleOutcome {
    double distance = 0.0;  // point to point: the squared distance; point to plane: d
    Point3 sample;          // the subject point
    Point3 partner;         // the nearest point or the foot, when the rule asks for it
};

// A subject cube that gives samples, and where its samples begin in WalkPart::samples.
struct SampledCube {
    std::uint32_t cube = 0;
    std::uint32_t firstSample = 0;
};

// The accepted samples of one part of the walk, in walk order.
struct WalkPart {
    std::vector<SampleOutcome> accepted;
    std::vector<std::int32_t> candidates;  // subject positions of the cube in hand
    bool hasTooManyPoints = false;         // a cube of this part held more than 999,995 candidates;
                                           // the part stopped there
    // The part's share of the subject, sampled: which cubes give samples, and the samples,
    // NUMPPC a cube, side by side. It depends on the subject alone, so it is kept while the
    // subject and the sampling limits stay as they are.
    std::vector<SampledCube> sampledCubes;
    std::vector<Point3> samples;
    bool stopsForTooManyPoints = false;
};

// What the kept sampling of the subject was taken from.
struct SamplingKey {
    std::uint64_t stamp = 0;  // 0: nothing kept
    std::size_t pointCount = 0;
    double zMin = 0.0;
    double zMax = 0.0;
    std::int32_t samplesPerCube = 0;
    std::size_t partCount = 0;
};

// The walk's parts, kept with their capacity and their sampling of the subject.
struct WalkScratch {
    std::vector<WalkPart> parts;
    SamplingKey sampled;
};

// The walk of `subject` against `reference` under `rule`, in `scratch.parts` (resized and
// reused). Reads NUMPPC and ZMAX. A part that meets a cube of more than 999,995 candidates
// stops at that cube; the caller ends the run once it has taken in the parts before it.
void walkCubes(Run& run, const CubeRuns& subject, const CubeRuns& reference, double zMin,
               const SampleRule& rule, WalkScratch& scratch);

// The message and the end of a run whose cube held too many candidates: status 0.
[[noreturn]] void stopForTooManyPoints();

}  // namespace sorvek
