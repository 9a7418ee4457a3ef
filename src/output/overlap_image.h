#pragma once
// The plan-view picture of a pair: both scans' points over their overlap, seen from
// above, one colour each.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "run/records.h"

namespace sorvek {

// A window over survey x and y, and the size of its picture.
struct PlanWindow {
    double minX = 0.0;           // west edge, survey units
    double minY = 0.0;           // south edge, survey units
    double unitsPerPixel = 1.0;  // survey units a pixel covers, along both axes
    std::int32_t width = 0;      // pixels; 0 when there is nothing to show
    std::int32_t height = 0;     // pixels
};

// 8-bit RGB, three bytes a pixel, the top row (north) first.
struct RgbImage {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> pixels;  // width * height * 3 bytes
};

// The window over the x and y of `box`, its longer side `longSide` pixels. A box that is
// empty, flat in x or y, or not a number gives a window of width 0.
PlanWindow planWindowOver(const CloudBounds& box, std::int32_t longSide);

// The pixel column (or row, counted from the south) of a coordinate `offset` units from
// the window's edge; nullopt outside the window or for a value that is not a number.
std::optional<std::int32_t> pixelIndexOf(double offset, double unitsPerPixel, std::int32_t size);

// Both clouds inside `window`: the first scan red, the second cyan, adding up towards
// white where both show the same thing. A pixel grows brighter with the height range of
// a scan's points in it, so walls, poles and kerbs stand out from the ground, and a
// structure drawn twice, once in each colour, is a misfit that shows at a glance.
RgbImage drawOverlap(std::span<const PointRecord> first, std::span<const PointRecord> second,
                     const PlanWindow& window);

}  // namespace sorvek
