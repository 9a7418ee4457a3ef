#include "run/command_line.h"

#include <cstring>

namespace sorvek {
namespace {

constexpr const char* threadsFlag = "--threads";

// A whole number from 1 to mostThreads, written in plain digits, or 0.
std::int32_t threadCountOf(const char* text) {
    std::int32_t value = 0;
    if (*text == '\0') return 0;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9') return 0;
        value = value * 10 + (*c - '0');
        if (value > mostThreads) return 0;
    }
    return value;
}

void refuse(CommandLine& line, const std::string& problem) {
    line.isValid = false;
    line.problem = problem;
}

}  // namespace

CommandLine parseCommandLine(int argumentCount, char** arguments) {
    CommandLine line;
    while (line.firstArgument < argumentCount &&
           std::strcmp(arguments[line.firstArgument], threadsFlag) == 0) {
        if (line.firstArgument + 1 >= argumentCount) {
            refuse(line, "sorvek: --threads needs a number of threads from 1 to 1024\n");
            return line;
        }
        const char* value = arguments[line.firstArgument + 1];
        line.threadCount = threadCountOf(value);
        if (line.threadCount == 0) {
            refuse(line, std::string("sorvek: --threads needs a number of threads from 1 to 1024, "
                                     "not \"") + value + "\"\n");
            return line;
        }
        line.firstArgument += 2;
    }
    return line;
}

}  // namespace sorvek
