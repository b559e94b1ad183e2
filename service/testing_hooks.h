// Internal hooks through which the tests reach paths that the hardware of
// the test machine cannot: synthetic processors, an out-of-range level.
// Not exported from the shared library.
#ifndef ORB_SERVICE_TESTING_HOOKS_H
#define ORB_SERVICE_TESTING_HOOKS_H

#include <stdint.h>

#include "service/cpu_detect.h"

namespace orb::testing {

// Replaces the processor the detection reads (null restores the real one).
// Must be called before the first level query of the process.
void SetCpuidSource(CpuidSnapshot (*source)());

// Stores a value in the CpuLevel cache as if it had been determined.
void ForceCpuLevelCache(int32_t level);

// How many times the CpuLevel determination has run in this process.
int CpuLevelDeterminations();

}  // namespace orb::testing

#endif
