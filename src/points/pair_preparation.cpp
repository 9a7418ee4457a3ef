#include "points/pair_preparation.h"

namespace sorvek {

std::int32_t prepareScanPair(Run& run) {
    (void)run;
    return 0;
}

}  // namespace sorvek
