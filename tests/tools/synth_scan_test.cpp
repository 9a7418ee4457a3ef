// Scans sampled from the scene: on its surfaces, within range, as many as asked, and in
// the scanner frame that the program's scan transform undoes.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

// The scan moved into the survey frame as the program moves it, with the given heading.
sorvek::Cloud inSurveyFrame(sorvek::Cloud cloud, const ScanPose& pose, const SurveySpec& surveySpec,
                            double headingDeg) {
    const sorvek::ScanMatrix matrix = sorvek::composeScanMatrix(
        pose.rotXDeg * sorvek::degToRad, pose.rotYDeg * sorvek::degToRad, headingDeg * sorvek::degToRad, 1.0,
        pose.x - translationX(surveySpec), pose.y - translationY(surveySpec), pose.z);
    sorvek::applyMatrix(cloud, matrix);
    return cloud;
}

TEST(SynthScan, PointsLieOnTheSceneWithinNoiseAndRange) {
    struct Case {
        const char* label;
        const char* layout;
        bool occlusion;
        double tiltDeg;
    };
    for (const Case c : {Case{"street", "line", true, 0.0}, Case{"street seen through", "line", false, 0.0},
                         Case{"tilted site", "site", true, 2.0}}) {
        SCOPED_TRACE(c.label);
        SurveySpec surveySpec;
        surveySpec.layout = c.layout;
        surveySpec.occlusion = c.occlusion;
        surveySpec.tiltDeg = c.tiltDeg;
        surveySpec.scans = 2;
        surveySpec.points = 4000;
        surveySpec.noise = 0.004;
        surveySpec.offsetX = 350000.0;
        const std::vector<ScanPose> poses = planScans(surveySpec);
        const SceneHandle scene = makeScene(surveySpec, poses);
        // Noise runs along the beam; on the gently sloping ground it can show up to a few
        // per cent larger in the vertical.
        const double surfaceTolerance = (surveySpec.noise * unitNoiseBound * 1.06) + 1.0e-6;
        for (const ScanPose& pose : poses) {
            const sorvek::Cloud cloud = sampleScan(scene, pose, surveySpec);
            ASSERT_EQ(cloud.size(), 4000U);
            const sorvek::Cloud survey = inSurveyFrame(cloud, pose, surveySpec, pose.trueHeadingDeg);
            double farthest = 0.0;
            double worst = 0.0;
            for (std::size_t index = 0; index < cloud.size(); ++index) {
                const sorvek::PointRecord& p = cloud[index];
                farthest = std::max(farthest, std::sqrt(((p.x * p.x) + (p.y * p.y)) + (p.z * p.z)));
                worst = std::max(
                    worst, distanceToScene(*scene.scene, survey[index].x, survey[index].y, survey[index].z));
            }
            EXPECT_LE(worst, surfaceTolerance);
            EXPECT_LE(farthest, surveySpec.rangeLimit + (surveySpec.noise * unitNoiseBound));
            EXPECT_GT(farthest, 0.5 * surveySpec.rangeLimit);  // the range is used, not just the near ground
        }
    }
}

TEST(SynthScan, DeliversExactlyTheRequestedCount) {
    SurveySpec surveySpec;
    surveySpec.scans = 1;
    const std::vector<ScanPose> poses = planScans(surveySpec);
    const SceneHandle scene = makeScene(surveySpec, poses);
    for (const std::int64_t wanted : {std::int64_t{1}, std::int64_t{777}, std::int64_t{25000}}) {
        SCOPED_TRACE(wanted);
        surveySpec.points = wanted;
        EXPECT_EQ(static_cast<std::int64_t>(sampleScan(scene, poses[0], surveySpec).size()), wanted);
    }
}

TEST(SynthScan, DatabaseHeadingTurnsTheScanByItsErrorAboutItsPosition) {
    SurveySpec surveySpec;
    surveySpec.scans = 1;
    surveySpec.points = 2000;
    surveySpec.tiltDeg = 1.5;
    surveySpec.errorDeg = 1.0;
    surveySpec.offsetY = 5400000.0;
    const std::vector<ScanPose> poses = planScans(surveySpec);
    const ScanPose& pose = poses[0];
    ASSERT_GT(std::abs(pose.headingErrorDeg), 0.05);
    const sorvek::Cloud cloud = sampleScan(makeScene(surveySpec, poses), pose, surveySpec);
    sorvek::Cloud truth = inSurveyFrame(cloud, pose, surveySpec, pose.trueHeadingDeg);
    const sorvek::Cloud loaded = inSurveyFrame(cloud, pose, surveySpec, databaseHeadingDeg(pose));
    sorvek::rotateCloud(truth, pose.headingErrorDeg * sorvek::degToRad, pose.x - translationX(surveySpec),
                        pose.y - translationY(surveySpec));
    for (std::size_t index = 0; index < cloud.size(); ++index) {
        ASSERT_NEAR(loaded[index].x, truth[index].x, 1.0e-9);
        ASSERT_NEAR(loaded[index].y, truth[index].y, 1.0e-9);
        ASSERT_NEAR(loaded[index].z, truth[index].z, 1.0e-9);
    }
}

TEST(SynthRay, MeetsEachKindOfSolidWhereGeometrySaysItShould) {
    const double quarterTurn = 0.7853981633974483;
    struct Case {
        const char* label;
        Solid solid;
        Ray ray;
        double distance;
    };
    const Case cases[] = {
        {"box face on", makeBox(10, 0, 0, 1, 1, -1, 1), {0, 0, 0, 1, 0, 0}, 9.0},
        {"box corner on",
         makeBox(10, 0, quarterTurn, 1, 1, -1, 1),
         {0, 0, 0, 1, 0, 0},
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

TEST(SynthRay, ComesDownOnTheRoughGround) {
    GroundModel ground;
    ground.baseZ = 20.0;
    ground.slopeX = 0.015;
    ground.slopeY = -0.01;
    ground.latticeSeed = 99;
    Rng rng = makeRng(5, 5);
    int hits = 0;
    for (int rayIndex = 0; rayIndex < 2000; ++rayIndex) {
        const double azimuth = uniformIn(rng, 0.0, 6.283185307179586);
        const double elevation = uniformIn(rng, -1.2, -0.02);
        const Ray ray{3.0,
                      -7.0,
                      groundHeight(ground, 3.0, -7.0) + 1.6,
                      std::cos(elevation) * std::cos(azimuth),
                      std::cos(elevation) * std::sin(azimuth),
                      std::sin(elevation)};
        const double t = reachGround(ground, ray, 80.0);
        if (t == noHit) continue;
        ++hits;
        ASSERT_LE(t, 80.0);
        const double x = ray.originX + (ray.dirX * t);
        const double y = ray.originY + (ray.dirY * t);
        ASSERT_NEAR(ray.originZ + (ray.dirZ * t), groundHeight(ground, x, y), 1.0e-9);
    }
    EXPECT_GT(hits, 1900);  // only the flattest rays may pass beyond 80 m
    const Ray upward{0.0, 0.0, 30.0, 0.0, 0.6, 0.8};
    EXPECT_EQ(reachGround(ground, upward, 80.0), noHit);
}

}  // namespace
