/* Math core of the arc-tangent kernels, atan2(y, x) for finite operands
 * not both zero. The angle is assembled as C + s atan(u), |u| <= tan(pi/8):
 *   t = min(|x|,|y|) / max(|x|,|y|)            (double-double)
 *   u = t, or (t - 1)/(t + 1) when t > tan(pi/8) (adds pi/4)
 *   swap of x and y gives pi/2 - angle, x < 0 gives pi - angle,
 * and the sign of y goes on last. C is carried in two parts and the sum is
 * rounded once, which keeps the error near 0.55 ulp. atan(u) = u + u^3 P(u^2)
 * with P of degree 10 (tools/accuracy/fit_coefficients.py). Operands are
 * first scaled by a common power of two so that the error-free products
 * neither overflow nor lose bits to underflow. */
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
    VD<W> scale = select<W>((VI<W>)(den > 0x1p900), splat<W>(0x1p-200),
                            select<W>((VI<W>)(den < 0x1p-400), splat<W>(0x1p600),
                                      splat<W>(1.0)));
    num = num * scale;
    den = den * scale;
    DD<W> t = div<W>(DD<W>{num, VD<W>{}}, DD<W>{den, VD<W>{}});
    /* Far below 2^-60, atan(t) = t to the last bit and the low part is
     * only noise from underflow in the residual. */
    VI<W> tiny = (VI<W>)(t.hi < 0x1p-60);
    t.hi = select<W>(tiny, num / den, t.hi);
    t.lo = select<W>(tiny, VD<W>{}, t.lo);
    VI<W> red = (VI<W>)(t.hi > 0.41421356237309503);
    DD<W> tm1 = two_sum<W>(t.hi, splat<W>(-1.0));
    tm1.lo = tm1.lo + t.lo;
    DD<W> tp1 = two_sum<W>(t.hi, splat<W>(1.0));
    tp1.lo = tp1.lo + t.lo;
    DD<W> ur = div<W>(tm1, tp1);
    DD<W> u = {select<W>(red, ur.hi, t.hi), select<W>(red, ur.lo, t.lo)};
    VD<W> z = u.hi * u.hi;
    VD<W> at_lo = u.lo + u.hi * z * horner<W>(z, p);  /* atan(u) - u.hi */
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
    DD<W> sum = two_sum<W>(c * pi4_hi, s * u.hi);
    VD<W> r = sum.hi + (sum.lo + (c * pi4_lo + s * at_lo));
    return xor_sign<W>(r, sign_bits<W>(y));
}


/* Plain double evaluation: a few ulp in double (the lower-accuracy codes),
 * and far below half an ulp for widened single-precision operands, whose
 * quotient never overflows or underflows. `scale` brings double operands
 * into the range where (num - den)/(num + den) cannot overflow. */
template <int W, bool scale> inline VD<W> atan2_plain(VD<W> y, VD<W> x) {
    static const double p[11] = {
        -0.3333333333333333, 0.1999999999999552, -0.14285714284666542,
        0.11111111015256361, -0.09090904578123903, 0.07692183190826087,
        -0.06664511447381948, 0.0585814891280221, -0.0508544973794026,
        0.03923165829558719, -0.01917688711906226};
    VD<W> ay = vabs<W>(y), ax = vabs<W>(x);
    VI<W> swap = (VI<W>)(ay > ax);
    VD<W> num = select<W>(swap, ax, ay), den = select<W>(swap, ay, ax);
    if constexpr (scale) {
        VD<W> f = select<W>((VI<W>)(den > 0x1p900), splat<W>(0x1p-200), splat<W>(1.0));
        num = num * f;
        den = den * f;
    }
    VD<W> t = num / den;
    VI<W> red = (VI<W>)(t > 0.41421356237309503);
    VD<W> u = select<W>(red, (num - den) / (num + den), t);
    VD<W> z = u * u;
    VD<W> at = u + u * z * horner<W>(z, p);
    VD<W> c = select<W>(red, splat<W>(0.7853981633974483), VD<W>{});
    VD<W> s = splat<W>(1.0);
    c = select<W>(swap, 1.5707963267948966 - c, c);
    s = select<W>(swap, -s, s);
    VI<W> xneg = (VI<W>)(sign_bits<W>(x) != 0);
    c = select<W>(xneg, 3.141592653589793 - c, c);
    s = select<W>(xneg, -s, s);
    return xor_sign<W>(c + s * at, sign_bits<W>(y));
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
