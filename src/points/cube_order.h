#pragma once
// Where each point of a cloud goes when the cloud is put in cube order. Only 4-byte cube
// numbers and places move here; the points themselves are moved once, by whoever asked,
// to the places found. The order is that of a stable sort: points of one cube keep the
// order they had.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "points/cube_grid.h"
#include "points/transforms.h"
#include "run/records.h"
#include "run/worker_pool.h"

namespace sorvek {

// Scratch of one cloud's ordering, kept from pass to pass with its capacity.
struct CubeOrderScratch {
    LargeArray<std::uint32_t> keys;        // cube of each point, in the cloud's present order
    LargeArray<std::uint32_t> ranks;       // place of each point in cube order
    LargeArray<std::uint32_t> counts;      // counting sort: points per part and cube, then
                                           // the next free place of each
    LargeArray<std::uint32_t> radixOrder;  // radix sort: positions in cube order
    LargeArray<std::uint32_t> radixSpare;  // radix sort: its second arrays
    LargeArray<std::uint32_t> radixKeys;
    LargeArray<std::uint32_t> radixSpareKeys;
    CubeGrid keyGrid;                   // the grid `keys` belong to
    Turn keyTurn;                       // the turn of the source they were taken after
    const double* keySource = nullptr;  // x of the source they were taken from
    bool hasKeys = false;               // `keys` describe that source, turn and grid
    std::size_t countedParts = 0;       // parts `counts` holds counts of; 0 for none
};

// How a cloud of `pointCount` points is ordered on `bucketCount` cube numbers: a counting
// sort in `parts` parts (the cloud cut in equal shares, counted side by side), or, when
// the grid has far more cubes than the cloud has points, a radix sort (parts 0), so that
// no memory in proportion to a huge cube count is ever taken.
std::size_t countingParts(const Run& run, std::size_t pointCount, std::size_t bucketCount);

// The row of counts of part `part`, zeroed, for a caller that counts while it computes
// the keys; `counts` is sized for `partCount` rows of `bucketCount`.
void clearCounts(CubeOrderScratch& scratch, std::size_t partCount, std::size_t bucketCount);

// How the places of a cloud's points in cube order are handed out: either every point's
// place is in scratch.ranks, or the counts hold the next free place of each cube for each
// part, and a part hands out the places of its own points one after the other, in order.
struct CubePlaces {
    bool isRanked = false;      // scratch.ranks holds every place
    std::size_t partCount = 1;  // the parts that must hand out the places
    std::size_t bucketCount = 0;
    std::size_t beforeLastBucket = 0;  // points in every bucket but the last: the in-grid
                                       // points, when the last is the out-of-grid one
};

// Gets the places ready from scratch.keys (each below `bucketCount`). When the counts are
// not yet there (countedParts differs from what countingParts asks for), they are counted
// here.
CubePlaces preparePlaces(Run& run, CubeOrderScratch& scratch, std::size_t bucketCount);

// The place of point `i`, which lies in part `part`. Points of a part must ask in order.
inline std::uint32_t takePlace(CubeOrderScratch& scratch, const CubePlaces& places,
                               std::size_t part, std::size_t i) {
    if (places.isRanked) return scratch.ranks[i];
    return scratch.counts[part * places.bucketCount + scratch.keys[i]]++;
}

// Fills scratch.ranks with every point's place.
void rankByCube(Run& run, CubeOrderScratch& scratch, std::size_t bucketCount);

}  // namespace sorvek
