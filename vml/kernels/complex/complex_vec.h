// Vector main paths of double-precision complex division and magnitude:
// the double-double formulas of complex_ops.h evaluated lane-wise on the
// level's vector type (exact products by fused multiply-add where the
// level has it, by Dekker's splitting elsewhere), without scaling: a step
// with a lane whose parts lie outside a range where no intermediate can
// overflow or underflow (or infinite, NaN, zero-divisor lanes) is left to
// the scaled scalar operation. The double-double pieces also serve the
// products of complex_lanes.h.
#ifndef ORB_VML_COMPLEX_VEC_H
#define ORB_VML_COMPLEX_VEC_H

#include "vml/kernels/arith/simd.h"
#include "vml/kernels/complex/complex_ops.h"

#if ORB_KLEVEL >= 2
#include <immintrin.h>
#endif

namespace ORB_KNS {
namespace vml {
namespace cvec {

using V = VecD;
using U = VecDU;
constexpr int kL = Vec<double>::kLanes;

inline V Splat(double v) {
    V r;
    for (int k = 0; k < kL; ++k) r[k] = v;
    return r;
}
inline U SplatU(uint64_t v) {
    U r;
    for (int k = 0; k < kL; ++k) r[k] = v;
    return r;
}

// Real and imaginary parts of the kL complex numbers at p, and back. With
// 32-byte vectors the halves are loaded and stored 16 bytes at a time, so
// that one in-lane interleave does the rest (no cross-lane shuffle).
typedef double VH __attribute__((vector_size(16)));
// (Templates, so that only the width in use is instantiated.)
template <class W> inline void LoadSplit(const double *p, W *re, W *im) {
    if constexpr (sizeof(W) == 32) {
        const VH h0 = LoadU<VH>(p), h1 = LoadU<VH>(p + 2), h2 = LoadU<VH>(p + 4), h3 = LoadU<VH>(p + 6);
        const W x = __builtin_shufflevector(h0, h2, 0, 1, 2, 3);  // z0 | z2
        const W y = __builtin_shufflevector(h1, h3, 0, 1, 2, 3);  // z1 | z3
        *re = __builtin_shufflevector(x, y, 0, 4, 2, 6);
        *im = __builtin_shufflevector(x, y, 1, 5, 3, 7);
    } else {
        const W x = LoadU<W>(p), y = LoadU<W>(p + 2);
        *re = __builtin_shufflevector(x, y, 0, 2);
        *im = __builtin_shufflevector(x, y, 1, 3);
    }
}
template <class W> inline void StoreJoin(double *p, W re, W im) {
    if constexpr (sizeof(W) == 32) {
        const W x = __builtin_shufflevector(re, im, 0, 4, 2, 6);  // z0 | z2
        const W y = __builtin_shufflevector(re, im, 1, 5, 3, 7);  // z1 | z3
        StoreU(p, VH(__builtin_shufflevector(x, x, 0, 1)));
        StoreU(p + 2, VH(__builtin_shufflevector(y, y, 0, 1)));
        StoreU(p + 4, VH(__builtin_shufflevector(x, x, 2, 3)));
        StoreU(p + 6, VH(__builtin_shufflevector(y, y, 2, 3)));
    } else {
        StoreU(p, W(__builtin_shufflevector(re, im, 0, 2)));
        StoreU(p + 2, W(__builtin_shufflevector(re, im, 1, 3)));
    }
}

// Exact error of the product p = a * b (p already rounded).
inline V ProdErr(V a, V b, V p) {
#if ORB_KLEVEL == 7
    return (V)_mm256_fmsub_pd((__m256d)a, (__m256d)b, (__m256d)p);
#else
    // The split overflows only for parts above 2^995: Div and Abs never pass
    // such parts, and Mul then gets a non-finite result and its repair.
    const V c = Splat(134217729.0);  // 2^27 + 1
    const V ta = c * a, tb = c * b;
    const V ah = ta - (ta - a), bh = tb - (tb - b);
    const V al = a - ah, bl = b - bh;
    return ((ah * bh - p) + ah * bl + al * bh) + al * bl;
#endif
}

struct DDV { V hi, lo; };
// a*b + c*d as a double-double (Dot2 lane-wise).
inline DDV Dot2V(V a, V b, V c, V d) {
    const V p = a * b, e = ProdErr(a, b, p);
    const V q = c * d, f = ProdErr(c, d, q);
    const V s = p + q;
    const V t = s - p;
    const V err = (p - (s - t)) + (q - t);
    return {s, err + (e + f)};
}

// Dot2Lean lane-wise (complex_ops.h): the same bits as the scalar form.
inline DDV Dot2LeanV(V a, V b, V c, V d) {
    const V p = a * b, e = ProdErr(a, b, p);
    const V q = c * d, f = ProdErr(c, d, q);
    const V sum = p + q, err = e + f;
    const V hi = sum + err;
    return {hi, err - (hi - sum)};
}

// Lanes where x is neither zero nor of magnitude in [2^-450, 2^451) (NaN
// included): outside that range a square or a product of two parts could
// overflow or reach the subnormal range, so the lane goes to the scaled
// scalar path. On the magnitude's bits m, adding 2^63 - 1 takes 0 to the
// largest signed value and 1.. below zero in order, so one signed compare
// finds 0 < m < 2^-450 and another m >= 2^451.
inline U OutOfRange(V x) {
    typedef int64_t S __attribute__((vector_size(sizeof(V))));
    constexpr uint64_t kMag = 0x7FFFFFFFFFFFFFFFull, kSign = 0x8000000000000000ull;
    constexpr uint64_t kLo = uint64_t(1023 - 450) << 52, kHi = uint64_t(1023 + 451) << 52;
    const U m = BitCast<U>(x) & SplatU(kMag);
    const S tiny = BitCast<S>(m + SplatU(kMag)) < BitCast<S>(SplatU(kLo - 1 + kSign));
    const S huge = BitCast<S>(m) >= BitCast<S>(SplatU(kHi));
    return BitCast<U>(tiny | huge);
}

inline V AbsV(V x) { return BitCast<V>(BitCast<U>(x) & SplatU(0x7FFFFFFFFFFFFFFFull)); }
inline V MinV(V x, V y) {
#if ORB_KLEVEL >= 6 && ORB_KLEVEL != 41
    return (V)_mm256_min_pd((__m256d)x, (__m256d)y);
#elif ORB_KLEVEL >= 2
    return (V)_mm_min_pd((__m128d)x, (__m128d)y);
#else
    return Select(BitCast<U>(x < y), x, y);
#endif
}

inline V MaxV(V x, V y) {
#if ORB_KLEVEL >= 6 && ORB_KLEVEL != 41
    return (V)_mm256_max_pd((__m256d)x, (__m256d)y);
#elif ORB_KLEVEL >= 2
    return (V)_mm_max_pd((__m128d)x, (__m128d)y);
#else
    return Select(BitCast<U>(x > y), x, y);
#endif
}

// x^2 + y^2 as Dot2V(x, x, y, y) gives it, from the squares and the lesser
// of them: both are positive, so the larger one plus the lesser recovers
// the sum's error exactly (the same value, in three operations for five).
inline DDV SumOfSquares(V x, V y, V x2, V y2, V least) {
    const V s = x2 + y2;
    const V err = least - (s - MaxV(x2, y2));
    return {s, err + (ProdErr(x, x, x2) + ProdErr(y, y, y2))};
}

// A cheap superset of the lanes OutOfRange finds in any of the parts (and
// of zero divisors), from the parts' squares, which the formulas compute
// anyway: their sum (sumsq) not below 2^902 (infinite and NaN parts
// included) or the least of them (least) below 2^-900, zero included.
// Ordinary steps pass it and skip the exact test, which costs three times
// as much.
inline U MaybeOutOfRange(V sumsq, V least) {
    return ~BitCast<U>(sumsq < Splat(0x1p902)) | BitCast<U>(least < Splat(0x1p-900));
}

// MulAdd lane-wise.
inline V MulAddV(V a, V b, V c) {
#if ORB_KLEVEL == 7
    return (V)_mm256_fmadd_pd((__m256d)a, (__m256d)b, (__m256d)c);
#else
    return a * b + c;
#endif
}

// n - q * d for a product q * d that lies so close to n that the
// difference is exact: one fused multiply-add, or the rounded product's
// exact error taken off a Sterbenz-exact difference.
inline V ExactRem(V n, V q, V d) {
#if ORB_KLEVEL == 7
    return (V)_mm256_fnmadd_pd((__m256d)q, (__m256d)d, (__m256d)n);
#else
    const V p = q * d;
    return (n - p) - ProdErr(q, d, p);
#endif
}

// kL complex quotients a/b; false when a lane must be redone by the scalar
// path.
inline bool Div(V ar, V ai, V br, V bi, V *x, V *y) {
    const V br2 = br * br, bi2 = bi * bi, bmin = MinV(br2, bi2);
    const DDV d = SumOfSquares(br, bi, br2, bi2, bmin);
    const DDV nr = Dot2LeanV(ar, br, ai, bi);
    const DDV ni = Dot2LeanV(ai, br, -ar, bi);
    const V inv = Splat(1.0) / d.hi;
    const V qr0 = nr.hi * inv, qi0 = ni.hi * inv;
    const V rr = MulAddV(-qr0, d.lo, ExactRem(nr.hi, qr0, d.hi) + nr.lo);
    const V ri = MulAddV(-qi0, d.lo, ExactRem(ni.hi, qi0, d.hi) + ni.lo);
    *x = MulAddV(rr, inv, qr0);
    *y = MulAddV(ri, inv, qi0);
    const V a2 = ar * ar, ai2 = ai * ai;
    const U maybe = MaybeOutOfRange((a2 + ai2) + d.hi, MinV(MinV(a2, ai2), bmin));
    if (!Any(maybe)) [[likely]] return true;
    const U zero = BitCast<U>(br == Splat(0.0)) & BitCast<U>(bi == Splat(0.0));
    return !Any(zero | OutOfRange(ar) | OutOfRange(ai) | OutOfRange(br) | OutOfRange(bi));
}

inline V SqrtV(V x) {
#if ORB_KLEVEL >= 6 && ORB_KLEVEL != 41
    return (V)_mm256_sqrt_pd((__m256d)x);
#elif ORB_KLEVEL >= 2
    return (V)_mm_sqrt_pd((__m128d)x);
#else
    V r;
    for (int k = 0; k < kL; ++k) r[k] = std::sqrt(x[k]);
    return r;
#endif
}

// kL magnitudes; false when a lane must be redone by the scalar path.
inline bool Abs(V re, V im, V *r) {
    const V re2 = re * re, im2 = im * im, least = MinV(re2, im2);
    const DDV q = SumOfSquares(re, im, re2, im2, least);
    // sqrt(hi + lo) ~ r0 + (hi + lo - r0^2) / (2 r0).
    const V r0 = SqrtV(q.hi);
    const V p = r0 * r0;
    const V res = ((q.hi - p) - ProdErr(r0, r0, p)) + q.lo;
    *r = Select(BitCast<U>(r0 > Splat(0.0)), r0 + res / (Splat(2.0) * r0), r0);
    const U maybe = MaybeOutOfRange(q.hi, least);
    if (!Any(maybe)) [[likely]] return true;
    return !Any(OutOfRange(re) | OutOfRange(im));
}

}  // namespace cvec
}  // namespace vml
}  // namespace ORB_KNS

#endif
