// Elementwise bodies of the complex functions and the linear fraction.
//
// Single precision is evaluated in double: products of floats are exact
// there and no intermediate can overflow or underflow, so one rounding to
// float remains. Double precision uses exact products (fma) summed as
// double-double and, for Div and Abs, operands scaled by powers of two so
// that no intermediate leaves the format's range. Infinite and NaN parts
// take the C99 Annex G recoveries in a scalar fix-up.
#ifndef ORB_VML_COMPLEX_OPS_H
#define ORB_VML_COMPLEX_OPS_H

#include <cmath>
#include <limits>
#include <stdint.h>

#include "vml/kernels/arith/arith_ops.h"
#include "vml/vml_frame.h"

// Inside the level namespace: every level keeps its own copy of these
// inline templates (one shared copy would run one level's code for all).
namespace ORB_KNS {
namespace vml {

// ---- double-double helpers ----
struct DD { double hi, lo; };
// Exact error of the rounded product p = a * b: one fused multiply-add
// where the level has it, Dekker's splitting elsewhere (a library fma call
// would cost more than the whole formula). The split overflows only for
// magnitudes above 2^995, which end in a non-finite result and the scaled
// repair path.
inline double ProdErr(double a, double b, double p) {
#if ORB_KLEVEL == 7
    return std::fma(a, b, -p);
#else
    const double c = 134217729.0;  // 2^27 + 1
    const double ta = c * a, tb = c * b;
    const double ah = ta - (ta - a), bh = tb - (tb - b);
    const double al = a - ah, bl = b - bh;
    return ((ah * bh - p) + ah * bl + al * bh) + al * bl;
#endif
}
// a*b + c*d with an error of order u^2 relative to the largest product.
inline DD Dot2(double a, double b, double c, double d) {
    const double p = a * b, e = ProdErr(a, b, p);
    const double q = c * d, f = ProdErr(c, d, q);
    const double s = p + q;
    const double t = s - p;
    const double err = (p - (s - t)) + (q - t);
    return {s, err + (e + f)};
}
inline double Round1(DD x) { return x.hi + x.lo; }
// a*b + c*d for a quotient's numerator, as a normalized pair (hi is the
// rounded value): the rounded products' sum s plus the sum of their exact
// errors. The rounding of s is not recovered: s is exact when the products
// cancel (within a factor 2 of each other) and otherwise within u of the
// numerator, so the quotient stays within 1.5 ulp; nine operations instead
// of Dot2's twelve. The pair must be normalized: with s a few units of its
// last place and the errors' sum against it, s alone would start the
// quotient's correction far from the result. s is a multiple of the
// errors' last place, so the fast two-sum recovers hi's error exactly.
inline DD Dot2Lean(double a, double b, double c, double d) {
    const double p = a * b, e = ProdErr(a, b, p);
    const double q = c * d, f = ProdErr(c, d, q);
    const double sum = p + q, err = e + f;
    const double hi = sum + err;
    return {hi, err - (hi - sum)};
}
// a*b + c*d within 2 ulp (Kahan's form: the rounding error of c*d is
// recovered exactly and added back), three multiply-adds and a multiply.
// Without a fused multiply-add the double-double sum stands in.
inline double Kahan(double a, double b, double c, double d) {
#if ORB_KLEVEL == 7
    const double w = c * d;
    const double e = std::fma(c, d, -w);
    return std::fma(a, b, w) + e;
#else
    return Round1(Dot2(a, b, c, d));
#endif
}

// a * b + c: one rounding where the level has a fused multiply-add. The
// vector division uses the same form, so both give the same bits.
inline double MulAdd(double a, double b, double c) {
#if ORB_KLEVEL == 7
    return std::fma(a, b, c);
#else
    return a * b + c;
#endif
}

// 2^k for k in [-1022, 1023], built from the exponent bits.
inline double Pow2(int64_t k) { return FromBits<double>(uint64_t(k + 1023) << 52); }
// Multiplies by 2^k for |k| <= 2044 in two exact-range steps.
inline double Scale2(double x, int64_t k) {
    const int64_t h = k / 2;
    return x * Pow2(h) * Pow2(k - h);
}
// Biased exponent of |x| clamped to [1, 2045]; 2047 stays for inf/NaN.
inline int64_t ExpOf(double x) {
    const int64_t e = int64_t((Bits(x) >> 52) & 0x7FF);
    return e == 2047 ? 2047 : (e < 1 ? 1 : (e > 2045 ? 2045 : e));
}

// ---- C99 Annex G recoveries (scalar, rare path) ----
template <class R> struct Cx { R re, im; };

template <class R> Cx<R> MulRecover(R ar, R ai, R br, R bi, R x, R y) {
    if (!(std::isnan(x) && std::isnan(y))) return {x, y};
    bool again = false;
    const R inf = std::numeric_limits<R>::infinity();
    auto box = [](R v) { return std::copysign(std::isinf(v) ? R(1) : R(0), v); };
    auto unnan = [](R v) { return std::isnan(v) ? std::copysign(R(0), v) : v; };
    if (std::isinf(ar) || std::isinf(ai)) {
        ar = box(ar); ai = box(ai); br = unnan(br); bi = unnan(bi); again = true;
    }
    if (std::isinf(br) || std::isinf(bi)) {
        br = box(br); bi = box(bi); ar = unnan(ar); ai = unnan(ai); again = true;
    }
    if (!again && (std::isinf(ar * br) || std::isinf(ai * bi) ||
                   std::isinf(ar * bi) || std::isinf(ai * br))) {
        ar = unnan(ar); ai = unnan(ai); br = unnan(br); bi = unnan(bi); again = true;
    }
    if (again) return {inf * (ar * br - ai * bi), inf * (ar * bi + ai * br)};
    return {x, y};
}

template <class R> Cx<R> DivRecover(R ar, R ai, R br, R bi, R x, R y) {
    if (!(std::isnan(x) && std::isnan(y))) return {x, y};
    const R inf = std::numeric_limits<R>::infinity();
    auto box = [](R v) { return std::copysign(std::isinf(v) ? R(1) : R(0), v); };
    if (br == R(0) && bi == R(0) && (!std::isnan(ar) || !std::isnan(ai)))
        return {std::copysign(inf, br) * ar, std::copysign(inf, br) * ai};
    if ((std::isinf(ar) || std::isinf(ai)) && std::isfinite(br) && std::isfinite(bi)) {
        ar = box(ar); ai = box(ai);
        return {inf * (ar * br + ai * bi), inf * (ai * br - ar * bi)};
    }
    if ((std::isinf(br) || std::isinf(bi)) && std::isfinite(ar) && std::isfinite(ai)) {
        br = box(br); bi = box(bi);
        return {R(0) * (ar * br + ai * bi), R(0) * (ai * br - ar * bi)};
    }
    return {x, y};
}

template <class R> R AbsRecover(R re, R im, R r) {
    if (std::isinf(re) || std::isinf(im)) return std::numeric_limits<R>::infinity();
    return r;
}

inline bool Finite(double x) { return x - x == 0.0; }
inline bool Finite(float x) { return x - x == 0.0f; }
template <class C> inline bool FiniteParts(const C &r) {
    return (int(Finite(r.real)) & int(Finite(r.imag))) != 0;
}

// False when the smaller part of (p, q) would underflow once the pair is
// scaled to put the larger part (biased exponent e) in [1, 2).
inline bool KeepsSmallPart(double p, double q, int64_t e) {
    const double small = std::fmin(std::fabs(p), std::fabs(q));
    const int64_t es = int64_t((Bits(small) >> 52) & 0x7FF);
    return (int(small == 0.0) | (int(es != 0) & int(e - es < 1000))) != 0;
}

// Each operation: Apply is the branch-free fast formula the loop
// vectorizes; Bad marks elements whose fast result is not to be trusted;
// Fix recomputes those (rare) in scalar code.

// Apply from an operation's Parts (one overload per precision), and Bad for
// a result with a non-finite part; an operation may add its own Bad overload.
template <class Op> struct ByParts {
    template <class C> static C Apply(C a, C b) {
        C r;
        Op::Parts(a.real, a.imag, b.real, b.imag, &r.real, &r.imag);
        return r;
    }
    template <class C> static bool Bad(C, C, C r) { return !FiniteParts(r); }
};

// ---- products; Conj selects a * conj(b) ----
template <bool Conj> struct OpCMul : ByParts<OpCMul<Conj>> {
    static constexpr bool kReports = false;
    static constexpr bool kFixes = true;
    static constexpr bool kParts = true;
    static void Parts(float ar, float ai, float br, float bi, float *x, float *y) {
        const double dbi = Conj ? -double(bi) : double(bi);
        *x = float(double(ar) * br - double(ai) * dbi);
        *y = float(double(ar) * dbi + double(ai) * br);
    }
    static void Parts(double ar, double ai, double br, double bi, double *x, double *y) {
        if (Conj) bi = -bi;
        // The order of the terms is the one of the interleaved vector form
        // (complex_lanes.h), so both give the same bits.
        *x = Kahan(ar, br, -ai, bi);
        *y = Kahan(ai, br, ar, bi);
    }
    static VmlComplex8 Fix(VmlComplex8 a, VmlComplex8 b) {
        const double ar = a.real, ai = a.imag, br = b.real;
        const double bi = Conj ? -double(b.imag) : double(b.imag);
        const Cx<double> f = MulRecover(ar, ai, br, bi, ar * br - ai * bi, ar * bi + ai * br);
        return {float(f.re), float(f.im)};
    }
    // Overflowing intermediates with a representable result, and the
    // recoveries of infinite and NaN parts.
    static VmlComplex16 Fix(VmlComplex16 a, VmlComplex16 b) {
        const double ar = a.real, ai = a.imag, br = b.real;
        const double bi = Conj ? -b.imag : b.imag;
        if (std::isfinite(ar) && std::isfinite(ai) && std::isfinite(br) &&
            std::isfinite(bi)) {
            const int64_t ea = ExpOf(std::fmax(std::fabs(ar), std::fabs(ai)));
            const int64_t eb = ExpOf(std::fmax(std::fabs(br), std::fabs(bi)));
            const double sa = Pow2(1023 - ea), sb = Pow2(1023 - eb);
            const double xr = Round1(Dot2(ar * sa, br * sb, -ai * sa, bi * sb));
            const double xi = Round1(Dot2(ar * sa, bi * sb, ai * sa, br * sb));
            return {Scale2(xr, ea + eb - 2046), Scale2(xi, ea + eb - 2046)};
        }
        const Cx<double> f = MulRecover(ar, ai, br, bi, ar * br - ai * bi, ar * bi + ai * br);
        return {f.re, f.im};
    }
};

struct OpCAdd {
    static constexpr bool kReports = false;
    template <class C> static C Apply(C a, C b) {
        return {a.real + b.real, a.imag + b.imag};
    }
};

struct OpCDiv : ByParts<OpCDiv> {
    using ByParts<OpCDiv>::Bad;
    static constexpr bool kReports = false;
    static constexpr bool kFixes = true;
    static constexpr bool kParts = true;
    static void Parts(float far, float fai, float fbr, float fbi, float *x, float *y) {
        const double ar = far, ai = fai, br = fbr, bi = fbi;
        const double inv = 1.0 / (br * br + bi * bi);
        // Exact products, one rounding each for numerator and denominator
        // in double: well under half a float ulp before the final rounding.
        *x = float((ar * br + ai * bi) * inv);
        *y = float((ai * br - ar * bi) * inv);
    }
    static VmlComplex8 Fix(VmlComplex8 a, VmlComplex8 b) {
        const double ar = a.real, ai = a.imag, br = b.real, bi = b.imag;
        const double d = br * br + bi * bi;
        const Cx<double> f = DivRecover(ar, ai, br, bi, (ar * br + ai * bi) / d,
                                        (ai * br - ar * bi) / d);
        return {float(f.re), float(f.im)};
    }

