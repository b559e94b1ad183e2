/* The power-by-scalar kernels of every level namespace (k_ref for the plain
 * reference loops, k_generic ... k_avx2). One flavour serves all accuracy
 * codes: it is within 1 ulp. */
#ifndef ORB_VML_KERNELS_POW_KERNELS_H
#define ORB_VML_KERNELS_POW_KERNELS_H

#include "../roots/roots_kernels.h"

#define ORB_VML_POW_KERNELS(X)            \
    X(vsPowx_ha, float, "vsPowx")         \
    X(vdPowx_ha, double, "vdPowx")

#define ORB_VML_POW_DECL(fn, T, name) void fn(int32_t n, const T *a, T b, T *y);
#define ORB_VML_POW_NS(ns) namespace ns { ORB_VML_POW_KERNELS(ORB_VML_POW_DECL) }
ORB_VML_MATH_LEVELS(ORB_VML_POW_NS)
#undef ORB_VML_POW_NS
#undef ORB_VML_POW_DECL

#endif
