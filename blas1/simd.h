// The packed-vector operations the BLAS-1 kernels need, for the width of
// the level being compiled: 128-bit SSE below level 6, 256-bit AVX at
// levels 6 and 7. Loads and stores named Aligned require a pointer aligned
// to the full vector width. Everything lives in the level's own namespace:
// each level's copy differs, and inline code shared by name would let the
// linker keep one level's instructions for all.
#ifndef ORB_BLAS1_SIMD_H
#define ORB_BLAS1_SIMD_H

#include <immintrin.h>
#include <stdint.h>

namespace orb::blas1::ORB_KNS {

template <typename T> struct Packed;

#if ORB_KLEVEL >= 6
template <> struct Packed<double> {
    using V = __m256d;
    static constexpr int kLanes = 4;
    static V Splat(double a) { return _mm256_set1_pd(a); }
    static V LoadAligned(const double *p) { return _mm256_load_pd(p); }
    static V Load(const double *p) { return _mm256_loadu_pd(p); }
    static void StoreAligned(double *p, V v) { _mm256_store_pd(p, v); }
    static V Mul(V a, V b) { return _mm256_mul_pd(a, b); }
    static V Max(V a, V b) { return _mm256_max_pd(a, b); }
    static V Abs(V a) { return _mm256_andnot_pd(_mm256_set1_pd(-0.0), a); }
    static int EqualMask(V a, V b) { return _mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_EQ_OQ)); }
    static double HorizontalMax(V v) {
        __m128d m = _mm_max_pd(_mm256_castpd256_pd128(v), _mm256_extractf128_pd(v, 1));
        return _mm_cvtsd_f64(_mm_max_sd(m, _mm_unpackhi_pd(m, m)));
    }
};
template <> struct Packed<float> {
    using V = __m256;
    static constexpr int kLanes = 8;
    static V Splat(float a) { return _mm256_set1_ps(a); }
    static V LoadAligned(const float *p) { return _mm256_load_ps(p); }
    static V Load(const float *p) { return _mm256_loadu_ps(p); }
    static void StoreAligned(float *p, V v) { _mm256_store_ps(p, v); }
    static V Mul(V a, V b) { return _mm256_mul_ps(a, b); }
    static V Max(V a, V b) { return _mm256_max_ps(a, b); }
    static V Abs(V a) { return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), a); }
    static int EqualMask(V a, V b) { return _mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_EQ_OQ)); }
    static float HorizontalMax(V v) {
        __m128 m = _mm_max_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
        m = _mm_max_ps(m, _mm_movehl_ps(m, m));
        return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 1)));
    }
};
#else
template <> struct Packed<double> {
    using V = __m128d;
    static constexpr int kLanes = 2;
    static V Splat(double a) { return _mm_set1_pd(a); }
    static V LoadAligned(const double *p) { return _mm_load_pd(p); }
    static V Load(const double *p) { return _mm_loadu_pd(p); }
    static void StoreAligned(double *p, V v) { _mm_store_pd(p, v); }
    static V Mul(V a, V b) { return _mm_mul_pd(a, b); }
    static V Max(V a, V b) { return _mm_max_pd(a, b); }
    static V Abs(V a) { return _mm_andnot_pd(_mm_set1_pd(-0.0), a); }
    static int EqualMask(V a, V b) { return _mm_movemask_pd(_mm_cmpeq_pd(a, b)); }
    static double HorizontalMax(V v) { return _mm_cvtsd_f64(_mm_max_sd(v, _mm_unpackhi_pd(v, v))); }
};
template <> struct Packed<float> {
    using V = __m128;
    static constexpr int kLanes = 4;
    static V Splat(float a) { return _mm_set1_ps(a); }
    static V LoadAligned(const float *p) { return _mm_load_ps(p); }
    static V Load(const float *p) { return _mm_loadu_ps(p); }
    static void StoreAligned(float *p, V v) { _mm_store_ps(p, v); }
    static V Mul(V a, V b) { return _mm_mul_ps(a, b); }
    static V Max(V a, V b) { return _mm_max_ps(a, b); }
    static V Abs(V a) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), a); }
    static int EqualMask(V a, V b) { return _mm_movemask_ps(_mm_cmpeq_ps(a, b)); }
    static float HorizontalMax(V v) {
        __m128 m = _mm_max_ps(v, _mm_movehl_ps(v, v));
        return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 1)));
    }
};
#endif

// EqualMask: bit l set when lane l of a equals lane l of b (ordered).

// Bytes of one packed vector, and elements from p to the next such boundary
// (0 when p already sits on one).
template <typename T>
constexpr uintptr_t kVectorBytes = sizeof(T) * Packed<T>::kLanes;

template <typename T>
inline int32_t ElementsToBoundary(const T *p) {
    uintptr_t mis = reinterpret_cast<uintptr_t>(p) & (kVectorBytes<T> - 1);
    return mis ? int32_t((kVectorBytes<T> - mis) / sizeof(T)) : 0;
}

template <typename T>
inline bool ElementAligned(const T *p) {
    return (reinterpret_cast<uintptr_t>(p) & (sizeof(T) - 1)) == 0;
}

}  // namespace orb::blas1::ORB_KNS

#endif
