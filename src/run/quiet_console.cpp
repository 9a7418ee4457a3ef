#include "run/quiet_console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// The streams are flushed before each switch, so that no line buffered before the
// silence is lost in it and none written during it comes out after.
namespace sorvek {
namespace {

// Puts `target` onto descriptor `stream`; returns a duplicate of what was there, or -1.
int replaceDescriptor(int stream, int target) {
    const int saved = dup(stream);
    if (saved < 0) return -1;
    if (dup2(target, stream) < 0) {
        close(saved);
        return -1;
    }
    return saved;
}

void restoreDescriptor(int stream, int saved) {
    if (saved < 0) return;
    dup2(saved, stream);
    close(saved);
}

}  // namespace

QuietConsole::QuietConsole() {
    std::fflush(stdout);
    std::fflush(stderr);
    const int nullDevice = open("/dev/null", O_WRONLY);
    if (nullDevice < 0) return;
    savedOutput = replaceDescriptor(STDOUT_FILENO, nullDevice);
    savedError = replaceDescriptor(STDERR_FILENO, nullDevice);
    close(nullDevice);
}

QuietConsole::~QuietConsole() {
    std::fflush(stdout);
    std::fflush(stderr);
    restoreDescriptor(STDOUT_FILENO, savedOutput);
    restoreDescriptor(STDERR_FILENO, savedError);
}

}  // namespace sorvek
