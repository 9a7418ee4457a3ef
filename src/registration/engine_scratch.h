#pragma once
// The scratch of the pair engine, made on first use and kept, with its capacity, from
// pass to pass and pair to pair.

#include <vector>

#include "points/cube_order.h"
#include "points/work_cloud.h"
#include "registration/cube_walk.h"
#include "run/records.h"

namespace sorvek {

struct EngineScratch {
    CloudCoordinates firstSource;  // the loaded clouds' coordinates apart, for the turns
    CloudCoordinates secondSource;
    CubeOrderScratch firstOrder;   // ordering of the first cloud or its work copy
    CubeOrderScratch secondOrder;  // ordering of the second
    WorkCloud spare;               // second array when a work cloud is put in order again
    WalkScratch walk;              // what each part of the walk accepted, and the
                                   // sampling of the latest subject
};

EngineScratch& engineScratch(Run& run);

// Keys kept from an earlier pass are forgotten: the clouds are new.
void forgetKeys(Run& run);

// A solver's start: forgets the keys and takes the coordinates of both loaded clouds apart
// into firstSource and secondSource.
void splitSources(Run& run);

}  // namespace sorvek
