/* Math core of the power kernels: |a|^b = exp(b log|a|) with log|a| and the
 * product carried as double-doubles, so the exponent reaches exp with a
 * relative error near 2^-64 and the result stays within about 0.55 ulp.
 *
 * log: a = 2^e m, m in [sqrt(1/2), sqrt(2)); s = (m-1)/(m+1) as a
 *   double-double; log m = 2s + 2s^3/3 + s^5 Q(s^2), Q of degree 8.
 * exp: k = round(y / ln2), r = y - k ln2 (ln2 in two parts, the high part
 *   with 42 bits so k ln2_hi is exact); e^r = 1 + r + r^2 P(r), P of
 *   degree 11; the result is scaled by 2^k in two steps.
 * Q and P come from tools/accuracy/fit_coefficients.py.
 *
 * The core handles finite non-zero a of either sign with b finite and
 * non-zero; the kernel routes everything else to pow_special. */
#ifndef ORB_VML_KERNELS_POW_CORE_H
#define ORB_VML_KERNELS_POW_CORE_H

#include "../roots/roots_core.h"

ORB_VMK_BEGIN

constexpr double kLn2Hi = 0.6931471805598903;
constexpr double kLn2Lo = 5.497923018708371e-14;

/* log|a| as a double-double, for finite non-zero a. */
template <int W> inline DD<W> log_dd(VD<W> ax) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    static const double q[9] = {
        0.4, 0.28571428571428564, 0.22222222222228424, 0.18181818179658246,
        0.15384615760977463, 0.13333296549572363, 0.11766812466114947,
        0.10456341945425285, 0.10762291418628644};
    VI<W> tiny = (VI<W>)(ax < 2.2250738585072014e-308);
    VD<W> xs = select<W>(tiny, ax * 18014398509481984.0, ax);
    VI<W> ib = bits<W>(xs);
    VI<W> off = ib - 0x3FE6A09E667F3BCDLL;      /* bits of sqrt(1/2) */
    VI<W> e = off >> 52;
    VD<W> m = from_bits<W>(ib - (e << 52));
    VD<W> ef = to_double<W>(e) - select<W>(tiny, splat<W>(54.0), splat<W>(0.0));
    DD<W> num = {m - 1.0, VD<W>{}};
    DD<W> den = two_sum<W>(m, splat<W>(1.0));
    DD<W> s = div<W>(num, den);
    VD<W> z = s.hi * s.hi;
    /* s^3 with the first-order effect of s.lo. */
    DD<W> s3 = mul<W>(two_prod<W>(s.hi, s.hi), s.hi);
    s3.lo = s3.lo + 3.0 * z * s.lo;
    /* 2/3 s^3 with 2/3 in two parts. */
    const double c_hi = 0.6666666666666666, c_lo = 3.700743415417188e-17;
    DD<W> t2 = two_prod<W>(s3.hi, splat<W>(c_hi));
    t2.lo = t2.lo + (s3.hi * c_lo + s3.lo * c_hi);
    VD<W> t3 = s3.hi * z * horner<W>(z, q);
    DD<W> sum = fast_two_sum<W>(s.hi + s.hi, t2.hi);
    VD<W> lo = sum.lo + ((s.lo + s.lo) + t2.lo + t3);
    DD<W> lm = fast_two_sum<W>(sum.hi, lo);
    /* + e ln2; e ln2_hi is exact. */
    DD<W> x = two_sum<W>(ef * kLn2Hi, lm.hi);
    return fast_two_sum<W>(x.hi, x.lo + (lm.lo + ef * kLn2Lo));
}

/* e^(y.hi + y.lo); overflows to inf and underflows to 0 naturally. */
template <int W> inline VD<W> exp_dd(DD<W> y) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    static const double p[12] = {
        0.5, 0.16666666666666666, 0.04166666666666668, 0.008333333333333333,
        0.0013888888888879082, 0.00019841269841263304, 2.480158733642132e-05,
        2.755731924720479e-06, 2.755726330147475e-07, 2.5052071109214447e-08,
        2.0918129454967065e-09, 1.6086622436215554e-10};
    VI<W> clamp = (VI<W>)(y.hi > 710.0) | (VI<W>)(y.hi < -746.0);
    VD<W> yh = vmax<W>(vmin<W>(y.hi, splat<W>(710.0)), splat<W>(-746.0));
    VD<W> yl = select<W>(clamp, VD<W>{}, y.lo);
    VD<W> k = round_int<W>(yh * 1.4426950408889634);
    DD<W> r = two_sum<W>(yh - k * kLn2Hi, yl - k * kLn2Lo);
    DD<W> one = fast_two_sum<W>(splat<W>(1.0), r.hi);
    VD<W> tail = r.lo + r.lo * r.hi + r.hi * r.hi * horner<W>(r.hi, p);
    VD<W> res = one.hi + (one.lo + tail);
    VD<W> k1 = round_int<W>(k * 0.5);
    return res * pow2<W>(k1) * pow2<W>(k - k1);
}


