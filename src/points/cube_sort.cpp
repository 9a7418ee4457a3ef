#include "points/cube_sort.h"

#include "points/cube_grid.h"

#include <algorithm>
#include <array>
#include <cstddef>

// Least-significant-digit radix sort on the 32-bit cube key, 11 bits per pass. Each pass
// scatters in source order, so records of one cube keep their order: the sort is stable,
// and two runs over the same cloud always give the same sampling downstream.
namespace sorvek {
namespace {

constexpr int digitBits = 11;
constexpr int passCount = 3;  // 11 + 11 + 10 bits cover the key
constexpr std::size_t bucketCount = std::size_t{1} << digitBits;
constexpr std::uint32_t digitMask = bucketCount - 1;

using Histogram = std::array<std::size_t, bucketCount>;

std::uint32_t digitOf(std::uint32_t key, int pass) {
    return (key >> (pass * digitBits)) & digitMask;
}

// One read of the keys gives the counts of every pass.
std::array<Histogram, passCount> countDigits(std::span<const PointRecord> points) {
    std::array<Histogram, passCount> counts{};
    for (const PointRecord& point : points) {
        const std::uint32_t key = point.cube;
        ++counts[0][key & digitMask];
        ++counts[1][(key >> digitBits) & digitMask];
        ++counts[2][key >> (2 * digitBits)];
    }
    return counts;
}

void scatterByDigit(std::span<const PointRecord> from, std::span<PointRecord> to,
                    const Histogram& counts, int pass) {
    Histogram next{};
    std::size_t start = 0;
    for (std::size_t bucket = 0; bucket < bucketCount; ++bucket) {
        next[bucket] = start;
        start += counts[bucket];
    }
    for (const PointRecord& point : from) to[next[digitOf(point.cube, pass)]++] = point;
}

}  // namespace

void sortByCube(std::span<PointRecord> points, Cloud& scratch) {
    const std::size_t count = points.size();
    if (count < 2) return;
    scratch.resize(count);  // grows once; later calls reuse the capacity
    const std::array<Histogram, passCount> counts = countDigits(points);
    const std::uint32_t anyKey = points[0].cube;
    std::span<PointRecord> from = points;
    std::span<PointRecord> to(scratch.data(), count);
    for (int pass = 0; pass < passCount; ++pass) {
        // A digit that every record shares would move nothing: skip the pass.
        const Histogram& histogram = counts[static_cast<std::size_t>(pass)];
        if (histogram[digitOf(anyKey, pass)] == count) continue;
        scatterByDigit(from, to, histogram, pass);
        std::swap(from, to);
    }
    if (from.data() != points.data()) std::copy(from.begin(), from.end(), points.begin());
}

void gridOnOverlap(Run& run, Cloud& cloud) {
    assignCubes(run, cloud, run.pair.overlapBounds, run.options.ZMIN);
    sortByCube(cloud, run.pair.buffers.sortScratch);
}

}  // namespace sorvek
