/* The two-argument arc-tangent kernels of every level namespace (k_ref for
 * the plain reference loops, k_generic ... k_avx2); one flavour, within
 * 1 ulp, serves all accuracy codes. y[i] = atan2(a[i], b[i]). */
#ifndef ORB_VML_KERNELS_ATAN2_KERNELS_H
#define ORB_VML_KERNELS_ATAN2_KERNELS_H

#include "../roots/roots_kernels.h"

#define ORB_VML_ATAN2_KERNELS(X)          \
    X(vsAtan2_ha, float)                  \
    X(vdAtan2_ha, double)

#define ORB_VML_ATAN2_DECL(fn, T) void fn(int32_t n, const T *a, const T *b, T *y);
#define ORB_VML_ATAN2_NS(ns) namespace ns { ORB_VML_ATAN2_KERNELS(ORB_VML_ATAN2_DECL) }
ORB_VML_MATH_LEVELS(ORB_VML_ATAN2_NS)
#undef ORB_VML_ATAN2_NS
#undef ORB_VML_ATAN2_DECL

#endif