/* Single precision: every float operand and every finite non-zero float
 * result keep |b log a| below 104, so plain double arithmetic (relative
 * error near 2^-50 in the exponent) leaves only the final rounding. */
template <int W> inline VD<W> pow_single(VD<W> ax, double b) {
    static const double q[9] = {
        0.4, 0.28571428571428564, 0.22222222222228424, 0.18181818179658246,
        0.15384615760977463, 0.13333296549572363, 0.11766812466114947,
        0.10456341945425285, 0.10762291418628644};
    static const double p[8] = {
        0.5, 0.16666666666666666, 0.04166666666666668, 0.008333333333333333,
        0.0013888888888879082, 0.00019841269841263304, 2.480158733642132e-05,
        2.755731924720479e-06};
    VI<W> ib = bits<W>(ax);   /* widened floats: never subnormal */
    VI<W> off = ib - 0x3FE6A09E667F3BCDLL;
    VI<W> e = off >> 52;
    VD<W> m = from_bits<W>(ib - (e << 52));
    VD<W> s = (m - 1.0) / (m + 1.0);
    VD<W> z = s * s;
    VD<W> lm = 2.0 * s + s * z * (0.6666666666666666 + z * horner<W>(z, q));
    VD<W> y = b * fma<W>(to_double<W>(e), splat<W>(0.6931471805599453), lm);
    y = vmax<W>(vmin<W>(y, splat<W>(710.0)), splat<W>(-746.0));
    VD<W> k = round_int<W>(y * 1.4426950408889634);
    VD<W> r = (y - k * kLn2Hi) - k * kLn2Lo;
    VD<W> er = 1.0 + (r + r * r * horner<W>(r, p));
    VD<W> k1 = round_int<W>(k * 0.5);
    return er * pow2<W>(k1) * pow2<W>(k - k1);
}

/* Properties of the scalar exponent, computed once per kernel call. */
struct PowExponent {
    double b;        /* exponent used in the core (clamped to +-2^100) */
    bool integer;    /* b is an integer */
    bool odd;        /* b is an odd integer */
    bool regular;    /* b finite and non-zero: the vector path applies */
};

inline PowExponent pow_exponent(double b) {
    PowExponent pe{b, false, false, false};
    double ab = __builtin_fabs(b);
    pe.regular = ab > 0.0 && ab < __builtin_inf();
    if (ab < __builtin_inf()) {
        if (ab >= 4503599627370496.0) {          /* 2^52: all integers */
            pe.integer = true;
            pe.odd = ab < 9007199254740992.0 && ((int64_t)ab & 1);
        } else {
            /* round-to-nearest trick: exact integer test below 2^52 */
            double r = (ab + 4503599627370496.0) - 4503599627370496.0;
            pe.integer = r == ab;
            pe.odd = pe.integer && ((int64_t)ab & 1);
        }
    }
    if (ab > 1.2676506002282294e30) pe.b = b > 0 ? 1.2676506002282294e30 : -1.2676506002282294e30;
    return pe;
}

/* |a|^b with the sign rule of negative bases; finite non-zero a and regular
 * b. Lanes with a < 0 and b not an integer come out NaN and are flagged. */
template <int W, bool Single> inline Out<W> pow_main(VD<W> a, const PowExponent &pe) {
    VD<W> ax = vabs<W>(a);
    VD<W> r;
    if constexpr (Single)
        r = pow_single<W>(ax, pe.b);
    else
        r = exp_dd<W>(mul<W>(log_dd<W>(ax), splat<W>(pe.b)));
    VI<W> neg = (VI<W>)(a < 0.0);
    if (pe.odd) r = xor_sign<W>(r, neg & INT64_MIN);
    if (!pe.integer) {
        r = select<W>(neg, splat<W>(__builtin_nan("")), r);
        return {r, neg};
    }
    return {r, VI<W>{}};
}


/* C99 results of pow for the operands the vector path leaves out: b zero,
 * infinite or NaN, and a zero, infinite or NaN. *code receives the status
 * to report (0 none, 2 for a zero base with a negative exponent). */
inline double pow_special(double a, const PowExponent &pe, double b, int *code) {
    *code = 0;
    const double inf = __builtin_inf();
    bool neg_a = __builtin_signbit(a);
    if (b == 0.0 || a == 1.0) return 1.0;
    if (a != a || b != b) return a + b;
    double ab = __builtin_fabs(a);
    if (__builtin_fabs(b) == inf) {
        if (ab == 1.0) return 1.0;
        if (a == 0.0 && b < 0.0) *code = 2;
        return ((ab < 1.0) == (b < 0.0)) ? inf : 0.0;
    }
    double mag;
    if (a == 0.0) {
        if (b < 0.0) *code = 2;
        mag = b < 0.0 ? inf : 0.0;
    } else { /* a infinite */
        mag = b < 0.0 ? 0.0 : inf;
    }
    return (neg_a && pe.odd) ? -mag : mag;
}

ORB_VMK_END

#endif
