// Portable vector types of one instruction-set level (16 bytes up to
// SSE4.2, 32 bytes for AVX and the AVX2 set) and the few operations the
// real arithmetic kernels need on them: loads, aligned and unaligned
// stores, bit casts, lane selection and an "any lane set" test.
#ifndef ORB_VML_SIMD_H
#define ORB_VML_SIMD_H

#include <stdint.h>
#include <string.h>
#if ORB_KLEVEL >= 5
#include <immintrin.h>
#elif ORB_KLEVEL >= 2
#include <emmintrin.h>
#endif

// Inside the level namespace: the vector width differs per level.
namespace ORB_KNS {
namespace vml {

#if ORB_KLEVEL >= 6 && ORB_KLEVEL != 41
constexpr int kVecBytes = 32;
#else
constexpr int kVecBytes = 16;
#endif

typedef float VecF __attribute__((vector_size(kVecBytes)));
typedef double VecD __attribute__((vector_size(kVecBytes)));
typedef uint32_t VecFU __attribute__((vector_size(kVecBytes)));
typedef uint64_t VecDU __attribute__((vector_size(kVecBytes)));

template <class T> struct Vec;
template <> struct Vec<float> {
    using V = VecF;
    using U = VecFU;  // same-size unsigned lanes (also the compare result)
    static constexpr int kLanes = kVecBytes / 4;
};
template <> struct Vec<double> {
    using V = VecD;
    using U = VecDU;
    static constexpr int kLanes = kVecBytes / 8;
};

template <class V, class T> inline V LoadU(const T *p) {
    V v;
    memcpy(&v, p, sizeof v);
    return v;
}
template <class V, class T> inline void StoreU(T *p, V v) {
    memcpy(p, &v, sizeof v);
}
template <class V, class T> inline void StoreA(T *p, V v) {
    memcpy(__builtin_assume_aligned(p, kVecBytes), &v, sizeof v);
}
// Keeps the stores before it ahead of the ones after it. The compiler may
// otherwise reorder the stores of an unrolled step, and a step of four
// vectors that starts mid-line then writes its lines in the order 1, 0,
// 1, 2: from L2 that runs about a third slower than in address order.
inline void KeepStoreOrder() { asm volatile("" ::: "memory"); }

// Same-size vector casts reinterpret the bits.
template <class To, class From> inline To BitCast(From v) { return (To)v; }

// Lanes of x where the mask lane is all ones, else lanes of y.
template <class V, class U> inline V Select(U mask, V x, V y) {
    return BitCast<V>((mask & BitCast<U>(x)) | (~mask & BitCast<U>(y)));
}

// Mask lanes are comparison results (all ones or all zeros), so their sign
// bits tell: one move-mask where the level has it, whatever the compiler
// can prove about where the mask came from.
template <class U> inline bool Any(U mask) {
#if ORB_KLEVEL >= 2
    constexpr bool kWide = sizeof(mask[0]) == 8;  // else float lanes
#if ORB_KLEVEL >= 6 && ORB_KLEVEL != 41
    if constexpr (sizeof(U) == 32 && kWide) return _mm256_movemask_pd((__m256d)mask) != 0;
    if constexpr (sizeof(U) == 32) return _mm256_movemask_ps((__m256)mask) != 0;
#endif
    if constexpr (sizeof(U) == 16 && kWide) return _mm_movemask_pd((__m128d)mask) != 0;
    if constexpr (sizeof(U) == 16) return _mm_movemask_ps((__m128)mask) != 0;
#endif
    uint64_t w[sizeof(U) / 8];
    memcpy(w, &mask, sizeof w);
    uint64_t o = 0;
    for (uint64_t x : w) o |= x;
    return o != 0;
}

// Rounding toward zero in one instruction where the level has it.
#if ORB_KLEVEL >= 5
constexpr bool kHasTrunc = true;
inline float Trunc(float x) { return __builtin_truncf(x); }
inline double Trunc(double x) { return __builtin_trunc(x); }
template <class V> inline V Trunc(V x) {
    constexpr int kMode = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
    if constexpr (sizeof(V) == 32 && sizeof(x[0]) == 8)
        return (V)_mm256_round_pd((__m256d)x, kMode);
    else if constexpr (sizeof(V) == 32)
        return (V)_mm256_round_ps((__m256)x, kMode);
    else if constexpr (sizeof(x[0]) == 8)
        return (V)_mm_round_pd((__m128d)x, kMode);
    else
        return (V)_mm_round_ps((__m128)x, kMode);
}
#else
constexpr bool kHasTrunc = false;
template <class V> inline V Trunc(V x) { return x; }  // never called
#endif

// Lanes of neg where the lane of a has its sign bit set, else lanes of pos:
// one blend where the level has it, three bit operations otherwise.
template <class V> inline V BySign(V a, V neg, V pos) {
#if ORB_KLEVEL >= 5
    if constexpr (sizeof(V) == 32 && sizeof(a[0]) == 8)
        return (V)_mm256_blendv_pd((__m256d)pos, (__m256d)neg, (__m256d)a);
    else if constexpr (sizeof(V) == 32)
        return (V)_mm256_blendv_ps((__m256)pos, (__m256)neg, (__m256)a);
    else if constexpr (sizeof(a[0]) == 8)
        return (V)_mm_blendv_pd((__m128d)pos, (__m128d)neg, (__m128d)a);
    else
        return (V)_mm_blendv_ps((__m128)pos, (__m128)neg, (__m128)a);
#else
    using U = typename Vec<decltype(+a[0])>::U;
    return Select(BitCast<U>(a) >> (sizeof(a[0]) * 8 - 1) != 0, neg, pos);
#endif
}

}  // namespace vml
}  // namespace ORB_KNS

#endif
