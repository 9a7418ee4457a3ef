#pragma once
// Driver of a survey line: registers neighbouring pairs or evaluates each scan against
// its south neighbour, one result row per pair.

#include <cstdint>
#include <cstdio>
#include <string>

#include "run/output_file.h"
#include "run/records.h"

namespace sorvek {

// Registration pass while rmsPhase is false (rows to `path`, normally regPath), RMS
// evaluation pass while it is true (normally rmsPath).
void runLinearSequence(Run& run, const std::string& path);

// Sets the indices of scan `scanIndex` and its south neighbour and, when it has one, the
// files the pass reads for them (in an RMS pass those of lineRmsPassFileName).
void setLineSouthPairFiles(Run& run, std::int32_t scanIndex);

// The RMS pass's pair of scan `scanIndex` and its south neighbour, which must exist:
// prepares and evaluates it, writes its row to `rowFile` and adds 1 to pairsDone. False
// when the pair could not be prepared; the log then has its three lines.
bool doLineRmsPair(Run& run, OutputFile& rowFile, std::int32_t scanIndex);

}  // namespace sorvek
