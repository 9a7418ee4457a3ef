#pragma once
// How every file a run reads or writes is named after another: a name loses its last few
// characters and takes a new ending. The count cut is fixed per kind of file, not taken
// from the name, which is why a .bxyz name keeps its dot: a.bxyz gives a._rot.txt.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sorvek {

// The ending the database reader gives every scan's point file.
inline constexpr std::string_view scanFileEnding = ".bxyz";

// `name` less its last `cutCount` characters, then `ending`. A name shorter than the cut
// loses all of its characters rather than reading before its start.
std::string withEnding(std::string_view name, std::size_t cutCount, std::string_view ending);

// What an RMS pass reads with FILEEXT 0: the name less its last four characters, then
// "_rot.txt".
std::string rmsPassFileName(const std::string& fileName);

// What the RMS pass of a line reads for a scan: the rotated text file with FILEEXT 0,
// the scan's own file with any other value.
std::string lineRmsPassFileName(std::int32_t fileExt, const std::string& fileName);

// What the rotation stage writes: the last ".txt" of the name replaced by "_rot.txt",
// whatever follows it; a name without ".txt" takes rmsPassFileName. For every name the
// database composes the two agree.
std::string rotatedOutputFileName(const std::string& fileName);

// The exported cloud of a scan: the name less four characters, then "_adj.txt".
std::string exportedFileName(const std::string& fileName);

// The matrix file of a scan: the name less five characters (".bxyz"), then "s.dat".
std::string matrixFileName(const std::string& fileName);

}  // namespace sorvek
