// df?Interpolate1D: entry checks, then the interpolation or cell-search
// kernel of the process's extended level (resolved once).
#include "datafit/df_interp_request.h"
#include "datafit/df_level_cache.h"
#include "datafit/df_task.h"
#include "service/serv.h"

namespace orb::df {
namespace {

const ThreadServices kThreading = {ServDomainThreads};

// Rows 0 and 1 run the generic copy; 2 and 3 the SSE2 one; then one each.
#define ORB_DF_ROW(fn)                                                       \
    {k_generic::fn, k_generic::fn, k_sse2::fn, k_sse2::fn, k_sse3::fn,        \
     k_ssse3::fn, k_sse41::fn, k_sse42::fn, k_avx::fn, k_avx2::fn}

template <class T> struct Kernels;
template <> struct Kernels<double> {
    static inline LevelCache<InterpKernelD> interpolate{LevelCache<InterpKernelD>::Table ORB_DF_ROW(InterpolateD)};
    static inline LevelCache<InterpKernelD> search{LevelCache<InterpKernelD>::Table ORB_DF_ROW(CellSearchD)};
};
template <> struct Kernels<float> {
    static inline LevelCache<InterpKernelS> interpolate{LevelCache<InterpKernelS>::Table ORB_DF_ROW(InterpolateS)};
    static inline LevelCache<InterpKernelS> search{LevelCache<InterpKernelS>::Table ORB_DF_ROW(CellSearchS)};
};
#undef ORB_DF_ROW

}  // namespace

template <class T>
int Interpolate(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                const T *site, int64_t sitehint, int64_t ndorder,
                const int32_t *dorder, const double *datahint, T *r,
                int64_t rhint, int32_t *cell) {
    if (!(type & 1) && !(type & 2)) return DfStatusUnsupportedComputation;
    if (method != 1) return DfStatusUnsupportedMethod;
    if (!task) return DfStatusNullTask;
    if (!site) return DfStatusNullSites;
    if (nsite < 1) return DfStatusBadSiteCount;
    if (sitehint != 0 && sitehint != 1 && sitehint != 4 && sitehint != 64) return DfStatusBadSiteHint;
    InterpRequest<T> q{task, type, method, nsite, site, sitehint, ndorder, dorder,
                       datahint, r, rhint, cell, InterpHooks{}, &kThreading};
    if (type & 1) {
        int64_t st = task->splineType;
        // The knot-based quadratic is evaluated between its knots: never
        // read an ic array that does not hold them.
        if (task->splineOrder == 3 && st == 1 && !(task->icType & 8))
            return DfStatusBadInternalConditionType;
        if (st == 6 || st == 7 || st == 8) {
            // Evaluated from the values: every function must have them.
            if (!task->yTable) return DfStatusNullFunctionValues;
            const int64_t nv = task->yhint == 32 ? 1 : FunctionCount(task);
            for (int64_t i = 0; i < nv; ++i)
                if (!task->yTable[i]) return DfStatusNullFunctionValues;
        } else {
            if (!task->coeffTable) return DfStatusNullCoefficients;
            for (int64_t i = 0; i < task->ny; ++i)
                if (!task->coeffTable[i]) return DfStatusNullCoefficients;
        }
        if (!r) return DfStatusNullResult;
        if (ndorder <= 0) {
            if (dorder) return DfStatusBadDerivativeCount;
            if (ndorder < 0) return DfStatusNullDerivativeOrders;
        } else if (!dorder) {
            return DfStatusNullDerivativeOrders;
        }
        if ((type & 2) && !cell) return DfStatusNullCellIndices;
        return Kernels<T>::interpolate.Get()(q);
    }
    if (!cell) return DfStatusNullCellIndices;
    return Kernels<T>::search.Get()(q);
}

template int Interpolate<double>(DfTask *, int64_t, int64_t, int64_t, const double *, int64_t,
                                 int64_t, const int32_t *, const double *, double *, int64_t,
                                 int32_t *);
template int Interpolate<float>(DfTask *, int64_t, int64_t, int64_t, const float *, int64_t,
                                int64_t, const int32_t *, const double *, float *, int64_t,
                                int32_t *);

}  // namespace orb::df
