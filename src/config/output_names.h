#pragma once
// Names of everything a run writes, all derived from the survey database's path.

#include <string>

#include "run/records.h"

namespace sorvek {

// The first n+3-k characters of `source` (length n), then `suffix` (length k).
std::string makeOutputName(const std::string& source, const std::string& suffix);

// Sets databaseStem, regPath, rotPath, rmsPath, logPath and adjPath, or, for a path of
// four characters or fewer or one not ending in ".txt" or ".csv", leaves all six empty.
void deriveOutputNames(RunState& state, const std::string& databasePath);

}  // namespace sorvek
