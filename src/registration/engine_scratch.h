#pragma once
// The scratch of the pair engine, made on first use and kept, with its capacity, from
// pass to pass and pair to pair.

#include <vector>

#include "points/cube_order.h"
#include "registration/cube_walk.h"
#include "run/records.h"

namespace sorvek {

struct EngineScratch {
    CubeOrderScratch firstOrder;     // ordering of the first cloud or its work copy
    CubeOrderScratch secondOrder;    // ordering of the second
    WorkCloud spare;                 // second array when a work cloud is put in order again
    std::vector<WalkPart> walkParts; // what each part of the walk accepted
};

EngineScratch& engineScratch(Run& run);

// Keys kept from an earlier pass are forgotten: the clouds are new.
void forgetKeys(Run& run);

}  // namespace sorvek
