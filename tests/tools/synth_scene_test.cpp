// The generator's geometry against distances worked out by hand: rays that meet a wall, a
// pole, a ball or the ground at a known range, and scans of a flat ground (with and without
// a wall) whose points lie on the surfaces they were cast at.
#include "synth/ray_hits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "synth/random.h"
#include "synth/scene.h"
#include "synth/scene_builder.h"
#include "synth/synth.h"

namespace {

using namespace sorvek::synth;

constexpr double halfTurnRad = 3.141592653589793;

Ray rayFrom(double x, double y, double z, double dirX, double dirY, double dirZ) {
    const double length = std::sqrt((dirX * dirX) + (dirY * dirY) + (dirZ * dirZ));
    return Ray{x, y, z, dirX / length, dirY / length, dirZ / length};
}

// Ground at 50 m with neither slope nor roughness.
GroundModel flatGround() {
    GroundModel ground;
    ground.coarseAmplitude = 0.0;
    ground.fineAmplitude = 0.0;
    return ground;
}

// A wall 1 m thick whose near face is the plane x = 9.5, 10 m high and 40 m long. Turning
// it by a quarter turn swaps its length and thickness, so the near face stays put.
TEST(SynthRays, MeetAWallAtTheRangeOfItsNearFace) {
    const Solid wall = makeBox(10.0, 0.0, 0.0, 0.5, 20.0, 45.0, 60.0);
    const Solid turned = makeBox(10.0, 0.0, 0.5 * halfTurnRad, 20.0, 0.5, 45.0, 60.0);
    struct Case { const char* name; Ray ray; double range; };
    const Case cases[] = {
        {"square on", rayFrom(0, 0, 51.5, 1, 0, 0), 9.5},
        {"at 45 degrees in plan", rayFrom(0, 0, 51.5, 1, 1, 0), 9.5 * std::sqrt(2.0)},
        {"from beyond the wall's end", rayFrom(0, 25, 51.5, 1, -1, 0), 9.5 * std::sqrt(2.0)},
        {"rising to a metre below the top", rayFrom(0, 0, 50.0, 9.5, 0, 9.0), std::sqrt((9.5 * 9.5) + 81.0)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_NEAR(enterSolid(wall, c.ray), c.range, 1e-12);
        EXPECT_NEAR(enterSolid(turned, c.ray), c.range, 1e-12);
    }
    EXPECT_EQ(enterSolid(wall, rayFrom(0, 0, 51.5, -1, 0, 0)), noHit);   // facing away
    EXPECT_EQ(enterSolid(wall, rayFrom(0, 0, 51.5, 0, 1, 0)), noHit);    // parallel to the face
    EXPECT_EQ(enterSolid(wall, rayFrom(0, 0, 50.0, 9.5, 0, 10.5)), noHit);  // over the top
    EXPECT_EQ(enterSolid(wall, rayFrom(10, 0, 51.5, 1, 0, 0)), noHit);   // inside the wall
}

// On a plane the hit follows from the heights alone; on rough ground it must lie on the
// ground the height function describes.
TEST(SynthRays, ReachTheGroundWhereItsHeightSaysItIs) {
    GroundModel sloping = flatGround();
    sloping.slopeX = 0.1;  // 50.3 m at x = 3
    EXPECT_NEAR(reachGround(flatGround(), rayFrom(0, 0, 51.5, 1, 0, -1), 100.0), 1.5 * std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(reachGround(sloping, rayFrom(3, 0, 60, 0, 0, -1), 100.0), 9.7, 1e-9);
    EXPECT_EQ(reachGround(flatGround(), rayFrom(0, 0, 51.5, 1, 0, -1), 2.0), noHit);  // beyond reach
    EXPECT_EQ(reachGround(flatGround(), rayFrom(0, 0, 51.5, 1, 0, 0), 1e6), noHit);   // level
    EXPECT_EQ(reachGround(sloping, rayFrom(0, 0, 51.5, 1, 0, 0.1), 1e6), noHit);      // climbs as fast
    EXPECT_EQ(reachGround(flatGround(), rayFrom(0, 0, 49.0, 1, 0, -1), 1e6), noHit);  // underground

    GroundModel rough;
    rough.slopeX = 0.03;
    rough.slopeY = -0.02;
    rough.latticeSeed = 99;
    for (int k = 0; k < 40; ++k) {
        const double azimuthRad = 0.157 * k;
        const Ray ray = rayFrom(1.0, 2.0, 51.6, std::cos(azimuthRad), std::sin(azimuthRad), -0.05 - (0.02 * k));
        const double t = reachGround(rough, ray, 200.0);
        SCOPED_TRACE(k);
        ASSERT_LT(t, noHit);
        const double x = ray.originX + (ray.dirX * t);
        const double y = ray.originY + (ray.dirY * t);
        EXPECT_NEAR(ray.originZ + (ray.dirZ * t), groundHeight(rough, x, y), 1e-7);
    }
}

// A scanner 1.5 m above flat ground, heading 0 and level, so that its frame is the survey
// frame moved to the scanner.
ScanPose levelScannerAt(double z) {
    ScanPose pose;
    pose.z = z;
    pose.scanId = 1;
    pose.subId = 1;
    return pose;
}

// The wall of the first test: with occlusion nothing behind its face is seen, without it
// the ground behind shows through. Range noise acts along the beam, so every point lies on
// the ground or on the face within the noise bound, and the ground is seen out to the
// range limit and no farther.
TEST(SynthScan, AWallHidesTheGroundBehindItUnlessOcclusionIsOff) {
    auto scene = std::make_shared<Scene>();
    scene->ground = flatGround();
    scene->solids.push_back(makeBox(10.0, 0.0, 0.0, 0.5, 20.0, 45.0, 60.0));
    for (const bool occlusion : {true, false}) {
        SCOPED_TRACE(occlusion);
        const SurveySpec surveySpec{.points = 4000, .seed = 4, .occlusion = occlusion, .rangeLimit = 30.0};
        const sorvek::Cloud cloud = sampleScan(SceneHandle{scene}, levelScannerAt(51.5), surveySpec);
        ASSERT_EQ(cloud.size(), 4000U);
        const double bound = surveySpec.noise * unitNoiseBound;
        std::size_t onFace = 0, behind = 0, elsewhere = 0;
        double farthest = 0.0;
        for (const sorvek::PointRecord& p : cloud) {
            const bool isOnGround = std::abs((p.z + 51.5) - 50.0) <= bound;
            const bool isOnFace = std::abs(p.x - 9.5) <= bound && std::abs(p.y) <= 20.0 + bound;
            onFace += isOnFace ? 1 : 0;
            behind += (isOnGround && p.x > 10.5 && std::abs(p.y) < 5.0) ? 1 : 0;
            elsewhere += (isOnGround || isOnFace) ? 0 : 1;
            farthest = std::max(farthest, std::sqrt((p.x * p.x) + (p.y * p.y) + (p.z * p.z)));
        }
        EXPECT_LE(farthest, surveySpec.rangeLimit + bound);
        EXPECT_GT(farthest, 0.9 * surveySpec.rangeLimit);
        EXPECT_GT(onFace, 100U);
        EXPECT_EQ(elsewhere, 0U);
        EXPECT_EQ(behind > 0, !occlusion);
    }
}

}  // namespace
