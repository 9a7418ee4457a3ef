// The rays of one set-up against the scene: solids binned by plan azimuth, nearest first.

#include <algorithm>
#include <cmath>
#include <optional>

#include "synth/scan_sampler.h"

namespace sorvek::synth {
namespace {

constexpr std::int32_t binCount = 1440;  // quarter-degree bins of plan azimuth
constexpr double pi = 3.141592653589793;
constexpr double binWidth = (2.0 * pi) / binCount;

// Bin numbers come from angles in a few turns either side of zero; anything else (NaN
// from a degenerate direction included) is refused rather than converted.
std::optional<std::int32_t> binIndex(double angleRad) {
    const double position = std::floor((angleRad + pi) / binWidth);
    if (!(position > -4.0 * binCount && position < 4.0 * binCount)) return std::nullopt;
    return static_cast<std::int32_t>(position);
}

std::int32_t wrapBin(std::int32_t bin) { return ((bin % binCount) + binCount) % binCount; }

void addToBins(SolidsByAzimuth& solids, std::int32_t solidIndex, double distance, double radius,
               double azimuthRad) {
    // A one-bin margin on each side covers rounding in the bin of a ray.
    const double spread = distance > radius ? std::asin(radius / distance) : pi;
    const std::optional<std::int32_t> first = binIndex(azimuthRad - spread);
    const std::optional<std::int32_t> last = binIndex(azimuthRad + spread);
    const bool isEverywhere = !(first && last) || (*last - *first) + 3 >= binCount;
    const std::int32_t from = isEverywhere ? 0 : *first - 1;
    const std::int32_t to = isEverywhere ? binCount - 1 : *last + 1;
    for (std::int32_t bin = from; bin <= to; ++bin) {
        solids.bins[static_cast<std::size_t>(wrapBin(bin))].push_back(solidIndex);
    }
}

}  // namespace

SolidsByAzimuth binSolids(const Scene& scene, double originX, double originY, double rangeLimit) {
    SolidsByAzimuth solids;
    solids.bins.resize(binCount);
    solids.nearDistance.resize(scene.solids.size());
    for (std::size_t index = 0; index < scene.solids.size(); ++index) {
        const Solid& solid = scene.solids[index];
        const double dx = solid.centerX - originX;
        const double dy = solid.centerY - originY;
        const double distance = std::sqrt((dx * dx) + (dy * dy));
        const double radius = solid.planRadius + 0.01;  // the box's corners, rounding
        solids.nearDistance[index] = std::max(0.0, distance - radius);
        if (solids.nearDistance[index] > rangeLimit) continue;
        addToBins(solids, static_cast<std::int32_t>(index), distance, radius, std::atan2(dy, dx));
    }
    for (std::vector<std::int32_t>& bin : solids.bins) {
        std::stable_sort(bin.begin(), bin.end(), [&](std::int32_t a, std::int32_t b) {
            return solids.nearDistance[static_cast<std::size_t>(a)] <
                   solids.nearDistance[static_cast<std::size_t>(b)];
        });
    }
    return solids;
}

double castRay(const Scene& scene, const SolidsByAzimuth& solids, const Ray& ray,
               double rangeLimit) {
    double best = reachGround(scene.ground, ray, rangeLimit);
    const double horizontal = std::sqrt((ray.dirX * ray.dirX) + (ray.dirY * ray.dirY));
    const std::optional<std::int32_t> bin = binIndex(std::atan2(ray.dirY, ray.dirX));
    if (!bin) return best <= rangeLimit ? best : noHit;
    for (const std::int32_t solidIndex : solids.bins[static_cast<std::size_t>(wrapBin(*bin))]) {
        // A solid's points lie at least its near distance away in plan, so a ray can
        // reach none of them before t = nearDistance / horizontal.
        if (solids.nearDistance[static_cast<std::size_t>(solidIndex)] > best * horizontal) break;
        best = std::min(best, enterSolid(scene.solids[static_cast<std::size_t>(solidIndex)], ray));
    }
    return best <= rangeLimit ? best : noHit;
}

void castRayThrough(const Scene& scene, const SolidsByAzimuth& solids, const Ray& ray,
                    double rangeLimit, std::vector<double>& distances) {
    const double ground = reachGround(scene.ground, ray, rangeLimit);
    const double limit = std::min(ground, rangeLimit);
    if (ground <= rangeLimit) distances.push_back(ground);
    const std::optional<std::int32_t> bin = binIndex(std::atan2(ray.dirY, ray.dirX));
    if (!bin) return;
    for (const std::int32_t solidIndex : solids.bins[static_cast<std::size_t>(wrapBin(*bin))]) {
        const double t = enterSolid(scene.solids[static_cast<std::size_t>(solidIndex)], ray);
        if (t < limit) distances.push_back(t);
    }
}

}  // namespace sorvek::synth
