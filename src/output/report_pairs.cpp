#include "output/report_pairs.h"

#include <optional>
#include <sstream>

#include "batch/pair_plan.h"
#include "batch/result_rows.h"

namespace sorvek {
namespace {

const ScanRecord& scanAt(std::span<const ScanRecord> scans, std::int32_t index) {
    return scans[static_cast<std::size_t>(index)];
}

ReportPair pairOf(std::span<const ScanRecord> scans, std::int32_t first, std::int32_t second,
                  bool isEvaluatedPair) {
    ReportPair pair;
    pair.firstIndex = first;
    pair.secondIndex = second;
    pair.spacing = planDistance(scanAt(scans, first), scanAt(scans, second));
    pair.isEvaluatedPair = isEvaluatedPair;
    return pair;
}

bool holdsPair(std::span<const ReportPair> pairs, std::int32_t first, std::int32_t second) {
    for (const ReportPair& pair : pairs) {
        if ((pair.firstIndex == first && pair.secondIndex == second) ||
            (pair.firstIndex == second && pair.secondIndex == first)) {
            return true;
        }
    }
    return false;
}

std::optional<std::int32_t> idOf(const ResultFields& row, std::size_t column) {
    if (column >= row.size()) return std::nullopt;
    return parseRowId(row[column]);
}

bool namesPair(const ReportPair& pair, std::span<const ScanRecord> scans, std::int32_t firstId,
               std::int32_t secondId) {
    const std::int32_t a = scanAt(scans, pair.firstIndex).scanId;
    const std::int32_t b = scanAt(scans, pair.secondIndex).scanId;
    return (a == firstId && b == secondId) || (a == secondId && b == firstId);
}

}  // namespace

std::vector<ReportPair> linePairs(std::span<const ScanRecord> scans) {
    const auto scanCount = static_cast<std::int32_t>(scans.size());
    std::vector<ReportPair> pairs;
    for (std::int32_t i = 0; i < scanCount; ++i) {
        const std::int32_t south = scanAt(scans, i).southScan;
        if (south >= 0 && south < scanCount) pairs.push_back(pairOf(scans, i, south, true));
    }
    for (std::int32_t i = 0; i < scanCount; ++i) {
        const std::int32_t north = scanAt(scans, i).northScan;
        if (north < 0 || north >= scanCount || holdsPair(pairs, i, north)) continue;
        pairs.push_back(pairOf(scans, i, north, false));
    }
    return pairs;
}

std::vector<ReportPair> sitePairs(std::span<const ScanRecord> scans, const RunOptions& options) {
    const auto scanCount = static_cast<std::int32_t>(scans.size());
    std::vector<ReportPair> pairs;
    for (std::int32_t i = 0; i < scanCount; ++i) {
        for (std::int32_t j = i + 1; j < scanCount; ++j) {
            if (isWithinSpan(options, planDistance(scanAt(scans, i), scanAt(scans, j)))) {
                pairs.push_back(pairOf(scans, i, j, true));
            }
        }
    }
    return pairs;
}

std::vector<ResultFields> readResultRows(std::istream& in) {
    std::vector<ResultFields> rows;
    std::string line;
    if (!std::getline(in, line)) return rows;  // the head line
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        ResultFields fields;
        std::istringstream fieldsIn(line);
        std::string field;
        while (std::getline(fieldsIn, field, ',')) fields.push_back(field);
        rows.push_back(fields);
    }
    return rows;
}

std::int32_t attachRows(std::vector<ReportPair>& pairs, std::span<const ScanRecord> scans,
                        std::span<const ResultFields> rows, std::size_t secondIdColumn,
                        ResultFields ReportPair::*slot) {
    std::int32_t unattached = 0;
    for (const ResultFields& row : rows) {
        const std::optional<std::int32_t> firstId = idOf(row, 0);
        const std::optional<std::int32_t> secondId = idOf(row, secondIdColumn);
        bool isAttached = false;
        for (ReportPair& pair : pairs) {
            if (!firstId || !secondId || !(pair.*slot).empty()) continue;
            if (!namesPair(pair, scans, *firstId, *secondId)) continue;
            pair.*slot = row;
            isAttached = true;
            break;
        }
        if (!isAttached) ++unattached;
    }
    return unattached;
}

}  // namespace sorvek
