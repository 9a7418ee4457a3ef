#pragma once
// The generator's command line: options into a SurveySpec, checks, and the help text.

#include <cstdio>
#include <span>
#include <string>

#include "synth/synth.h"

namespace sorvek::synth {

struct CommandLine {
    SurveySpec surveySpec;                    // the job to write
    std::string outDir = "synthetic-survey";  // --out
    bool isHelp = false;                      // --help was given; nothing else is done
};

// Reads the arguments after the program name. Returns an empty string on success, else
// one line that tells the user what is wrong.
std::string parseCommandLine(std::span<const std::string> arguments, CommandLine& commandLine);

// Empty when every field of `surveySpec` lies in the range the generator supports, else one line
// naming the first field that does not. writeSurvey refuses what this refuses.
std::string checkSpec(const SurveySpec& surveySpec);

void printUsage(std::FILE* out);

}  // namespace sorvek::synth
