#include "run/entry.h"

#include <cstdio>
#include <cstring>

#include "batch/wall_clock.h"
#include "config/option_reader.h"
#include "output/run_report.h"
#include "run/console.h"
#include "run/output_file.h"
#include "run/records.h"
#include "run/run_modes.h"
#include "run/worker_pool.h"
#include "survey/scan_neighbors.h"

namespace sorvek {
namespace {

constexpr const char* optionFileName = "sorvek.txt";
constexpr const char* defaultDatabase = "test.txt";

// Only reachable when the process was started without even its own name.
std::string promptForDatabase() {
    std::printf("TYPE NAME OF FILE HERE\n");
    std::printf("OR RESTART PROGRAM BY DRAGGING AND DROPPING SURVEY DATABASE INTO EXE!!!\n");
    std::fflush(stdout);
    char word[256] = {};
    if (std::scanf("%255s", word) != 1 || std::strlen(word) < 5) {
        std::printf("INVALID FILE. Please restart program!\n");
        endRun(exitFailed);
    }
    return word;
}

std::string databasePathFor(int argumentCount, char** arguments) {
    if (argumentCount < 1) return promptForDatabase();
    if (argumentCount == 2) return arguments[1];
    return defaultDatabase;  // none, or the two data sets of mode 5
}

void openLog(RunState& state) {
    state.logFile = openFile(state.logPath, "w");
    if (!state.logFile) {
        endRunOnUncreatableFile(state.logPath);
    }
}

void takeDataSets(Run& run, int argumentCount, char** arguments) {
    if (argumentCount < 3) {
        std::printf("Mode 5 needs two data sets on the command line \n");
        endRun(exitFailed);
    }
    run.pair.firstPath = arguments[1];
    run.pair.secondPath = arguments[2];
}

// Only a pass whose pairs stand alone can pick up after its kept rows; any other run would
// replace the file that the user asked to keep.
void refuseResumeUnlessPossible(const Run& run) {
    if (hasIndependentPairs(run)) return;
    std::printf(
        "--resume continues the passes of modes 3 and 7, and of mode 6 unless Ping Pong "
        "solves it \n");
    endRun(exitFailed);
}

// With --yes no key is read. A menu that --mode leaves open still takes its answer from
// the input as it came, through a stream of its own.
void stopReadingKeysFor(RunState& state) {
    FileHandle keyboard = stopReadingKeys();
    if (!state.commandLine.mode) state.menuInput = std::move(keyboard);
}

}  // namespace

std::string optionPathFor(const std::string& programPath) {
    const std::size_t separator = programPath.find_last_of("\\/");
    if (separator == std::string::npos || separator < 4) return optionFileName;
    return programPath.substr(0, separator + 1) + optionFileName;
}

int runEntry(int argumentCount, char** arguments, const CommandLine& commandLine,
             void (*spreadPass)(Run& run, const std::string& path)) {
    const std::time_t startTime = wallClockNow();
    Run run;
    run.state.commandLine = commandLine;
    run.state.spreadPass = spreadPass;
    if (commandLine.answersYes) stopReadingKeysFor(run.state);
    const std::size_t threadCount = commandLine.threadCount > 0
                                        ? static_cast<std::size_t>(commandLine.threadCount)
                                        : hardwareThreadCount();
    run.state.workers = std::make_unique<WorkerPool>(threadCount);
    run.state.optionPath = optionPathFor(argumentCount >= 1 ? arguments[0] : "");
    run.state.databasePath = databasePathFor(argumentCount, arguments);
    readOptions(run);
    const RunMode mode = run.state.runMode;
    if (commandLine.resumesResults) refuseResumeUnlessPossible(run);
    if (mode == 5) takeDataSets(run, argumentCount, arguments);
    if (modeNeedsScanTable(mode)) prepareScans(run);
    run.state.rmsPhase = false;
    openLog(run.state);
    runStages(run, mode);
    requireLogWritten(closeFile(run.state.logFile), run.state);
    if (!commandLine.reportPath.empty()) writeRunReport(run, startTime);
    std::printf("100 percent complete \n");
    std::printf("Press ENTER to close the program  \n");
    waitForKey();
    return exitDone;
}

}  // namespace sorvek
