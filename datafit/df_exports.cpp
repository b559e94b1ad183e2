// Exported data-fitting entry points: widen the 32-bit arguments and call
// the implementation cached for the process's extended level.
#include "datafit/df_level_cache.h"
#include "datafit/df_task.h"

using namespace orb::df;

#define ORB_DF_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// Creation and editing keep two identical copies (levels 0-4 and 5-9).
template <class T, int Copy>
int NewTaskCopy(DfTask **task, int64_t nx, const T *x, int64_t xhint, int64_t ny,
                const T *y, int64_t yhint, uint32_t tag) {
    return NewTask<T>(task, nx, x, xhint, ny, y, yhint, tag);
}
template <class T, int Copy>
int EditCopy(DfTask *task, int64_t o, int64_t st, int64_t bt, const T *bc,
             int64_t it, const T *ic, T *sc, int64_t sh) {
    return EditPPSpline<T>(task, o, st, bt, bc, it, ic, sc, sh);
}

template <class T>
using NewFn = int (*)(DfTask **, int64_t, const T *, int64_t, int64_t, const T *, int64_t, uint32_t);
template <class T>
using EditFn = int (*)(DfTask *, int64_t, int64_t, int64_t, const T *, int64_t, const T *, T *, int64_t);
using DeleteFn = int (*)(DfTask **);

LevelCache<NewFn<double>> d_new(TwoCopies<NewFn<double>>(NewTaskCopy<double, 0>, NewTaskCopy<double, 1>));
LevelCache<NewFn<float>> s_new(TwoCopies<NewFn<float>>(NewTaskCopy<float, 0>, NewTaskCopy<float, 1>));
LevelCache<EditFn<double>> d_edit(TwoCopies<EditFn<double>>(EditCopy<double, 0>, EditCopy<double, 1>));
LevelCache<EditFn<float>> s_edit(TwoCopies<EditFn<float>>(EditCopy<float, 0>, EditCopy<float, 1>));
LevelCache<DeleteFn> del(TwoCopies<DeleteFn>(DeleteTask, DeleteTask));

}  // namespace

ORB_DF_EXPORT int dfdNewTask1D(DfTask **task, int32_t nx, const double *x, int32_t xhint,
                               int32_t ny, const double *y, int32_t yhint) {
    return d_new.Get()(task, nx, x, xhint, ny, y, yhint, 0);
}
ORB_DF_EXPORT int dfsNewTask1D(DfTask **task, int32_t nx, const float *x, int32_t xhint,
                               int32_t ny, const float *y, int32_t yhint) {
    return s_new.Get()(task, nx, x, xhint, ny, y, yhint, 0);
}
ORB_DF_EXPORT int dfdEditPPSpline1D(DfTask *task, int32_t s_order, int32_t s_type,
                                    int32_t bc_type, const double *bc, int32_t ic_type,
                                    const double *ic, double *scoeff, int32_t scoeffhint) {
    return d_edit.Get()(task, s_order, s_type, bc_type, bc, ic_type, ic, scoeff, scoeffhint);
}
ORB_DF_EXPORT int dfsEditPPSpline1D(DfTask *task, int32_t s_order, int32_t s_type,
                                    int32_t bc_type, const float *bc, int32_t ic_type,
                                    const float *ic, float *scoeff, int32_t scoeffhint) {
    return s_edit.Get()(task, s_order, s_type, bc_type, bc, ic_type, ic, scoeff, scoeffhint);
}
ORB_DF_EXPORT int dfDeleteTask(DfTask **task) { return del.Get()(task); }

ORB_DF_EXPORT int dfdConstruct1D(DfTask *task, int32_t s_format, int32_t method) {
    return Construct<double>(task, s_format, method);
}
ORB_DF_EXPORT int dfsConstruct1D(DfTask *task, int32_t s_format, int32_t method) {
    return Construct<float>(task, s_format, method);
}

ORB_DF_EXPORT int dfdInterpolate1D(DfTask *task, int32_t type, int32_t method, int32_t nsite,
                                   const double *site, int32_t sitehint, int32_t ndorder,
                                   const int32_t *dorder, const double *datahint, double *r,
                                   int32_t rhint, int32_t *cell) {
    return Interpolate<double>(task, type, method, nsite, site, sitehint, ndorder, dorder,
                               datahint, r, rhint, cell);
}
ORB_DF_EXPORT int dfsInterpolate1D(DfTask *task, int32_t type, int32_t method, int32_t nsite,
                                   const float *site, int32_t sitehint, int32_t ndorder,
                                   const int32_t *dorder, const double *datahint, float *r,
                                   int32_t rhint, int32_t *cell) {
    return Interpolate<float>(task, type, method, nsite, site, sitehint, ndorder, dorder,
                              datahint, r, rhint, cell);
}
