#pragma once
// What travels between the process that owns a spread pass and the processes that
// compute its pairs: the job once, then one task and one result per pair. Every message
// is a string of bytes, laid out as this build lays the fields out in memory: the
// processes of one job run the same program on the same kind of machine.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "batch/pair_plan.h"
#include "run/records.h"

namespace sorvek {

// Everything a computing process needs to do any pair of the pass as the owner would.
struct JobSetup {
    PassKind kind = PassKind::siteEvaluation;  // which pass the pairs belong to
    RunOptions options;                        // after the menu: the radian angles are set
    std::int32_t runMode = 0;                  // the owner's runMode
    bool rmsPhase = false;                     // the owner's rmsPhase during the pass
    std::int32_t progressScans = 0;            // divisor of the solvers' progress figures
    double percentStep = 1.0;                  // Iterative Search's share of one inner step
    std::int32_t threadCount = 1;              // engine threads of each computing process
    std::vector<ScanRecord> scans;             // the scan table with its neighbours
};

// One pair to compute.
struct PairTask {
    std::int32_t pairNumber = 0;  // position among the pass's pairs to do
    PlannedPair pair;             // the two scans and the row's spacing
    std::int32_t pairsDone = 0;   // pairs finished before it in serial order, as far as known
};

// How a pair ended the whole run, as the stage code would have ended it.
enum class RunEnding : std::uint8_t {
    none,         // the pair finished, or could not be read
    afterKey,     // a stage ended the run: the message, one key, the exit code
    outOfMemory,  // memory ran out: the message on standard error, exit code 1, no key
};

struct PairResult {
    std::int32_t pairNumber = 0;         // as in the task
    std::int32_t pairsDone = 0;          // the value the pair was computed with
    bool isDone = false;                 // prepared and finished; false: logged as unreadable
    double seconds = 0.0;                // wall time the pair took
    RunEnding ending = RunEnding::none;  // set when the pair ended the run
    std::int32_t exitCode = 0;           // the exit code of that ending
    std::string captured;                // its framed text (pair_capture.h)
};

std::string encodeJobSetup(const JobSetup& setup);
std::optional<JobSetup> decodeJobSetup(std::string_view bytes);

std::string encodePairTask(const PairTask& task);
std::optional<PairTask> decodePairTask(std::string_view bytes);

std::string encodePairResult(const PairResult& result);
std::optional<PairResult> decodePairResult(std::string_view bytes);

}  // namespace sorvek
