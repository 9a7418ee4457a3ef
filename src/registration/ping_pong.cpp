#include "registration/ping_pong.h"

namespace sorvek {

double solvePingPong(Run& run, double& firstRotation, double& secondRotation, std::int32_t& pointCount, std::int32_t& iterationCount) {
    (void)run;
    (void)firstRotation;
    (void)secondRotation;
    (void)pointCount;
    (void)iterationCount;
    return 999.0;
}

}  // namespace sorvek
