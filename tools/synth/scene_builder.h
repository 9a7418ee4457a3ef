#pragma once
// Shapes of the scene in survey-frame metres, and the two kinds of area: a street along a
// line of set-ups, and an open site around scattered set-ups.

#include <vector>

#include "synth/random.h"
#include "synth/scene.h"
#include "synth/synth.h"

namespace sorvek::synth {

// Plan position of a set-up as the program holds it (database X and Y less TRANSX/Y).
struct SetupPoint {
    double x = 0.0;
    double y = 0.0;
};

// An upright box turned by yawRad from survey X; halfLength lies along its own x axis.
Solid makeBox(double centerX, double centerY, double yawRad, double halfLength, double halfWidth,
              double bottomZ, double topZ);
Solid makeCylinder(double centerX, double centerY, double radius, double bottomZ, double topZ);
Solid makeSphere(double centerX, double centerY, double centerZ, double radius);

// Height below which a footprint of the given plan radius about (x, y) is sure to be
// underground, so a solid reaching down to it shows no gap on a slope.
double footingZ(const GroundModel& ground, double x, double y, double planRadius);

// Facades, kerbs, poles, trees, parked cars and street furniture on both sides of the
// line through the set-ups, reaching `reach` metres beyond the first and last set-up.
void buildStreet(Scene& scene, const SurveySpec& surveySpec, const std::vector<SetupPoint>& setups,
                 double reach, Rng& rng);

// Buildings, walls, poles, trees, cars and furniture scattered over the set-ups' area and
// `reach` metres around it, none closer to a set-up than a clearance.
void buildSite(Scene& scene, const std::vector<SetupPoint>& setups, double reach, Rng& rng);

// Trees, cars and furniture are shared by both kinds of area.
void addTree(Scene& scene, double x, double y, Rng& rng);
void addCar(Scene& scene, double x, double y, double yawRad, Rng& rng);
void addFurniture(Scene& scene, double x, double y, double yawRad, Rng& rng);

}  // namespace sorvek::synth
