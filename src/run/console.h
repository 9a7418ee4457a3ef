#pragma once
// The one door out of a run that fails, and the one way the run waits for the user.

#include <cstdio>
#include <string>

namespace sorvek {

// Reads one character of standard input; returns at once at the end of input, so that a
// run fed from a file or a pipe never hangs.
void waitForKey();

// Every run-ending failure leaves the same way: the user reads the message, presses a
// key, and the process ends with the caller's exit code. std::exit flushes and closes
// every C stream, so rows already written stay on disk.
[[noreturn]] void endRun(int exitCode);

// The one line an exhausted memory leaves, on standard error after the console is flushed.
void reportOutOfMemory();

// A write to `path` failed for `errorNumber` (an errno value): the user is told which file
// and why, so is the log when `log` is given and still takes a line, and the run ends
// with exit code 1. Pass no log when the log itself is what failed.
[[noreturn]] void endRunOnFailedWrite(const std::string& path, int errorNumber, std::FILE* log);

}  // namespace sorvek
