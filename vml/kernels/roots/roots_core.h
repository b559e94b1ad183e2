/* Math cores of the square root, cube root and inverse cube root kernels.
 * Each core maps W double lanes to W results and a mask of the lanes the
 * kernel must report; single precision runs the same cores on widened
 * inputs (every single-precision value is a normal double, and one final
 * rounding to single keeps the error within half an ulp plus a hair).
 *
 * Cube root: x = m 2^(3k+j), m in [1,2), j in {0,1,2}; a degree-7
 * polynomial seed for cbrt(m) (24.7 bits, tools/accuracy/fit_coefficients.py)
 * times cbrt(2^j), scaled by 2^k; the seed is rounded up to 23 bits so that
 * its square is exact, then one Halley step in residual form
 *   r = (x/t^2 - t) / (2t + x/t^2),   cbrt(x) = t + t r
 * leaves an error below 0.67 ulp. The inverse cube root keeps t + t r as an
 * unevaluated sum and inverts it with an exact residual, 1/t (1 + e - r + r^2). */
#ifndef ORB_VML_KERNELS_ROOTS_CORE_H
#define ORB_VML_KERNELS_ROOTS_CORE_H

#include "dd.h"

ORB_VMK_BEGIN

template <int W> struct Out {
    VD<W> r;
    VI<W> report; /* lanes to report (all ones) */
};

constexpr double kInf = __builtin_inf();
constexpr double kTwo54 = 18014398509481984.0;

/* The pieces of the cube-root evaluation shared by Cbrt and InvCbrt, for
 * finite non-zero x: t (23 bits, exact square), r and the 2^-18 rescale
 * needed for subnormal inputs. */
template <int W> struct CbrtParts {
    VD<W> t, r, scale;
};

/* x = m 2^(3k+j) from the bits of a positive normal double: m in [1,2),
 * j in {0,1,2}. */
template <int W> struct CubeSplit {
    VD<W> m;
    VI<W> j, k;
};
template <int W> inline CubeSplit<W> cube_split(VI<W> ib) {
    /* Unsigned shifts: the operands are non-negative, and the AVX2 set has
     * no signed 64-bit shift. */
    VI<W> u = (VI<W>)((VU<W>)ib >> 52) - 1023 + 1080;  /* e + 1080 in [4, 2103] */
    VI<W> q = (VI<W>)((VU<W>)(u * 43691) >> 17);       /* u / 3, exact below 2^16 */
    return {from_bits<W>((ib & 0x000FFFFFFFFFFFFFLL) | 0x3FF0000000000000LL), u - 3 * q, q - 360};
}
/* c[0], c[1] or c[2] per lane as j is 0, 1 or 2 (c a static table). */
template <int W> inline VD<W> pick3(VI<W> j, const double (&c)[3]) {
    /* One lane: an indexed load (the compiler turns the selects into
     * branches on j, which mispredict). */
    if constexpr (W == 1) return VD<W>{c[j[0]]};
    return select<W>(j == 0, splat<W>(c[0]), select<W>(j == 1, splat<W>(c[1]), splat<W>(c[2])));
}

template <int W> inline CbrtParts<W> cbrt_parts(VD<W> ax, bool halley) {
    static const double seed[8] = {
        0.4271992078573546,  1.0494919967917438,   -0.8763453843873725,
        0.629773233237034,   -0.3133092283040934,  0.10019650911433674,
        -0.01850623587250941, 0.0014999374772160568};
    VI<W> tiny = (VI<W>)(ax < 2.2250738585072014e-308);
    VD<W> xs = select<W>(tiny, ax * kTwo54, ax);
    VI<W> ib = bits<W>(xs);
    auto [m, j, k] = cube_split<W>(ib);
    static const double cbrt2j[3] = {1.0, 1.2599210498948732, 1.5874010519681994};
    VD<W> c = pick3<W>(j, cbrt2j);
    VD<W> t0 = horner<W>(m, seed) * c;
    VD<W> t = from_bits<W>(bits<W>(t0) + (k << 52));
    VD<W> scale = select<W>(tiny, splat<W>(3.814697265625e-06), splat<W>(1.0));
    if (!halley) return {t, VD<W>{}, scale};
    /* Round up to 23 significant bits: t*t is then exact. */
    t = from_bits<W>((bits<W>(t) + 0x80000000LL) & ~0x3FFFFFFFLL);
    VD<W> s = t * t;
    VD<W> rr = xs / s;
    VD<W> r = (rr - t) / ((t + t) + rr);
    return {t, r, scale};
}

/* Accuracy flavour: Full meets 1 ulp; Wide (1 ulp), Fast (4 ulp) and Seed
 * (11 bits) are single-precision flavours: Wide runs on widened operands
 * (inv_cbrt_newton), the vector levels run Fast and Seed on float lanes
 * (float_roots.h), the plain loops on the seed of the double core.
 * Newton2 (4 ulp) and Newton1 (26 bits and more) are the double inverse
 * cube roots of codes 1 and 3: inv_cbrt_newton with two or one steps;
 * Newton1 is also the double cube root of code 3 (x y^2 from one step). */
enum class Acc { Full, Wide, Fast, Seed, Newton2, Newton1 };

