#pragma once
// Flags given on the command line before the database or the two data sets: what they
// said, and the one parse that reads them. They add capabilities and never change what
// the other arguments mean; without flags every field keeps its start value and the run
// is the dialogue it has always been.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sorvek {

struct CommandLine {
    std::int32_t threadCount = 0;      // --threads N, 1 to 1024; 0 when not given (the hardware's)
    std::optional<std::int32_t> mode;  // --mode N: the menu's answer, 0 to 9
    bool answersYes = false;           // --yes: confirmation taken as Enter, no key read
    bool resumesResults = false;       // --resume: keep an earlier run's rows, do the rest
    std::string reportPath;            // --report FILE.html; empty when none is asked for
    bool asksForHelp = false;          // --help
    bool asksForVersion = false;       // --version
    int firstArgument = 1;             // index of the first argument that is not a flag
    bool isValid = true;               // false: `problem` holds the one-line message
    std::string problem;               // what is wrong, ending in "\n"
};

inline constexpr std::int32_t mostThreads = 1024;

// One flag: its name, its value and how it changes the record. `take` returns an empty
// text when it accepted the value, else what is wrong with it.
struct FlagRule {
    std::string_view name;       // as typed, with its two dashes
    std::string_view valueName;  // shown in the help; empty for a flag without a value
    std::string_view needs;      // what the value must be, for the refusals; empty likewise
    std::string_view help;       // one line for --help
    std::string (*take)(CommandLine& commandLine, std::string_view value);
};

// Every flag, in the order --help lists them.
std::span<const FlagRule> flagRules();

// Reads the flags at the front of `arguments` (element 0 is the program's own path). A
// flag is an argument that begins with "--"; the first argument that is not one ends the
// flags, and from there on every argument is an argument like any other. A lone "--"
// ends them too, so that a database whose name begins with dashes can still be named. A
// flag with a value takes it as the next argument or after '=' (--mode=4).
CommandLine parseCommandLine(int argumentCount, char** arguments);

// "usage: sorvek [--threads N] ... [DATABASE | DATASET1 DATASET2]", one line, no line end.
std::string usageLine();

}  // namespace sorvek
