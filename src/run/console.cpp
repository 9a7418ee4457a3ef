#include "run/console.h"

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
    std::exit(exitCode);
}

void endRunOnFailedWrite(const std::string& path, int errorNumber, std::FILE* log) {
    const char* reason = std::strerror(errorNumber);
    std::printf("Unable to write %s: %s \n", path.c_str(), reason);
    if (log != nullptr) {
        // The log may sit on the same full disk; then the console line is all there is.
        std::fprintf(log, "Unable to write %s: %s \n", path.c_str(), reason);
        std::fflush(log);
    }
    endRun(1);
}

}  // namespace sorvek
