#pragma once
// The owner's account of a spread pass: which pairs are out, which came back, and which
// can be written now. Pairs come back in any order and are written strictly in plan
// order, each as soon as every earlier one is written.
//
// The solvers' progress figures read pairsDone, the pairs finished before this one in
// serial order, and a pair that cannot be read does not count. When a pair is handed out
// the owner does not always know how the earlier ones will end, so it assumes that every
// earlier pair not yet known to have failed will finish. In the rare case that guess was
// wrong the pair is computed once more with the exact count before it is written.

#include <cstdint>
#include <optional>
#include <vector>

#include "batch/pair_plan.h"
#include "batch/spread_messages.h"

namespace sorvek {

struct LedgerEntry {
    bool hasResult = false;  // back, waiting to be written
    PairResult result;       // what came back
};

struct PairLedger {
    std::vector<PlannedPair> pairs;          // the pairs to do, in plan order
    std::vector<LedgerEntry> entries;        // one per pair
    std::int32_t pairsDoneAtStart = 0;       // finished before the first of them (kept rows)
    bool readsPairsDone = false;             // the pairs print progress figures (a solver runs)
    std::size_t nextFresh = 0;               // first pair never handed out
    std::optional<std::size_t> redo;         // the pair to hand out again, with the exact count
    std::size_t nextToWrite = 0;             // first pair not yet written
    std::int32_t finishedWritten = 0;        // pairs written that were prepared and finished
    std::optional<std::size_t> firstEnding;  // earliest pair known to end the run
};

PairLedger startLedger(std::vector<PlannedPair> pairs, std::int32_t pairsDoneAtStart,
                       bool readsPairsDone);

// The next pair to hand out: a pair to compute again first, then the next fresh one.
// nullopt when nothing is left to hand out for now; a later result may still ask for a
// pair to be computed again. No pair after one that ends the run is handed out.
std::optional<PairTask> nextTask(PairLedger& ledger);

void recordResult(PairLedger& ledger, PairResult result);

// The next pair in plan order, when it has come back computed with the right count. A
// pair computed with the wrong count goes back into the hand-out as a redo instead.
std::optional<PairResult> takeWritable(PairLedger& ledger);

// Every pair written, or the pair that ends the run written.
bool isLedgerClosed(const PairLedger& ledger);

}  // namespace sorvek
