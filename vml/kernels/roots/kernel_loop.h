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

/* Single-precision square root straight on float lanes (twice as many per
 * register; the IEEE square root is correctly rounded in any precision). */
template <int W>
inline void sqrt_float_loop(int32_t n, const float *a, float *y, const char *name) {
    constexpr int F = W >= 4 ? 8 : 4;
    using VF8 = typename FloatLanes<F>::V;
    using VI8 = typename FloatLanes<F>::M;
    int32_t i = 0;
    for (; i + F <= n; i += F) {
        VF8 v;
        memcpy(&v, a + i, sizeof v);
        VI8 neg = (VI8)(v < 0.0f);
        VF8 r;
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
template <int W, class Core, typename T>
inline void unary_loop(int32_t n, const T *a, T *y, Acc acc, int32_t code,
                       const char *name) {
    if constexpr (sizeof(T) == 4 && W > 1 && __is_same(Core, SqrtCore))
        return sqrt_float_loop<W>(n, a, y, name);
    if constexpr (sizeof(T) == 4 && W > 1 && !__is_same(Core, SqrtCore)) {
        if (acc == Acc::Fast)
            return float_root_loop<W, __is_same(Core, InvCbrtCore), true>(n, a, y, name);
        if (acc == Acc::Seed)
            return float_root_loop<W, __is_same(Core, InvCbrtCore), false>(n, a, y, name);
    }
    for (int32_t i = 0; i < n; i += W) {
        int rem = n - i < W ? n - i : W;
        Out<W> o = Core::template eval<W>(load_part<W, T>(a + i, rem), acc);
        store_part<W, T>(y + i, o.r, rem);
        if (__builtin_expect(any<W>(o.report), 0))
            for (int l = 0; l < rem; ++l)
                if (o.report[l]) report(code, i + l, a, a, y, name);
    }
}

template <int W, class Core, typename T>
inline void unary_kernel(int32_t n, const T *a, T *y, Acc acc, int32_t code,
                         const char *name) {
    FpControl fp;
    unary_loop<W, Core, T>(n, a, y, acc, code, name);
}

ORB_VMK_END

#endif
