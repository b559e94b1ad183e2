// The BLAS-1 kernel variants, one set per CpuLevel (2..7), declared once
// through an X-macro, and the six-entry tables the dispatch slots use.
// Every variant takes its scalars by address, as the internal entries do.
#ifndef ORB_BLAS1_KERNEL_TABLE_H
#define ORB_BLAS1_KERNEL_TABLE_H

#include <stdint.h>

#include "service/dispatch_slot.h"

namespace orb::blas1 {

template <typename T>
using CopyFn = void (*)(const int32_t *n, const T *x, const int32_t *incx, T *y,
                        const int32_t *incy);
template <typename T>
using ScalFn = void (*)(const int32_t *n, const T *alpha, T *x, const int32_t *incx);
template <typename T>
using IamaxFn = int32_t (*)(const int32_t *n, const T *x, const int32_t *incx);

}  // namespace orb::blas1

#define ORB_BLAS1_LEVELS(X) X(k_sse2) X(k_sse3) X(k_ssse3) X(k_sse42) X(k_avx) X(k_avx2)

#define ORB_BLAS1_DECLARE_LEVEL(ns)                                                     \
    namespace orb::blas1::ns {                                                          \
    void dcopy(const int32_t *, const double *, const int32_t *, double *, const int32_t *); \
    void scopy(const int32_t *, const float *, const int32_t *, float *, const int32_t *);   \
    void dscal(const int32_t *, const double *, double *, const int32_t *);            \
    void sscal(const int32_t *, const float *, float *, const int32_t *);              \
    int32_t idamax(const int32_t *, const double *, const int32_t *);                  \
    int32_t isamax(const int32_t *, const float *, const int32_t *);                   \
    }
ORB_BLAS1_LEVELS(ORB_BLAS1_DECLARE_LEVEL)
#undef ORB_BLAS1_DECLARE_LEVEL

// Table of one kernel, the SSE2 variant first and the AVX2-set variant last.
#define ORB_BLAS1_TABLE(fn)                                                             \
    {orb::blas1::k_sse2::fn, orb::blas1::k_sse3::fn, orb::blas1::k_ssse3::fn,           \
     orb::blas1::k_sse42::fn, orb::blas1::k_avx::fn, orb::blas1::k_avx2::fn}

#endif
