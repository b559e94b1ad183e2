/* Math core of the power kernels: |a|^b = exp(b log|a|), table-driven.
 *
 * log: a = 2^e z, z in [0.703125, 1.40625); seven bits of z pick a cell
 *   with a short reciprocal invc (8 bits), so r = z invc - 1 is exact and
 *   |r| < 2^-7; log a = e ln2 - log(invc) + log1p(r), with -log(invc) from
 *   the table in two parts and log1p(r) = r - r^2/2 + r^3 P(r) (Taylor,
 *   degree 10: the remainder is below 2^-68 relative). The double kernel
 *   carries the sum as a double-double (relative error near 2^-68), so
 *   b log a reaches exp with an absolute error below 2^-58.
 * exp: y = (k + j/128) ln2 + r', |r'| <= ln2/256; e^y = 2^k 2^(j/128)
 *   (1 + r' + ... + r'^6/720), 2^(j/128) from the table in two parts; the
 *   result stays within about 0.52 ulp.
 * Tables: tools/accuracy/pow_tables.py writes pow_table.inc.
 *
 * The core handles finite non-zero a of either sign with b finite and
 * non-zero; the kernel routes everything else to pow_special. */
#ifndef ORB_VML_KERNELS_POW_CORE_H
#define ORB_VML_KERNELS_POW_CORE_H

#include "../roots/roots_core.h"

ORB_VMK_BEGIN

#include "pow_table.inc"

constexpr double kLn2Hi = 0.6931471805598903;      /* 42 bits: e ln2_hi exact */
constexpr double kLn2Lo = 5.497923018708371e-14;
constexpr double kN_Ln2 = 184.66496523378731;      /* 128 / ln2 */
constexpr double kLn2_NHi = 0x1.62e42fef80000p-8;    /* ln2/128, 35 bits */
constexpr double kLn2_NLo = 0x1.1cf79abc9e3b4p-43;

/* The reduced logarithm argument: cell index, exponent and exact r. */
template <int W> struct LogArg {
    VI<W> idx;
    VD<W> e, r;
};

template <int W> inline LogArg<W> log_arg(VD<W> ax) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VI<W> tiny = (VI<W>)(ax < 2.2250738585072014e-308);
    VD<W> xs = select<W>(tiny, ax * 18014398509481984.0, ax);
    VI<W> ib = bits<W>(xs);
    VI<W> tmp = ib - 0x3FE6800000000000LL;          /* bits of 0.703125 */
    VI<W> idx = (tmp >> 45) & 127;
    VI<W> e = tmp >> 52;
    VD<W> z = from_bits<W>(ib - (e << 52));
    VD<W> ef = to_double<W>(e) - select<W>(tiny, splat<W>(54.0), splat<W>(0.0));
    VD<W> ic = gather<W>(kPowInvC, idx);
#if defined(__FMA__)
    VD<W> r = fma<W>(z, ic, splat<W>(-1.0));
#else
    /* z in 45 + 8 bits: both partial products are exact, and so is the
     * sum, whose exact value r is representable. */
    VD<W> zh = from_bits<W>(bits<W>(z) & ~0xFFLL);
    VD<W> r = (zh * ic - 1.0) + (z - zh) * ic;
#endif
    return {idx, ef, r};
}

/* log|a| as a double-double, for finite non-zero a. */
template <int W> inline DD<W> log_dd(VD<W> ax) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    static const double q[8] = {
        0.3333333333333333, -0.25, 0.2, -0.16666666666666666,
        0.14285714285714285, -0.125, 0.1111111111111111, -0.1};
    LogArg<W> g = log_arg<W>(ax);
    VD<W> lh = gather<W>(kPowLogHi, g.idx), ll = gather<W>(kPowLogLo, g.idx);
    DD<W> t1 = two_sum<W>(g.e * kLn2Hi, lh);
    DD<W> s = two_sum<W>(t1.hi, g.r);
    DD<W> r2 = two_prod<W>(g.r, g.r);
    DD<W> s2 = two_sum<W>(s.hi, -0.5 * r2.hi);
    VD<W> r4 = r2.hi * r2.hi;
    /* Estrin halves of P keep the dependency chain short. */
    VD<W> plo = fma<W>(fma<W>(splat<W>(q[3]), g.r, splat<W>(q[2])), r2.hi,
                       fma<W>(splat<W>(q[1]), g.r, splat<W>(q[0])));
    VD<W> phi = fma<W>(fma<W>(splat<W>(q[7]), g.r, splat<W>(q[6])), r2.hi,
                       fma<W>(splat<W>(q[5]), g.r, splat<W>(q[4])));
    VD<W> p = g.r * r2.hi * fma<W>(phi, r4, plo);
    VD<W> lo = ((t1.lo + s.lo) + (s2.lo - 0.5 * r2.lo)) + ((g.e * kLn2Lo + ll) + p);
    return fast_two_sum<W>(s2.hi, lo);
}

