#include "registration/cube_walk.h"

#include <algorithm>
#include <cstdio>

#include "points/cube_order.h"
#include "run/console.h"
#include "run/worker_pool.h"

// The clouds in cube order and two cursors are the whole search structure. Only cubes
// that hold subject points are visited, and a cube whose reference run is too short is
// dropped before any distance is taken: neither changes which samples are accepted, only
// how long the walk takes. The walk is cut between cubes into parts of about equal
// numbers of subject points; the parts do not depend on each other.
namespace sorvek {
namespace {

constexpr std::size_t mostCandidates = 999995;

// Parts per thread: several, so that a part of dense cubes does not keep the others
// waiting. Small walks are not cut at all.
constexpr std::size_t partsPerThread = 4;
constexpr std::size_t leastPointsPerPart = 4096;

std::size_t partCountFor(const Run& run, std::size_t subjectCount) {
    const std::size_t threadCount = run.state.workers ? run.state.workers->threadCount : 1;
    const std::size_t wanted = threadCount == 1 ? 1 : threadCount * partsPerThread;
    return std::max<std::size_t>(1, std::min(wanted, subjectCount / leastPointsPerPart));
}

// The first position at or after `position` where a cube begins.
std::size_t cubeStart(const CubeRuns& cloud, std::size_t position) {
    while (position > 0 && position < cloud.cube.size() &&
           cloud.cube[position] == cloud.cube[position - 1]) {
        ++position;
    }
    return position;
}

Point3 pointAt(const CubeRuns& cloud, std::size_t position) {
    return {cloud.x[position], cloud.y[position], cloud.z[position]};
}

void takeSample(const CubeRuns& reference, const SampleRule& rule, const Point3& sample,
                const NearestList& nearest, std::vector<SampleOutcome>& accepted) {
    if (rule.isPointToPoint) {
        if (nearest.position[0] < 0) return;  // nothing came near enough to enter the list
        const double squared = nearest.squaredDistance[0];
        if (!(rule.maxDistance * rule.maxDistance >= squared)) return;
        SampleOutcome outcome{squared, sample, {}};
        if (rule.needsPartner) {
            outcome.partner = pointAt(reference, static_cast<std::size_t>(nearest.position[0]));
        }
        accepted.push_back(outcome);
        return;
    }
    if (nearest.position[2] < 0) return;  // the plane needs all three places
    const Plane plane = planeThroughPoints(
        pointAt(reference, static_cast<std::size_t>(nearest.position[0])),
        pointAt(reference, static_cast<std::size_t>(nearest.position[1])),
        pointAt(reference, static_cast<std::size_t>(nearest.position[2])));
    if (isDegenerate(plane)) return;
    const double distance = distanceToPlane(plane, sample);
    if (!(rule.maxDistance >= distance && distance >= rule.minDistance)) return;
    SampleOutcome outcome{distance, sample, {}};
    if (rule.needsPartner) outcome.partner = planeFoot(plane, distance, sample);
    accepted.push_back(outcome);
}

// Places (k * n) / NUMPPC spread the samples evenly and always take the first candidate;
// every sample of a cube meets the same reference run.
void sampleCube(const CubeRuns& subject, const CubeRuns& reference, std::size_t runBegin,
                std::size_t runEnd, std::int32_t samplesPerCube, const SampleRule& rule,
                WalkPart& part) {
    const ReferenceRun run{reference.x.data() + runBegin, reference.y.data() + runBegin,
                           reference.z.data() + runBegin, runEnd - runBegin,
                           static_cast<std::int32_t>(runBegin)};
    const auto n = static_cast<std::int64_t>(part.candidates.size());
    for (std::int32_t k = 0; k < samplesPerCube; ++k) {
        const std::int64_t place = (std::int64_t{k} * n) / samplesPerCube;
        const auto position = static_cast<std::size_t>(part.candidates[static_cast<std::size_t>(place)]);
        const Point3 sample = pointAt(subject, position);
        takeSample(reference, rule, sample, nearestInRun(run, sample.x, sample.y, sample.z),
                   part.accepted);
    }
}

struct WalkLimits {
    double zMin = 0.0;                // candidates lie strictly above it
    double zMax = 0.0;                // and strictly below this (ZMAX)
    std::int32_t samplesPerCube = 0;  // NUMPPC
};

// The cubes whose subject runs begin in [begin, end).
void walkPart(const CubeRuns& subject, const CubeRuns& reference, const WalkLimits& limits,
              const SampleRule& rule, std::size_t begin, std::size_t end, WalkPart& part) {
    if (begin >= end) return;
    const auto samplesNeeded = static_cast<std::size_t>(std::max(limits.samplesPerCube, 0));
    std::size_t referenceCursor = static_cast<std::size_t>(
        std::lower_bound(reference.cube.begin(), reference.cube.end(), subject.cube[begin]) -
        reference.cube.begin());
    std::size_t position = begin;
    while (position < end) {
        const std::uint32_t cube = subject.cube[position];
        part.candidates.clear();
        for (; position < end && subject.cube[position] == cube; ++position) {
            const double z = subject.z[position];
            if (!(z > limits.zMin && limits.zMax > z)) continue;
            if (part.candidates.size() == mostCandidates) {
                part.hasTooManyPoints = true;
                return;
            }
            part.candidates.push_back(static_cast<std::int32_t>(position));
        }
        // No sample is taken from a cube of fewer candidates than NUMPPC, nor at all with
        // NUMPPC of 0 or below.
        if (limits.samplesPerCube <= 0 || part.candidates.size() < samplesNeeded) continue;
        while (referenceCursor < reference.cube.size() && reference.cube[referenceCursor] < cube) {
            ++referenceCursor;
        }
        const std::size_t runBegin = referenceCursor;
        while (referenceCursor < reference.cube.size() && reference.cube[referenceCursor] == cube) {
            ++referenceCursor;
        }
        // Every sample of a cube counts the same reference run, whatever the distances:
        // the cube passes the neighbour test or is dropped whole.
        if (referenceCursor - runBegin < samplesNeeded || rule.measuresNothing) continue;
        sampleCube(subject, reference, runBegin, referenceCursor, limits.samplesPerCube, rule,
                   part);
    }
}

}  // namespace

CubeRuns inGridRuns(const WorkCloud& cloud) {
    const std::size_t count = cloud.inGridCount;
    return {std::span<const double>(cloud.x).first(count),
            std::span<const double>(cloud.y).first(count),
            std::span<const double>(cloud.z).first(count),
            std::span<const std::uint32_t>(cloud.cube).first(count)};
}

void walkCubes(Run& run, const CubeRuns& subject, const CubeRuns& reference, double zMin,
               const SampleRule& rule, std::vector<WalkPart>& parts) {
    const WalkLimits limits{zMin, run.options.ZMAX, run.options.NUMPPC};
    const std::size_t subjectCount = subject.cube.size();
    const std::size_t partCount = partCountFor(run, subjectCount);
    parts.resize(partCount);
    std::vector<std::size_t> begins(partCount + 1);
    for (std::size_t k = 0; k <= partCount; ++k) {
        begins[k] = cubeStart(subject, partBegin(subjectCount, k, partCount));
        parts[std::min(k, partCount - 1)].accepted.clear();
        parts[std::min(k, partCount - 1)].hasTooManyPoints = false;
    }
    runParts(run.state.workers.get(), partCount, [&](std::size_t k) {
        walkPart(subject, reference, limits, rule, begins[k], begins[k + 1], parts[k]);
    });
}

void stopForTooManyPoints() {
    std::printf("too many points!! Decrease cube search size!!! \n");
    endRun(exitStageStopped);
}

}  // namespace sorvek
