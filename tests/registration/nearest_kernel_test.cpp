// The vector loop of the nearest list against the scalar one, and both against the rule.

#include "registration/nearest_kernel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace sorvek {
namespace {

struct Run3 {
    std::vector<double> x, y, z;
    ReferenceRun view(std::int32_t first) const { return {x.data(), y.data(), z.data(), x.size(), first}; }
};

// Points on a coarse lattice, so that many lie at exactly equal distances from a sample
// on the lattice, with NaN coordinates sprinkled in.
Run3 namedLatticeWithNaN(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> step(-3, 3);
    Run3 run;
    for (std::size_t i = 0; i < count; ++i) {
        run.x.push_back(0.25 * step(random));
        run.y.push_back(0.25 * step(random));
        run.z.push_back(i % 13 == 4 ? std::numeric_limits<double>::quiet_NaN() : 0.25 * step(random));
    }
    return run;
}

// Every vector loop this processor has; runs past the 4096 distances one pass keeps for
// the next take the second pass's own way.
TEST(NearestKernel, VectorLoopsFindWhatTheScalarLoopFindsTiesAndNaNIncluded) {
    for (const std::string& kernel : availableNearestKernels()) {
        for (const std::size_t count : {0U, 1U, 3U, 7U, 8U, 9U, 31U, 200U, 1001U, 5000U}) {
            const Run3 run = namedLatticeWithNaN(count, static_cast<unsigned>(count));
            for (const double sx : {0.0, 0.25, 0.1}) {
                SCOPED_TRACE(::testing::Message() << kernel << ", " << count << " points, sample x " << sx);
                const NearestList fast = nearestInRunWith(kernel, run.view(40), sx, 0.0, 0.0);
                const NearestList slow = nearestInRunScalar(run.view(40), sx, 0.0, 0.0);
                EXPECT_EQ(fast.position, slow.position);
                EXPECT_EQ(std::memcmp(fast.squaredDistance.data(), slow.squaredDistance.data(), 24), 0);
            }
        }
    }
    EXPECT_EQ(nearestKernelName(), availableNearestKernels().front());
}

// Four points at one distance: the third met, then the second, then the first; the fourth
// only equals third place and stays out. A point at 999 or beyond never enters.
TEST(NearestKernel, KeepsTheTieRulesOfTheNearestList) {
    Run3 run;
    for (int i = 0; i < 12; ++i) {  // eight far points first, so that the vector loop sees the ties
        const double far = i < 8 ? 40.0 : 1.0;
        run.x.push_back(far);
        run.y.push_back(0.0);
        run.z.push_back(0.0);
    }
    const NearestList nearest = nearestInRun(run.view(100), 0.0, 0.0, 0.0);
    EXPECT_EQ(nearest.position, (std::array<std::int32_t, 3>{110, 109, 108}));
    EXPECT_EQ(nearest.squaredDistance, (std::array<double, 3>{1.0, 1.0, 1.0}));
}

// The wide loop bounds the third place by the least distance of each of its eight lanes.
// Here the three nearest points share lane 0, every other lane holds points just beyond
// them and at equal distances, so the bound lies well above the third place and a run
// of ties must still come out as the insertion rule puts them.
TEST(NearestKernel, ThreeNearestInOneLaneStillComeOutInRuleOrder) {
    Run3 run;
    for (int i = 0; i < 64; ++i) {
        const bool isNear = i % 8 == 0 && i < 24;
        run.x.push_back(isNear ? 0.1 * (3 - i / 8) : 0.5 + 0.01 * (i % 3));
        run.y.push_back(0.0);
        run.z.push_back(0.0);
    }
    for (const std::string& kernel : availableNearestKernels()) {
        SCOPED_TRACE(kernel);
        const NearestList nearest = nearestInRunWith(kernel, run.view(0), 0.0, 0.0, 0.0);
        EXPECT_EQ(nearest.position, (std::array<std::int32_t, 3>{16, 8, 0}));
        const NearestList tied = nearestInRunWith(kernel, run.view(0), 0.505, 0.0, 0.0);
        const NearestList slow = nearestInRunScalar(run.view(0), 0.505, 0.0, 0.0);
        EXPECT_EQ(tied.position, slow.position);
        EXPECT_EQ(std::memcmp(tied.squaredDistance.data(), slow.squaredDistance.data(), 24), 0);
    }
}

}  // namespace
}  // namespace sorvek
