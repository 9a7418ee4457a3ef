#include "run/command_line.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "run/run_modes.h"

// A flag's rule does its own checking, so that a new flag is one row and one function.
// Everything that can be refused is refused here, before the run reads any file.
namespace sorvek {
namespace {

// "--mode needs a mode from 0 to 9, not "12"": the reason when a value will not do.
std::string refusedValue(std::string_view flag, std::string_view needs, std::string_view value) {
    return std::string(flag) + " needs " + std::string(needs) + ", not \"" + std::string(value) +
           "\"";
}

constexpr std::string_view threadsNeed = "a number of threads from 1 to 1024";
constexpr std::string_view modeNeed = "a mode from 0 to 9";
constexpr std::string_view reportNeed = "a file name ending in .html";

// A whole number from 1 to mostThreads, written in plain digits, or 0.
std::int32_t threadCountOf(std::string_view text) {
    std::int32_t value = 0;
    if (text.empty()) return 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return 0;
        value = value * 10 + (c - '0');
        if (value > mostThreads) return 0;
    }
    return value;
}

std::string takeThreads(CommandLine& commandLine, std::string_view value) {
    commandLine.threadCount = threadCountOf(value);
    if (commandLine.threadCount == 0) return refusedValue("--threads", threadsNeed, value);
    return {};
}

std::string takeMode(CommandLine& commandLine, std::string_view value) {
    if (value.size() != 1 || value[0] < '0' || value[0] > '9') {
        return refusedValue("--mode", modeNeed, value);
    }
    commandLine.mode = value[0] - '0';
    return {};
}

std::string takeYes(CommandLine& commandLine, std::string_view) {
    commandLine.answersYes = true;
    return {};
}

std::string takeResume(CommandLine& commandLine, std::string_view) {
    commandLine.resumesResults = true;
    return {};
}

bool endsWithNoCase(std::string_view text, std::string_view ending) {
    if (text.size() <= ending.size()) return false;  // a name needs more than its ending
    const std::string_view tail = text.substr(text.size() - ending.size());
    return std::equal(tail.begin(), tail.end(), ending.begin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == b;
    });
}

// The report replaces whatever stands under its name, so the name must say it is a web
// page: a slip such as --report line7.txt must never overwrite a database.
std::string takeReport(CommandLine& commandLine, std::string_view value) {
    if (!endsWithNoCase(value, ".html") && !endsWithNoCase(value, ".htm")) {
        return refusedValue("--report", reportNeed, value);
    }
    const std::filesystem::path path{std::string(value)};
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        return "--report names a folder, not a file: \"" + std::string(value) + "\"";
    }
    const std::filesystem::path folder = path.parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder, error)) {
        return "--report: the folder \"" + folder.string() + "\" does not exist";
    }
    commandLine.reportPath = value;
    return {};
}

std::string takeHelp(CommandLine& commandLine, std::string_view) {
    commandLine.asksForHelp = true;
    return {};
}

std::string takeVersion(CommandLine& commandLine, std::string_view) {
    commandLine.asksForVersion = true;
    return {};
}

constexpr FlagRule rules[] = {
    {"--threads", "N", threadsNeed, "engine threads, 1 to 1024 (default: all); same results",
     takeThreads},
    {"--mode", "N", modeNeed, "answer the menu with N (0 to 9), printed after the menu", takeMode},
    {"--yes", "", "", "take the scan list as confirmed; never wait for a key", takeYes},
    {"--resume", "", "", "keep the rows of a stopped run and do the rest (modes 3, 6, 7)",
     takeResume},
    {"--report", "FILE.html", reportNeed, "write a report of the alignment (modes 1, 3, 4, 6, 7)",
     takeReport},
    {"--help", "", "", "show this help and end", takeHelp},
    {"--version", "", "", "show the version and end", takeVersion},
};

bool isFlag(std::string_view argument) {
    return argument.size() > 2 && argument.substr(0, 2) == "--";
}

const FlagRule* ruleNamed(std::string_view name) {
    for (const FlagRule& rule : rules) {
        if (rule.name == name) return &rule;
    }
    return nullptr;
}

// Takes the flag at `index`, and its value from the next argument when it is not given
// after '='; `index` then stands after what was taken.
std::string takeFlag(CommandLine& commandLine, int argumentCount, char** arguments, int& index) {
    const std::string_view argument = arguments[index++];
    const std::size_t equals = argument.find('=');
    const std::string_view name = argument.substr(0, equals);
    const FlagRule* rule = ruleNamed(name);
    if (rule == nullptr) return "unknown flag " + std::string(name) + "; " + usageLine();
    if (rule->valueName.empty()) {
        if (equals != std::string_view::npos) return std::string(name) + " takes no value";
        return rule->take(commandLine, {});
    }
    if (equals != std::string_view::npos)
        return rule->take(commandLine, argument.substr(equals + 1));
    if (index >= argumentCount) return std::string(name) + " needs " + std::string(rule->needs);
    return rule->take(commandLine, arguments[index++]);
}

// Flags that contradict each other are refused as a whole.
std::string refusalOfCombination(const CommandLine& commandLine) {
    if (!commandLine.reportPath.empty() && commandLine.mode &&
        !modeWritesReport(*commandLine.mode)) {
        return "--report: mode " + std::to_string(*commandLine.mode) +
               " writes no report; reports follow modes 1, 3, 4, 6 and 7";
    }
    if (commandLine.resumesResults && commandLine.mode && !modeCanResume(*commandLine.mode)) {
        return "--resume: mode " + std::to_string(*commandLine.mode) +
               " has no pass to resume; modes 3, 6 and 7 do";
    }
    return {};
}

void refuse(CommandLine& line, const std::string& reason) {
    line.isValid = false;
    line.problem = "sorvek: " + reason + "\n";
}

}  // namespace

std::span<const FlagRule> flagRules() { return rules; }

CommandLine parseCommandLine(int argumentCount, char** arguments) {
    CommandLine line;
    int index = 1;
    while (index < argumentCount) {
        const std::string_view argument = arguments[index];
        if (argument == "--") {
            ++index;
            break;
        }
        if (!isFlag(argument)) break;
        const std::string reason = takeFlag(line, argumentCount, arguments, index);
        if (!reason.empty()) {
            refuse(line, reason);
            return line;
        }
    }
    line.firstArgument = index;
    const std::string conflict = refusalOfCombination(line);
    if (!conflict.empty()) refuse(line, conflict);
    return line;
}

std::string usageLine() {
    std::string line = "usage: sorvek";
    for (const FlagRule& rule : rules) {
        line += " [" + std::string(rule.name);
        if (!rule.valueName.empty()) line += " " + std::string(rule.valueName);
        line += "]";
    }
    return line + " [DATABASE | DATASET1 DATASET2]";
}

}  // namespace sorvek
