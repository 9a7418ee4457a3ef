#pragma once
// The pairs of a job as the report lists them, and the rows of the result files that
// belong to each. Rows are kept as the text the file holds, so that the report shows
// every value exactly as it was written.

#include <cstddef>
#include <cstdint>
#include <istream>
#include <span>
#include <string>
#include <vector>

#include "run/records.h"

namespace sorvek {

// The comma-separated fields of one result row, as written.
using ResultFields = std::vector<std::string>;

struct ReportPair {
    std::int32_t firstIndex = 0;   // table index of the first scan, as an RMS pass orders it
    std::int32_t secondIndex = 0;  // table index of the second scan
    double spacing = 0.0;          // plan distance of the two scans, survey units
    bool isEvaluatedPair = false;  // an RMS pass of this kind of job measures the pair
    ResultFields registrationRow;  // its row of the registration result file; empty if none
    ResultFields rmsRow;           // its row of the RMS result file; empty if none
};

// A line's pairs: each scan with its south neighbour, in table order, as the RMS pass
// takes them; then each north pair that no south pair already holds, as the registration
// pass may solve it.
std::vector<ReportPair> linePairs(std::span<const ScanRecord> scans);

// A site's pairs: every i < j within the distance span, as the site driver takes them.
std::vector<ReportPair> sitePairs(std::span<const ScanRecord> scans, const RunOptions& options);

// The fields of every line after the head line; an empty stream gives no row. A line end
// of CR LF loses its CR.
std::vector<ResultFields> readResultRows(std::istream& in);

// Gives each row to the first pair of the same two scan ids, in either order, whose
// `slot` is still empty; ids sit in column 0 and `secondIdColumn`. Returns the number of
// rows that no pair took (a row that names no scan pair of the table, or one too many).
std::int32_t attachRows(std::vector<ReportPair>& pairs, std::span<const ScanRecord> scans,
                        std::span<const ResultFields> rows, std::size_t secondIdColumn,
                        ResultFields ReportPair::*slot);

}  // namespace sorvek
