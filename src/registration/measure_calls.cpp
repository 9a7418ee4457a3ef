#include "registration/pair_measures.h"

#include "registration/pair_measure.h"
#include "registration/rotation_estimator.h"

namespace sorvek {

PairMeasures standardPairMeasures() {
    return {measurePairRms, estimateRotation};
}

}  // namespace sorvek
