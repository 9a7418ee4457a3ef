#pragma once
// The one door through which a scan's point file becomes a cloud, whatever its kind.

#include <string>

#include "points/point_filter.h"
#include "run/records.h"

namespace sorvek {

// Loads `path` by what it holds, replacing `cloud`:
// - .bxyz records as they lie, unfiltered; when they are none and `textAfterEmptyBinary`
//   holds, the text reader tries the file too;
// - text through the text reader;
// - LAS and PLY coordinates as the text reader would take the same coordinates: the same
//   translation, filters, bounds, Cliff Distance and messages, with the file's own counts;
// - LAZ, E57 and LAS or PLY files that disagree with their headers refused with one line.
// bounds.count holds the number of points loaded. Returns the Cliff Distance: 0.0 for a
// .bxyz cloud or a refused file, and unchanged 0.0 in run mode 5.
double loadPointFile(const Run& run, const std::string& path, const Point3& scanner, Cloud& cloud,
                     CloudBounds& bounds, bool textAfterEmptyBinary);

}  // namespace sorvek