    // Fast path: both operands finite, divisor non-zero, and no part more
    // than 2^1000 below its partner (it would vanish in the scaling).
    static bool FastOk(VmlComplex16 a, VmlComplex16 b) {
        const int64_t ea = ExpOf(std::fmax(std::fabs(a.real), std::fabs(a.imag)));
        const int64_t eb = ExpOf(std::fmax(std::fabs(b.real), std::fabs(b.imag)));
        return (int(ea != 2047) & int(eb != 2047) &
                (int(b.real != 0.0) | int(b.imag != 0.0)) &
                int(KeepsSmallPart(a.real, a.imag, ea)) &
                int(KeepsSmallPart(b.real, b.imag, eb))) != 0;
    }
    static void Parts(double ar, double ai, double br, double bi, double *x, double *y) {
        const int64_t ea = ExpOf(std::fmax(std::fabs(ar), std::fabs(ai)));
        const int64_t eb = ExpOf(std::fmax(std::fabs(br), std::fabs(bi)));
        // Scaled operands: the larger part of each lies in [1, 2) (or is a
        // scaled subnormal), so d lies in [2^-104, 8) and nothing overflows.
        const double sa = Pow2(1023 - ea), sb = Pow2(1023 - eb);
        const double xr = ar * sa, xi = ai * sa, yr = br * sb, yi = bi * sb;
        const DD d = Dot2(yr, yr, yi, yi);
        const DD nr = Dot2Lean(xr, yr, xi, yi);
        const DD ni = Dot2Lean(xi, yr, -xr, yi);
        // Quotient by a double-double, one correction step.
        const double inv = 1.0 / d.hi;
        const double qr0 = nr.hi * inv, qi0 = ni.hi * inv;
        const double rr = MulAdd(-qr0, d.lo, std::fma(-qr0, d.hi, nr.hi) + nr.lo);
        const double ri = MulAdd(-qi0, d.lo, std::fma(-qi0, d.hi, ni.hi) + ni.lo);
        *x = Scale2(MulAdd(rr, inv, qr0), ea - eb);
        *y = Scale2(MulAdd(ri, inv, qi0), ea - eb);
    }
    static bool Bad(VmlComplex16 a, VmlComplex16 b, VmlComplex16) { return !FastOk(a, b); }
    // Extended-exponent evaluation (x87 long double where it is wider than
    // double), then the recoveries of infinite and NaN parts.
    static VmlComplex16 Fix(VmlComplex16 a, VmlComplex16 b) {
        using W = long double;
        const double ar = a.real, ai = a.imag, br = b.real, bi = b.imag;
        const W d = W(br) * br + W(bi) * bi;
        const W nx = W(ar) * br + W(ai) * bi, ny = W(ai) * br - W(ar) * bi;
        const Cx<double> f = DivRecover(ar, ai, br, bi, double(nx / d), double(ny / d));
        return {f.re, f.im};
    }
};

struct OpCAbs {
    static float Apply(VmlComplex8 a) {
        const double re = a.real, im = a.imag;
        const float r = float(std::sqrt(re * re + im * im));
        return AbsRecover(a.real, a.imag, r);
    }
    static double Apply(VmlComplex16 a) {
        const double re = a.real, im = a.imag;
        const int64_t e = ExpOf(std::fmax(std::fabs(re), std::fabs(im)));
        const int64_t es = e == 2047 ? 1023 : e;
        const double s = Pow2(1023 - es);
        const double xr = re * s, xi = im * s;
        const DD q = Dot2(xr, xr, xi, xi);
        // sqrt(hi + lo) ~ r + lo' / (2r) with lo' the residual.
        const double r0 = std::sqrt(q.hi);
        const double res = (std::fma(-r0, r0, q.hi) + q.lo);
        const double r = r0 > 0.0 ? r0 + res / (2.0 * r0) : r0;
        return AbsRecover(re, im, Scale2(r, es - 1023));
    }
};

// ---- linear fraction ----
template <class T> inline bool UsableNormal(T x) {
    const T ax = std::fabs(x);
    return ax >= std::numeric_limits<T>::min() && ax <= std::numeric_limits<T>::max();
}

}  // namespace vml
}  // namespace ORB_KNS

#endif
