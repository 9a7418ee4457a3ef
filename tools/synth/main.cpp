// sorvek-synth: writes a synthetic survey job with known heading errors.

#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "synth/command_line.h"
#include "synth/survey_writer.h"

namespace {

constexpr int exitWritten = 0;
constexpr int exitWriteFailed = 1;
constexpr int exitBadArguments = 2;

int run(int argumentCount, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    sorvek::synth::CommandLine commandLine;
    const std::string problem = sorvek::synth::parseCommandLine(words, commandLine);
    if (!problem.empty()) {
        std::fprintf(stderr, "sorvek-synth: %s\nTry 'sorvek-synth --help'.\n", problem.c_str());
        return exitBadArguments;
    }
    if (commandLine.isHelp) {
        sorvek::synth::printUsage(stdout);
        return exitWritten;
    }
    std::string error;
    if (!sorvek::synth::writeSurvey(commandLine.surveySpec, commandLine.outDir, error, stdout)) {
        std::fprintf(stderr, "sorvek-synth: %s\n", error.c_str());
        return exitWriteFailed;
    }
    std::printf("wrote %s/%s.txt, %s_truth.csv and sorvek.txt\n", commandLine.outDir.c_str(),
                commandLine.surveySpec.name.c_str(), commandLine.surveySpec.name.c_str());
    return exitWritten;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    try {
        return run(argumentCount, arguments);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "sorvek-synth: out of memory\n");
        return exitWriteFailed;
    }
}
