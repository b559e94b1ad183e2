// df?Construct1D: entry checks, then the driver of the spline's order and
// type from the construction code of the process's extended level.
#include "datafit/df_construct_drivers.h"
#include "datafit/df_level_cache.h"
#include "datafit/df_task.h"
#include "service/built_levels.h"

namespace orb::df {
namespace {

// Rows 0 and 1 run the baseline copy, 2 to 8 the SSE2 one, 9 AVX2 (the
// SSE2 one in builds without the AVX2 level).
#if ORB_BUILT_avx2
#define ORB_DF_NS_AVX2 k_avx2
#else
#define ORB_DF_NS_AVX2 k_sse2
#endif
#define ORB_DF_ROW(set)                                                         \
    {&k_generic::set, &k_generic::set, &k_sse2::set, &k_sse2::set, &k_sse2::set, \
     &k_sse2::set,    &k_sse2::set,    &k_sse2::set, &k_sse2::set, &ORB_DF_NS_AVX2::set}

using DriverCache = LevelCache<const ConstructDriverSet *>;
template <class T> struct Drivers;
template <> struct Drivers<double> { static inline DriverCache set{DriverCache::Table ORB_DF_ROW(kDriversD)}; };
template <> struct Drivers<float> { static inline DriverCache set{DriverCache::Table ORB_DF_ROW(kDriversS)}; };
#undef ORB_DF_ROW
#undef ORB_DF_NS_AVX2

}  // namespace

template <class T>
int Construct(DfTask *t, int64_t s_format, int64_t method) {
    if (!t) return DfStatusNullTask;
    if (s_format != 0 || method != 0) return DfStatusUnsupportedMethod;
    const int64_t nf = FunctionCount(t);
    if (!t->coeffTable) return DfStatusNullCoefficients;
    for (int64_t i = 0; i < nf; ++i)
        if (!t->coeffTable[i]) return DfStatusNullCoefficients;
    if (!t->yTable) return DfStatusNullFunctionValues;
    if (t->yhint == 0 || t->yhint == 16 || t->yhint == 128) {
        for (int64_t i = 0; i < nf; ++i)
            if (!t->yTable[i]) return DfStatusNullFunctionValues;
    } else if (t->yhint == 32) {
        if (!t->yTable[0]) return DfStatusNullFunctionValues;
    } else {
        return DfStatusBadFunctionHint;
    }
    const ConstructDriverSet &d = *Drivers<T>::set.Get();
    ConstructDriver driver = nullptr;
    switch (t->splineOrder) {
    case 2: driver = d.linear; break;
    case 3:
        if (t->splineType != 0 && t->splineType != 1) return DfStatusBadSplineType;
        driver = d.quadratic;
        break;
    case 4:
        switch (t->splineType) {
        case 0:
            if (!t->ic) return DfStatusNullInternalConditions;
            if (t->icType != 2) return DfStatusBadInternalConditionType;
            driver = d.cubic0;
            break;
        case 2: driver = d.cubic2; break;
        case 3:
            if (!t->ic) return DfStatusNullInternalConditions;
            if (t->icType != 1) return DfStatusBadInternalConditionType;
            driver = d.cubic3;
            break;
        case 4: driver = d.cubic4; break;
        case 5: driver = d.cubic5; break;
        default: return DfStatusBadSplineType;
        }
        break;
    default: return DfStatusBadSplineOrder;
    }
    return driver(t, s_format, method);
}

template int Construct<double>(DfTask *, int64_t, int64_t);
template int Construct<float>(DfTask *, int64_t, int64_t);

}  // namespace orb::df
