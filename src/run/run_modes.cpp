#include "run/run_modes.h"

#include <cstdio>

#include "batch/linear_sequence.h"
#include "batch/site_batch.h"
#include "output/geo_export.h"
#include "output/matrix_writer.h"
#include "output/scan_rotation.h"
#include "points/pair_preparation.h"

namespace sorvek {
namespace {

constexpr std::uint32_t modes(std::initializer_list<int> numbers) {
    std::uint32_t mask = 0;
    for (int number : numbers) mask |= 1U << number;
    return mask;
}

// sorvek-mpi hands the passes whose pairs stand alone to its processes; everything else
// runs here.
bool spreadsPass(const Run& run) {
    return run.state.spreadPass != nullptr && hasIndependentPairs(run);
}

void registerLine(Run& run) { runLinearSequence(run, run.state.regPath); }

void evaluateLine(Run& run) {
    if (spreadsPass(run)) {
        run.state.spreadPass(run, run.state.rmsPath);
    } else {
        runLinearSequence(run, run.state.rmsPath);
    }
}

void runSitePass(Run& run, const std::string& path) {
    if (spreadsPass(run)) {
        run.state.spreadPass(run, path);
    } else {
        runSiteBatch(run, path);
    }
}

void registerSite(Run& run) { runSitePass(run, run.state.regPath); }
void evaluateSite(Run& run) { runSitePass(run, run.state.rmsPath); }
void evaluateTwoDataSets(Run& run) { (void)prepareScanPair(run); }  // its messages are the result

constexpr StageStep stages[] = {
    {modes({1, 4}), false, "REGISTERING SCANS\n", "REGISTRATION OF SCANS COMPLETE\n", registerLine},
    {modes({2, 4}), false, "ROTATING SCANS\n", "ROTATION OF SCANS COMPLETE\n", rotateScans},
    {modes({3, 4}), true, "EVALUATING RMS OF SCANS\n", "EVALUATION OF RMS COMPLETE\n",
     evaluateLine},
    {modes({5}), true, nullptr, nullptr, evaluateTwoDataSets},
    {modes({6}), false, nullptr, nullptr, registerSite},
    {modes({7}), true, nullptr, nullptr, evaluateSite},
    {modes({8}), true, nullptr, nullptr, writeTransformMatrices},
    {modes({9}), true, nullptr, nullptr, exportScans},
};

}  // namespace

std::span<const StageStep> stageTable() { return stages; }

bool modeNeedsScanTable(RunMode mode) { return mode != 5; }

bool modeCanResume(RunMode mode) { return mode == 3 || mode == 6 || mode == 7; }

bool hasIndependentPairs(const Run& run) {
    const RunMode mode = run.state.runMode;
    if (!modeCanResume(mode)) return false;
    return mode != 6 || solverChoiceOf(run.options) != SolverChoice::pingPong;
}

bool modeWritesReport(RunMode mode) {
    return mode == 1 || mode == 3 || mode == 4 || mode == 6 || mode == 7;
}

void runStages(Run& run, RunMode mode) {
    const bool isTableMode = mode >= 0 && mode < 32;
    for (const StageStep& step : stages) {
        if (!isTableMode || (step.modeMask & (1U << mode)) == 0) continue;
        run.state.rmsPhase = step.rmsPhase;
        if (step.openingLine != nullptr) std::printf("%s", step.openingLine);
        step.run(run);
        if (step.closingLine != nullptr) std::printf("%s\n", step.closingLine);
    }
    run.state.rmsPhase = true;
}

}  // namespace sorvek
