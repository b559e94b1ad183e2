// Complex packs for the kernels: Pack<T, L> holds L interleaved complex
// numbers in one compiler vector (the level's flags decide the
// instructions), Pack<T, 1> is a plain complex scalar. Both offer the same
// operations so every butterfly is written once.
#ifndef ORB_DFT_ENGINE_CX_PACK_H
#define ORB_DFT_ENGINE_CX_PACK_H

#include <string.h>

#include <limits>
#include <type_traits>

#if ORB_KLEVEL >= 6
#include <immintrin.h>
#elif defined(__SSE3__)
#include <pmmintrin.h>
#endif

#include "dft/engine/stage_plan.h"

namespace orb::dft::pack {

// Bytes of a vector register at the level being compiled, and complex
// numbers of type T per vector.
#if ORB_KLEVEL >= 6
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif

template <class T>
constexpr int kLanes = kVectorBytes / int(2 * sizeof(T));

template <class T, int L>
struct Pack;

// a (a vector of interleaved complex numbers) with the signs of its real
// (Re) and/or imaginary (Im) parts flipped. An xor: exact, one cycle, and
// off the multiply ports a multiply by -1 would take.
template <bool Re, bool Im, class V>
__attribute__((always_inline)) inline V FlipSigns(V a) {
    using T = std::remove_cvref_t<decltype(a[0])>;
    using I = std::conditional_t<sizeof(T) == 8, long long, int>;
    typedef I IV __attribute__((vector_size(sizeof(V))));
    constexpr int kParts = int(sizeof(V) / sizeof(T));
    IV m;
    for (int i = 0; i < kParts; i += 2)
        m[i] = Re ? std::numeric_limits<I>::min() : 0, m[i + 1] = Im ? std::numeric_limits<I>::min() : 0;
    return (V)((IV)a ^ m);
}

// ---- scalar complex ----
template <class T>
struct Pack<T, 1> {
    T re, im;
    static Pack Load(const Cx<T> *p) { return {p->re, p->im}; }
    static Pack Bcast(const Cx<T> &w) { return {w.re, w.im}; }
    void Store(Cx<T> *p) const { p->re = re, p->im = im; }
    __attribute__((always_inline)) friend Pack operator+(Pack a, Pack b) { return {a.re + b.re, a.im + b.im}; }
    __attribute__((always_inline)) friend Pack operator-(Pack a, Pack b) { return {a.re - b.re, a.im - b.im}; }
    __attribute__((always_inline)) friend Pack operator*(Pack a, T k) { return {a.re * k, a.im * k}; }
    // a * w (complex)
    __attribute__((always_inline)) friend Pack Mul(Pack a, Pack w) {
        return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
    }
    // a * i
    __attribute__((always_inline)) friend Pack MulI(Pack a) { return {-a.im, a.re}; }
    // a * (-i)
    __attribute__((always_inline)) friend Pack MulNegI(Pack a) { return {a.im, -a.re}; }
    __attribute__((always_inline)) friend Pack Conj(Pack a) { return {a.re, -a.im}; }
};

// ---- vector of L complex numbers ----
template <class T, int L>
struct Pack {
    typedef T V __attribute__((vector_size(2 * L * sizeof(T)), aligned(sizeof(T))));
    V v;

