#include "output/overlap_image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace sorvek {
namespace {

constexpr double structureHeight = 0.5;  // a height range this tall or more shows at full strength
constexpr double groundShare = 0.22;     // brightness of a pixel of flat ground
constexpr std::array<double, 3> firstColour{255.0, 70.0, 50.0};
constexpr std::array<double, 3> secondColour{40.0, 200.0, 255.0};
constexpr std::array<double, 3> background{16.0, 16.0, 20.0};

// What one scan put into each pixel: how many points and the range of their heights.
struct PixelHeights {
    std::vector<std::uint32_t> count;
    std::vector<float> lowest;
    std::vector<float> highest;
};

PixelHeights collectHeights(std::span<const PointRecord> points, const PlanWindow& window) {
    const auto pixelCount =
        static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height);
    PixelHeights heights{std::vector<std::uint32_t>(pixelCount, 0),
                         std::vector<float>(pixelCount, std::numeric_limits<float>::max()),
                         std::vector<float>(pixelCount, std::numeric_limits<float>::lowest())};
    for (const PointRecord& point : points) {
        const auto column = pixelIndexOf(point.x - window.minX, window.unitsPerPixel, window.width);
        const auto rowFromSouth =
            pixelIndexOf(point.y - window.minY, window.unitsPerPixel, window.height);
        if (!column || !rowFromSouth || !std::isfinite(point.z)) continue;
        const auto row = static_cast<std::size_t>(window.height - 1 - *rowFromSouth);
        const std::size_t at =
            (row * static_cast<std::size_t>(window.width)) + static_cast<std::size_t>(*column);
        // Heights go to 32 bits only to halve the memory of the picture; a tenth of a
        // millimetre of rounding cannot change a pixel's brightness.
        const auto z = static_cast<float>(point.z);
        heights.count[at] +=
            heights.count[at] < std::numeric_limits<std::uint32_t>::max() ? 1U : 0U;
        heights.lowest[at] = std::min(heights.lowest[at], z);
        heights.highest[at] = std::max(heights.highest[at], z);
    }
    return heights;
}

// 0 for an empty pixel, groundShare for flat ground, up to 1 for a wall.
double brightnessAt(const PixelHeights& heights, std::size_t at) {
    if (heights.count[at] == 0) return 0.0;
    const double range =
        static_cast<double>(heights.highest[at]) - static_cast<double>(heights.lowest[at]);
    return groundShare + ((1.0 - groundShare) * std::min(1.0, range / structureHeight));
}

std::uint8_t channelValue(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

PlanWindow planWindowOver(const CloudBounds& box, std::int32_t longSide) {
    PlanWindow window;
    const double spanX = box.maxX - box.minX;
    const double spanY = box.maxY - box.minY;
    if (!(spanX > 0.0) || !(spanY > 0.0) || !std::isfinite(spanX) || !std::isfinite(spanY) ||
        longSide < 1) {
        return window;
    }
    window.minX = box.minX;
    window.minY = box.minY;
    window.unitsPerPixel = std::max(spanX, spanY) / static_cast<double>(longSide);
    window.width =
        std::clamp(static_cast<std::int32_t>(std::ceil(spanX / window.unitsPerPixel)), 1, longSide);
    window.height =
        std::clamp(static_cast<std::int32_t>(std::ceil(spanY / window.unitsPerPixel)), 1, longSide);
    return window;
}

std::optional<std::int32_t> pixelIndexOf(double offset, double unitsPerPixel, std::int32_t size) {
    const double index = offset / unitsPerPixel;
    if (!(index >= 0.0 && index < static_cast<double>(size))) return std::nullopt;
    return static_cast<std::int32_t>(index);  // in range, so the cut toward zero is defined
}

RgbImage drawOverlap(std::span<const PointRecord> first, std::span<const PointRecord> second,
                     const PlanWindow& window) {
    RgbImage image;
    if (window.width < 1 || window.height < 1) return image;
    const PixelHeights firstHeights = collectHeights(first, window);
    const PixelHeights secondHeights = collectHeights(second, window);
    image.width = window.width;
    image.height = window.height;
    image.pixels.resize(firstHeights.count.size() * 3);
    for (std::size_t at = 0; at < firstHeights.count.size(); ++at) {
        const double firstShare = brightnessAt(firstHeights, at);
        const double secondShare = brightnessAt(secondHeights, at);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const double value = background[channel] + (firstShare * firstColour[channel]) +
                                 (secondShare * secondColour[channel]);
            image.pixels[(at * 3) + channel] = channelValue(value);
        }
    }
    return image;
}

}  // namespace sorvek
