// The request an interpolation or cell-search kernel receives: the task,
// the caller's arguments widened to 64 bits, the extension hooks (always
// null through the exported interface) and the threading services.
#ifndef ORB_DATAFIT_DF_INTERP_REQUEST_H
#define ORB_DATAFIT_DF_INTERP_REQUEST_H

#include <cstdint>

#include "datafit/df_task.h"

namespace orb::df {

struct InterpHooks {
    void *extrapolate_left, *extrapolate_left_params;
    void *extrapolate_right, *extrapolate_right_params;
    void *interpolate, *interpolate_params;
    void *search, *search_params;
};

struct ThreadServices {
    int32_t (*threads)(int32_t domain);
};

template <class T>
struct InterpRequest {
    const DfTask *task;
    int64_t type, method, nsite;
    const T *site;
    int64_t sitehint, ndorder;
    const int32_t *dorder;
    const double *datahint;
    T *r;
    int64_t rhint;
    int32_t *cell;
    InterpHooks hooks;
    const ThreadServices *threading;
};

using InterpKernelD = int (*)(const InterpRequest<double> &);
using InterpKernelS = int (*)(const InterpRequest<float> &);

}  // namespace orb::df

// Every level that has its own copy of the interpolation kernels.
#define ORB_DF_INTERP_LEVELS(X) X(k_generic) X(k_sse2) X(k_sse3) X(k_ssse3) \
    X(k_sse41) X(k_sse42) X(k_avx) X(k_avx2)

#define ORB_DF_DECLARE_INTERP(ns)                                          \
    namespace orb::df::ns {                                                \
    int InterpolateD(const InterpRequest<double> &);                        \
    int InterpolateS(const InterpRequest<float> &);                         \
    int CellSearchD(const InterpRequest<double> &);                         \
    int CellSearchS(const InterpRequest<float> &);                          \
    }
ORB_DF_INTERP_LEVELS(ORB_DF_DECLARE_INTERP)
#undef ORB_DF_DECLARE_INTERP

#endif
