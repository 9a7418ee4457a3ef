#include "run/console.h"

#include <cstdio>
#include <cstdlib>

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

}  // namespace sorvek
