// Scans sampled from the scene: on its surfaces, within range, as many as asked, and in
// the scanner frame that the program's scan transform undoes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "points/transforms.h"
#include "synth/random.h"
#include "synth/ray_hits.h"
#include "synth/scan_plan.h"
#include "synth/scene.h"
#include "synth/scene_builder.h"
#include "synth/synth.h"

namespace {

using namespace sorvek::synth;
using sorvek::degToRad;

TEST(SynthScan, PointsLieOnTheSceneWithinNoiseAndRange) {
    struct Case { const char* layout; bool occlusion; double tiltDeg; };
    for (const Case c : {Case{"line", true, 0.0}, Case{"line", false, 0.0}, Case{"site", true, 2.0}}) {
        SCOPED_TRACE(std::string(c.layout) + (c.occlusion ? " occluded" : " seen through"));
        const SurveySpec surveySpec{.layout = c.layout, .scans = 2, .points = 4000, .noise = 0.004,
                                    .tiltDeg = c.tiltDeg, .offsetX = 350000.0, .occlusion = c.occlusion};
        const std::vector<ScanPose> poses = planScans(surveySpec);
        const SceneHandle scene = makeScene(surveySpec, poses);
        // Noise runs along the beam; on the gently sloping ground it can show up to a few
        // per cent larger in the vertical.
        const double noiseBound = surveySpec.noise * unitNoiseBound;
        for (const ScanPose& pose : poses) {
            const sorvek::Cloud cloud = sampleScan(scene, pose, surveySpec);
            ASSERT_EQ(cloud.size(), 4000U);
            sorvek::Cloud survey = cloud;
            sorvek::applyMatrix(survey, sorvek::composeScanMatrix(
                pose.rotXDeg * degToRad, pose.rotYDeg * degToRad, pose.trueHeadingDeg * degToRad, 1.0,
                pose.x - translationX(surveySpec), pose.y - translationY(surveySpec), pose.z));
            double farthest = 0.0, worst = 0.0;
            for (std::size_t i = 0; i < cloud.size(); ++i) {
                const sorvek::PointRecord& p = cloud[i];
                farthest = std::max(farthest, std::sqrt(((p.x * p.x) + (p.y * p.y)) + (p.z * p.z)));
                worst = std::max(worst, distanceToScene(*scene.scene, survey[i].x, survey[i].y, survey[i].z));
            }
            EXPECT_LE(worst, (noiseBound * 1.06) + 1.0e-6);
            EXPECT_LE(farthest, surveySpec.rangeLimit + noiseBound);
            EXPECT_GT(farthest, 0.5 * surveySpec.rangeLimit);  // the range is used, not just the near ground
        }
    }
}

TEST(SynthRay, MeetsEachKindOfSolidWhereGeometrySaysItShould) {
    struct Case { const char* label; Solid solid; Ray ray; double distance; };
    const Case cases[] = {
        {"box face on", makeBox(10, 0, 0, 1, 1, -1, 1), {0, 0, 0, 1, 0, 0}, 9.0},
        {"box corner on", makeBox(10, 0, 0.7853981633974483, 1, 1, -1, 1), {0, 0, 0, 1, 0, 0},
         10.0 - std::sqrt(2.0)},
        {"box passed over", makeBox(10, 0, 0, 1, 1, -1, 1), {0, 0, 1.5, 1, 0, 0}, noHit},
        {"box from inside", makeBox(0, 0, 0, 1, 1, -1, 1), {0, 0, 0, 1, 0, 0}, noHit},
        {"pole side", makeCylinder(5, 0, 0.5, -1, 3), {0, 0, 0, 1, 0, 0}, 4.5},
        {"pole top", makeCylinder(3, 0, 0.5, -1, 1), {0, 0, 5, 0.6, 0, -0.8}, 5.0},
        {"pole missed", makeCylinder(5, 2, 0.5, -1, 3), {0, 0, 0, 1, 0, 0}, noHit},
        {"ball overhead", makeSphere(0, 0, 10, 2), {0, 0, 0, 0, 0, 1}, 8.0},
        {"ball behind", makeSphere(-10, 0, 0, 2), {0, 0, 0, 1, 0, 0}, noHit},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_NEAR(enterSolid(c.solid, c.ray), c.distance, 1.0e-12);
    }
}

}  // namespace
