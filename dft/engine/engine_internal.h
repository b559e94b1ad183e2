// Engine internals shared with the tests: plan creation for an explicit
// processor level, so every kernel variant can be exercised on one machine.
#ifndef ORB_DFT_ENGINE_INTERNAL_H
#define ORB_DFT_ENGINE_INTERNAL_H

#include "dft/engine/engine.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft {

EnginePlan *EnginePlanCreateForLevel(const EngineProblem &problem, int level, int *status);

}  // namespace orb::dft

#endif
