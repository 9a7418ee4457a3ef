#pragma once
// What a point file holds, told by its first bytes rather than its name, and which file
// stands for a scan whose .bxyz file is missing.

#include <string>

namespace sorvek {

enum class PointFileKind {
    binary,  // .bxyz records; also any file that does not open or fits no other kind
    text,    // at least 32 bytes, the first min(512, size) all printable ASCII, tab, CR or LF
    las,     // "LASF" signature, LAZ included
    ply,     // "ply" line
    e57,     // "ASTM-E57" signature
};

PointFileKind pointFileKindOf(const std::string& path);

// True for the kinds that openExchangePoints reads or refuses.
bool isExchangeKind(PointFileKind kind);

// `path` itself, unless it ends in .bxyz and does not exist: then the same name ending in
// .las, or else in .ply, if such a file exists.
std::string scanPointFile(const std::string& path);

}  // namespace sorvek
