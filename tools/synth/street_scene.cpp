// A street along a line of set-ups: kerbs, parked cars, poles and trees on both sides,
// and a row of buildings with gaps behind each pavement.

#include <algorithm>
#include <cmath>

#include "synth/scan_plan.h"
#include "synth/scene_builder.h"

namespace sorvek::synth {
namespace {

constexpr double kerbOffset = 5.5;   // metres from the street's axis to each kerb
constexpr double kerbSegment = 4.0;  // kerb stones are laid in runs of this length
constexpr double degree = 0.017453292519943295;

// Street coordinates: `along` the line in table order, `aside` to its left.
struct StreetFrame {
    double alongX = 0.0;
    double alongY = 1.0;
    double axisAside = 0.0;  // where the street's axis lies, across the line
    double start = 0.0;      // first and last metre of the street along the line
    double end = 0.0;
    double yawRad = 0.0;  // direction of the line from survey X
};

struct PlanPoint {
    double x = 0.0;
    double y = 0.0;
};

PlanPoint toPlan(const StreetFrame& street, double along, double aside) {
    const double offset = street.axisAside + aside;
    return {(street.alongX * along) - (street.alongY * offset),
            (street.alongY * along) + (street.alongX * offset)};
}

StreetFrame frameFor(const SurveySpec& surveySpec, const std::vector<SetupPoint>& setups,
                     double reach) {
    const PlanDirection direction = lineDirection(surveySpec);
    StreetFrame street;
    street.alongX = direction.x;
    street.alongY = direction.y;
    street.yawRad = std::atan2(direction.y, direction.x);
    double first = 0.0;
    double last = 0.0;
    double asideSum = 0.0;
    for (std::size_t index = 0; index < setups.size(); ++index) {
        const double along = (setups[index].x * direction.x) + (setups[index].y * direction.y);
        const double aside = (setups[index].y * direction.x) - (setups[index].x * direction.y);
        first = index == 0 ? along : std::min(first, along);
        last = index == 0 ? along : std::max(last, along);
        asideSum += aside;
    }
    street.axisAside = setups.empty() ? 0.0 : asideSum / static_cast<double>(setups.size());
    street.start = first - reach;
    street.end = last + reach;
    return street;
}

void addKerbs(Scene& scene, const StreetFrame& street, double side) {
    for (double along = street.start; along < street.end; along += kerbSegment) {
        const PlanPoint centre = toPlan(street, along + (kerbSegment * 0.5), side * kerbOffset);
        const double top = groundHeight(scene.ground, centre.x, centre.y) + 0.13;
        scene.solids.push_back(makeBox(centre.x, centre.y, street.yawRad, kerbSegment * 0.5, 0.08,
                                       footingZ(scene.ground, centre.x, centre.y, 2.0), top));
    }
}

void addBuildings(Scene& scene, const StreetFrame& street, double side, Rng& rng) {
    double along = street.start + uniformIn(rng, 0.0, 4.0);
    while (along < street.end) {
        const double length = uniformIn(rng, 8.0, 24.0);
        if (uniform01(rng) < 0.3) {  // a gap: a yard, a lane, a view further back
            along += uniformIn(rng, 2.0, 7.0);
            continue;
        }
        const double front = kerbOffset + uniformIn(rng, 3.0, 6.0);
        const double depth = uniformIn(rng, 8.0, 14.0);
        const double yawRad = street.yawRad + (uniformIn(rng, -4.0, 4.0) * degree);
        const PlanPoint centre =
            toPlan(street, along + (length * 0.5), side * (front + (depth * 0.5)));
        const double planRadius = std::sqrt(((length * length) + (depth * depth)) * 0.25);
        scene.solids.push_back(
            makeBox(centre.x, centre.y, yawRad, length * 0.5, depth * 0.5,
                    footingZ(scene.ground, centre.x, centre.y, planRadius),
                    groundHeight(scene.ground, centre.x, centre.y) + uniformIn(rng, 5.0, 18.0)));
        along += length + uniformIn(rng, 0.0, 1.0);
    }
}

void addPavementObjects(Scene& scene, const StreetFrame& street, double side, Rng& rng) {
    for (double along = street.start + uniformIn(rng, 0.0, 10.0); along < street.end;
         along += uniformIn(rng, 12.0, 20.0)) {
        const PlanPoint foot = toPlan(street, along, side * (kerbOffset + 0.4));
        const double radius = uniformIn(rng, 0.06, 0.12);
        scene.solids.push_back(
            makeCylinder(foot.x, foot.y, radius, footingZ(scene.ground, foot.x, foot.y, radius),
                         groundHeight(scene.ground, foot.x, foot.y) + uniformIn(rng, 4.0, 8.0)));
    }
    for (double along = street.start + uniformIn(rng, 0.0, 10.0); along < street.end;
         along += uniformIn(rng, 9.0, 22.0)) {
        const PlanPoint foot =
            toPlan(street, along, side * (kerbOffset + uniformIn(rng, 1.5, 2.5)));
        addTree(scene, foot.x, foot.y, rng);
    }
    for (double along = street.start + uniformIn(rng, 0.0, 8.0); along < street.end;
         along += uniformIn(rng, 5.0, 15.0)) {
        const PlanPoint foot =
            toPlan(street, along, side * (kerbOffset + uniformIn(rng, 0.8, 2.8)));
        addFurniture(scene, foot.x, foot.y, street.yawRad, rng);
    }
}

void addParkedCars(Scene& scene, const StreetFrame& street, double side, Rng& rng) {
    for (double along = street.start + uniformIn(rng, 0.0, 6.0); along < street.end;
         along += uniformIn(rng, 5.5, 12.0)) {
        if (uniform01(rng) < 0.4) continue;  // an empty bay
        const PlanPoint centre = toPlan(street, along, side * (kerbOffset - 1.1));
        addCar(scene, centre.x, centre.y, street.yawRad + (uniformIn(rng, -3.0, 3.0) * degree),
               rng);
    }
}

}  // namespace

void buildStreet(Scene& scene, const SurveySpec& surveySpec, const std::vector<SetupPoint>& setups,
                 double reach, Rng& rng) {
    const StreetFrame street = frameFor(surveySpec, setups, reach);
    for (const double side : {1.0, -1.0}) {
        addKerbs(scene, street, side);
        addBuildings(scene, street, side, rng);
        addPavementObjects(scene, street, side, rng);
        addParkedCars(scene, street, side, rng);
    }
}

}  // namespace sorvek::synth
