#pragma once
// Picking up a stopped pass: the rows an earlier run left in the result file are kept,
// the pairs they stand for are skipped, and the rest is appended, so that the finished
// file is the file of one uninterrupted run.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "batch/pair_plan.h"
#include "batch/result_rows.h"
#include "run/output_file.h"
#include "run/records.h"

namespace sorvek {

// What becomes of one planned pair in a resumed pass.
enum class PairFate : std::uint8_t {
    toDo,          // done in this run
    kept,          // its row stands in the file already; it counts as a finished pair
    failedBefore,  // the earlier run could not read it, so it has no row: it is logged again
};

// The scan ids a row names, first scan first.
struct RowIds {
    std::int32_t firstId = 0;
    std::int32_t secondId = 0;
    bool operator==(const RowIds&) const = default;
};

// What an earlier run left in a result file of one kind.
struct KeptRows {
    bool belongsToKind = true;       // false: the file holds something else; it must not be touched
    std::int64_t keptByteCount = 0;  // head line and whole rows; 0 when the file starts afresh
    std::vector<RowIds> rows;        // the ids of each whole row, in file order
};

// Reads `fileText` as a result file of `kind`. A last line without its line end is left
// out; a file holding no more than a piece of the head line (or nothing) starts afresh.
KeptRows readKeptRows(const std::string& fileText, ResultFileKind kind);

// Matches the kept rows, in order, to the planned pairs by their scan ids. A pair that
// comes before the last kept row without a row of its own failed in the earlier run.
// nullopt when rows are left over: they are not this job's pairs in this order.
std::optional<std::vector<PairFate>> matchKeptRows(const std::vector<RowIds>& planned,
                                                   const std::vector<RowIds>& rows);

// A pass's result file and what to do with each planned pair.
struct PassFile {
    OutputFile file;                // the result file, open for the pass's rows
    std::vector<PairFate> fates;    // one per planned pair, in plan order
    std::int32_t keptRowCount = 0;  // rows kept from the earlier run
};

// Without --resume: creates the file as the drivers always have, and every pair is
// to do. With it: keeps what an earlier run wrote and opens the file for appending. A file
// that is not this pass's result file, or that is there but cannot be read, ends the run
// untouched, with a message.
PassFile openPassFile(const Run& run, const std::string& path, ResultFileKind kind,
                      const std::vector<PlannedPair>& pairs);

}  // namespace sorvek
