#pragma once
// The names of rotated point files: the one the rotation stage writes and the one an RMS
// pass asks for. For every name the database composes the two agree.

#include <cstdint>
#include <string>

namespace sorvek {

// What an RMS pass reads with FILEEXT 0: the name less its last four characters, then
// "_rot.txt". A .bxyz name keeps its dot: a.bxyz gives a._rot.txt.
std::string rmsPassFileName(const std::string& fileName);

// What the RMS pass of a line reads for a scan: the rotated text file with FILEEXT 0,
// the scan's own file with any other value.
std::string lineRmsPassFileName(std::int32_t fileExt, const std::string& fileName);

// What the rotation stage writes: the last ".txt" of the name replaced by "_rot.txt",
// whatever follows it; a name without ".txt" takes rmsPassFileName.
std::string rotatedOutputFileName(const std::string& fileName);

}  // namespace sorvek
