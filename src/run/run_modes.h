#pragma once
// The operating modes: which stages each mode runs, in which order, in which phase.

#include <cstdint>
#include <span>

#include "run/records.h"

namespace sorvek {

using RunMode = std::int32_t;

// One stage of the run. A mode runs every step whose mask holds its bit, in table order.
struct StageStep {
    std::uint32_t modeMask;   // bit n set: mode n runs this step
    bool rmsPhase;            // rmsPhase while the stage runs
    const char* openingLine;  // printed before the stage, or nullptr
    const char* closingLine;  // printed after the stage (then "\n"), or nullptr
    void (*run)(Run& run);    // the stage procedure
};

// The stages in the order every mode runs them.
std::span<const StageStep> stageTable();

// Every mode but 5 works on the survey database's scan table.
bool modeNeedsScanTable(RunMode mode);

// True for the passes whose pairs depend on nothing but the scan table: the RMS pass of
// mode 3, the site passes of mode 7 and of mode 6 unless Ping Pong solves it, whose pairs
// start from the rotations stored by the pairs before. Only these can be resumed from
// their rows or spread over processes. Mode 4 chains its stages and counts as neither.
bool hasIndependentPairs(const Run& run);

// The modes whose pass can be resumed from its rows: 3, 6 and 7 (mode 6 only when Ping
// Pong does not solve it, which the options tell, not the mode).
bool modeCanResume(RunMode mode);

// The modes that register or evaluate pairs, after whose stages a report can show them.
bool modeWritesReport(RunMode mode);

// Runs the steps of `mode`, setting rmsPhase for each. A mode without steps does nothing.
void runStages(Run& run, RunMode mode);

}  // namespace sorvek