/* 2^(k/128) e^r for integer-valued k (|k| < 2^18) and |r| <= ln2/256;
 * `extra` is added to e^r - 1 (a low-order part of r). */
template <int W> inline VD<W> exp_tail(VD<W> kd, VD<W> r, VD<W> extra) {
    static const double c[5] = {0.5, 0.16666666666666666, 0.041666666666666664,
                                0.008333333333333333, 0.001388888888888889};
    const VD<W> magic = splat<W>(6755399441055744.0);
    VI<W> ki = bits<W>(kd + magic) - bits<W>(magic);
    VI<W> j = ki & 127;
    VI<W> k = ki >> 7;
    VD<W> th = gather<W>(kPowExpHi, j), tl = gather<W>(kPowExpLo, j);
    VD<W> r2 = r * r;
    VD<W> p = fma<W>(r2, horner<W>(r, c), r + extra);
    VD<W> res = th + fma<W>(th, p, tl);
    VI<W> k1 = k >> 1;
    return res * from_bits<W>((k1 + 1023) << 52) * from_bits<W>((k - k1 + 1023) << 52);
}

/* e^(y.hi + y.lo); overflows to inf and underflows to 0 naturally. */
template <int W> inline VD<W> exp_dd(DD<W> y) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    VI<W> clamp = (VI<W>)(y.hi > 710.0) | (VI<W>)(y.hi < -746.0);
    VD<W> yh = vmax<W>(vmin<W>(y.hi, splat<W>(710.0)), splat<W>(-746.0));
    VD<W> yl = select<W>(clamp, VD<W>{}, y.lo);
    VD<W> kd = round_int<W>(yh * kN_Ln2);
    VD<W> r = (yh - kd * kLn2_NHi) - kd * kLn2_NLo;  /* first product exact */
    return exp_tail<W>(kd, r + yl, VD<W>{});
}

/* Single precision, without tables: every finite non-zero float result
 * keeps |b log a| below 104, and double arithmetic leaves only the final
 * rounding to single once log and exp are good to about 2^-32.
 *   log: a = 2^e m, m in [sqrt(1/2), sqrt(2)); s = (m - 1)/(m + 1),
 *        log m = 2 s (1 + s^2/3 + ... + s^12/13), truncation below 2^-39
 *        relative (s^2 <= 0.0295);
 *   exp: t = k ln2 + r, |r| <= ln2/2, e^r by its Taylor polynomial of
 *        degree 8 (remainder below 2^-32 relative), 2^k on the exponent.
 * t is clamped to [-120, 100]: beyond, the float result is 0 or
 * overflows either way (the kernel flags the overflow). */
template <int W> inline VD<W> pow_single(VD<W> ax, double b) {
    static const double lc[7] = {1.0, 1.0 / 3, 1.0 / 5, 1.0 / 7, 1.0 / 9, 1.0 / 11, 1.0 / 13};
    static const double ec[9] = {1.0, 1.0, 1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120,
                                 1.0 / 720, 1.0 / 5040, 1.0 / 40320};
    VI<W> tmp = bits<W>(ax) - 0x3FE6A09E667F3BCDLL;   /* bits of sqrt(1/2) */
    VI<W> e = tmp >> 52;
    VD<W> m = from_bits<W>(bits<W>(ax) - (e << 52));
    VD<W> s = (m - 1.0) / (m + 1.0);
    VD<W> lm = (s + s) * horner<W>(s * s, lc);
    VD<W> t = b * fma<W>(to_double<W>(e), splat<W>(0.6931471805599453), lm);
    t = vmax<W>(vmin<W>(t, splat<W>(100.0)), splat<W>(-120.0));
    VD<W> kd = round_int<W>(t * 1.4426950408889634);
    VD<W> r = fma<W>(kd, splat<W>(-1.9082149292705877e-10),
                     fma<W>(kd, splat<W>(-0.6931471803691238), t));
    VD<W> p = horner<W>(r, ec);
    const VD<W> magic = splat<W>(6755399441055744.0);
    VI<W> k = bits<W>(kd + magic) - bits<W>(magic);
    return from_bits<W>(bits<W>(p) + (k << 52));
}