    static Pack Load(const Cx<T> *p) {
        Pack r;
        memcpy(&r.v, p, sizeof(V));
        return r;
    }
    static Pack Bcast(const Cx<T> &w) {
        Pack r;
        for (int i = 0; i < L; ++i) r.v[2 * i] = w.re, r.v[2 * i + 1] = w.im;
        return r;
    }
    // L complex numbers from split parts: re[0..L) and im[0..L). Two
    // complex doubles with AVX2: each part's pair loaded into both halves
    // (a broadcast is a plain load), then one in-lane shuffle takes re0 im0
    // from the low half and re1 im1 from the high one. The compiler's own
    // interleave took three shuffles a pack, and an insert with a lane
    // permute ran 2-4% slower (the permute crosses lanes and has one port);
    // the empty asm keeps the compiler from rewriting it. Left out at AVX,
    // where the same form measured 1-3% slower than the compiler's.
    static Pack LoadParts(const T *re, const T *im) {
#if defined(__AVX2__)
        if constexpr (L == 2 && sizeof(T) == 8) {
            __m256d r = _mm256_broadcast_pd(reinterpret_cast<const __m128d *>(re));
            __m256d i = _mm256_broadcast_pd(reinterpret_cast<const __m128d *>(im));
            asm("" : "+x"(r), "+x"(i));
            return {(V)_mm256_shuffle_pd(r, i, 0xc)};
        }
#endif
        typedef T H __attribute__((vector_size(L * sizeof(T)), aligned(sizeof(T))));
        H a, b;
        memcpy(&a, re, sizeof a);
        memcpy(&b, im, sizeof b);
        Pack r;
        if constexpr (L == 1) r.v = __builtin_shufflevector(a, b, 0, 1);
        else if constexpr (L == 2) r.v = __builtin_shufflevector(a, b, 0, 2, 1, 3);
        else r.v = __builtin_shufflevector(a, b, 0, 4, 1, 5, 2, 6, 3, 7);
        return r;
    }
    // The inverse of LoadParts: one lane permute puts the real parts in the
    // low half and the imaginary parts in the high half, stored as two half
    // vectors (the element-wise form took three shuffles a pack).
    void StoreParts(T *re, T *im) const {
        typedef T H __attribute__((vector_size(L * sizeof(T)), aligned(sizeof(T))));
        H a, b;
        if constexpr (L == 2) {
            const V t = __builtin_shufflevector(v, v, 0, 2, 1, 3);
            a = __builtin_shufflevector(t, t, 0, 1), b = __builtin_shufflevector(t, t, 2, 3);
        } else {
            const V t = __builtin_shufflevector(v, v, 0, 2, 4, 6, 1, 3, 5, 7);
            a = __builtin_shufflevector(t, t, 0, 1, 2, 3), b = __builtin_shufflevector(t, t, 4, 5, 6, 7);
        }
        memcpy(re, &a, sizeof a);
        memcpy(im, &b, sizeof b);
    }
    // Lanes from L separate complex numbers (p[0], p[stride], ...).
    static Pack Gather(const Cx<T> *p, int64_t stride) {
        Pack r;
        for (int i = 0; i < L; ++i) memcpy(reinterpret_cast<T *>(&r.v) + 2 * i, p + i * stride, sizeof(Cx<T>));
        return r;
    }
    void Store(Cx<T> *p) const { memcpy(p, &v, sizeof(V)); }
    // Two-lane packs only: {a0, b0} and {a1, b1} (a 2x2 transpose).
    static Pack Lo(Pack a, Pack b) { return {__builtin_shufflevector(a.v, b.v, 0, 1, 4, 5)}; }
    static Pack Hi(Pack a, Pack b) { return {__builtin_shufflevector(a.v, b.v, 2, 3, 6, 7)}; }
    // Four-lane packs only: r[i] lane c becomes r[c] lane i (a 4 x 4
    // transpose, two shuffles a pack).
    static void Transpose4(Pack r[4]) {
        static_assert(L == 4, "four lanes");
        const V t0 = __builtin_shufflevector(r[0].v, r[1].v, 0, 1, 8, 9, 4, 5, 12, 13);
        const V t1 = __builtin_shufflevector(r[0].v, r[1].v, 2, 3, 10, 11, 6, 7, 14, 15);
        const V t2 = __builtin_shufflevector(r[2].v, r[3].v, 0, 1, 8, 9, 4, 5, 12, 13);
        const V t3 = __builtin_shufflevector(r[2].v, r[3].v, 2, 3, 10, 11, 6, 7, 14, 15);
        r[0].v = __builtin_shufflevector(t0, t2, 0, 1, 2, 3, 8, 9, 10, 11);
        r[1].v = __builtin_shufflevector(t1, t3, 0, 1, 2, 3, 8, 9, 10, 11);
        r[2].v = __builtin_shufflevector(t0, t2, 4, 5, 6, 7, 12, 13, 14, 15);
        r[3].v = __builtin_shufflevector(t1, t3, 4, 5, 6, 7, 12, 13, 14, 15);
    }
    // Four-lane packs only: lane c of a and lane c of b, as two adjacent
    // complex numbers, to p + c * stride. One shuffle a pack and half-vector
    // stores, where a 4 x 4 transpose takes two shuffles a pack.
    static void StorePairs(Pack a, Pack b, Cx<T> *p, int64_t stride) {
        static_assert(L == 4, "four lanes");
        const V even = __builtin_shufflevector(a.v, b.v, 0, 1, 8, 9, 4, 5, 12, 13);
        const V odd = __builtin_shufflevector(a.v, b.v, 2, 3, 10, 11, 6, 7, 14, 15);
        typedef T H __attribute__((vector_size(4 * sizeof(T)), aligned(sizeof(T))));
        const H e0 = __builtin_shufflevector(even, even, 0, 1, 2, 3), e1 = __builtin_shufflevector(even, even, 4, 5, 6, 7);
        const H o0 = __builtin_shufflevector(odd, odd, 0, 1, 2, 3), o1 = __builtin_shufflevector(odd, odd, 4, 5, 6, 7);
        memcpy(p, &e0, sizeof(H));
        memcpy(p + stride, &o0, sizeof(H));
        memcpy(p + 2 * stride, &e1, sizeof(H));
        memcpy(p + 3 * stride, &o1, sizeof(H));
    }
    void Scatter(Cx<T> *p, int64_t stride) const {
        for (int i = 0; i < L; ++i) memcpy(p + i * stride, reinterpret_cast<const T *>(&v) + 2 * i, sizeof(Cx<T>));
    }
    __attribute__((always_inline)) friend Pack operator+(Pack a, Pack b) { return {a.v + b.v}; }
    __attribute__((always_inline)) friend Pack operator-(Pack a, Pack b) { return {a.v - b.v}; }
    __attribute__((always_inline)) friend Pack operator*(Pack a, T k) { return {a.v * k}; }