/* 1/cbrt(ax) for finite non-zero ax, without a division: x = m 2^(3k+j),
 * m in [1,2); a degree-5 seed for m^(-1/3) (17.1 bits,
 * tools/accuracy/fit_coefficients.py) times 2^(-j/3) 2^-k, then Newton
 * steps y + y (1 - x y^3)/3, each taking the relative error e to 2 e^2:
 * below 2^-33 after one step, so a widened single-precision result (y, or
 * x y^2 for the cube root) is off by little more than its final rounding;
 * after two only the rounding of the last steps is left (a few ulp in
 * double). Subnormal doubles (Subnormal) are scaled by 2^54 first. */
template <int W, int Steps, bool Subnormal> inline VD<W> inv_cbrt_newton(VD<W> ax) {
    static const double seed[6] = {1.7776471684890054, -1.5540274077106597,
                                   1.2271496200207155, -0.5865141615889806,
                                   0.15224956438221762, -0.016511679091286462};
    VI<W> tiny{};
    if constexpr (Subnormal) {
        tiny = (VI<W>)(ax < 2.2250738585072014e-308);
        ax = select<W>(tiny, ax * kTwo54, ax);
    }
    VI<W> ib = bits<W>(ax);
    auto [m, j, k] = cube_split<W>(ib);
    static const double inv2j[3] = {1.0, 0.7937005259840998, 0.6299605249474366};
    VD<W> c = pick3<W>(j, inv2j);
    VD<W> y = from_bits<W>(bits<W>(horner<W>(m, seed) * c) - (k << 52));
    for (int s = 0; s < Steps; ++s) {
        VD<W> e = 1.0 - ax * (y * y * y);
        y = fma<W>(y * e, splat<W>(0.3333333333333333), y);
    }
    if constexpr (Subnormal) y = y * select<W>(tiny, splat<W>(262144.0), splat<W>(1.0));
    return y;
}

/* The accuracy flavour is a template argument: each kernel gets its own
 * straight-line core, inlined into its loop. */
struct SqrtCore {
    template <int W, Acc acc> static Out<W> eval(VD<W> a) {
        return {vsqrt<W>(a), (VI<W>)(a < 0.0)};
    }
};

struct CbrtCore {
    template <int W, Acc acc> static Out<W> eval(VD<W> a) {
        VD<W> ax = vabs<W>(a);
        VI<W> special = (VI<W>)(a == 0.0) | ~(VI<W>)(ax < kInf);
        VD<W> r;
        if constexpr (acc == Acc::Newton1) {
            /* Blocks of positive-or-negative normal operands (nearly all)
             * skip the selects for zeros, subnormals, infinities, NaNs. */
            VI<W> normal = (VI<W>)(ax >= 2.2250738585072014e-308) & (VI<W>)(ax < kInf);
            if (__builtin_expect(all<W>(normal), 1)) {
                VD<W> y = inv_cbrt_newton<W, 1, false>(ax);
                return {xor_sign<W>(ax * (y * y), sign_bits<W>(a)), VI<W>{}};
            }
        }
        if constexpr (acc == Acc::Wide || acc == Acc::Newton1) {
            /* x (1/cbrt x)^2: one Newton step leaves 2^-33 on y, 2^-32
             * on the root (widened single: half an ulp and a hair; double
             * code 3: 26 bits and more); subnormal doubles scaled first. */
            VD<W> xs = select<W>(special, splat<W>(1.0), ax);
            VD<W> y = inv_cbrt_newton<W, 1, acc == Acc::Newton1>(xs);
            r = xs * (y * y);
        } else {
            CbrtParts<W> p = cbrt_parts<W>(select<W>(special, splat<W>(1.0), ax),
                                           acc == Acc::Full);
            r = (acc == Acc::Full ? p.t + p.t * p.r : p.t) * p.scale;
        }
        r = xor_sign<W>(r, sign_bits<W>(a));
        return {select<W>(special, a + a, r), VI<W>{}};
    }
};

struct InvCbrtCore {
    template <int W, Acc acc> static Out<W> eval(VD<W> a) {
        VD<W> ax = vabs<W>(a);
        VI<W> zero = (VI<W>)(a == 0.0);
        VI<W> special = zero | ~(VI<W>)(ax < kInf);
        VD<W> r;
        if constexpr (acc == Acc::Wide) {
            r = inv_cbrt_newton<W, 1, false>(select<W>(special, splat<W>(1.0), ax));
        } else if constexpr (acc == Acc::Newton2) {
            r = inv_cbrt_newton<W, 2, true>(select<W>(special, splat<W>(1.0), ax));
        } else if constexpr (acc == Acc::Newton1) {
            r = inv_cbrt_newton<W, 1, true>(select<W>(special, splat<W>(1.0), ax));
        } else {
            CbrtParts<W> p = cbrt_parts<W>(select<W>(special, splat<W>(1.0), ax),
                                           acc == Acc::Full);
            if constexpr (acc == Acc::Full) {
                VD<W> y = 1.0 / p.t;
                DD<W> ty = two_prod<W>(p.t, y);
                VD<W> e = (1.0 - ty.hi) - ty.lo;
                r = y + y * ((e - p.r) + p.r * p.r);
            } else {
                r = 1.0 / p.t;
            }
            r = r / p.scale;
        }
        /* 1/(+-0) = +-inf, 1/(+-inf) = +-0, NaN stays NaN. */
        VD<W> sp = select<W>(zero, xor_sign<W>(splat<W>(kInf), sign_bits<W>(a)),
                             1.0 / (a + a));
        r = xor_sign<W>(r, sign_bits<W>(a));
        return {select<W>(special, sp, r), zero};
    }
};

ORB_VMK_END

#endif
