#pragma once
// Reader of delimited text point files: two passes, filters and the Cliff Distance.

#include <string>
#include <string_view>

#include "points/point3.h"
#include "run/records.h"

namespace sorvek {

// A line of a text point file that begins with '#', 'x' or 'X' is a comment or a header
// and never a point; the first byte alone decides. Both the loading and the rotation of a
// text scan read lines by this rule, so that they agree on what counts as a point.
bool isCommentLine(std::string_view line);

// The same rule on a line's first byte; a line end or the end of a C string is no comment.
bool isCommentStart(char first);

// Replaces the contents of `cloud` with the stored points; `bounds` is always written,
// `cliffDistance` unless the run mode is 5. Returns false when no array was allocated
// (the file cannot be opened, or pass 1 counted no line).
bool readTextPoints(const Run& run, const std::string& path, Cloud& cloud, CloudBounds& bounds,
                    double& cliffDistance, double zMin, const Point3& scanner);

}  // namespace sorvek
