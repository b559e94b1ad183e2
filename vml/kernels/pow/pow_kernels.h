/* The power-by-scalar kernels of every level namespace (k_ref for the plain
 * reference loops, k_generic ... k_avx2): _ha within 1 ulp (codes 2 and
 * 1), _ep the code-3 flavour (26 bits and more in double, 11 in single). */
#ifndef ORB_VML_KERNELS_POW_KERNELS_H
#define ORB_VML_KERNELS_POW_KERNELS_H

#include "../roots/roots_kernels.h"

#define ORB_VML_POW_KERNELS(X)            \
    X(vsPowx_ha, float, "vsPowx", false)  \
    X(vsPowx_ep, float, "vsPowx", true)   \
    X(vdPowx_ha, double, "vdPowx", false) \
    X(vdPowx_ep, double, "vdPowx", true)

#define ORB_VML_POW_DECL(fn, T, name, fast) void fn(int32_t n, const T *a, T b, T *y);
#define ORB_VML_POW_NS(ns) namespace ns { ORB_VML_POW_KERNELS(ORB_VML_POW_DECL) }
ORB_VML_MATH_LEVELS(ORB_VML_POW_NS)
#undef ORB_VML_POW_NS
#undef ORB_VML_POW_DECL

#endif
