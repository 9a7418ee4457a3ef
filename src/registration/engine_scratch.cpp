#include "registration/engine_scratch.h"

namespace sorvek {

EngineScratch& engineScratch(Run& run) {
    if (!run.pair.scratch) run.pair.scratch = std::make_shared<EngineScratch>();
    return *run.pair.scratch;
}

void forgetKeys(Run& run) {
    EngineScratch& scratch = engineScratch(run);
    scratch.firstOrder.hasKeys = false;
    scratch.secondOrder.hasKeys = false;
    scratch.walk.sampled = {};
}

void splitSources(Run& run) {
    forgetKeys(run);
    EngineScratch& scratch = engineScratch(run);
    splitCoordinates(run, run.pair.firstCloud, scratch.firstSource);
    splitCoordinates(run, run.pair.secondCloud, scratch.secondSource);
}

}  // namespace sorvek
