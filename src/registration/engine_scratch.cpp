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
}

}  // namespace sorvek
