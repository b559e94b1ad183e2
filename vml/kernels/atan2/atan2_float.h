/* Single-precision arc tangent of the lower-accuracy codes, straight on
 * float lanes (twice as many per register as the widened double core):
 * with n = min(|x|,|y|), d = max(|x|,|y|), u = n/d or (n - d)/(n + d)
 * beyond tan(pi/8) (adds pi/4); atan(u) = u + u^3 P(u^2), P of degree 4
 * (2^-24.3 relative on the tail, tools/accuracy/fit_coefficients.py);
 * reflections as in the double core. Within about 2 ulp (bound: 4).
 * Lanes holding a NaN, an infinity or two zeros take the scalar C99 path. */
#ifndef ORB_VML_KERNELS_ATAN2_FLOAT_H
#define ORB_VML_KERNELS_ATAN2_FLOAT_H

#include "atan2_core.h"

ORB_VMK_BEGIN

template <int F> struct FloatAtan2 {
    using V = typename FloatLanes<F>::V;
    using M = typename FloatLanes<F>::M;

    static V splatf(float v) { return V{} + v; }
    static V sel(M m, V a, V b) { return (V)((m & (M)a) | (~m & (M)b)); }
    static V fmaf(V a, V b, V c) {
#if defined(__FMA__)
        if constexpr (F == 8) return _mm256_fmadd_ps(a, b, c);
        if constexpr (F == 4) return _mm_fmadd_ps(a, b, c);
#endif
        return a * b + c;
    }

    /* atan2(y, x) for lanes that are finite and not both zero; `special`
     * receives the others. */
    static V eval(V y, V x, M &special) {
        static const float p[5] = {-0.3333333176116852f, 0.19999540483648964f,
                                   -0.1426395559798464f, 0.10743731490791084f,
                                   -0.06451928208121749f};
        M ay_i = (M)y & INT32_MAX, ax_i = (M)x & INT32_MAX;
        special = (M)(ay_i >= 0x7F800000) | (M)(ax_i >= 0x7F800000) |
                  ((M)(ay_i == 0) & (M)(ax_i == 0));
        V ay = (V)ay_i, ax = (V)ax_i;
        M swap = (M)(ay > ax);
        V num = sel(swap, ax, ay), den = sel(swap, ay, ax);
        /* n + d must not overflow. */
        V f = sel((M)(den > 0x1p126f), splatf(0.25f), splatf(1.0f));
        num = num * f;
        den = sel(special, splatf(1.0f), den * f);
        M red = (M)(num > 0.41421356f * den);
        V u = sel(red, num - den, num) / sel(red, num + den, den);
        V z = u * u;
        V poly = fmaf(fmaf(fmaf(fmaf(splatf(p[4]), z, splatf(p[3])), z, splatf(p[2])), z,
                           splatf(p[1])), z, splatf(p[0]));
        V at = fmaf(u * z, poly, u);
        V c = sel(red, splatf(0.78539816f), V{});
        V s = splatf(1.0f);
        c = sel(swap, 1.57079633f - c, c);
        s = sel(swap, -s, s);
        M xneg = (M)x < 0;
        c = sel(xneg, 3.14159265f - c, c);
        s = sel(xneg, -s, s);
        V r = fmaf(s, at, c);
        return (V)((M)r ^ ((M)y & INT32_MIN));
    }
};

template <int W>
inline void atan2_float_loop(int32_t n, const float *a, const float *b, float *y) {
    constexpr int F = W >= 4 ? 8 : 4;
    using A = FloatAtan2<F>;
    for (int32_t i = 0; i < n; i += F) {
        const int rem = n - i < F ? n - i : F;
        typename A::V va = A::splatf(1.0f), vb = A::splatf(1.0f);
        if (rem == F) {
            memcpy(&va, a + i, sizeof va);
            memcpy(&vb, b + i, sizeof vb);
        } else {
            memcpy(&va, a + i, rem * sizeof(float));
            memcpy(&vb, b + i, rem * sizeof(float));
        }
        typename A::M special;
        typename A::V r = A::eval(va, vb, special);
        int32_t acc = 0;
        for (int l = 0; l < F; ++l) acc |= special[l];
        if (__builtin_expect(acc != 0, 0))
            for (int l = 0; l < F; ++l)
                if (special[l]) r[l] = static_cast<float>(atan2_special(va[l], vb[l]));
        if (rem == F)
            memcpy(y + i, &r, sizeof r);
        else
            memcpy(y + i, &r, rem * sizeof(float));
    }
}

ORB_VMK_END

#endif
