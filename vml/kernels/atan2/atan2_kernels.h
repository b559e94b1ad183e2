/* The two-argument arc-tangent kernels of every level namespace (k_ref for
 * the plain reference loops, k_generic ... k_avx2): _ha within 1 ulp,
 * _la (double, plain double arithmetic) within 4 ulp for code 1, _ep
 * (double, short polynomial, no selects) with 26 bits and more for code 3; single
 * precision _ha within 1 ulp, _la (float lanes) within 4 ulp for code 1,
 * _ep (float lanes, short polynomial) 11 bits and more for code 3.
 * y[i] = atan2(a[i], b[i]). */
#ifndef ORB_VML_KERNELS_ATAN2_KERNELS_H
#define ORB_VML_KERNELS_ATAN2_KERNELS_H

#include "../roots/roots_kernels.h"

#define ORB_VML_ATAN2_KERNELS(X)          \
    X(vsAtan2_ha, float, Short)           \
    X(vsAtan2_la, float, Float)           \
    X(vsAtan2_ep, float, FloatShort)      \
    X(vdAtan2_ha, double, Accurate)       \
    X(vdAtan2_la, double, Plain)          \
    X(vdAtan2_ep, double, Fast)

#define ORB_VML_ATAN2_DECL(fn, T, acc) void fn(int32_t n, const T *a, const T *b, T *y);
#define ORB_VML_ATAN2_NS(ns) namespace ns { ORB_VML_ATAN2_KERNELS(ORB_VML_ATAN2_DECL) }
ORB_VML_MATH_LEVELS(ORB_VML_ATAN2_NS)
#undef ORB_VML_ATAN2_NS
#undef ORB_VML_ATAN2_DECL

#endif
