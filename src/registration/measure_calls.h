#pragma once
// The two measuring passes the solvers call, held as values so that a test can count or
// script them. standardMeasureCalls() gives the real ones.

#include <cstdint>
#include <functional>

#include "points/work_cloud.h"
#include "run/records.h"

namespace sorvek {

// Same arguments and contract as measurePairRms.
using PairRmsCall =
    std::function<double(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                         double maxDistance, std::int32_t& acceptedCount, double zMin)>;

// Same arguments and contract as estimateRotation.
using RotationEstimateCall =
    std::function<double(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                         double maxDistance, double minDistance, std::int32_t& acceptedCount,
                         double& rotationOut, double pivotX, double pivotY, double zMin)>;

struct MeasureCalls {
    PairRmsCall measure;            // RMS of subject against reference
    RotationEstimateCall estimate;  // RMS and the closed-form turn of reference
};

// measurePairRms and estimateRotation.
MeasureCalls standardMeasureCalls();

}  // namespace sorvek
