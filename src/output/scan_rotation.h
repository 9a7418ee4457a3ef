#pragma once
// Applies each scan's mean rotation to its points and writes the rotated point files.

#include <cstdint>
#include <string_view>

#include "run/records.h"

namespace sorvek {

// Writes one rotated text point file per scan and the rotation result file at rotPath.
void rotateScans(Run& run);

// One line of a text point file as the rotation stage reads it: up to seven values by
// formatted extraction (decimal integers). Carried values that are missing are 0.
struct TextPointLine {
    bool hasPoint = false;  // x, y and z all converted
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    std::int32_t carried1 = 0;  // first carried value, passed through
    std::int32_t carried2 = 0;  // second carried value
    std::int32_t carried3 = 0;  // third carried value
    float carried4 = 0.0F;      // fourth carried value, written cut to a whole number
};

TextPointLine parseTextPointLine(std::string_view line);

// The point as parseTextPointLine reads the line "x y z" written with "%.17g", which gives
// back every finite double exactly: no point when a coordinate is not finite, since
// formatted extraction refuses "nan" and "inf".
TextPointLine textPointLineOf(double x, double y, double z);

// The fourth carried value as the rotated file writes it: cut toward zero. NaN gives 0,
// and a value beyond 32 bits gives the nearest 32-bit limit.
std::int32_t cutTowardZero(float value);

// True when a point as it will be written passes the box (inclusive) and then the range
// from the scanner (gpsX, gpsY, gpsZ), also inclusive. Only called with APPLYFILTER on.
bool passesOutputFilter(const RunOptions& options, const ScanRecord& scan, double x, double y,
                        double z);

}  // namespace sorvek
