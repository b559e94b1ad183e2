/* Math core of the arc-tangent kernels, atan2(y, x) for finite operands
 * not both zero. The angle is assembled as C + s atan(u), |u| <= tan(pi/8):
 *   with n = min(|x|,|y|), d = max(|x|,|y|):
 *   u = n/d, or (n - d)/(n + d) when n/d > tan(pi/8) (adds pi/4),
 *   swap of x and y gives pi/2 - angle, x < 0 gives pi - angle,
 * and the sign of y goes on last. The accurate core forms n - d and n + d
 * exactly, divides once (a reciprocal and a corrected product give u as an
 * unevaluated sum u_hi + u_lo), carries C in two parts and rounds the sum
 * once, which keeps the error near 0.55 ulp. atan(u) = u + u^3 P(u^2)
 * with P of degree 10 (tools/accuracy/fit_coefficients.py). A vector with
 * an operand beyond 2^900 or below 2^-400 is first scaled by a common
 * power of two so that the sums and residuals neither overflow nor lose
 * bits to underflow. */
#ifndef ORB_VML_KERNELS_ATAN2_CORE_H
#define ORB_VML_KERNELS_ATAN2_CORE_H

#include "../roots/roots_core.h"

ORB_VMK_BEGIN

template <int W> inline VD<W> atan2_main(VD<W> y, VD<W> x) {
#if defined(__clang__)
#pragma clang fp contract(off)
#endif
    static const double p[11] = {
        -0.3333333333333333, 0.1999999999999552, -0.14285714284666542,
        0.11111111015256361, -0.09090904578123903, 0.07692183190826087,
        -0.06664511447381948, 0.0585814891280221, -0.0508544973794026,
        0.03923165829558719, -0.01917688711906226};
    const double pi4_hi = 0.7853981633974483, pi4_lo = 3.061616997868383e-17;
    VD<W> ay = vabs<W>(y), ax = vabs<W>(x);
    VI<W> swap = (VI<W>)(ay > ax);
    VD<W> num = select<W>(swap, ax, ay), den = select<W>(swap, ay, ax);
    /* Operands this large or small are rare: test once, scale only then. */
    VI<W> far = (VI<W>)(den > 0x1p900) | (VI<W>)(den < 0x1p-400);
    if (__builtin_expect(any<W>(far), 0)) {
        VD<W> scale = select<W>((VI<W>)(den > 0x1p900), splat<W>(0x1p-200),
                                select<W>((VI<W>)(den < 0x1p-400), splat<W>(0x1p600),
                                          splat<W>(1.0)));
        num = num * scale;
        den = den * scale;
    }
    VI<W> red = (VI<W>)(num > 0.41421356237309503 * den);
    /* den >= num >= 0: the fast error-free sums are exact here. */
    DD<W> dif = fast_two_sum<W>(-den, num), sum = fast_two_sum<W>(den, num);
    VD<W> nh = select<W>(red, dif.hi, num), nl = select<W>(red, dif.lo, VD<W>{});
    VD<W> dh = select<W>(red, sum.hi, den), dl = select<W>(red, sum.lo, VD<W>{});
    /* q within two ulps of the quotient; the residual (its own rounding is
     * 2^-105 relative) corrects it to a double-double. */
    VD<W> inv = 1.0 / dh;
    VD<W> q = nh * inv;
    DD<W> qd = two_prod<W>(q, dh);
    DD<W> u = {q, (((nh - qd.hi) - qd.lo) + (nl - q * dl)) * inv};
    /* Unreduced quotients far below 2^-500 would leave residuals in the subnormal
     * range; there atan(t) = t and only the correctly rounded quotient
     * counts. */
    VI<W> tiny = ~red & (VI<W>)(q < 0x1p-500);
    if (__builtin_expect(any<W>(tiny), 0)) {
        u.hi = select<W>(tiny, num / den, u.hi);
        u.lo = select<W>(tiny, VD<W>{}, u.lo);
    }
    VD<W> z = u.hi * u.hi;
    /* atan(u) - u.hi, with the first-order effect of u.lo. */
    VD<W> at_lo = (u.lo - u.lo * z) + u.hi * z * horner<W>(z, p);
    /* C in units of pi/4: reduction adds 1, swap gives 2 - (.), x < 0 gives
     * 4 - (.); s flips with each reflection. */
    VD<W> c = select<W>(red, splat<W>(1.0), VD<W>{});
    VD<W> s = splat<W>(1.0);
    c = select<W>(swap, 2.0 - c, c);
    s = select<W>(swap, -s, s);
    VI<W> xneg = (VI<W>)(sign_bits<W>(x) != 0);
    c = select<W>(xneg, 4.0 - c, c);
    s = select<W>(xneg, -s, s);
    /* c pi/4 with c <= 4 small integer: c * pi4_hi is exact. */
    DD<W> acc = two_sum<W>(c * pi4_hi, s * u.hi);
    VD<W> r = acc.hi + (acc.lo + (c * pi4_lo + s * at_lo));
    return xor_sign<W>(r, sign_bits<W>(y));
}


/* Plain double evaluation: a few ulp in double (code 1, the degree-10 P),
 * or with Short the degree-5 P (relative error 2^-29 on the tail, about
 * 2^-33 on the angle): within 0.55 ulp for widened single-precision
 * operands (single code 2), whose quotient never overflows or underflows. `scale` brings double operands into the range
 * where n - d and n + d cannot overflow. */
