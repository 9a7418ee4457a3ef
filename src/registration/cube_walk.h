#pragma once
// The walk over the cubes of two sorted clouds that both the pair measure and the
// rotation estimator make: per cube, NUMPPC samples of the subject and, for each, the
// three nearest reference points of the same cube.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "registration/surface_geometry.h"
#include "run/records.h"

namespace sorvek {

// A squared distance; an empty place of the nearest list holds it, and no point at this
// squared distance or beyond ever enters the list.
inline constexpr double emptySquaredDistance = 999.0;

// The three nearest reference points of one sample, ascending; position -1 is empty.
struct NearestList {
    std::array<double, 3> squaredDistance{emptySquaredDistance, emptySquaredDistance,
                                          emptySquaredDistance};
    std::array<std::int32_t, 3> position{-1, -1, -1};  // index into the reference cloud
};

// Where a walk stands. Both clouds are sorted by cube on the grid of run.state.cubeCount.
struct CubeWalk {
    std::span<const PointRecord> subject;     // the cloud that is sampled
    std::span<const PointRecord> reference;   // the cloud whose surface is measured against
    std::vector<std::int32_t>& candidates;    // subject positions of the cube in hand
    double zMin = 0.0;                        // samples lie strictly above it
    double zMax = 0.0;                        // and strictly below this (ZMAX)
    std::int32_t samplesPerCube = 0;          // NUMPPC
    std::int64_t cubeCount = 0;               // the walk ends below this index
    std::int64_t nextCube = 0;                // next cube index that holds subject points
    bool isDone = false;                      // no cube is left to visit
    std::size_t subjectCursor = 0;            // first subject point of the next cube
    std::size_t referenceBegin = 0;           // reference run of the cube in hand
    std::size_t referenceEnd = 0;
};

// A walk over `subject` against `reference`, using run.pair.buffers.candidates. Reads
// NUMPPC, ZMAX and cubeCount.
CubeWalk startCubeWalk(Run& run, std::span<const PointRecord> subject,
                       std::span<const PointRecord> reference, double zMin);

// Moves to the next cube whose samples pass the neighbour test: at least NUMPPC subject
// candidates inside the z band and at least NUMPPC reference points. Returns false when
// the walk is over. A cube of more than 999,995 candidates ends the process with
// status 0 after the user's key.
bool nextSampledCube(CubeWalk& walk);

// Sample k (0 to NUMPPC - 1) of the cube in hand.
const PointRecord& sampleOf(const CubeWalk& walk, std::int32_t k);

// The three nearest reference points of the cube in hand, with the ties as the list
// rules them: of equal points the later one stands nearer the front in first and second
// place, while a point that only equals third place is not entered.
NearestList nearestInCube(const CubeWalk& walk, const PointRecord& sample);

inline Point3 pointOf(const PointRecord& record) { return {record.x, record.y, record.z}; }

// The plane through the three entries of a full nearest list, nearest first.
Plane planeOfNearest(const CubeWalk& walk, const NearestList& nearest);

}  // namespace sorvek
