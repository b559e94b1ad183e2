/* The loop every root, power and arc-tangent kernel runs: W lanes at a
 * time through a math core, a padded last block, and a scalar pass over
 * the lanes the core flagged for a report (or, for the power kernels, for
 * special operands). The floating-point control word follows the denormal
 * field of the thread's mode (flush-to-zero and denormals-are-zero for
 * 0x00280000, neither otherwise) and is forced to round-to-nearest. */
#ifndef ORB_VML_KERNELS_KERNEL_LOOP_H
#define ORB_VML_KERNELS_KERNEL_LOOP_H

#include "frame_link.h"
#include "float_roots.h"
#include "roots_core.h"

ORB_VMK_BEGIN

/* Sets MXCSR for the kernel and restores it on exit, touching the register
 * only when the relevant bits differ. */
class FpControl {
public:
    FpControl() {
#if defined(__SSE__)
        unsigned want = (orb::vml::ThreadMode() & 0x003C0000u) == 0x00280000u ? 0x8040u : 0u;
        saved_ = _mm_getcsr();
        if ((saved_ & 0xE040u) != want) {
            _mm_setcsr((saved_ & ~0xE040u) | want);
            changed_ = true;
        }
#endif
    }
    ~FpControl() {
#if defined(__SSE__)
        if (changed_) _mm_setcsr(saved_);
#endif
    }
    FpControl(const FpControl &) = delete;
    FpControl &operator=(const FpControl &) = delete;

private:
    unsigned saved_ = 0;
    bool changed_ = false;
};

/* Loads W elements starting at p, or the first `rem` of them padded with
 * 1.0 (a regular operand of every function here). */
template <int W, typename T> inline VD<W> load_part(const T *p, int rem) {
    if (rem == W) return load<W, T>(p);
    T buf[W];
    for (int i = 0; i < W; ++i) buf[i] = i < rem ? p[i] : T(1);
    return load<W, T>(buf);
}
template <int W, typename T> inline void store_part(T *p, VD<W> v, int rem) {
    if (rem == W) return store<W, T>(p, v);
    T buf[W];
    store<W, T>(buf, v);
    for (int i = 0; i < rem; ++i) p[i] = buf[i];
}

/* The code-3 square root of 8 (AVX) or 4 (SSE) floats: the hardware
 * reciprocal square-root estimate r (about 11.5 bits), then one Newton step
 * on s = v r: s + s (1/2 - s r/2), good to about 22 bits and twice as fast
 * as the hardware square root. Every lane that is not a positive normal
 * number ends as a NaN or +inf here (0 * inf, inf * 0, NaN estimates of
 * negative operands), so one test of the results decides: false when any
 * result is not finite, or when the level has no estimate instruction for
 * these lanes; the caller then takes the exact root. */
template <class VF> inline bool sqrt_estimate(VF v, VF *out) {
#if defined(__AVX__)
    if constexpr (sizeof(VF) == 32) {
        const __m256 x = v, r = _mm256_rsqrt_ps(x);
        const __m256 s = _mm256_mul_ps(x, r), h = _mm256_mul_ps(r, _mm256_set1_ps(0.5f));
#if defined(__FMA__)
        const __m256 e = _mm256_fnmadd_ps(s, h, _mm256_set1_ps(0.5f));
        const __m256 q = _mm256_fmadd_ps(s, e, s);
#else
        const __m256 e = _mm256_sub_ps(_mm256_set1_ps(0.5f), _mm256_mul_ps(s, h));
        const __m256 q = _mm256_add_ps(s, _mm256_mul_ps(s, e));
#endif
        *out = q;
        return _mm256_movemask_ps(_mm256_cmp_ps(q, _mm256_set1_ps(0x1.fffffep127f),
                                                _CMP_LE_OQ)) == 0xFF;
    }
#endif
#if defined(__SSE__)
    if constexpr (sizeof(VF) == 16) {
        const __m128 x = v, r = _mm_rsqrt_ps(x);
        const __m128 s = _mm_mul_ps(x, r), h = _mm_mul_ps(r, _mm_set1_ps(0.5f));
        const __m128 e = _mm_sub_ps(_mm_set1_ps(0.5f), _mm_mul_ps(s, h));
        const __m128 q = _mm_add_ps(s, _mm_mul_ps(s, e));
        *out = q;
        return _mm_movemask_ps(_mm_cmple_ps(q, _mm_set1_ps(0x1.fffffep127f))) == 0xF;
    }
#endif
    (void)v;
    (void)out;
    return false;
}

