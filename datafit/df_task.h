// The fitting-task record shared by the editors, the construction drivers
// and the interpolation kernels, and the internal entry points behind the
// exported shims (every count and code widened to 64 bits).
#ifndef ORB_DATAFIT_DF_TASK_H
#define ORB_DATAFIT_DF_TASK_H

#include <cstdint>

#include "orb_df.h"

struct DfTask {
    uint32_t tag;
    uint8_t kind;
    int32_t unitA, unitB;
    int64_t nx;
    const void *x;
    int64_t xhint;
    int64_t ny;
    const void **yTable;
    int64_t yhint;
    int64_t splineOrder;
    int64_t splineType;
    int64_t icType;
    const void *ic;
    int64_t bcType;
    const void *bc;
    void **coeffTable;
    int64_t coeffHint;
};

namespace orb::df {

// Alignment of every allocation the subsystem makes.
constexpr int32_t kAlign = 128;

// Number of functions the kernels process: max(ny, 1).
inline int64_t FunctionCount(const DfTask *t) { return t->ny > 0 ? t->ny : 1; }

// Kernel tables are indexed by ExtCpuLevel; levels below 1 share level 1's.
inline int LevelIndex(int32_t level) {
    return level < 1 ? 1 : (level > 9 ? 9 : level);
}

template <class T>
int NewTask(DfTask **task, int64_t nx, const T *x, int64_t xhint, int64_t ny,
            const T *y, int64_t yhint, uint32_t tag);
template <class T>
int EditPPSpline(DfTask *task, int64_t s_order, int64_t s_type,
                 int64_t bc_type, const T *bc, int64_t ic_type, const T *ic,
                 T *scoeff, int64_t scoeffhint);
int DeleteTask(DfTask **task);

template <class T>
int Construct(DfTask *task, int64_t s_format, int64_t method);

template <class T>
int Interpolate(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                const T *site, int64_t sitehint, int64_t ndorder,
                const int32_t *dorder, const double *datahint, T *r,
                int64_t rhint, int32_t *cell);

}  // namespace orb::df

#endif
