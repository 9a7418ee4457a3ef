#pragma once
// Driver of a survey line: registers neighbouring pairs or evaluates each scan against
// its south neighbour, one result row per pair.

#include <string>

#include "run/records.h"

namespace sorvek {

// Registration pass while rmsPhase is false (rows to `path`, normally regPath), RMS
// evaluation pass while it is true (normally rmsPath).
void runLinearSequence(Run& run, const std::string& path);

}  // namespace sorvek
