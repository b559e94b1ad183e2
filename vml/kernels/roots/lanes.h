/* Lane vectors shared by the root, power and arc-tangent kernels: W doubles
 * (and matching 64-bit integer lanes) in one register, with the few helpers
 * the math cores need. W = 1 gives the scalar reference loops; the level
 * copies use W = 2 (SSE2 registers) or W = 4 (AVX registers). */
#ifndef ORB_VML_KERNELS_LANES_H
#define ORB_VML_KERNELS_LANES_H

#include <stdint.h>
#include <string.h>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

/* Everything here is inline and compiled once per level: an inline
 * namespace named after the level keeps each level's copies apart, or the
 * linker would keep one level's instantiation for all of them. */
#if defined(ORB_KNS)
#define ORB_VMK_BEGIN namespace orb::vmk { inline namespace ORB_KNS {
#else
#define ORB_VMK_BEGIN namespace orb::vmk { inline namespace k_plain {
#endif
#define ORB_VMK_END } }

ORB_VMK_BEGIN

template <int W> struct Lanes {
    typedef double D __attribute__((vector_size(8 * W)));
    typedef int64_t I __attribute__((vector_size(8 * W)));
    typedef uint64_t U __attribute__((vector_size(8 * W)));
    typedef float F __attribute__((vector_size(4 * W)));
};

template <int W> using VD = typename Lanes<W>::D;
template <int W> using VI = typename Lanes<W>::I;
template <int W> using VF = typename Lanes<W>::F;
/* Unsigned lanes: logical shifts (the AVX2 set has no 64-bit arithmetic
 * shift, so signed ones cost a sequence). */
template <int W> using VU = typename Lanes<W>::U;

/* F float lanes with their int32 mask, for kernels that work on floats
 * directly (a typedef inside the function template would lose its vector
 * size under some compilers). */
template <int F> struct FloatLanes {
    typedef float V __attribute__((vector_size(4 * F)));
    typedef int32_t M __attribute__((vector_size(4 * F)));
};

/* Helpers of the float-lane kernels (through aliases: members of
 * FloatLanes itself would see V as a plain float under GCC). */
template <int F> struct FloatOps {
    using V = typename FloatLanes<F>::V;
    using M = typename FloatLanes<F>::M;

    static V splatf(float v) { return V{} + v; }
    static V sel(M m, V a, V b) { return (V)((m & (M)a) | (~m & (M)b)); }
    /* Fused where the level has it, else two roundings. */
    static V fmaf(V a, V b, V c) {
#if defined(__FMA__)
        if constexpr (F == 8) return _mm256_fmadd_ps(a, b, c);
        if constexpr (F == 4) return _mm_fmadd_ps(a, b, c);
#endif
        return a * b + c;
    }
    /* Every lane of the mask set. */
    static bool all_set(M m) {
#if defined(__AVX__)
        if constexpr (F == 8) return _mm256_movemask_ps((__m256)m) == 0xFF;
#endif
#if defined(__SSE__)
        if constexpr (F == 4) return _mm_movemask_ps((__m128)m) == 0xF;
#endif
        int32_t acc = -1;
        for (int l = 0; l < F; ++l) acc &= m[l];
        return acc != 0;
    }
};

template <int W> inline VD<W> splat(double v) { return VD<W>{} + v; }
template <int W> inline VI<W> bits(VD<W> v) { return (VI<W>)v; }
template <int W> inline VD<W> from_bits(VI<W> v) { return (VD<W>)v; }

/* m is a lane mask (all ones or all zeros per lane). */
template <int W> inline VD<W> select(VI<W> m, VD<W> a, VD<W> b) {
    return from_bits<W>((m & bits<W>(a)) | (~m & bits<W>(b)));
}
/* Lane minimum / maximum; a NaN in a yields b, like minnum/maxnum. */
template <int W> inline VD<W> vmin(VD<W> a, VD<W> b) { return select<W>((VI<W>)(a < b), a, b); }
template <int W> inline VD<W> vmax(VD<W> a, VD<W> b) { return select<W>((VI<W>)(a > b), a, b); }
template <int W> inline VD<W> vabs(VD<W> v) {
    return from_bits<W>(bits<W>(v) & INT64_MAX);
}
template <int W> inline VI<W> sign_bits(VD<W> v) {
    return bits<W>(v) & INT64_MIN;
}
template <int W> inline VD<W> xor_sign(VD<W> v, VI<W> s) {
    return from_bits<W>(bits<W>(v) ^ s);
}
template <int W> inline bool any(VI<W> m) {
#if defined(__AVX__)
    if constexpr (W == 4) return _mm256_movemask_pd((__m256d)m) != 0;
#endif
#if defined(__SSE2__)
    if constexpr (W == 2) return _mm_movemask_pd((__m128d)m) != 0;
#endif
    int64_t acc = 0;
    for (int i = 0; i < W; ++i) acc |= m[i];
    return acc != 0;
}

