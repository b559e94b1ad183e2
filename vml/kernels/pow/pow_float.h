/* Single-precision power of the fastest code (11 bits) straight on float
 * lanes, twice as many per register as the widened double core:
 *   log: a = 2^e m, m in [sqrt(1/2), sqrt(2)); s = (m - 1)/(m + 1),
 *        log m = s (2 + 2s^2/3 + 2s^4/5 + 2s^6/7) (truncation 2^-23.5
 *        relative); log a = e ln2 + log m, within about 2^-21 relative;
 *   exp: t = b log a = k ln2 + r (Cody-Waite, two parts of ln2),
 *        e^r by Taylor to degree 5 (2^-18.6), 2^k added to the exponent.
 * Over |t| <= 88 the error stays below 2^-14 relative. A block is handed
 * back (false) when any lane needs more: a zero, subnormal, infinite or
 * NaN base, a negative base with a non-integer exponent, or t outside
 * [-86, 88] (results near the ends of the range, where the exponent add
 * would leave the normal numbers); the caller then runs the accurate
 * core over the block, reports included. */
#ifndef ORB_VML_KERNELS_POW_FLOAT_H
#define ORB_VML_KERNELS_POW_FLOAT_H

#include "pow_core.h"

ORB_VMK_BEGIN

template <int F> struct FloatPow : FloatOps<F> {
    using V = typename FloatLanes<F>::V;
    using M = typename FloatLanes<F>::M;
    using FloatOps<F>::splatf;
    using FloatOps<F>::fmaf;
    using FloatOps<F>::all_set;

    static bool eval(V a, float b, const PowExponent &pe, V &out) {
        M ai = (M)a & 0x7FFFFFFF;
        M tmp = ai - 0x3F3504F3; /* bits of sqrt(1/2) */
        M e = tmp >> 23;
        V m = (V)(ai - (e << 23));
        V s = (m - 1.0f) / (m + 1.0f);
        V w = s * s;
        V lm = s * fmaf(fmaf(fmaf(splatf(0.2857142857f), w, splatf(0.4f)), w,
                             splatf(0.6666666667f)), w, splatf(2.0f));
        V t = fmaf(__builtin_convertvector(e, V), splatf(0.6931471806f), lm) * b;
        M ok = (M)(ai >= 0x00800000) & (M)(ai < 0x7F800000) & (M)(t >= -86.0f) &
               (M)(t <= 88.0f);
        if (!pe.integer) ok &= ~((M)a >> 31);
        if (!all_set(ok)) return false;
        const V magic = splatf(12582912.0f); /* 1.5 * 2^23 */
        V kb = fmaf(t, splatf(1.4426950409f), magic);
        V kd = kb - magic;
        M k = (M)kb - (M)magic;
        V r = fmaf(kd, splatf(2.1219444005e-4f), fmaf(kd, splatf(-0.693359375f), t));
        V p = fmaf(fmaf(fmaf(fmaf(fmaf(splatf(1.0f / 120), r, splatf(1.0f / 24)), r,
                                  splatf(1.0f / 6)), r, splatf(0.5f)), r, splatf(1.0f)),
                   r, splatf(1.0f));
        M res = (M)p + (k << 23);
        if (pe.odd) res |= (M)a & INT32_MIN;
        out = (V)res;
        return true;
    }
};

ORB_VMK_END

#endif
