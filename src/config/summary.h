#pragma once
// The one complete summary of a run's settings, and the menu that takes the mode.

#include <cstdint>
#include <cstdio>

#include "run/records.h"

namespace sorvek {

// Prints the summary and the menu, exactly as the user sees them before choosing.
void printSummary(const Run& run);

// Reads the mode with "%i" semantics, then drops one character. Returns `startValue`
// when the input holds no number.
std::int32_t readModeNumber(std::FILE* input, std::int32_t startValue);

// Summary, menu and mode, read from standard input unless --mode gave it; ends the
// process with exit code 1 on a 0. Afterwards the options hold the search angles in
// radians too.
void printSummaryAndChooseMode(Run& run);

}  // namespace sorvek
