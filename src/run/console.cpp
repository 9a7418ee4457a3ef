#include "run/console.h"

#include <cstdio>
#include <cstdlib>

namespace sorvek {

void waitForKey() {
    std::fflush(stdout);
    std::getchar();
}

void endRun(int exitCode) {
    waitForKey();
    std::exit(exitCode);
}

}  // namespace sorvek
