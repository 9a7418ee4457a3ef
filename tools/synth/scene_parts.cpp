// The solids a scene is made of, and the small objects both kinds of area share.

#include <algorithm>
#include <cmath>

#include "synth/scene_builder.h"

namespace sorvek::synth {

Solid makeBox(double centerX, double centerY, double yawRad, double halfLength, double halfWidth,
              double bottomZ, double topZ) {
    Solid box;
    box.kind = SolidKind::box;
    box.centerX = centerX;
    box.centerY = centerY;
    box.halfLength = halfLength;
    box.halfWidth = halfWidth;
    box.yawCos = std::cos(yawRad);
    box.yawSin = std::sin(yawRad);
    box.bottomZ = bottomZ;
    box.topZ = topZ;
    box.planRadius = std::sqrt((halfLength * halfLength) + (halfWidth * halfWidth));
    return box;
}

Solid makeCylinder(double centerX, double centerY, double radius, double bottomZ, double topZ) {
    Solid cylinder;
    cylinder.kind = SolidKind::cylinder;
    cylinder.centerX = centerX;
    cylinder.centerY = centerY;
    cylinder.radius = radius;
    cylinder.bottomZ = bottomZ;
    cylinder.topZ = topZ;
    cylinder.planRadius = radius;
    return cylinder;
}

Solid makeSphere(double centerX, double centerY, double centerZ, double radius) {
    Solid sphere;
    sphere.kind = SolidKind::sphere;
    sphere.centerX = centerX;
    sphere.centerY = centerY;
    sphere.centerZ = centerZ;
    sphere.radius = radius;
    sphere.planRadius = radius;
    return sphere;
}

double footingZ(const GroundModel& ground, double x, double y, double planRadius) {
    const double grade = std::abs(ground.slopeX) + std::abs(ground.slopeY);
    return ((groundHeight(ground, x, y) - (grade * planRadius)) - roughnessBound(ground)) - 0.3;
}

void addTree(Scene& scene, double x, double y, Rng& rng) {
    const double trunkRadius = uniformIn(rng, 0.12, 0.22);
    const double trunkTop = groundHeight(scene.ground, x, y) + uniformIn(rng, 2.0, 3.2);
    scene.solids.push_back(
        makeCylinder(x, y, trunkRadius, footingZ(scene.ground, x, y, trunkRadius), trunkTop));
    // The crown: a loose cluster of balls, the nearest thing to foliage a ray can hit.
    const int ballCount = 4 + static_cast<int>(nextBits(rng) % 4);
    for (int ball = 0; ball < ballCount; ++ball) {
        const double radius = uniformIn(rng, 0.6, 1.3);
        scene.solids.push_back(makeSphere(x + uniformIn(rng, -1.1, 1.1),
                                          y + uniformIn(rng, -1.1, 1.1),
                                          trunkTop + uniformIn(rng, 0.3, 1.6), radius));
    }
}

void addCar(Scene& scene, double x, double y, double yawRad, Rng& rng) {
    const double halfLength = uniformIn(rng, 2.1, 2.45);
    const double halfWidth = uniformIn(rng, 0.85, 0.95);
    const double ground = groundHeight(scene.ground, x, y);
    // Body clear of the road, cabin set back on top: the gap below shows the road.
    scene.solids.push_back(makeBox(x, y, yawRad, halfLength, halfWidth, ground + 0.3,
                                   ground + uniformIn(rng, 0.9, 1.05)));
    const double cabinShift = uniformIn(rng, -0.4, 0.1) * halfLength;
    scene.solids.push_back(makeBox(
        x + (cabinShift * std::cos(yawRad)), y + (cabinShift * std::sin(yawRad)), yawRad,
        halfLength * 0.55, halfWidth * 0.92, ground + 0.9, ground + uniformIn(rng, 1.4, 1.6)));
}

void addFurniture(Scene& scene, double x, double y, double yawRad, Rng& rng) {
    const GroundModel& ground = scene.ground;
    const double base = groundHeight(ground, x, y);
    switch (nextBits(rng) % 4) {
    case 0:  // bollard
        scene.solids.push_back(makeCylinder(x, y, 0.08, footingZ(ground, x, y, 0.08), base + 0.9));
        break;
    case 1:  // bin
        scene.solids.push_back(
            makeBox(x, y, yawRad, 0.3, 0.3, footingZ(ground, x, y, 0.45), base + 1.0));
        break;
    case 2:  // bench
        scene.solids.push_back(
            makeBox(x, y, yawRad, 0.9, 0.25, footingZ(ground, x, y, 0.95), base + 0.45));
        break;
    default:  // bush
        scene.solids.push_back(makeSphere(x, y, base + 0.3, uniformIn(rng, 0.4, 0.8)));
        break;
    }
}

}  // namespace sorvek::synth
