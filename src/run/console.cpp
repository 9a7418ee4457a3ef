#include "run/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace sorvek {

void waitForKey() {
    std::fflush(stdout);
    std::getchar();
}

void reportOutOfMemory() {
    std::fflush(stdout);
    std::fprintf(stderr, "sorvek: out of memory\n");
}

void endRun(int exitCode) {
    waitForKey();
    leaveRun(exitCode);
}

void leaveRun(int exitCode) {
    std::fflush(stdout);
    std::exit(exitCode);
}

void endRunOnFailedWrite(const std::string& path, int errorNumber, std::FILE* log) {
    tellOfFailedWrite(path, errorNumber, log);
    endRun(exitFailed);
}

void tellOfFailedWrite(const std::string& path, int errorNumber, std::FILE* log) {
    const char* reason = std::strerror(errorNumber);
    std::printf("Unable to write %s: %s \n", path.c_str(), reason);
    if (log != nullptr) {
        // The log may sit on the same full disk; then the console line is all there is.
        std::fprintf(log, "Unable to write %s: %s \n", path.c_str(), reason);
        std::fflush(log);
    }
}

void endRunOnUncreatableFile(const std::string& path) {
    std::printf("Unable to create %s \n", path.c_str());
    std::printf("Please verify that the path exists. \n");
    endRun(exitFailed);
}

// The duplicate is taken first: were standard input closed, the empty device opened next
// would land on its descriptor, already in place.
FileHandle stopReadingKeys() {
    const int original = dup(STDIN_FILENO);
    const int emptyDevice = open("/dev/null", O_RDONLY);
    if (emptyDevice >= 0 && emptyDevice != STDIN_FILENO) {
        dup2(emptyDevice, STDIN_FILENO);
        close(emptyDevice);
    }
    std::clearerr(stdin);
    if (original < 0) return {};
    FileHandle keyboard(fdopen(original, "r"));
    if (!keyboard) close(original);
    return keyboard;
}

}  // namespace sorvek
