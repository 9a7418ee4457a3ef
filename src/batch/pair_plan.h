#pragma once
// The pairs of a site pass or of a line's RMS pass, in the order a run takes them. Both
// depend on the scan table alone, so they can be listed before the first pair is read:
// that is what lets a pass resume after its kept rows and spread its pairs over processes.

#include <cstdint>
#include <vector>

#include "run/records.h"

namespace sorvek {

struct PlannedPair {
    std::int32_t firstIndex = 0;   // table index of the first scan
    std::int32_t secondIndex = 0;  // table index of the second scan
    double spacing = 0.0;          // the row's spacing: plan distance (site) or southDist (line)
};

// One scan's turn: its pairs, then its time line.
struct PlannedTurn {
    std::int32_t scanIndex = 0;      // the scan whose turn it is
    std::vector<PlannedPair> pairs;  // in the order they are done; may be empty
};

// Which driver's order a plan follows.
enum class PassKind {
    siteRegistration,  // run mode 6
    siteEvaluation,    // run mode 7
    lineEvaluation,    // the RMS pass of a line: each scan with its south neighbour
};

// Plan distance between two scans, dy first as the neighbour search forms it.
double planDistance(const ScanRecord& first, const ScanRecord& second);

// True when a pair at `distance` is taken: GPSMINDIST and GPSMAXDIST both inclusive.
bool isWithinSpan(const RunOptions& options, double distance);

// Every scan gets a turn, in table order. A site turn holds each later scan within
// GPSMINDIST..GPSMAXDIST (both inclusive); a line turn holds the south pair, if any.
std::vector<PlannedTurn> planPass(const Run& run, PassKind kind);

// The pairs of all turns, one after the other.
std::vector<PlannedPair> pairsOf(const std::vector<PlannedTurn>& turns);

}  // namespace sorvek