template <int W, bool scale, bool Short> inline VD<W> atan2_plain(VD<W> y, VD<W> x) {
    static const double p[11] = {
        -0.3333333333333333, 0.1999999999999552, -0.14285714284666542,
        0.11111111015256361, -0.09090904578123903, 0.07692183190826087,
        -0.06664511447381948, 0.0585814891280221, -0.0508544973794026,
        0.03923165829558719, -0.01917688711906226};
    static const double ps[6] = {
        -0.333333332792548, 0.19999977258688387, -0.14284151193628614,
        0.11071365021884794, -0.08624676145249494, 0.050481385120797445};
    VD<W> ay = vabs<W>(y), ax = vabs<W>(x);
    VI<W> swap = (VI<W>)(ay > ax);
    VD<W> num = select<W>(swap, ax, ay), den = select<W>(swap, ay, ax);
    if constexpr (scale) {
        VD<W> f = select<W>((VI<W>)(den > 0x1p900), splat<W>(0x1p-200), splat<W>(1.0));
        num = num * f;
        den = den * f;
    }
    VI<W> red = (VI<W>)(num > 0.41421356237309503 * den);
    VD<W> u = select<W>(red, num - den, num) / select<W>(red, num + den, den);
    VD<W> z = u * u;
    VD<W> at = u + u * z * (Short ? horner<W>(z, ps) : horner<W>(z, p));
    VD<W> c = select<W>(red, splat<W>(0.7853981633974483), VD<W>{});
    VD<W> s = splat<W>(1.0);
    c = select<W>(swap, 1.5707963267948966 - c, c);
    s = select<W>(swap, -s, s);
    VI<W> xneg = (VI<W>)(sign_bits<W>(x) != 0);
    c = select<W>(xneg, 3.141592653589793 - c, c);
    s = select<W>(xneg, -s, s);
    return xor_sign<W>(c + s * at, sign_bits<W>(y));
}

/* Double code 3 (26 bits): the reduction of atan2_plain without its
 * selects. With inner = atan(u) (+ pi/4 when reduced) the angle is
 * C + s inner, C = pi/2 when swapped, else pi for x < 0, else 0, and s = -1
 * when exactly one of the two holds; s and the sign of y go on as sign
 * bits. P: degree 4 (2^-24.3 relative on the tail, which is below 0.06 of
 * atan(u); tools/accuracy/fit_coefficients.py): about 2^-28 on the angle.
 * NaN operands, two zeros and two infinities come out NaN (the loop's
 * scalar path); one zero or one infinity gives u = 0 and the C99 angle. */
template <int W> inline VD<W> atan2_fast(VD<W> y, VD<W> x) {
    static const double p[5] = {-0.3333333176116852, 0.19999540483648964,
                                -0.1426395559798464, 0.10743731490791084,
                                -0.06451928208121749};
    VD<W> ay = vabs<W>(y), ax = vabs<W>(x);
    VI<W> swap = (VI<W>)(ay > ax);
    VD<W> num = select<W>(swap, ax, ay), den = select<W>(swap, ay, ax);
    /* n + d overflows only for operands near the top of the range. */
    VI<W> big = (VI<W>)(den > 0x1p1000);
    if (__builtin_expect(any<W>(big), 0)) {
        VD<W> f = select<W>(big, splat<W>(0x1p-200), splat<W>(1.0));
        num = num * f;
        den = den * f;
    }
    VI<W> red = (VI<W>)(num > 0.41421356237309503 * den);
    VD<W> u = select<W>(red, num - den, num) / select<W>(red, num + den, den);
    VD<W> z = u * u;
    VD<W> base = from_bits<W>(red & bits<W>(splat<W>(0.7853981633974483))) + u;
    VD<W> inner = fma<W>(u * z, horner<W>(z, p), base);
    VI<W> xneg = (VI<W>)(x < 0.0);
    VD<W> c = from_bits<W>((swap & bits<W>(splat<W>(1.5707963267948966))) |
                           (~swap & xneg & bits<W>(splat<W>(3.141592653589793))));
    VI<W> flip = (swap ^ xneg) & INT64_MIN;
    return xor_sign<W>(c + xor_sign<W>(inner, flip), sign_bits<W>(y));
}

/* C99 atan2 for the lanes the core leaves out: a NaN, an infinity or both
 * operands zero. */
inline double atan2_special(double y, double x) {
    const double pi = 3.141592653589793, pi2 = 1.5707963267948966,
                 pi4 = 0.7853981633974483, pi34 = 2.356194490192345;
    if (x != x || y != y) return x + y;
    bool xneg = __builtin_signbit(x);
    double r;
    if (__builtin_fabs(y) == __builtin_inf()) {
        r = __builtin_fabs(x) == __builtin_inf() ? (xneg ? pi34 : pi4) : pi2;
    } else if (__builtin_fabs(x) == __builtin_inf()) {
        r = xneg ? pi : 0.0;
    } else { /* both zero */
        r = xneg ? pi : 0.0;
    }
    return __builtin_signbit(y) ? -r : r;
}

template <int W> inline VI<W> atan2_special_lanes(VD<W> y, VD<W> x) {
    VI<W> finite = (VI<W>)(vabs<W>(y) < kInf) & (VI<W>)(vabs<W>(x) < kInf);
    VI<W> zeros = (VI<W>)(y == 0.0) & (VI<W>)(x == 0.0);
    return ~finite | zeros;
}

ORB_VMK_END

#endif
