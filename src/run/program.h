#pragma once
// The whole program behind main: --help, --version, the flags, the run, and the one place
// where running out of memory is caught.

#include <string>

#include "run/records.h"

namespace sorvek {

// `spreadPass` is nullptr in sorvek; sorvek-mpi passes the driver that spreads a pass's
// pairs over its processes. Returns the process's exit code.
int runProgram(int argc, char** argv, void (*spreadPass)(Run& run, const std::string& path));

}  // namespace sorvek
