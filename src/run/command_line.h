#pragma once
// Flags given on the command line before the database or the two data sets. They add
// capabilities and never change what the other arguments mean.

#include <cstdint>
#include <string>

namespace sorvek {

// What the flags said.
struct CommandLine {
    std::int32_t threadCount = 0;  // --threads N, 1 to 1024; 0 when not given (the hardware's)
    int firstArgument = 1;         // index of the first argument that is not a flag
    bool isValid = true;           // false: `problem` holds the one-line message
    std::string problem;           // what is wrong, ending in "\n"
};

inline constexpr std::int32_t mostThreads = 1024;

// Reads the flags at the front of `arguments` (element 0 is the program's own path).
CommandLine parseCommandLine(int argumentCount, char** arguments);

}  // namespace sorvek
