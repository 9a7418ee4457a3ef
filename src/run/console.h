#pragma once
// The exit codes of the process, the one door out of a run that ends early, and the one
// way the run waits for the user.

#include <cstdio>
#include <string>

#include "run/records.h"

namespace sorvek {

// Exit codes, named once. A batch driver that cannot create its result file and a cube
// too full to measure have always ended the process with 0, and scripts rely on that.
inline constexpr int exitDone = 0;          // the run reached its closing prompt
inline constexpr int exitStageStopped = 0;  // a driver without its result file, a cube too full
inline constexpr int exitFailed = 1;        // every other run-ending failure
inline constexpr int exitQuit = 1;          // 0 at the menu, or x at the confirmation
inline constexpr int exitBadFlags = 2;      // flags refused; nothing was read

// Reads one character of standard input; returns at once at the end of input, so that a
// run fed from a file or a pipe never hangs.
void waitForKey();

// Every run-ending failure leaves the same way: the user reads the message, presses a
// key, and the process ends with the caller's exit code.
[[noreturn]] void endRun(int exitCode);

// The one line an exhausted memory leaves, on standard error after the console is flushed.
void reportOutOfMemory();

// The door itself, without the wait, for a user who chose to stop at the menu or the
// confirmation. std::exit flushes and closes every C stream, so rows already written
// stay on disk.
[[noreturn]] void leaveRun(int exitCode);

// A write to `path` failed for `errorNumber` (an errno value): the user is told which file
// and why, so is the log when `log` is given and still takes a line, and the run ends
// with exit code 1. Pass no log when the log itself is what failed.
[[noreturn]] void endRunOnFailedWrite(const std::string& path, int errorNumber, std::FILE* log);

// The message of endRunOnFailedWrite alone, for a process that must end the run its own way.
void tellOfFailedWrite(const std::string& path, int errorNumber, std::FILE* log);

// A file the run needs could not be created: the user is asked to check its folder, and
// the run ends with exit code 1.
[[noreturn]] void endRunOnUncreatableFile(const std::string& path);

// From here on no key is read: standard input becomes the empty device, so that the
// confirmation, the wait after a failure and the closing prompt all find the end of
// input at once, which each of them takes as Enter. Returns a stream on the input as it
// was, for an answer that must still come from it; empty when it was closed or cannot be
// had. Should the empty device be missing, standard input stays as it was.
FileHandle stopReadingKeys();

}  // namespace sorvek