template <int W> inline bool all(VI<W> m) {
#if defined(__AVX__)
    if constexpr (W == 4) return _mm256_movemask_pd((__m256d)m) == 0xF;
#endif
#if defined(__SSE2__)
    if constexpr (W == 2) return _mm_movemask_pd((__m128d)m) == 0x3;
#endif
    int64_t acc = -1;
    for (int i = 0; i < W; ++i) acc &= m[i];
    return acc != 0;
}

/* Fused multiply-add where the level has it (AVX2 set), else a*b + c with
 * two roundings; the cores are written to be accurate either way. */
template <int W> inline VD<W> fma(VD<W> a, VD<W> b, VD<W> c) {
#if defined(__FMA__)
    if constexpr (W == 4) return _mm256_fmadd_pd(a, b, c);
    if constexpr (W == 2) return _mm_fmadd_pd(a, b, c);
    if constexpr (W == 1) return VD<W>{__builtin_fma(a[0], b[0], c[0])};
#endif
    return a * b + c;
}

template <int W> inline VD<W> vsqrt(VD<W> v) {
#if defined(__AVX__)
    if constexpr (W == 4) return _mm256_sqrt_pd(v);
#endif
#if defined(__SSE2__)
    if constexpr (W == 2) return _mm_sqrt_pd(v);
#endif
    VD<W> r;
    for (int i = 0; i < W; ++i) r[i] = __builtin_sqrt(v[i]);
    return r;
}

/* t[i] per lane (indices in range). Lane-by-lane loads: the AVX2 gather
 * instruction is slower than four loads on the processors measured. */
template <int W> inline VD<W> gather(const double *t, VI<W> i) {
    VD<W> r;
    for (int l = 0; l < W; ++l) r[l] = t[i[l]];
    return r;
}

/* Horner evaluation of c[0] + c[1] x + ... + c[N-1] x^(N-1). */
template <int W, int N> inline VD<W> horner(VD<W> x, const double (&c)[N]) {
    VD<W> p = splat<W>(c[N - 1]);
    for (int i = N - 2; i >= 0; --i) p = fma<W>(p, x, splat<W>(c[i]));
    return p;
}

/* Round to the nearest integer, ties to even (|v| < 2^51). */
template <int W> inline VD<W> round_int(VD<W> v) {
    const VD<W> magic = splat<W>(6755399441055744.0); /* 1.5 * 2^52 */
    return (v + magic) - magic;
}

/* Integer lanes (|v| < 2^51) to double without a 64-bit conversion. */
template <int W> inline VD<W> to_double(VI<W> v) {
    const VD<W> magic = splat<W>(6755399441055744.0);
    return from_bits<W>(v + bits<W>(magic)) - magic;
}

/* 2^k for integer-valued k in [-1022, 1023]. */
template <int W> inline VD<W> pow2(VD<W> k) {
    const VD<W> magic = splat<W>(6755399441055744.0);
    VI<W> n = bits<W>(k + magic) - bits<W>(magic);
    return from_bits<W>((n + 1023) << 52);
}

template <int W, typename T> inline VD<W> load(const T *p) {
    if constexpr (sizeof(T) == 8) {
        VD<W> v;
        memcpy(&v, p, sizeof v);
        return v;
    } else {
        VF<W> v;
        memcpy(&v, p, sizeof v);
        return __builtin_convertvector(v, VD<W>);
    }
}
template <int W, typename T> inline void store(T *p, VD<W> v) {
    if constexpr (sizeof(T) == 8) {
        memcpy(p, &v, sizeof v);
    } else {
        VF<W> f = __builtin_convertvector(v, VF<W>);
        memcpy(p, &f, sizeof f);
    }
}

ORB_VMK_END

#endif
