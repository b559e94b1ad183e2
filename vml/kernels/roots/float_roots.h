/* Cube root and inverse cube root of the lower-accuracy codes in single
 * precision, straight on float lanes (twice as many per register as the
 * widened double cores). x = m 2^(3q+j), m in [1,2), j in {0,1,2}:
 *   cbrt:     t = S(m) cbrt(2^j) 2^q, S of degree 3 (13.2 bits), then one
 *             Newton step t + (x/t^2 - t)/3;
 *   1/cbrt:   y = R(m) 2^(-j/3) 2^-q, R of degree 4 (14.4 bits), then one
 *             Newton step y + y (1 - x y^3)/3, no division.
 * Each lands within about 1.2 ulp (bound of code 1: 4 ulp); the seeds
 * alone (code 3) keep 13 and 14 bits (bound: 11). S and R
 * come from tools/accuracy/fit_coefficients.py. Subnormal inputs are
 * scaled by 2^24 first (2^-8 or 2^8 on the result). */
#ifndef ORB_VML_KERNELS_FLOAT_ROOTS_H
#define ORB_VML_KERNELS_FLOAT_ROOTS_H

#include "frame_link.h"

ORB_VMK_BEGIN

template <int F> struct FloatRoot : FloatOps<F> {
    using V = typename FloatLanes<F>::V;
    using M = typename FloatLanes<F>::M;
    using FloatOps<F>::splatf;
    using FloatOps<F>::sel;
    using FloatOps<F>::fmaf;
    using FloatOps<F>::all_set;

    /* The root (Inverse: 1/cbrt) of positive normal xs. */
    template <bool Inverse, bool Newton> static V core(V xs) {
        static const float s[4] = {0.5557909602691388f, 0.5808263911380952f,
                                   -0.1586624600531909f, 0.022148699208245196f};
        static const float r[5] = {1.6662787377309156f, -1.1623973573078166f,
                                   0.6846527077322325f, -0.21636185469244387f,
                                   0.02778280101858424f};
        M bi = (M)xs;
        M u = (bi >> 23) + 2;                 /* e + 129 in [3, 256] */
        M q = (u * 43691) >> 17;               /* u / 3 */
        M j = u - 3 * q;
        q = q - 43;
        V m = (V)((bi & 0x007FFFFF) | 0x3F800000);
        if constexpr (!Inverse) {
            V c = sel((M)(j == 0), splatf(1.0f),
                      sel((M)(j == 1), splatf(1.2599210498948732f), splatf(1.5874010519681994f)));
            V p = fmaf(fmaf(fmaf(splatf(s[3]), m, splatf(s[2])), m, splatf(s[1])), m, splatf(s[0]));
            V t = (V)((M)(p * c) + (q << 23));
            if (Newton) t = fmaf(xs / (t * t) - t, splatf(1.0f / 3.0f), t);
            return t;
        } else {
            V c = sel((M)(j == 0), splatf(1.0f),
                      sel((M)(j == 1), splatf(0.7937005259840998f), splatf(0.6299605249474366f)));
            V p = fmaf(fmaf(fmaf(fmaf(splatf(r[4]), m, splatf(r[3])), m, splatf(r[2])), m,
                            splatf(r[1])), m, splatf(r[0]));
            V y = (V)((M)(p * c) - (q << 23));
            if (Newton) {
                V e = 1.0f - (xs * y) * (y * y);
                y = fmaf(y * e, splatf(1.0f / 3.0f), y);
            }
            return y;
        }
    }

    /* Returns the root (Inverse: 1/cbrt) of x with C99 special values;
     * `zero` receives the lanes holding +-0. */
    template <bool Inverse, bool Newton> static V eval(V x, M &zero) {
        M ai = (M)x & 0x7FFFFFFF;
        M sign = (M)x & INT32_MIN;
        /* Vectors of normal operands only (nearly all) skip the selects
         * and the division of the special lanes. */
        if (__builtin_expect(all_set((M)(ai >= 0x00800000) & (M)(ai < 0x7F800000)), 1)) {
            zero = M{};
            return (V)((M)core<Inverse, Newton>((V)ai) | sign);
        }
        zero = (M)(ai == 0);
        M special = zero | (M)(ai >= 0x7F800000);
        V ax = (V)ai;
        M tiny = (M)(ai < 0x00800000);
        V xs = sel(tiny, ax * 16777216.0f, ax);
        xs = sel(special, splatf(1.0f), xs);
        V res = core<Inverse, Newton>(xs);
        if constexpr (!Inverse) res = sel(tiny, res * 0.00390625f, res);
        else res = sel(tiny, res * 256.0f, res);
        res = (V)((M)res | sign);
        /* cbrt: x itself (+-0, +-inf, NaN); 1/cbrt: +-inf, +-0, NaN. */
        V sp;
        if constexpr (Inverse) sp = 1.0f / (x + x); else sp = x + x;
        return sel(special, sp, res);
    }
};

/* The loop over an array: F-lane blocks, the last one padded with 1.0;
 * InvCbrt reports its zero operands (status 2). */
template <int W, bool Inverse, bool Newton>
inline void float_root_loop(int32_t n, const float *a, float *y, const char *name) {
    constexpr int F = W >= 4 ? 8 : 4;
    using R = FloatRoot<F>;
    for (int32_t i = 0; i < n; i += F) {
        const int rem = n - i < F ? n - i : F;
        typename R::V v = R::splatf(1.0f);
        if (rem == F)
            memcpy(&v, a + i, sizeof v);
        else
            memcpy(&v, a + i, rem * sizeof(float));
        typename R::M zero;
        typename R::V r = R::template eval<Inverse, Newton>(v, zero);
        if (rem == F)
            memcpy(y + i, &r, sizeof r);
        else
            memcpy(y + i, &r, rem * sizeof(float));
        if (!Inverse) continue;
        int32_t acc = 0;
        for (int l = 0; l < F; ++l) acc |= zero[l];
        if (__builtin_expect(acc != 0, 0))
            for (int l = 0; l < rem; ++l)
                if (zero[l]) report(2, i + l, a, a, y, name);
    }
}

ORB_VMK_END

#endif
