// Complex products on interleaved (re, im) lanes: a vector of doubles
// holds whole complex numbers as they lie in memory, so the loop needs
// no split into real and imaginary vectors, only a duplicate of b's parts
// and a swap of a's. Each lane computes the same expression as the scalar
// OpCMul::Parts of its component, to the bit, so an element's result does
// not depend on whether it falls in the main loop or in the tail.
#ifndef ORB_VML_COMPLEX_LANES_H
#define ORB_VML_COMPLEX_LANES_H

#include "vml/kernels/complex/complex_vec.h"

namespace ORB_KNS {
namespace vml {
namespace clanes {

using cvec::U;
using cvec::V;
constexpr int kL = cvec::kL;
// kL floats: the single-precision operands of one double vector.
typedef float VF __attribute__((vector_size(kL * 4)));

// (W is V: templates so that only the width in use is instantiated.)
// (b.re, b.re, ...) and (b.im, b.im, ...) of each complex in b; (a.im, a.re)
// of each complex in a.
template <class W> inline W DupRe(W b) {
    if constexpr (sizeof(W) == 32) return __builtin_shufflevector(b, b, 0, 0, 2, 2);
    else return __builtin_shufflevector(b, b, 0, 0);
}
template <class W> inline W DupIm(W b) {
    if constexpr (sizeof(W) == 32) return __builtin_shufflevector(b, b, 1, 1, 3, 3);
    else return __builtin_shufflevector(b, b, 1, 1);
}
template <class W> inline W Swap(W a) {
    if constexpr (sizeof(W) == 32) return __builtin_shufflevector(a, a, 1, 0, 3, 2);
    else return __builtin_shufflevector(a, a, 1, 0);
}
// x - y in the real lanes, x + y in the imaginary ones.
template <class W> inline W AddSub(W x, W y) {
    if constexpr (sizeof(W) == 32) return __builtin_shufflevector(x - y, x + y, 0, 5, 2, 7);
    else return __builtin_shufflevector(x - y, x + y, 0, 3);
}
// -0.0 in the real lanes: flips their sign by xor.
inline V RealSign(V x) {
    U m;
    for (int k = 0; k < kL; ++k) m[k] = k % 2 == 0 ? 0x8000000000000000ull : 0;
    return BitCast<V>(BitCast<U>(x) ^ m);
}

// Products a * b (a * conj(b) when Conj) of the complex numbers in a and b.
// Real lane: Kahan(ar, br, -ai, bi); imaginary lane: Kahan(ai, br, ar, bi),
// bi negated for the conjugate.
template <bool Conj> inline V MulD(V a, V b) {
    const V br = DupRe(b), bi = Conj ? -DupIm(b) : DupIm(b), as = Swap(a);
#if ORB_KLEVEL == 7
    // w = a.swap * bi rounded, e its exact error; then a * br -+ w in one
    // rounding and the error added back with the same signs.
    const __m256d w = _mm256_mul_pd((__m256d)as, (__m256d)bi);
    const __m256d e = _mm256_fmsub_pd((__m256d)as, (__m256d)bi, w);
    const __m256d f = _mm256_fmaddsub_pd((__m256d)a, (__m256d)br, w);
    return (V)_mm256_addsub_pd(f, e);
#else
    // Dot2 of both components: (a, -a.swap-real) by (br, bi).
    const cvec::DDV d = cvec::Dot2V(a, br, RealSign(as), bi);
    return d.hi + d.lo;
#endif
}

// Single precision in double lanes: exact products, one rounding of their
// sum in double and one to float (as OpCMul::Parts for floats).
template <bool Conj> inline V MulF(V a, V b) {
    const V bi = Conj ? -DupIm(b) : DupIm(b);
    return AddSub(a * DupRe(b), Swap(a) * bi);
}

// x + y in the real lanes, x - y in the imaginary ones.
template <class W> inline W SubAdd(W x, W y) {
    if constexpr (sizeof(W) == 32) return __builtin_shufflevector(x + y, x - y, 0, 5, 2, 7);
    else return __builtin_shufflevector(x + y, x - y, 0, 3);
}

// Single-precision quotients in double lanes, as OpCDiv::Parts for floats:
// exact squares and products, |b|^2 (the same sum in both lanes of an
// element) and the numerators rounded once each, times the reciprocal.
inline V DivF(V a, V b) {
    const V bb = b * b;
    const V num = SubAdd(a * DupRe(b), Swap(a) * DupIm(b));
    return num * (cvec::Splat(1.0) / (bb + Swap(bb)));
}

// Lanes that are infinite or NaN (double), or NaN only (float: an infinite
// float result is already the right one, only NaN pairs need the recovery).
inline U NonFinite(V r) { return BitCast<U>((r - r) != (r - r)); }
inline U IsNan(V r) { return BitCast<U>(r != r); }
// Lanes that do not round to a finite float (NaN included; the few just
// above the largest float that round down to it are sent along, the
// scalar form gives them the same bits).
inline U NotFloatFinite(V r) { return ~BitCast<U>(cvec::AbsV(r) <= cvec::Splat(3.4028234663852886e38)); }

// The operations on lanes PairLoop drives (double D, float F) and the lanes
// each hands to the scalar operation.
template <bool Conj> struct MulLanes {
    static V D(V a, V b) { return MulD<Conj>(a, b); }
    static U BadD(V r) { return NonFinite(r); }
    static V F(V a, V b) { return MulF<Conj>(a, b); }
    static U BadF(V r) { return IsNan(r); }
};
struct DivLanes {
    static V F(V a, V b) { return DivF(a, b); }
    static U BadF(V r) { return NotFloatFinite(r); }
};

}  // namespace clanes
}  // namespace vml
}  // namespace ORB_KNS

#endif
