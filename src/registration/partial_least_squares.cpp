#include "registration/partial_least_squares.h"

namespace sorvek {

double solvePartialLeastSquares(Run& run, double& firstRotation, double& secondRotation, std::int32_t& pointCount) {
    (void)run;
    (void)firstRotation;
    (void)secondRotation;
    (void)pointCount;
    return 999.0;
}

}  // namespace sorvek
