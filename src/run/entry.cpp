#include "run/entry.h"

#include <cstdio>
#include <cstring>

#include "config/option_reader.h"
#include "run/console.h"
#include "run/output_file.h"
#include "run/records.h"
#include "run/run_modes.h"
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
        endRun(1);
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
        std::printf("Unable to create %s \n", state.logPath.c_str());
        std::printf("Please verify that the path exists. \n");
        endRun(1);
    }
}

void takeDataSets(Run& run, int argumentCount, char** arguments) {
    if (argumentCount < 3) {
        std::printf("Mode 5 needs two data sets on the command line \n");
        endRun(1);
    }
    run.pair.firstPath = arguments[1];
    run.pair.secondPath = arguments[2];
}

// Only a pass whose pairs stand alone can pick up after its kept rows; any other run would
// replace the file that the user asked to keep.
void refuseResumeUnlessPossible(const Run& run) {
    if (hasIndependentPairs(run)) return;
    std::printf("--resume continues the passes of modes 3 and 7, and of mode 6 unless Ping Pong "
                "solves it \n");
    endRun(1);
}

}  // namespace

std::string optionPathFor(const std::string& programPath) {
    const std::size_t separator = programPath.find_last_of("\\/");
    if (separator == std::string::npos || separator < 4) return optionFileName;
    return programPath.substr(0, separator + 1) + optionFileName;
}

int runEntry(int argumentCount, char** arguments, bool resumesResults,
             void (*spreadPass)(Run& run, const std::string& path)) {
    Run run;
    run.state.resumesResults = resumesResults;
    run.state.spreadPass = spreadPass;
    run.state.optionPath = optionPathFor(argumentCount >= 1 ? arguments[0] : "");
    run.state.databasePath = databasePathFor(argumentCount, arguments);
    readOptions(run);
    const RunMode mode = run.state.runMode;
    if (resumesResults) refuseResumeUnlessPossible(run);
    if (mode == 5) takeDataSets(run, argumentCount, arguments);
    if (modeNeedsScanTable(mode)) prepareScans(run);
    run.state.rmsPhase = false;
    openLog(run.state);
    runStages(run, mode);
    requireLogWritten(closeFile(run.state.logFile), run.state);
    std::printf("100 percent complete \n");
    std::printf("Press ENTER to close the program  \n");
    waitForKey();
    return 0;
}

}  // namespace sorvek
