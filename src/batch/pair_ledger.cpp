#include "batch/pair_ledger.h"

#include <utility>

namespace sorvek {
namespace {

// Pairs before `pairNumber` known to have failed: those written, and those back but not
// yet written. Whether a pair can be read never depends on the count it was given.
std::int32_t failuresKnownBefore(const PairLedger& ledger, std::size_t pairNumber) {
    auto failures = static_cast<std::int32_t>(ledger.nextToWrite) - ledger.finishedWritten;
    for (std::size_t i = ledger.nextToWrite; i < pairNumber; ++i) {
        const LedgerEntry& entry = ledger.entries[i];
        if (entry.hasResult && !entry.result.isDone) ++failures;
    }
    return failures;
}

PairTask taskFor(const PairLedger& ledger, std::size_t pairNumber, std::int32_t pairsDone) {
    PairTask task;
    task.pairNumber = static_cast<std::int32_t>(pairNumber);
    task.pair = ledger.pairs[pairNumber];
    task.pairsDone = pairsDone;
    return task;
}

}  // namespace

PairLedger startLedger(std::vector<PlannedPair> pairs, std::int32_t pairsDoneAtStart,
                       bool readsPairsDone) {
    PairLedger ledger;
    ledger.entries.resize(pairs.size());
    ledger.pairs = std::move(pairs);
    ledger.pairsDoneAtStart = pairsDoneAtStart;
    ledger.readsPairsDone = readsPairsDone;
    return ledger;
}

std::optional<PairTask> nextTask(PairLedger& ledger) {
    if (ledger.redo) {
        const std::size_t pairNumber = *ledger.redo;
        ledger.redo.reset();
        // Only the next pair to write is ever redone, so its count is exact now.
        return taskFor(ledger, pairNumber, ledger.pairsDoneAtStart + ledger.finishedWritten);
    }
    const std::size_t pairNumber = ledger.nextFresh;
    if (pairNumber >= ledger.pairs.size()) return std::nullopt;
    if (ledger.firstEnding && pairNumber > *ledger.firstEnding) return std::nullopt;
    ++ledger.nextFresh;
    const std::int32_t guess = ledger.pairsDoneAtStart + static_cast<std::int32_t>(pairNumber) -
                               failuresKnownBefore(ledger, pairNumber);
    return taskFor(ledger, pairNumber, guess);
}

void recordResult(PairLedger& ledger, PairResult result) {
    const auto pairNumber = static_cast<std::size_t>(result.pairNumber);
    if (pairNumber < ledger.nextToWrite || pairNumber >= ledger.entries.size()) return;
    if (result.ending != RunEnding::none &&
        (!ledger.firstEnding || pairNumber < *ledger.firstEnding)) {
        ledger.firstEnding = pairNumber;
    }
    LedgerEntry& entry = ledger.entries[pairNumber];
    entry.hasResult = true;
    entry.result = std::move(result);
}

std::optional<PairResult> takeWritable(PairLedger& ledger) {
    if (isLedgerClosed(ledger)) return std::nullopt;
    LedgerEntry& entry = ledger.entries[ledger.nextToWrite];
    if (!entry.hasResult) return std::nullopt;
    const std::int32_t exact = ledger.pairsDoneAtStart + ledger.finishedWritten;
    // A pair that ended the run is written as it came: the rank that computed it has
    // stopped, and the run ends with its text whatever the figures in it.
    if (ledger.readsPairsDone && entry.result.ending == RunEnding::none &&
        entry.result.pairsDone != exact) {
        entry.hasResult = false;
        ledger.redo = ledger.nextToWrite;
        return std::nullopt;
    }
    PairResult result = std::move(entry.result);
    entry.hasResult = false;
    ++ledger.nextToWrite;
    if (result.isDone) ++ledger.finishedWritten;
    if (result.ending != RunEnding::none) ledger.nextToWrite = ledger.pairs.size();
    return result;
}

bool isLedgerClosed(const PairLedger& ledger) { return ledger.nextToWrite >= ledger.pairs.size(); }

}  // namespace sorvek
