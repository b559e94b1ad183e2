// The set of construction drivers (one per order and type) that each
// instruction-set level's copy of the construction code provides.
#ifndef ORB_DATAFIT_DF_CONSTRUCT_DRIVERS_H
#define ORB_DATAFIT_DF_CONSTRUCT_DRIVERS_H

#include <cstdint>

#include "datafit/df_task.h"

namespace orb::df {

using ConstructDriver = int (*)(const DfTask *, int64_t s_format, int64_t method);

struct ConstructDriverSet {
    ConstructDriver linear, quadratic, cubic0, cubic2, cubic3, cubic4, cubic5;
};

}  // namespace orb::df

// Levels with their own copy: the baseline, SSE2 and AVX2 with FMA.
#define ORB_DF_CONSTRUCT_LEVELS(X) X(k_generic) X(k_sse2) X(k_avx2)

#define ORB_DF_DECLARE_CONSTRUCT(ns)                                       \
    namespace orb::df::ns {                                                \
    extern const ConstructDriverSet kDriversD;                             \
    extern const ConstructDriverSet kDriversS;                             \
    }
ORB_DF_CONSTRUCT_LEVELS(ORB_DF_DECLARE_CONSTRUCT)
#undef ORB_DF_DECLARE_CONSTRUCT

#endif
