#pragma once
// Helpers of the scan plan that the scene, the sampler and the writer share.

#include <cstdint>

#include "synth/scene.h"
#include "synth/synth.h"

namespace sorvek::synth {

// Streams of the generator's random numbers; every consumer draws from its own.
inline constexpr std::uint64_t planStream = 1;
inline constexpr std::uint64_t groundStream = 2;
inline constexpr std::uint64_t sceneStream = 3;
inline constexpr std::uint64_t scanStreamBase = 1000;

// The nearest multiple of 1e-6: every number the database carries is one, so that its
// %.6f or %.9f text reads back as the very double that the generator used.
double quantizeMicro(double value);

// The heading the database row carries, degrees: true heading plus error, both already
// multiples of 1e-6, so the sum is exact in the file.
double databaseHeadingDeg(const ScanPose& pose);

// The TRANSX and TRANSY that go with the job: the offsets on the 1e-6 grid.
double translationX(const SurveySpec& surveySpec);
double translationY(const SurveySpec& surveySpec);

// The sloping rough ground of the job; the scene and the scanner heights share it.
GroundModel makeGround(const SurveySpec& surveySpec);

// Unit vector along a line layout in table order, from the surveySpec's direction.
struct PlanDirection {
    double x = 0.0;
    double y = 1.0;
};
PlanDirection lineDirection(const SurveySpec& surveySpec);

}  // namespace sorvek::synth
