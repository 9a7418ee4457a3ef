#pragma once
// The console program from first instruction to exit code.

#include <string>

#include "run/command_line.h"
#include "run/records.h"

namespace sorvek {

// The option file beside the program: the directory of `programPath` when its last '\'
// or '/' stands at index 4 or later, else the bare "sorvek.txt".
std::string optionPathFor(const std::string& programPath);

// The process entry; returns 0 on the normal path. Failures end the process themselves.
// `commandLine` holds what the flags before the arguments said; `arguments` no longer
// holds them. `spreadPass`, given by sorvek-mpi only, runs the passes whose pairs stand
// alone over the processes of the job.
int runEntry(int argumentCount, char** arguments, const CommandLine& commandLine = {},
             void (*spreadPass)(Run& run, const std::string& path) = nullptr);

}  // namespace sorvek
