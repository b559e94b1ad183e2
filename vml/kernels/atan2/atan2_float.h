/* Single-precision arc tangent of the lower-accuracy codes, straight on
 * float lanes (twice as many per register as the widened double core).
 * With n = min(|x|,|y|), d = max(|x|,|y|) and u = n/d in [0, 1] (one
 * division, no reduction): atan(u) = u + u^3 P(u^2), then
 * angle = C + s atan(u) with C in {0, pi/2, pi} and s = -1 when exactly
 * one of "swap" (|y| > |x|) and "x negative" holds; the sign of y goes on
 * last. P: degree 8 (2^-25.3 relative on [0, 1], within about 2 ulp,
 * code 1) or degree 4 (2^-15.6, code 3); coefficients from
 * tools/accuracy/fit_coefficients.py, rounded to float.
 * Zeros, infinities and NaNs need no test of their own: the quotient is a
 * NaN for NaN operands, for two zeros and for two infinities (those lanes
 * take the scalar C99 path), and one infinity or one zero already gives
 * the C99 angle through u = 0. */
#ifndef ORB_VML_KERNELS_ATAN2_FLOAT_H
#define ORB_VML_KERNELS_ATAN2_FLOAT_H

#include "atan2_core.h"

ORB_VMK_BEGIN

template <int F, bool Short> struct FloatAtan2 : FloatOps<F> {
    using V = typename FloatLanes<F>::V;
    using M = typename FloatLanes<F>::M;
    using FloatOps<F>::splatf;
    using FloatOps<F>::sel;
    using FloatOps<F>::fmaf;

    template <int N> static V hornerf(V z, const float (&c)[N]) {
        V p = splatf(c[N - 1]);
        for (int i = N - 2; i >= 0; --i) p = fmaf(p, z, splatf(c[i]));
        return p;
    }
    static bool any_nan(V r) {
#if defined(__AVX__)
        if constexpr (F == 8) return _mm256_movemask_ps(_mm256_cmp_ps(r, r, _CMP_UNORD_Q)) != 0;
#endif
#if defined(__SSE__)
        if constexpr (F == 4) return _mm_movemask_ps(_mm_cmpunord_ps(r, r)) != 0;
#endif
        M m = (M)(r != r);
        int32_t acc = 0;
        for (int l = 0; l < F; ++l) acc |= m[l];
        return acc != 0;
    }

    static V eval(V y, V x) {
        static const float pl[9] = {-0.3333333134651184f, 0.19999739527702332f,
                                    -0.1427856832742691f, 0.11033764481544495f,
                                    -0.08656880259513855f, 0.0625016912817955f,
                                    -0.035871539264917374f, 0.01350777130573988f,
                                    -0.0023869972210377455f};
        static const float ps[5] = {-0.3333047032356262f, 0.1985442042350769f,
                                    -0.1301778107881546f, 0.06834405660629272f,
                                    -0.01802321895956993f};
        const M ysign = (M)y & INT32_MIN, xneg = (M)x >> 31;
        V ay = (V)((M)y & INT32_MAX), ax = (V)((M)x & INT32_MAX);
        M swap = (M)(ay > ax);
        V u = sel(swap, ax, ay) / sel(swap, ay, ax);
        V z = u * u;
        V at = fmaf(u * z, Short ? hornerf(z, ps) : hornerf(z, pl), u);
        V c = sel(swap, splatf(1.57079633f), sel(xneg, splatf(3.14159265f), V{}));
        at = (V)((M)at ^ ((swap ^ xneg) & INT32_MIN));
        return (V)((M)(c + at) ^ ysign);
    }
};

template <int W, bool Short>
inline void atan2_float_loop(int32_t n, const float *a, const float *b, float *y) {
    constexpr int F = W >= 4 ? 8 : 4;
    using A = FloatAtan2<F, Short>;
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
        typename A::V r = A::eval(va, vb);
        if (__builtin_expect(A::any_nan(r), 0))
            for (int l = 0; l < F; ++l)
                if (r[l] != r[l]) r[l] = static_cast<float>(atan2_special(va[l], vb[l]));
        if (rem == F)
            memcpy(y + i, &r, sizeof r);
        else
            memcpy(y + i, &r, rem * sizeof(float));
    }
}

ORB_VMK_END

#endif