/* Single-precision square root straight on float lanes (twice as many per
 * register; the IEEE square root is correctly rounded in any precision).
 * Estimate: the code-3 flavour for vectors whose lanes are all positive
 * normal numbers; zeros, subnormals, infinities, NaNs and negative numbers
 * take the exact root. */
template <int W, bool Estimate = false>
inline void sqrt_float_loop(int32_t n, const float *a, float *y, const char *name) {
    constexpr int F = W >= 4 ? 8 : 4;
    using VF8 = typename FloatLanes<F>::V;
    using VI8 = typename FloatLanes<F>::M;
    int32_t i = 0;
    if constexpr (Estimate) {
        // Two vectors a step; a step with any other lane goes exact below.
        for (; i + 2 * F <= n; i += 2 * F) {
            VF8 v[2], r[2];
            memcpy(v, a + i, sizeof v);
            if (!sqrt_estimate(v[0], &r[0]) || !sqrt_estimate(v[1], &r[1])) break;
            memcpy(y + i, r, sizeof r);
        }
    }
    for (; i + F <= n; i += F) {
        VF8 v;
        memcpy(&v, a + i, sizeof v);
        VI8 neg = (VI8)(v < 0.0f);
        VF8 r;
        if constexpr (Estimate) {
            if (sqrt_estimate(v, &r)) {
                memcpy(y + i, &r, sizeof r);
                continue;  // no lane is negative
            }
        }
#if defined(__AVX__)
        if constexpr (F == 8) r = _mm256_sqrt_ps(v); else
#endif
#if defined(__SSE__)
        if constexpr (F == 4) r = _mm_sqrt_ps(v); else
#endif
        for (int l = 0; l < F; ++l) r[l] = __builtin_sqrtf(v[l]);
        memcpy(y + i, &r, sizeof r);
        int32_t acc = 0;
        for (int l = 0; l < F; ++l) acc |= neg[l];
        if (__builtin_expect(acc != 0, 0))
            for (int l = 0; l < F; ++l)
                if (neg[l]) report(1, i + l, a, a, y, name);
    }
    for (; i < n; ++i) {
        float v = a[i];
        y[i] = __builtin_sqrtf(v);
        if (v < 0.0f) report(1, i, a, a, y, name);
    }
}

/* One input, one output: Sqrt, Cbrt, InvCbrt. */
template <int W, class Core, typename T, Acc acc>
inline void unary_loop(int32_t n, const T *a, T *y, int32_t code, const char *name) {
    if constexpr (sizeof(T) == 4 && W > 1 && __is_same(Core, SqrtCore))
        return acc == Acc::Seed ? sqrt_float_loop<W, true>(n, a, y, name)
                                : sqrt_float_loop<W>(n, a, y, name);
    if constexpr (sizeof(T) == 4 && W > 1 && !__is_same(Core, SqrtCore)) {
        if constexpr (acc == Acc::Fast)
            return float_root_loop<W, __is_same(Core, InvCbrtCore), true>(n, a, y, name);
        if constexpr (acc == Acc::Seed)
            return float_root_loop<W, __is_same(Core, InvCbrtCore), false>(n, a, y, name);
    }
    for (int32_t i = 0; i < n; i += W) {
        int rem = n - i < W ? n - i : W;
        Out<W> o = Core::template eval<W, acc>(load_part<W, T>(a + i, rem));
        store_part<W, T>(y + i, o.r, rem);
        if (__builtin_expect(any<W>(o.report), 0))
            for (int l = 0; l < rem; ++l)
                if (o.report[l]) report(code, i + l, a, a, y, name);
    }
}

template <int W, class Core, typename T, Acc acc>
inline void unary_kernel(int32_t n, const T *a, T *y, int32_t code, const char *name) {
    FpControl fp;
    unary_loop<W, Core, T, acc>(n, a, y, code, name);
}

ORB_VMK_END

#endif