    static V Swap(V a) {
        if constexpr (L == 1) return __builtin_shufflevector(a, a, 1, 0);
        else if constexpr (L == 2) return __builtin_shufflevector(a, a, 1, 0, 3, 2);
        else return __builtin_shufflevector(a, a, 1, 0, 3, 2, 5, 4, 7, 6);
    }
    static V DupRe(V a) {
        if constexpr (L == 1) return __builtin_shufflevector(a, a, 0, 0);
        else if constexpr (L == 2) return __builtin_shufflevector(a, a, 0, 0, 2, 2);
        else return __builtin_shufflevector(a, a, 0, 0, 2, 2, 4, 4, 6, 6);
    }
    static V DupIm(V a) {
        if constexpr (L == 1) return __builtin_shufflevector(a, a, 1, 1);
        else if constexpr (L == 2) return __builtin_shufflevector(a, a, 1, 1, 3, 3);
        else return __builtin_shufflevector(a, a, 1, 1, 3, 3, 5, 5, 7, 7);
    }
    static V Splat(T x) {
        V r;
        for (int i = 0; i < 2 * L; ++i) r[i] = x;
        return r;
    }
    template <bool Re, bool Im>
    static V Flip(V a) {
        return FlipSigns<Re, Im>(a);
    }
    // a * (c + i s), c and s given in both halves of every lane: where the
    // level has SSE3 the sign of the cross products folds into one
    // add-subtract, fused with the multiply when it has FMA.
    __attribute__((always_inline)) static Pack MulParts(Pack a, V c, V s) {
#if ORB_KLEVEL >= 6
        if constexpr (sizeof(V) == 32) {
            const V x = Swap(a.v) * s;
            if constexpr (sizeof(T) == 8) {
#if defined(__FMA__)
                return {(V)_mm256_fmaddsub_pd((__m256d)a.v, (__m256d)c, (__m256d)x)};
#else
                return {(V)_mm256_addsub_pd((__m256d)(a.v * c), (__m256d)x)};
#endif
            } else {
#if defined(__FMA__)
                return {(V)_mm256_fmaddsub_ps((__m256)a.v, (__m256)c, (__m256)x)};
#else
                return {(V)_mm256_addsub_ps((__m256)(a.v * c), (__m256)x)};
#endif
            }
        }
#endif
#if defined(__FMA__)
        if constexpr (sizeof(V) == 16 && sizeof(T) == 8)
            return {(V)_mm_fmaddsub_pd((__m128d)a.v, (__m128d)c, (__m128d)(Swap(a.v) * s))};
        if constexpr (sizeof(V) == 16)
            return {(V)_mm_fmaddsub_ps((__m128)a.v, (__m128)c, (__m128)(Swap(a.v) * s))};
#elif defined(__SSE3__)
        if constexpr (sizeof(V) == 16 && sizeof(T) == 8)
            return {(V)_mm_addsub_pd((__m128d)(a.v * c), (__m128d)(Swap(a.v) * s))};
        if constexpr (sizeof(V) == 16)
            return {(V)_mm_addsub_ps((__m128)(a.v * c), (__m128)(Swap(a.v) * s))};
#endif
        return {a.v * c + Flip<true, false>(Swap(a.v) * s)};
    }
    __attribute__((always_inline)) friend Pack Mul(Pack a, Pack w) { return MulParts(a, DupRe(w.v), DupIm(w.v)); }
    __attribute__((always_inline)) friend Pack MulI(Pack a) { return {Flip<true, false>(Swap(a.v))}; }
    __attribute__((always_inline)) friend Pack MulNegI(Pack a) { return {Flip<false, true>(Swap(a.v))}; }
    __attribute__((always_inline)) friend Pack Conj(Pack a) { return {Flip<false, true>(a.v)}; }
};

// Lanes in reverse order (a block k-L+1 .. k read as k .. k-L+1).
template <class T, int L>
__attribute__((always_inline)) inline Pack<T, L> Reverse(Pack<T, L> a) {
    if constexpr (L == 1) return a;
    else if constexpr (L == 2) return {__builtin_shufflevector(a.v, a.v, 2, 3, 0, 1)};
    else return {__builtin_shufflevector(a.v, a.v, 6, 7, 4, 5, 2, 3, 0, 1)};
}

// Packs of more than one complex number (one vector).
template <class P>
constexpr bool kVectorPack = false;
template <class T, int L>
constexpr bool kVectorPack<Pack<T, L>> = L > 1;

// a * (c + i s) for constants c and s.
template <class T>
__attribute__((always_inline)) inline Pack<T, 1> MulConst(Pack<T, 1> a, T c, T s) {
    return {a.re * c - a.im * s, a.re * s + a.im * c};
}
template <class T, int L>
__attribute__((always_inline)) inline Pack<T, L> MulConst(Pack<T, L> a, T c, T s) {
    using P = Pack<T, L>;
    return P::MulParts(a, P::Splat(c), P::Splat(s));
}

// a * (S i): S = -1 forward, +1 backward.
template <int S, class P>
inline P MulSI(P a) {
    if constexpr (S > 0) return MulI(a);
    else return MulNegI(a);
}

#if defined(__FMA__)
constexpr bool kFused = true;
#else
constexpr bool kFused = false;
#endif

// acc + x k, one fused multiply-add where the level has FMA (the compiler
// fuses only within one expression, and the packs' operators are separate
// functions).
template <class P, class T>
__attribute__((always_inline)) inline P MulAdd(P acc, P x, T k) {
    return acc + x * k;
}
template <class T>
__attribute__((always_inline)) inline Pack<T, 1> MulAdd(Pack<T, 1> acc, Pack<T, 1> x, T k) {
    if constexpr (kFused && sizeof(T) == 4) return {__builtin_fmaf(x.re, k, acc.re), __builtin_fmaf(x.im, k, acc.im)};
    else if constexpr (kFused) return {__builtin_fma(x.re, k, acc.re), __builtin_fma(x.im, k, acc.im)};
    else return {acc.re + x.re * k, acc.im + x.im * k};
}
template <class T, int L>
__attribute__((always_inline)) inline Pack<T, L> MulAdd(Pack<T, L> acc, Pack<T, L> x, T k) {
#if defined(__FMA__)
    using V = typename Pack<T, L>::V;
    const V kv = Pack<T, L>::Splat(k);
    if constexpr (sizeof(V) == 32 && sizeof(T) == 8) return {(V)_mm256_fmadd_pd((__m256d)x.v, (__m256d)kv, (__m256d)acc.v)};
    else if constexpr (sizeof(V) == 32) return {(V)_mm256_fmadd_ps((__m256)x.v, (__m256)kv, (__m256)acc.v)};
    else if constexpr (sizeof(T) == 8) return {(V)_mm_fmadd_pd((__m128d)x.v, (__m128d)kv, (__m128d)acc.v)};
    else return {(V)_mm_fmadd_ps((__m128)x.v, (__m128)kv, (__m128)acc.v)};
#else
    return {acc.v + x.v * k};
#endif
}

// plus = c + S i b and minus = c - S i b, the radix-2 step whose twiddle
// is -+i. Where the level has FMA the sign pattern folds into one
// add-subtract and one subtract-add (a multiply by 1 is exact), which
// spares the sign flip MulSI's product costs: one instruction in four.
template <int S, class P>
__attribute__((always_inline)) inline void AddSubSI(P c, P b, P &plus, P &minus) {
#if defined(__FMA__)
    if constexpr (kVectorPack<P>) {
        using V = typename P::V;
        const V s = P::Swap(b.v);
        V up, down;  // c + i b, c - i b
        if constexpr (sizeof(V) == 32 && sizeof(c.v[0]) == 8) {
            up = (V)_mm256_addsub_pd((__m256d)c.v, (__m256d)s);
            down = (V)_mm256_fmsubadd_pd((__m256d)c.v, _mm256_set1_pd(1.0), (__m256d)s);
        } else if constexpr (sizeof(V) == 32) {
            up = (V)_mm256_addsub_ps((__m256)c.v, (__m256)s);
            down = (V)_mm256_fmsubadd_ps((__m256)c.v, _mm256_set1_ps(1.0f), (__m256)s);
        } else if constexpr (sizeof(c.v[0]) == 8) {
            up = (V)_mm_addsub_pd((__m128d)c.v, (__m128d)s);
            down = (V)_mm_fmsubadd_pd((__m128d)c.v, _mm_set1_pd(1.0), (__m128d)s);
        } else {
            up = (V)_mm_addsub_ps((__m128)c.v, (__m128)s);
            down = (V)_mm_fmsubadd_ps((__m128)c.v, _mm_set1_ps(1.0f), (__m128)s);
        }
        plus.v = S > 0 ? up : down;
        minus.v = S > 0 ? down : up;
        return;
    }
#endif
    const P ib = MulSI<S>(b);
    plus = c + ib;
    minus = c - ib;
}

}  // namespace orb::dft::pack

#endif