/* Double code 3 (26 bits and more): the same tables, single doubles
 * throughout. log|a| = e ln2 - log(invc) + log1p(r) with log1p of degree 6
 * (truncation below 2^-51; the sum stays within about 2^-50 relative),
 * so t = b log|a| is off by at most 2^-40 for |t| <= 746; e^t =
 * 2^(k/128) (1 + r' + r'^2/2 + r'^3/6), |r'| <= ln2/256, truncation
 * 2^-38.6, r' from one fused step (the error of ln2/128 times k stays
 * below 2^-43). Three table reads instead of six. The exponent and scale
 * go through unsigned shifts and a shifted add; results outside
 * [2^-1000, 2^1000] (|t| > 693) take the scaling of exp_tail. */
template <int W> inline VD<W> pow_fast(VD<W> ax, double b) {
    static const double q[5] = {-0.5, 1.0 / 3, -0.25, 0.2, -1.0 / 6};
    const VD<W> magic = splat<W>(6755399441055744.0);
    VD<W> xs = ax, eoff{};
    VI<W> tiny = (VI<W>)(ax < 2.2250738585072014e-308);
    if (__builtin_expect(any<W>(tiny), 0)) {
        xs = select<W>(tiny, ax * 18014398509481984.0, ax);
        eoff = select<W>(tiny, splat<W>(54.0), VD<W>{});
    }
    VI<W> tmp = bits<W>(xs) - 0x3FE6800000000000LL;  /* bits of 0.703125 */
    VI<W> idx = (VI<W>)((VU<W>)tmp >> 45) & 127;
    /* e + 2048 from an unsigned shift of tmp + 2^63 */
    VI<W> eb = (VI<W>)(((VU<W>)tmp + 0x8000000000000000ULL) >> 52);
    VD<W> ef = (from_bits<W>(eb + bits<W>(magic)) - (magic + 2048.0)) - eoff;
    VD<W> z = from_bits<W>((tmp & 0x000FFFFFFFFFFFFFLL) + 0x3FE6800000000000LL);
    VD<W> r = fma<W>(z, gather<W>(kPowInvC, idx), splat<W>(-1.0));
    VD<W> lp = fma<W>(r * r, horner<W>(r, q), r);
    VD<W> l = fma<W>(ef, splat<W>(0.6931471805599453), gather<W>(kPowLogHi, idx) + lp);
    VD<W> t = vmax<W>(vmin<W>(l * b, splat<W>(710.0)), splat<W>(-746.0));
    VD<W> kd = round_int<W>(t * kN_Ln2);
    VI<W> ki = bits<W>(kd + magic) - bits<W>(magic);
    VD<W> rr = fma<W>(kd, splat<W>(-0.0054152123481245725), t);  /* ln2/128 */
    VD<W> p = fma<W>(rr * rr, fma<W>(rr, splat<W>(1.0 / 6), splat<W>(0.5)), rr);
    VD<W> th = gather<W>(kPowExpHi, ki & 127);
    VD<W> res = fma<W>(th, p, th);
    VI<W> edge = (VI<W>)(vabs<W>(t) > 693.0);
    if (__builtin_expect(!any<W>(edge), 1))
        return from_bits<W>(bits<W>(res) + ((ki & ~127LL) << 45));
    VI<W> k = ki >> 7;
    VI<W> k1 = k >> 1;
    return res * from_bits<W>((k1 + 1023) << 52) * from_bits<W>((k - k1 + 1023) << 52);
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
template <int W, bool Single, bool Fast = false>
inline Out<W> pow_main(VD<W> a, const PowExponent &pe) {
    VD<W> ax = vabs<W>(a);
    VD<W> r;
    if constexpr (Single)
        r = pow_single<W>(ax, pe.b);
    else if constexpr (Fast)
        r = pow_fast<W>(ax, pe.b);
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
