/* Double-double helpers on lane vectors: error-free sums and products used
 * where a core needs more than 53 bits in an intermediate (power, arc
 * tangent, inverse cube root). Contraction is off inside them: the
 * error-free transformations depend on every operation being rounded. */
#ifndef ORB_VML_KERNELS_DD_H
#define ORB_VML_KERNELS_DD_H

#include "lanes.h"

ORB_VMK_BEGIN

template <int W> struct DD {
    VD<W> hi, lo;
};

/* hi + lo = a + b exactly, for any a, b. */
template <int W> inline DD<W> two_sum(VD<W> a, VD<W> b) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VD<W> s = a + b;
    VD<W> bb = s - a;
    VD<W> e = (a - (s - bb)) + (b - bb);
    return {s, e};
}

/* Same, when |a| >= |b| (or a is zero). */
template <int W> inline DD<W> fast_two_sum(VD<W> a, VD<W> b) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VD<W> s = a + b;
    return {s, b - (s - a)};
}

/* hi + lo = a * b exactly (barring underflow; |a|, |b| < 2^996). */
template <int W> inline DD<W> two_prod(VD<W> a, VD<W> b) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VD<W> p = a * b;
#if defined(__FMA__)
    return {p, fma<W>(a, b, -p)};
#else
    const VD<W> split = splat<W>(134217729.0); /* 2^27 + 1 */
    VD<W> ca = split * a, cb = split * b;
    VD<W> ah = ca - (ca - a), bh = cb - (cb - b);
    VD<W> al = a - ah, bl = b - bh;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
#endif
}

/* (x.hi + x.lo) * y, relative error about 2^-104. */
template <int W> inline DD<W> mul(DD<W> x, VD<W> y) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    DD<W> p = two_prod<W>(x.hi, y);
    return fast_two_sum<W>(p.hi, p.lo + x.lo * y);
}

/* (x.hi + x.lo) + (y.hi + y.lo). */
template <int W> inline DD<W> add(DD<W> x, DD<W> y) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    DD<W> s = two_sum<W>(x.hi, y.hi);
    return fast_two_sum<W>(s.hi, s.lo + (x.lo + y.lo));
}

/* (x.hi + x.lo) / (y.hi + y.lo), relative error about 2^-100. */
template <int W> inline DD<W> div(DD<W> x, DD<W> y) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VD<W> q = x.hi / y.hi;
    DD<W> p = two_prod<W>(q, y.hi);
    VD<W> r = (((x.hi - p.hi) - p.lo) + x.lo) - q * y.lo;
    return fast_two_sum<W>(q, r / y.hi);
}

ORB_VMK_END

#endif
