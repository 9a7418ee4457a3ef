// An open site around scattered set-ups: buildings at any angle, low walls, poles, trees,
// cars and furniture, each kept clear of every set-up.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "synth/scene_builder.h"

namespace sorvek::synth {
namespace {

constexpr double fullTurn = 6.283185307179586;

struct Area {
    double minX = 0.0;
    double maxX = 0.0;
    double minY = 0.0;
    double maxY = 0.0;
};

Area areaAround(const std::vector<SetupPoint>& setups, double reach) {
    Area area;
    for (std::size_t index = 0; index < setups.size(); ++index) {
        const SetupPoint& setup = setups[index];
        area.minX = index == 0 ? setup.x : std::min(area.minX, setup.x);
        area.maxX = index == 0 ? setup.x : std::max(area.maxX, setup.x);
        area.minY = index == 0 ? setup.y : std::min(area.minY, setup.y);
        area.maxY = index == 0 ? setup.y : std::max(area.maxY, setup.y);
    }
    area.minX -= reach;
    area.maxX += reach;
    area.minY -= reach;
    area.maxY += reach;
    return area;
}

// How many objects of one kind, one per `squareMetres` of the area.
std::int32_t countFor(const Area& area, double squareMetres) {
    const double count = ((area.maxX - area.minX) * (area.maxY - area.minY)) / squareMetres;
    if (!(count >= 1.0)) return 1;  // NaN too
    return count > 100000.0 ? 100000 : static_cast<std::int32_t>(count);
}

bool isClearOfSetups(const std::vector<SetupPoint>& setups, double x, double y, double clearance) {
    return std::none_of(setups.begin(), setups.end(), [&](const SetupPoint& setup) {
        const double dx = setup.x - x;
        const double dy = setup.y - y;
        return ((dx * dx) + (dy * dy)) < (clearance * clearance);
    });
}

struct Placement {
    double x = 0.0;
    double y = 0.0;
    double yawRad = 0.0;
};

// A spot for an object of the given plan radius; false when a few tries find none.
bool findSpot(const Area& area, const std::vector<SetupPoint>& setups, double planRadius, Rng& rng,
              Placement& spot) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        spot.x = uniformIn(rng, area.minX, area.maxX);
        spot.y = uniformIn(rng, area.minY, area.maxY);
        spot.yawRad = uniformIn(rng, 0.0, fullTurn);
        if (isClearOfSetups(setups, spot.x, spot.y, planRadius + 1.5)) return true;
    }
    return false;
}

void addBuildings(Scene& scene, const Area& area, const std::vector<SetupPoint>& setups, Rng& rng) {
    const std::int32_t count = countFor(area, 500.0);
    for (std::int32_t index = 0; index < count; ++index) {
        const double halfLength = uniformIn(rng, 4.0, 12.5);
        const double halfWidth = uniformIn(rng, 3.0, 7.5);
        const double height = uniformIn(rng, 4.0, 15.0);
        const double planRadius = std::sqrt((halfLength * halfLength) + (halfWidth * halfWidth));
        Placement spot;
        if (!findSpot(area, setups, planRadius, rng, spot)) continue;
        scene.solids.push_back(makeBox(spot.x, spot.y, spot.yawRad, halfLength, halfWidth,
                                       footingZ(scene.ground, spot.x, spot.y, planRadius),
                                       groundHeight(scene.ground, spot.x, spot.y) + height));
    }
}

void addWalls(Scene& scene, const Area& area, const std::vector<SetupPoint>& setups, Rng& rng) {
    const std::int32_t count = countFor(area, 400.0);
    for (std::int32_t index = 0; index < count; ++index) {
        const double halfLength = uniformIn(rng, 1.5, 5.0);
        Placement spot;
        if (!findSpot(area, setups, halfLength, rng, spot)) continue;
        scene.solids.push_back(
            makeBox(spot.x, spot.y, spot.yawRad, halfLength, 0.1,
                    footingZ(scene.ground, spot.x, spot.y, halfLength),
                    groundHeight(scene.ground, spot.x, spot.y) + uniformIn(rng, 0.15, 0.9)));
    }
}

void addSmallObjects(Scene& scene, const Area& area, const std::vector<SetupPoint>& setups,
                     Rng& rng) {
    Placement spot;
    for (std::int32_t index = 0, count = countFor(area, 250.0); index < count; ++index) {
        if (!findSpot(area, setups, 0.2, rng, spot)) continue;
        const double radius = uniformIn(rng, 0.06, 0.12);
        scene.solids.push_back(
            makeCylinder(spot.x, spot.y, radius, footingZ(scene.ground, spot.x, spot.y, radius),
                         groundHeight(scene.ground, spot.x, spot.y) + uniformIn(rng, 4.0, 8.0)));
    }
    for (std::int32_t index = 0, count = countFor(area, 300.0); index < count; ++index) {
        if (findSpot(area, setups, 2.5, rng, spot)) addTree(scene, spot.x, spot.y, rng);
    }
    for (std::int32_t index = 0, count = countFor(area, 350.0); index < count; ++index) {
        if (findSpot(area, setups, 2.6, rng, spot)) addCar(scene, spot.x, spot.y, spot.yawRad, rng);
    }
    for (std::int32_t index = 0, count = countFor(area, 150.0); index < count; ++index) {
        if (findSpot(area, setups, 1.0, rng, spot))
            addFurniture(scene, spot.x, spot.y, spot.yawRad, rng);
    }
}

}  // namespace

void buildSite(Scene& scene, const std::vector<SetupPoint>& setups, double reach, Rng& rng) {
    const Area area = areaAround(setups, reach);
    addBuildings(scene, area, setups, rng);
    addWalls(scene, area, setups, rng);
    addSmallObjects(scene, area, setups, rng);
}

}  // namespace sorvek::synth
