#include "registration/cube_walk.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Of equal points the later stands in front at first and second place, but not at
// third; nothing at a squared distance of 999 or more, or not a number, is entered.
TEST(NearestList, RanksTiesByOrderAndNeverEntersFarPoints) {
    using Positions = std::array<std::int32_t, 3>;
    const PointRecord sample{0, 0, 0};
    struct Case { Cloud reference; Positions positions; };
    const Case cases[] = {
        {{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}}, {2, 1, 0}},
        {{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0.5, 0, 0}}, {4, 2, 1}},
        {{{31.607, 0, 0}, {0, 40, 0}, {nan, 0, 0}, {0, 0, 31.6}}, {3, -1, -1}},  // 31.607² > 999
    };
    for (const Case& c : cases) {
        sorvek::Run run;
        run.options.NUMPPC = 1;
        run.state.cubeCount = 1;
        const Cloud subject{sample};
        CubeWalk walk = startCubeWalk(run, subject, c.reference, run.options.ZMIN);
        ASSERT_TRUE(nextSampledCube(walk));
        const NearestList list = nearestInCube(walk, sample);
        EXPECT_EQ(list.position, c.positions);
        EXPECT_EQ(list.squaredDistance[1], c.positions[1] < 0 ? 999.0 : 1.0);
    }
}

}  // namespace
}  // namespace sorvek
