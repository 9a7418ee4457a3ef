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
constexpr std::size_t partsPerThread = 32;
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

// The first position at or after `from` whose cube is not below `cube`: steps that double
// from `from`, then halving, so that a run just ahead is found in a few looks.
std::size_t firstNotBelow(std::span<const std::uint32_t> cubes, std::size_t from,
                          std::uint32_t cube) {
    std::size_t below = from;  // every position before it is below `cube`
    std::size_t step = 1;
    while (below < cubes.size() && cubes[below] < cube) {
        below += step;
        step *= 2;
    }
    const std::size_t low = below - step / 2;  // the last probe below `cube`, or `from`
    const std::size_t high = std::min(below, cubes.size());
    return static_cast<std::size_t>(
        std::lower_bound(cubes.begin() + static_cast<std::ptrdiff_t>(low),
                         cubes.begin() + static_cast<std::ptrdiff_t>(high), cube) -
        cubes.begin());
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
    const Plane plane =
        planeThroughPoints(pointAt(reference, static_cast<std::size_t>(nearest.position[0])),
                           pointAt(reference, static_cast<std::size_t>(nearest.position[1])),
                           pointAt(reference, static_cast<std::size_t>(nearest.position[2])));
    if (isDegenerate(plane)) return;
    const double distance = distanceToPlane(plane, sample);
    if (!(rule.maxDistance >= distance && distance >= rule.minDistance)) return;
    SampleOutcome outcome{distance, sample, {}};
    if (rule.needsPartner) outcome.partner = planeFoot(plane, distance, sample);
    accepted.push_back(outcome);
}

// Every sample of a cube meets the same reference run.
void sampleCube(const CubeRuns& reference, std::size_t runBegin, std::size_t runEnd,
                std::span<const Point3> samples, const SampleRule& rule, WalkPart& part) {
    const ReferenceRun run{reference.x.data() + runBegin, reference.y.data() + runBegin,
                           reference.z.data() + runBegin, runEnd - runBegin,
                           static_cast<std::int32_t>(runBegin)};
    for (const Point3& sample : samples) {
        takeSample(reference, rule, sample, nearestInRun(run, sample.x, sample.y, sample.z),
                   part.accepted);
    }
}

struct WalkLimits {
    double zMin = 0.0;                // candidates lie strictly above it
    double zMax = 0.0;                // and strictly below this (ZMAX)
    std::int32_t samplesPerCube = 0;  // NUMPPC
};

// The sampling of the cubes whose subject runs begin in [begin, end): per cube, the
// candidates (points strictly between the z limits) and, from a cube of at least NUMPPC
// of them, NUMPPC samples at places (k * n) / NUMPPC, which spread them evenly and always
// take the first candidate.
void samplePart(const CubeRuns& subject, const WalkLimits& limits, std::size_t begin,
                std::size_t end, WalkPart& part) {
    part.sampledCubes.clear();
    part.samples.clear();
    part.stopsForTooManyPoints = false;
    const auto samplesNeeded = static_cast<std::size_t>(std::max(limits.samplesPerCube, 0));
    std::size_t position = begin;
    while (position < end) {
        const std::uint32_t cube = subject.cube[position];
        part.candidates.clear();
        for (; position < end && subject.cube[position] == cube; ++position) {
            const double z = subject.z[position];
            if (!(z > limits.zMin && limits.zMax > z)) continue;
            if (part.candidates.size() == mostCandidates) {
                part.stopsForTooManyPoints = true;
                return;
            }
            part.candidates.push_back(static_cast<std::int32_t>(position));
        }
        // No sample is taken from a cube of fewer candidates than NUMPPC, nor at all with
        // NUMPPC of 0 or below.
        if (limits.samplesPerCube <= 0 || part.candidates.size() < samplesNeeded) continue;
        part.sampledCubes.push_back({cube, static_cast<std::uint32_t>(part.samples.size())});
        const auto n = static_cast<std::int64_t>(part.candidates.size());
        for (std::int32_t k = 0; k < limits.samplesPerCube; ++k) {
            const std::int64_t place = (std::int64_t{k} * n) / limits.samplesPerCube;
            const auto chosen =
                static_cast<std::size_t>(part.candidates[static_cast<std::size_t>(place)]);
            part.samples.push_back(pointAt(subject, chosen));
        }
    }
}

// The sampled cubes of a part against their reference runs.
void walkPart(const CubeRuns& reference, const WalkLimits& limits, const SampleRule& rule,
              WalkPart& part) {
    part.accepted.clear();
    part.hasTooManyPoints = part.stopsForTooManyPoints;
    if (rule.measuresNothing || part.sampledCubes.empty()) return;
    const auto samplesNeeded = static_cast<std::size_t>(limits.samplesPerCube);
    const std::span<const Point3> samples(part.samples);
    const auto cubes = reference.cube;
    std::size_t cursor = 0;
    for (const SampledCube& sampled : part.sampledCubes) {
        const std::uint32_t cube = sampled.cube;
        const std::size_t runBegin = firstNotBelow(cubes, cursor, cube);
        cursor = firstNotBelow(cubes, runBegin, cube + 1);
        // Every sample of a cube counts the same reference run, whatever the distances:
        // the cube passes the neighbour test or is dropped whole.
        if (cursor - runBegin < samplesNeeded) continue;
        sampleCube(reference, runBegin, cursor, samples.subspan(sampled.firstSample, samplesNeeded),
                   rule, part);
    }
}

bool isSampledAlready(const SamplingKey& kept, const SamplingKey& wanted) {
    return wanted.stamp != 0 && kept.stamp == wanted.stamp &&
           kept.pointCount == wanted.pointCount && kept.zMin == wanted.zMin &&
           kept.zMax == wanted.zMax && kept.samplesPerCube == wanted.samplesPerCube &&
           kept.partCount == wanted.partCount;
}

}  // namespace

CubeRuns inGridRuns(const WorkCloud& cloud) {
    const std::size_t count = cloud.inGridCount;
    return {std::span<const double>(cloud.x).first(count),
            std::span<const double>(cloud.y).first(count),
            std::span<const double>(cloud.z).first(count),
            std::span<const std::uint32_t>(cloud.cube).first(count), cloud.stamp};
}

void walkCubes(Run& run, const CubeRuns& subject, const CubeRuns& reference, double zMin,
               const SampleRule& rule, WalkScratch& scratch) {
    const WalkLimits limits{zMin, run.options.ZMAX, run.options.NUMPPC};
    const std::size_t subjectCount = subject.cube.size();
    const std::size_t partCount = partCountFor(run, subjectCount);
    std::vector<WalkPart>& parts = scratch.parts;
    const SamplingKey wanted{subject.stamp, subjectCount,          limits.zMin,
                             limits.zMax,   limits.samplesPerCube, partCount};
    const bool isSampled = isSampledAlready(scratch.sampled, wanted) && parts.size() == partCount;
    parts.resize(partCount);
    std::vector<std::size_t> begins;
    if (!isSampled) {
        begins.resize(partCount + 1);
        for (std::size_t k = 0; k <= partCount; ++k) {
            begins[k] = cubeStart(subject, partBegin(subjectCount, k, partCount));
        }
    }
    runParts(run.state.workers.get(), partCount, [&](std::size_t k) {
        if (!isSampled) samplePart(subject, limits, begins[k], begins[k + 1], parts[k]);
        walkPart(reference, limits, rule, parts[k]);
    });
    scratch.sampled = wanted;
}

void stopForTooManyPoints() {
    std::printf("too many points!! Decrease cube search size!!! \n");
    endRun(exitStageStopped);
}

}  // namespace sorvek
