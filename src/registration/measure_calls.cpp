#include "registration/measure_calls.h"

#include "registration/pair_rms.h"
#include "registration/rotation_estimator.h"

namespace sorvek {

MeasureCalls standardMeasureCalls() { return {measurePairRms, estimateRotation}; }

}  // namespace sorvek
