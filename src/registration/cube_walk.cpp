#include "registration/cube_walk.h"

#include <cstdio>

#include "run/console.h"

// The sorted clouds and two cursors are the whole search structure. Cubes without
// subject points are stepped over in one jump, and a cube whose reference run is too
// short is dropped before any distance is taken: neither changes which samples are
// accepted, only how long the walk takes.
namespace sorvek {
namespace {

constexpr std::size_t mostCandidates = 999995;

[[noreturn]] void stopForTooManyPoints() {
    std::printf("too many points!! Decrease cube search size!!! \n");
    endRun(0);
}

// Collects the subject points of `cube` inside the z band, and moves the cursor to the
// first point of a later cube. Returns false when the array ended first: no later cube
// then holds a subject point.
bool collectCandidates(CubeWalk& walk, std::uint32_t cube) {
    walk.candidates.clear();
    const std::span<const PointRecord> subject = walk.subject;
    for (std::size_t i = walk.subjectCursor; i < subject.size(); ++i) {
        const PointRecord& point = subject[i];
        if (point.cube > cube) {
            walk.subjectCursor = i;
            walk.nextCube = point.cube;
            return true;
        }
        if (point.cube < cube || !(point.z > walk.zMin && walk.zMax > point.z)) continue;
        if (walk.candidates.size() == mostCandidates) stopForTooManyPoints();
        walk.candidates.push_back(static_cast<std::int32_t>(i));
    }
    return false;
}

// The run of reference points of `cube`. Points of earlier cubes are never looked at
// again, since the walk only moves to higher cubes.
void findReferenceRun(CubeWalk& walk, std::uint32_t cube) {
    const std::span<const PointRecord> reference = walk.reference;
    std::size_t begin = walk.referenceEnd;
    while (begin < reference.size() && reference[begin].cube < cube) ++begin;
    std::size_t end = begin;
    while (end < reference.size() && reference[end].cube == cube) ++end;
    walk.referenceBegin = begin;
    walk.referenceEnd = end;
}

}  // namespace

CubeWalk startCubeWalk(Run& run, std::span<const PointRecord> subject,
                       std::span<const PointRecord> reference, double zMin) {
    CubeWalk walk{subject, reference, run.pair.buffers.candidates};
    walk.zMin = zMin;
    walk.zMax = run.options.ZMAX;
    walk.samplesPerCube = run.options.NUMPPC;
    walk.cubeCount = run.state.cubeCount;
    walk.isDone = subject.empty();
    if (!subject.empty()) walk.nextCube = subject[0].cube;
    return walk;
}

bool nextSampledCube(CubeWalk& walk) {
    const auto samplesPerCube = static_cast<std::size_t>(walk.samplesPerCube);
    while (!walk.isDone && walk.nextCube < walk.cubeCount) {
        const auto cube = static_cast<std::uint32_t>(walk.nextCube);
        walk.isDone = !collectCandidates(walk, cube);
        // No sample is taken from a cube of fewer candidates than NUMPPC, nor at all with
        // NUMPPC of 0 or below.
        if (walk.samplesPerCube <= 0 || walk.candidates.size() < samplesPerCube) continue;
        findReferenceRun(walk, cube);
        // Every sample of a cube counts the same reference run, whatever the distances:
        // the cube passes the neighbour test or is dropped whole.
        if (walk.referenceEnd - walk.referenceBegin < samplesPerCube) continue;
        return true;
    }
    walk.isDone = true;
    return false;
}

// Places (k * n) / NUMPPC spread the samples evenly and always take the first candidate.
// The product is formed in 64 bits: in 32 bits it could overflow for large NUMPPC.
const PointRecord& sampleOf(const CubeWalk& walk, std::int32_t k) {
    const auto n = static_cast<std::int64_t>(walk.candidates.size());
    const std::int64_t place = (std::int64_t{k} * n) / walk.samplesPerCube;
    return walk.subject[static_cast<std::size_t>(walk.candidates[static_cast<std::size_t>(place)])];
}

NearestList nearestInCube(const CubeWalk& walk, const PointRecord& sample) {
    NearestList nearest;
    auto& d = nearest.squaredDistance;
    auto& at = nearest.position;
    for (std::size_t i = walk.referenceBegin; i < walk.referenceEnd; ++i) {
        const PointRecord& point = walk.reference[i];
        const double dx = point.x - sample.x;
        const double dy = point.y - sample.y;
        const double dz = point.z - sample.z;
        const double q = (dy * dy + dx * dx) + dz * dz;
        if (!(d[2] > q)) continue;  // also refuses NaN
        const auto position = static_cast<std::int32_t>(i);
        if (d[0] >= q) {
            d = {q, d[0], d[1]};
            at = {position, at[0], at[1]};
        } else if (d[1] >= q) {
            d = {d[0], q, d[1]};
            at = {at[0], position, at[1]};
        } else {
            d[2] = q;
            at[2] = position;
        }
    }
    return nearest;
}

Plane planeOfNearest(const CubeWalk& walk, const NearestList& nearest) {
    const auto entry = [&](std::size_t place) {
        return pointOf(walk.reference[static_cast<std::size_t>(nearest.position[place])]);
    };
    return planeThroughPoints(entry(0), entry(1), entry(2));
}

}  // namespace sorvek
