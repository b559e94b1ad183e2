/* The root kernels, listed once: (symbol, element, core, accuracy flavour,
 * status reported for flagged lanes, export name). Every level namespace
 * (k_ref for the plain reference loops, k_generic ... k_avx2) defines them
 * all; the declarations below follow from the list. Suffix _ha is the
 * flavour within 1 ulp (single precision: Newton step on widened lanes),
 * vsSqrt_ep the code-3 square root (estimate and one Newton step, 22 bits),
 * vdInvCbrt_la/_ep the division-free double ones of codes 1 and 3,
 * vdCbrt_ep the division-free double one of code 3 (26 bits and more),
 * _la the single-precision flavour within 4 ulp
 * (seed and one Newton step on float lanes), _ep the seed-only one (11
 * bits and more). */
#ifndef ORB_VML_KERNELS_ROOTS_KERNELS_H
#define ORB_VML_KERNELS_ROOTS_KERNELS_H

#include <stdint.h>

#define ORB_VML_ROOT_KERNELS(X)                                  \
    X(vsSqrt_ha, float, SqrtCore, Full, 1, "vsSqrt")             \
    X(vsSqrt_ep, float, SqrtCore, Seed, 1, "vsSqrt")             \
    X(vdSqrt_ha, double, SqrtCore, Full, 1, "vdSqrt")            \
    X(vsCbrt_ha, float, CbrtCore, Wide, 0, "vsCbrt")             \
    X(vsCbrt_la, float, CbrtCore, Fast, 0, "vsCbrt")             \
    X(vsCbrt_ep, float, CbrtCore, Seed, 0, "vsCbrt")             \
    X(vdCbrt_ha, double, CbrtCore, Full, 0, "vdCbrt")            \
    X(vdCbrt_ep, double, CbrtCore, Newton1, 0, "vdCbrt")         \
    X(vsInvCbrt_ha, float, InvCbrtCore, Wide, 2, "vsInvCbrt")    \
    X(vsInvCbrt_la, float, InvCbrtCore, Fast, 2, "vsInvCbrt")    \
    X(vsInvCbrt_ep, float, InvCbrtCore, Seed, 2, "vsInvCbrt")    \
    X(vdInvCbrt_ha, double, InvCbrtCore, Full, 2, "vdInvCbrt")   \
    X(vdInvCbrt_la, double, InvCbrtCore, Newton2, 2, "vdInvCbrt") \
    X(vdInvCbrt_ep, double, InvCbrtCore, Newton1, 2, "vdInvCbrt")

/* The namespaces of the levels the kernels are built for. */
#define ORB_VML_MATH_LEVELS(X) X(k_ref) X(k_generic) X(k_sse2) X(k_sse42) X(k_avx) X(k_avx2)

#define ORB_VML_ROOT_DECL(fn, T, core, acc, code, name) void fn(int32_t n, const T *a, T *y);
#define ORB_VML_ROOT_NS(ns) namespace ns { ORB_VML_ROOT_KERNELS(ORB_VML_ROOT_DECL) }
ORB_VML_MATH_LEVELS(ORB_VML_ROOT_NS)
#undef ORB_VML_ROOT_NS
#undef ORB_VML_ROOT_DECL

#endif
