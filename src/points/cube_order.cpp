#include "points/cube_order.h"

#include <algorithm>
#include <array>

#include "run/worker_pool.h"

// A counting sort over the cube numbers: count per part, turn the counts into first
// places (cube by cube, and within a cube part by part, so that earlier points come
// first), then give each point the next place of its cube. A grid with far more cubes
// than points would make the counts the largest array of all; it gets an LSD radix sort
// of 11-bit digits on (key, position) instead, whose memory follows the points alone.
namespace sorvek {
namespace {

constexpr int digitBits = 11;
constexpr std::size_t digitBuckets = std::size_t{1} << digitBits;
constexpr std::uint32_t digitMask = digitBuckets - 1;

// Memory of the counts stays within a few words per point, or 64 kB for a small cloud.
std::size_t countBudget(std::size_t pointCount) { return 4 * pointCount + 16384; }

void countPart(CubeOrderScratch& scratch, std::size_t part, std::size_t partCount,
               std::size_t bucketCount) {
    const std::size_t pointCount = scratch.keys.size();
    std::uint32_t* row = scratch.counts.data() + part * bucketCount;
    const std::size_t end = partBegin(pointCount, part + 1, partCount);
    for (std::size_t i = partBegin(pointCount, part, partCount); i < end; ++i) {
        ++row[scratch.keys[i]];
    }
}

// Counts become first places: all parts of cube 0, then all parts of cube 1, and so on.
void placeCounts(CubeOrderScratch& scratch, std::size_t partCount, std::size_t bucketCount) {
    std::uint32_t next = 0;
    for (std::size_t bucket = 0; bucket < bucketCount; ++bucket) {
        for (std::size_t part = 0; part < partCount; ++part) {
            std::uint32_t& slot = scratch.counts[part * bucketCount + bucket];
            const std::uint32_t count = slot;
            slot = next;
            next += count;
        }
    }
}

void rankPart(CubeOrderScratch& scratch, std::size_t part, std::size_t partCount,
              std::size_t bucketCount) {
    const std::size_t pointCount = scratch.keys.size();
    std::uint32_t* row = scratch.counts.data() + part * bucketCount;
    const std::size_t end = partBegin(pointCount, part + 1, partCount);
    for (std::size_t i = partBegin(pointCount, part, partCount); i < end; ++i) {
        scratch.ranks[i] = row[scratch.keys[i]]++;
    }
}

void countByCube(Run& run, CubeOrderScratch& scratch, std::size_t partCount,
                 std::size_t bucketCount) {
    if (scratch.countedParts != partCount) {
        clearCounts(scratch, partCount, bucketCount);
        runParts(run.state.workers.get(), partCount,
                 [&](std::size_t part) { countPart(scratch, part, partCount, bucketCount); });
    }
    placeCounts(scratch, partCount, bucketCount);
    scratch.countedParts = 0;  // the counts are places now
}

// One stable scatter of (key, position) by the digit at `shift`.
void scatterByDigit(const LargeArray<std::uint32_t>& keys, const LargeArray<std::uint32_t>& order,
                    LargeArray<std::uint32_t>& toKeys, LargeArray<std::uint32_t>& toOrder,
                    int shift) {
    std::array<std::size_t, digitBuckets> next{};
    for (const std::uint32_t key : keys) ++next[(key >> shift) & digitMask];
    std::size_t start = 0;
    for (std::size_t& slot : next) {
        const std::size_t count = slot;
        slot = start;
        start += count;
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::size_t place = next[(keys[i] >> shift) & digitMask]++;
        toKeys[place] = keys[i];
        toOrder[place] = order[i];
    }
}

void rankByRadix(CubeOrderScratch& scratch) {
    const std::size_t pointCount = scratch.keys.size();
    LargeArray<std::uint32_t>& keys = scratch.radixKeys;
    LargeArray<std::uint32_t>& order = scratch.radixOrder;
    keys.assign(scratch.keys.begin(), scratch.keys.end());
    order.resize(pointCount);
    for (std::size_t i = 0; i < pointCount; ++i) order[i] = static_cast<std::uint32_t>(i);
    LargeArray<std::uint32_t>& spareKeys = scratch.radixSpareKeys;
    spareKeys.resize(pointCount);
    scratch.radixSpare.resize(pointCount);
    std::uint32_t allBits = 0;  // the bits in which some key differs from the first
    for (const std::uint32_t key : keys) allBits |= key ^ keys[0];
    for (int shift = 0; shift < 32; shift += digitBits) {
        // A digit that every key shares would move nothing: skip the pass.
        if (((allBits >> shift) & digitMask) == 0) continue;
        scatterByDigit(keys, order, spareKeys, scratch.radixSpare, shift);
        keys.swap(spareKeys);
        order.swap(scratch.radixSpare);
    }
    scratch.ranks.resize(pointCount);
    for (std::size_t place = 0; place < pointCount; ++place) {
        scratch.ranks[order[place]] = static_cast<std::uint32_t>(place);
    }
}

}  // namespace

std::size_t countingParts(const Run& run, std::size_t pointCount, std::size_t bucketCount) {
    const std::size_t budget = countBudget(pointCount);
    if (bucketCount == 0 || bucketCount > budget) return 0;
    const std::size_t threadCount = run.state.workers ? run.state.workers->threadCount : 1;
    return std::max<std::size_t>(1, std::min(threadCount, budget / bucketCount));
}

void clearCounts(CubeOrderScratch& scratch, std::size_t partCount, std::size_t bucketCount) {
    scratch.counts.assign(partCount * bucketCount, 0);
    scratch.countedParts = partCount;
}

CubePlaces preparePlaces(Run& run, CubeOrderScratch& scratch, std::size_t bucketCount) {
    const std::size_t partCount = countingParts(run, scratch.keys.size(), bucketCount);
    const auto lastBucket = static_cast<std::uint32_t>(bucketCount - 1);
    if (partCount == 0) {
        rankByRadix(scratch);
        const LargeArray<std::uint32_t>& sorted = scratch.radixKeys;
        const auto before =
            std::lower_bound(sorted.begin(), sorted.end(), lastBucket) - sorted.begin();
        return {true, 1, bucketCount, static_cast<std::size_t>(before)};
    }
    countByCube(run, scratch, partCount, bucketCount);
    // Part 0's place in the last bucket is the first place of that bucket.
    return {false, partCount, bucketCount, scratch.counts[lastBucket]};
}

void rankByCube(Run& run, CubeOrderScratch& scratch, std::size_t bucketCount) {
    const CubePlaces places = preparePlaces(run, scratch, bucketCount);
    if (places.isRanked) return;
    scratch.ranks.resize(scratch.keys.size());
    runParts(run.state.workers.get(), places.partCount,
             [&](std::size_t part) { rankPart(scratch, part, places.partCount, bucketCount); });
}

}  // namespace sorvek
