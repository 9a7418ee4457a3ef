#include "batch/pair_plan.h"

#include <cmath>

namespace sorvek {

double planDistance(const ScanRecord& first, const ScanRecord& second) {
    const double dy = second.gpsY - first.gpsY;
    const double dx = second.gpsX - first.gpsX;
    return std::sqrt((dy * dy) + (dx * dx));
}

bool isWithinSpan(const RunOptions& options, double distance) {
    return distance >= options.GPSMINDIST && options.GPSMAXDIST >= distance;
}

namespace {

PlannedTurn siteTurn(const Run& run, std::int32_t firstIndex) {
    const std::vector<ScanRecord>& scans = run.state.scans;
    PlannedTurn turn;
    turn.scanIndex = firstIndex;
    const ScanRecord& first = scans[static_cast<std::size_t>(firstIndex)];
    const auto scanCount = static_cast<std::int32_t>(scans.size());
    for (std::int32_t secondIndex = firstIndex + 1; secondIndex < scanCount; ++secondIndex) {
        const double distance = planDistance(first, scans[static_cast<std::size_t>(secondIndex)]);
        if (isWithinSpan(run.options, distance)) {
            turn.pairs.push_back({firstIndex, secondIndex, distance});
        }
    }
    return turn;
}

PlannedTurn lineTurn(const Run& run, std::int32_t scanIndex) {
    const ScanRecord& scan = run.state.scans[static_cast<std::size_t>(scanIndex)];
    PlannedTurn turn;
    turn.scanIndex = scanIndex;
    if (scan.southScan >= 0) turn.pairs.push_back({scanIndex, scan.southScan, scan.southDist});
    return turn;
}

}  // namespace

std::vector<PlannedTurn> planPass(const Run& run, PassKind kind) {
    std::vector<PlannedTurn> turns;
    const auto scanCount = static_cast<std::int32_t>(run.state.scans.size());
    for (std::int32_t scanIndex = 0; scanIndex < scanCount; ++scanIndex) {
        turns.push_back(kind == PassKind::lineEvaluation ? lineTurn(run, scanIndex)
                                                         : siteTurn(run, scanIndex));
    }
    return turns;
}

std::vector<PlannedPair> pairsOf(const std::vector<PlannedTurn>& turns) {
    std::vector<PlannedPair> pairs;
    for (const PlannedTurn& turn : turns)
        pairs.insert(pairs.end(), turn.pairs.begin(), turn.pairs.end());
    return pairs;
}

}  // namespace sorvek
