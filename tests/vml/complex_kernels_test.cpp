// Complex kernels against a quad-precision reference (error <= 2 ulp per
// component, every slot), operands near the format's limits, C99 handling
// of infinite and NaN parts; the linear fraction's three cases.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>

#include "vml_test_util.h"

namespace {

using orb::test::ModeScope;
using orb::test::SlotRunnable;
using Q = __float128;

constexpr uint32_t kQuiet = 0x0100 | 0x3;

Q QSqrt(Q x) {
    if (x <= 0) return 0;
    // Squares of parts near the limits leave the double range: the seed
    // is taken from x scaled by an even power of two.
    const Q step = Q(0x1p600), half = Q(0x1p300);
    Q scale = 1;
    for (; x > step; x /= step) scale *= half;
    for (; x < 1 / step; x *= step) scale /= half;
    Q r = Q(std::sqrt(double(x)));
    for (int k = 0; k < 3; ++k) r = (r + x / r) / 2;
    return r * scale;
}

// ulp distance of got from the exact value x (in the format of R).
template <class R> double UlpErr(R got, Q x) {
    const R rx = R(x);
    if (!std::isfinite(double(got))) return 1e30;
    int e;
    std::frexp(double(rx == 0 ? std::numeric_limits<R>::min() : rx), &e);
    const int digits = std::numeric_limits<R>::digits;
    const int emin = std::numeric_limits<R>::min_exponent;
    const double ulp = std::ldexp(1.0, std::max(e, emin) - digits);
    const Q diff = Q(got) - x;
    return double(diff < 0 ? -diff : diff) / ulp;
}

struct Ops { Q re, im; };
Ops QMul(Q ar, Q ai, Q br, Q bi) { return {ar * br - ai * bi, ar * bi + ai * br}; }
Ops QDiv(Q ar, Q ai, Q br, Q bi) {
    const Q d = br * br + bi * bi;
    return {(ar * br + ai * bi) / d, (ai * br - ar * bi) / d};
}

// Mul, MulByConj, Div and Abs of every slot on parts of exponent up to
// +-scale_exp: parts of very different size, near-cancelling products too.
// With bodies, the kernels without the control-word frame (what the
// entries run when the bits need no change).
#define ORB_TABLE(name) (bodies ? (const void *)vml_bodies_##name : (const void *)vml_kernels_##name)
template <class C, class R> void CheckAccuracy(int scale_exp, uint32_t seed, bool bodies) {
    using BinK = void (*)(int32_t, const C *, const C *, C *);
    using AbsK = void (*)(int32_t, const C *, R *);
    const bool dbl = sizeof(R) == 8;
    const void *const bin[3] = {dbl ? ORB_TABLE(vzMul) : ORB_TABLE(vcMul),
                                dbl ? ORB_TABLE(vzMulByConj) : ORB_TABLE(vcMulByConj),
                                dbl ? ORB_TABLE(vzDiv) : ORB_TABLE(vcDiv)};
    const AbsK *abs = static_cast<const AbsK *>(dbl ? ORB_TABLE(vzAbs) : ORB_TABLE(vcAbs));
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> ex(-scale_exp, scale_exp);
    const int n = 400;
    const double lim = double(std::numeric_limits<R>::max());
    std::vector<C> a(n), b(n), y(n);
    std::vector<R> m(n);
    auto part = [&] { return R(std::ldexp(u(rng), ex(rng))); };
    for (int i = 0; i < n; ++i) {
        a[i] = {part(), part()};
        b[i] = {part(), part()};
        if (i % 7 == 0) b[i] = {a[i].imag, a[i].real};  // cancellation in Re(a*b)
    }
    // UlpErr measures subnormal results in units of the smallest subnormal
    // spacing, so they are held to the same bound.
    auto ok = [](R got, Q x) { return UlpErr(got, x) <= 2.0; };
    ModeScope mode(kQuiet);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        for (int which = 0; which < 3; ++which) {
            static_cast<const BinK *>(bin[which])[slot](n, a.data(), b.data(), y.data());
            for (int i = 0; i < n; ++i) {
                const Q ar = a[i].real, ai = a[i].imag, br = b[i].real;
                const Q bi = which == 1 ? -Q(b[i].imag) : Q(b[i].imag);
                const Ops e = which == 2 ? QDiv(ar, ai, br, bi) : QMul(ar, ai, br, bi);
                if (std::fabs(double(e.re)) > lim || std::fabs(double(e.im)) > lim) continue;
                ASSERT_TRUE(ok(y[i].real, e.re) && ok(y[i].imag, e.im))
                    << "op " << which << " slot " << slot << " i " << i << " a=(" << double(ar) << ","
                    << double(ai) << ") b=(" << double(br) << "," << double(bi) << ") got ("
                    << y[i].real << "," << y[i].imag << ") want (" << double(e.re) << ","
                    << double(e.im) << ") ulps " << UlpErr(y[i].real, e.re) << " " << UlpErr(y[i].imag, e.im);
            }
        }
        abs[slot](n, a.data(), m.data());
        for (int i = 0; i < n; ++i) {
            const Q x = QSqrt(Q(a[i].real) * a[i].real + Q(a[i].imag) * a[i].imag);
            if (double(x) > lim) continue;
            ASSERT_LE(UlpErr(m[i], x), 2.0) << "abs slot " << slot << " i " << i;
        }
    }
}

// Moderate exponents and exponents up to the format's limits.
TEST(VmlComplexKernels, Accuracy) {
    for (bool bodies : {false, true}) {
        CheckAccuracy<VmlComplex16, double>(40, 1, bodies);
        CheckAccuracy<VmlComplex16, double>(1020, 2, bodies);
        CheckAccuracy<VmlComplex8, float>(20, 3, bodies);
        CheckAccuracy<VmlComplex8, float>(125, 4, bodies);
    }
}


// Numerators whose two products cancel to 2^-1..2^-60 of their size, in
// the vector path (moderate parts) and in the scaled scalar path (parts
// near 2^500). A quotient that starts its
// correction from the unrounded sum of the products lands hundreds of
// ulps off when the sum is a few units of its last place.
TEST(VmlComplexKernels, QuotientsAndProductsWithCancellingParts) {
    struct Case { int op; bool imag_cancels; int scale; };  // op 0 Mul, 1 Div
    const Case cases[] = {{1, false, 0}, {1, true, 0}, {1, false, 500}, {1, true, 500},
                          {0, false, 0}, {0, true, 0}, {0, false, 500}, {0, true, 500}};
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> depth(1, 60);
    ModeScope mode(kQuiet);
    for (const Case &c : cases) {
        const int n = 500;
        std::vector<VmlComplex16> a(n), b(n), y(n);
        for (int i = 0; i < n; ++i) {
            double ar = u(rng), ai = u(rng), br = u(rng), bi = u(rng);
            const double f = 1 + std::ldexp(u(rng), -depth(rng));
            // Div: Re = ar br + ai bi, Im = ai br - ar bi; Mul: Re = ar br - ai bi, Im = ar bi + ai br.
            if (c.imag_cancels) bi = (c.op == 1 ? ai : -ai) * br / ar * f;
            else br = (c.op == 1 ? -ai : ai) * bi / ar * f;
            a[i] = {std::ldexp(ar, c.scale), std::ldexp(ai, c.scale)};
            const int bscale = c.op == 1 ? c.scale : -c.scale;  // keeps the result near 1
            b[i] = {std::ldexp(br, bscale), std::ldexp(bi, bscale)};
        }
        for (int slot = 0; slot < 30; ++slot) {
            if (!SlotRunnable(slot)) continue;
            (c.op == 1 ? vml_kernels_vzDiv : vml_kernels_vzMul)[slot](n, a.data(), b.data(), y.data());
            for (int i = 0; i < n; ++i) {
                const Q ar = a[i].real, ai = a[i].imag, br = b[i].real, bi = b[i].imag;
                const Ops e = c.op == 1 ? QDiv(ar, ai, br, bi) : QMul(ar, ai, br, bi);
                ASSERT_TRUE(UlpErr(y[i].real, e.re) <= 2.0 && UlpErr(y[i].imag, e.im) <= 2.0)
                    << "op " << c.op << " slot " << slot << " a=(" << a[i].real << "," << a[i].imag << ") b=("
                    << b[i].real << "," << b[i].imag << ") ulps " << UlpErr(y[i].real, e.re) << " "
                    << UlpErr(y[i].imag, e.im);
            }
        }
    }
}

TEST(VmlComplexKernels, NoSpuriousOverflowAtTheLimits) {
    const double big = 1.5e308, small = 3e-308;
    const VmlComplex16 a[4] = {{big, big}, {small, small}, {big, -big}, {1.0, 1.0}};
    const VmlComplex16 b[4] = {{big, big}, {small, small}, {big, big}, {small, small}};
    VmlComplex16 q[4];
    double m[4];
    vzDiv(4, a, b, q);
    EXPECT_EQ(q[0].real, 1.0); EXPECT_EQ(q[0].imag, 0.0);
    EXPECT_EQ(q[1].real, 1.0); EXPECT_EQ(q[1].imag, 0.0);
    EXPECT_EQ(q[2].real, 0.0); EXPECT_EQ(q[2].imag, -1.0);
    EXPECT_NEAR(q[3].real, 1.0 / small, 1e-15 / small);
    vzAbs(4, a, m);
    EXPECT_DOUBLE_EQ(m[0], big * std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(m[1], small * std::sqrt(2.0));
}

// Each special operand sits among ordinary ones so that it reaches the
// vector main path of every slot and must be repaired there.
TEST(VmlComplexKernels, InfiniteAndNanPartsFollowAnnexG) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case { VmlComplex16 a, b; int op; bool want_inf, want_zero, want_nan; };
    const Case cases[] = {
        {{inf, nan}, {1.0, 1.0}, 0, true, false, false},   // inf * finite
        {{1.0, 2.0}, {0.0, 0.0}, 1, true, false, false},   // x / 0
        {{1.0, 2.0}, {inf, inf}, 1, false, true, false},   // finite / inf
        {{inf, 0.0}, {2.0, 1.0}, 1, true, false, false},   // inf / finite
        {{nan, 1.0}, {1.0, 1.0}, 0, false, false, true},   // NaN stays
        {{inf, nan}, {0.0, 0.0}, 2, true, false, false},   // |inf + i NaN|
        {{nan, -inf}, {0.0, 0.0}, 2, true, false, false},
        {{nan, 1.0}, {0.0, 0.0}, 2, false, false, true},
    };
    ModeScope mode(kQuiet);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        for (const Case &c : cases) {
            constexpr int n = 8, at = 5;
            VmlComplex16 a[n], b[n], r[n];
            double m[n];
            for (int i = 0; i < n; ++i) a[i] = b[i] = {3.0, 4.0};
            a[at] = c.a;
            b[at] = c.b;
            if (c.op == 2) {
                vml_kernels_vzAbs[slot](n, a, m);
                r[at] = {m[at], 0.0};
                EXPECT_EQ(m[0], 5.0) << slot;
                VmlComplex8 af[n];
                float mf[n];
                for (int i = 0; i < n; ++i) af[i] = {float(a[i].real), float(a[i].imag)};
                vml_kernels_vcAbs[slot](n, af, mf);
                EXPECT_EQ(mf[0], 5.0f) << slot;
                EXPECT_EQ(std::isinf(mf[at]), std::isinf(m[at])) << slot;
                EXPECT_EQ(std::isnan(mf[at]), std::isnan(m[at])) << slot;
            } else {
                (c.op == 0 ? vml_kernels_vzMul : vml_kernels_vzDiv)[slot](n, a, b, r);
                EXPECT_EQ(r[0].real, c.op == 0 ? -7.0 : 1.0) << slot;
            }
            const VmlComplex16 x = r[at];
            if (c.want_inf) {
                EXPECT_TRUE(std::isinf(x.real) || std::isinf(x.imag)) << slot << " " << x.real << " " << x.imag;
            }
            if (c.want_zero) {
                EXPECT_TRUE(x.real == 0.0 && x.imag == 0.0) << slot << " " << x.real << " " << x.imag;
            }
            if (c.want_nan) {
                EXPECT_TRUE(std::isnan(x.real) || std::isnan(x.imag)) << slot;
            }
        }
    }
}

// Kinds of result a special operand pair must give (C99 Annex G), or
// Finite: within 2 ulp of the quad reference (scaled paths: parts near
// the format's limits).
enum class Want { Inf, Zero, Nan, Finite };

template <class C> struct BinCase {
    C a, b;
    Want mul, conj, div;
};

template <class R> std::vector<BinCase<typename std::conditional<sizeof(R) == 8, VmlComplex16, VmlComplex8>::type>> BinCases() {
    const R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN();
    const R big = std::numeric_limits<R>::max() / 4, tiny = std::numeric_limits<R>::denorm_min() * 8;
    const R minn = std::numeric_limits<R>::min();
    using W = Want;
    return {
        {{inf, nan}, {R(1), R(1)}, W::Inf, W::Inf, W::Inf},
        {{R(1), R(2)}, {nan, -inf}, W::Inf, W::Inf, W::Zero},
        {{R(1), R(2)}, {R(0), R(0)}, W::Finite, W::Finite, W::Inf},
        {{R(1), R(2)}, {inf, inf}, W::Inf, W::Inf, W::Zero},
        {{-inf, R(0)}, {R(2), R(1)}, W::Inf, W::Inf, W::Inf},
        {{nan, R(1)}, {R(1), R(1)}, W::Nan, W::Nan, W::Nan},
        {{R(1), R(1)}, {R(0), nan}, W::Nan, W::Nan, W::Nan},
        {{R(0), R(0)}, {R(0), R(0)}, W::Finite, W::Finite, W::Nan},
        // Intermediates beyond the range, results inside it.
        {{big, big}, {R(2), R(-2)}, W::Finite, W::Finite, W::Finite},
        {{big, -big}, {big, big}, W::Inf, W::Inf, W::Finite},
        {{tiny, tiny}, {tiny, -tiny}, W::Finite, W::Finite, W::Finite},
        {{minn, R(0)}, {R(0), minn * 4}, W::Finite, W::Finite, W::Finite},
        {{R(3), R(0)}, {R(0), R(-4)}, W::Finite, W::Finite, W::Finite},
    };
}

template <class C, class R> bool Matches(Want w, C got, Ops exact) {
    switch (w) {
    case Want::Inf: return std::isinf(got.real) || std::isinf(got.imag);
    case Want::Zero: return got.real == 0 && got.imag == 0;
    case Want::Nan: return std::isnan(got.real) || std::isnan(got.imag);
    case Want::Finite: return UlpErr<R>(got.real, exact.re) <= 2.0 && UlpErr<R>(got.imag, exact.im) <= 2.0;
    }
    return false;
}

// Every special pair at every position of vectors of 1..12 elements (main
// loop steps and tails), among ordinary elements: the element's result is
// the one it gets alone, of the kind Annex G asks for, and the ordinary
// neighbours are unharmed.
template <class C, class R> void CheckSpecialsAtEveryPosition() {
    using BinK = void (*)(int32_t, const C *, const C *, C *);
    const bool dbl = sizeof(R) == 8;
    const BinK *tables[3] = {
        static_cast<const BinK *>(dbl ? (const void *)vml_kernels_vzMul : vml_kernels_vcMul),
        static_cast<const BinK *>(dbl ? (const void *)vml_kernels_vzMulByConj : vml_kernels_vcMulByConj),
        static_cast<const BinK *>(dbl ? (const void *)vml_kernels_vzDiv : vml_kernels_vcDiv)};
    // Ordinary neighbours with full mantissas: a vector lane that rounds
    // differently from the scalar form shows as a position dependence.
    constexpr int kMax = 12;
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    C fa[kMax], fb[kMax];
    for (int i = 0; i < kMax; ++i) {
        fa[i] = {R(u(rng)), R(u(rng))};
        fb[i] = {R(u(rng)), R(u(rng))};
    }
    ModeScope mode(kQuiet);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        for (int op = 0; op < 3; ++op) {
            const BinK k = tables[op][slot];
            C filler[kMax];
            for (int i = 0; i < kMax; ++i) k(1, &fa[i], &fb[i], &filler[i]);
            for (const BinCase<C> &c : BinCases<R>()) {
                C alone;
                k(1, &c.a, &c.b, &alone);
                const Q br = c.b.real, bi = op == 1 ? -Q(c.b.imag) : Q(c.b.imag);
                const Ops e = op == 2 ? QDiv(c.a.real, c.a.imag, br, bi) : QMul(c.a.real, c.a.imag, br, bi);
                const Want w = op == 0 ? c.mul : op == 1 ? c.conj : c.div;
                ASSERT_TRUE((Matches<C, R>(w, alone, e)))
                    << "slot " << slot << " op " << op << " a=(" << c.a.real << "," << c.a.imag << ") b=("
                    << c.b.real << "," << c.b.imag << ") got (" << alone.real << "," << alone.imag << ")";
                for (int n = 1; n <= kMax; ++n) {
                    for (int at = 0; at < n; ++at) {
                        std::vector<C> a(fa, fa + n), b(fb, fb + n), y(n);
                        a[at] = c.a;
                        b[at] = c.b;
                        k(n, a.data(), b.data(), y.data());
                        for (int i = 0; i < n; ++i) {
                            const C want = i == at ? alone : filler[i];
                            ASSERT_TRUE(orb::test::SameValue(y[i].real, want.real) &&
                                        orb::test::SameValue(y[i].imag, want.imag))
                                << "slot " << slot << " op " << op << " n " << n << " at " << at << " i " << i;
                        }
                        // In place: y is a.
                        k(n, a.data(), b.data(), a.data());
                        ASSERT_TRUE(orb::test::SameValue(a[at].real, alone.real) &&
                                    orb::test::SameValue(a[at].imag, alone.imag))
                            << "in place, slot " << slot << " op " << op << " n " << n << " at " << at;
                    }
                }
            }
        }
    }
}

// The same for the magnitude of every operand of the table: infinite if a
// part is, else NaN if a part is, else within 2 ulp of the quad reference.
template <class C, class R> void CheckAbsAtEveryPosition() {
    using AbsK = void (*)(int32_t, const C *, R *);
    const AbsK *table = static_cast<const AbsK *>(sizeof(R) == 8 ? (const void *)vml_kernels_vzAbs
                                                                 : (const void *)vml_kernels_vcAbs);
    constexpr int kMax = 12;
    std::mt19937_64 rng(6);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    C fa[kMax];
    for (C &f : fa) f = {R(u(rng)), R(u(rng))};
    std::vector<C> ops;
    for (const auto &c : BinCases<R>()) {
        ops.push_back(c.a);
        ops.push_back(c.b);
    }
    ModeScope mode(kQuiet);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        const AbsK k = table[slot];
        R filler[kMax];
        for (int i = 0; i < kMax; ++i) k(1, &fa[i], &filler[i]);
        for (const C &z : ops) {
            R alone;
            k(1, &z, &alone);
            const bool inf = std::isinf(z.real) || std::isinf(z.imag);
            const bool nan = !inf && (std::isnan(z.real) || std::isnan(z.imag));
            if (inf) ASSERT_TRUE(std::isinf(alone) && alone > 0) << slot;
            else if (nan) ASSERT_TRUE(std::isnan(alone)) << slot;
            else ASSERT_LE(UlpErr<R>(alone, QSqrt(Q(z.real) * z.real + Q(z.imag) * z.imag)), 2.0)
                << "slot " << slot << " (" << z.real << "," << z.imag << ")";
            for (int n = 1; n <= kMax; ++n) {
                for (int at = 0; at < n; ++at) {
                    std::vector<C> a(fa, fa + n);
                    std::vector<R> y(n);
                    a[at] = z;
                    k(n, a.data(), y.data());
                    for (int i = 0; i < n; ++i)
                        ASSERT_TRUE(orb::test::SameValue(y[i], i == at ? alone : filler[i]))
                            << "slot " << slot << " n " << n << " at " << at << " i " << i;
                }
            }
        }
    }
}

TEST(VmlComplexKernels, SpecialsAtEveryPosition) {
    CheckAbsAtEveryPosition<VmlComplex16, double>();
    CheckAbsAtEveryPosition<VmlComplex8, float>();
    CheckSpecialsAtEveryPosition<VmlComplex16, double>();
    CheckSpecialsAtEveryPosition<VmlComplex8, float>();
}

// Sums against the exact sum of parts (one rounding), with specials, at
// every length up to 20 and in place.
TEST(VmlComplexKernels, AddEverySlotAndLength) {
    ModeScope mode(kQuiet);
    std::vector<double> d = orb::test::Data<double>(80, 21);
    for (bool bodies : {false, true}) for (int slot = 0; slot < 30; ++slot) {
        const auto zadd = static_cast<const VmlBinaryKernelZ *>(ORB_TABLE(vzAdd))[slot];
        const auto cadd = static_cast<const VmlBinaryKernelC *>(ORB_TABLE(vcAdd))[slot];
        if (!SlotRunnable(slot)) continue;
        for (int n = 0; n <= 20; ++n) {
            std::vector<VmlComplex16> a(n), b(n), y(n);
            std::vector<VmlComplex8> fa(n), fb(n), fy(n);
            for (int i = 0; i < n; ++i) {
                a[i] = {d[4 * i], d[4 * i + 1]};
                b[i] = {d[4 * i + 2], d[4 * i + 3]};
                fa[i] = {float(a[i].real), float(a[i].imag)};
                fb[i] = {float(b[i].real), float(b[i].imag)};
            }
            zadd(n, a.data(), b.data(), y.data());
            cadd(n, fa.data(), fb.data(), fy.data());
            for (int i = 0; i < n; ++i) {
                ASSERT_TRUE(orb::test::SameValue(y[i].real, double((long double)a[i].real + b[i].real)) &&
                            orb::test::SameValue(y[i].imag, double((long double)a[i].imag + b[i].imag)))
                    << slot << " " << n << " " << i;
                ASSERT_TRUE(orb::test::SameValue(fy[i].real, float(double(fa[i].real) + fb[i].real)) &&
                            orb::test::SameValue(fy[i].imag, float(double(fa[i].imag) + fb[i].imag)))
                    << slot << " " << n << " " << i;
            }
            zadd(n, a.data(), b.data(), a.data());
            for (int i = 0; i < n; ++i) ASSERT_TRUE(orb::test::SameValue(a[i].real, y[i].real)) << slot << " " << i;
        }
    }
}

// Sums into an output that overlaps the first input, whole elements or
// one part apart, in either direction: element by element in index order,
// each element read whole before its result is stored.
template <class C> void CheckAddOverlap(bool bodies) {
    using R = decltype(C::real);
    using Bin = void (*)(int32_t, const C *, const C *, C *);
    const Bin *table = static_cast<const Bin *>(sizeof(R) == 8 ? ORB_TABLE(vzAdd) : ORB_TABLE(vcAdd));
    const std::vector<R> d = orb::test::Data<R>(2 * 600 + 16, 31), e = orb::test::Data<R>(2 * 600, 32);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        for (int32_t n : {5, 37, 600})
            for (int shift : {6, -6, 1, -1}) {  // in parts
                std::vector<R> buf(d.begin(), d.begin() + 2 * n + 16), ref = buf;
                const R *pb = e.data();
                for (int32_t i = 0; i < n; ++i) {
                    const R ar = ref[8 + 2 * i], ai = ref[9 + 2 * i];
                    ref[8 + shift + 2 * i] = R((long double)ar + pb[2 * i]);
                    ref[9 + shift + 2 * i] = R((long double)ai + pb[2 * i + 1]);
                }
                table[slot](n, reinterpret_cast<const C *>(buf.data() + 8), reinterpret_cast<const C *>(pb),
                            reinterpret_cast<C *>(buf.data() + 8 + shift));
                for (size_t k = 0; k < buf.size(); ++k)
                    ASSERT_TRUE(orb::test::SameValue(ref[k], buf[k]))
                        << "bodies " << bodies << " slot " << slot << " n " << n << " shift " << shift
                        << " part " << k;
            }
    }
}

TEST(VmlComplexKernels, AddOverlappingArrays) {
    ModeScope mode(kQuiet);
    for (bool bodies : {false, true}) {
        CheckAddOverlap<VmlComplex16>(bodies);
        CheckAddOverlap<VmlComplex8>(bodies);
    }
}

// Magnitudes written over their own input, the output starting anywhere in
// the input's extent (its upper half included, where the output ends
// exactly at the input's end) or just below it: the result must be that of
// the element-by-element calls in order (calls of one element, which run
// the scalar operation).
template <class C> void CheckAbsOverlap(bool bodies) {
    using R = decltype(C::real);
    using Mag = void (*)(int32_t, const C *, R *);
    const Mag *table = static_cast<const Mag *>(sizeof(R) == 8 ? ORB_TABLE(vzAbs) : ORB_TABLE(vcAbs));
    // Finite data: a step with a special lane is redone element by element,
    // in order, and would hide the difference.
    std::vector<R> d(640 + 3 * 600 + 16);
    std::mt19937 rng(33);
    std::uniform_real_distribution<double> u(-100.0, 100.0);
    for (R &v : d) v = R(u(rng));
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        for (int32_t n : {9, 37, 600})
            for (int32_t shift : {1, 2, 7, n / 2, n, n + 1, 2 * n - 8, -1, -(n / 2)}) {  // in reals
                const int32_t base = 640;  // room below the input for negative shifts
                std::vector<R> buf(d.begin(), d.begin() + base + 3 * n + 16), ref = buf;
                for (int32_t i = 0; i < n; ++i)
                    table[slot](1, reinterpret_cast<const C *>(ref.data() + base) + i, ref.data() + base + shift + i);
                table[slot](n, reinterpret_cast<const C *>(buf.data() + base), buf.data() + base + shift);
                for (size_t k = 0; k < buf.size(); ++k)
                    ASSERT_TRUE(orb::test::SameValue(ref[k], buf[k]))
                        << "bodies " << bodies << " slot " << slot << " n " << n << " shift " << shift
                        << " real " << k;
            }
    }
}

TEST(VmlComplexKernels, AbsOverlappingArrays) {
    ModeScope mode(kQuiet);
    for (bool bodies : {false, true}) {
        CheckAbsOverlap<VmlComplex16>(bodies);
        CheckAbsOverlap<VmlComplex8>(bodies);
    }
}

TEST(VmlLinearFrac, ThreeCasesEverySlot) {
    ModeScope mode(kQuiet);
    std::vector<double> a = orb::test::Data<double>(64, 9), b = orb::test::Data<double>(64, 10);
    for (double &v : a) if (!std::isfinite(v)) v = 1.0;
    for (double &v : b) if (!std::isfinite(v)) v = 2.0;
    std::vector<double> junk(64, std::numeric_limits<double>::quiet_NaN());
    std::vector<double> y(64);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        const VmlLinearFracKernelD k = vml_kernels_vdLinearFrac[slot];
        k(64, a.data(), junk.data(), 2.0, 1.0, 0.0, 4.0, y.data());  // b unread
        for (int i = 0; i < 64; ++i) ASSERT_TRUE(orb::test::SameValue(y[i], a[i] * 0.5 + 0.25)) << i;
        k(64, junk.data(), b.data(), 0.0, 3.0, 2.0, 1.0, y.data());  // a unread
        for (int i = 0; i < 64; ++i) ASSERT_TRUE(orb::test::SameValue(y[i], 3.0 / (2.0 * b[i] + 1.0))) << i;
        k(64, a.data(), b.data(), 2.0, 1.0, 3.0, -1.0, y.data());
        for (int i = 0; i < 64; ++i)
            ASSERT_TRUE(orb::test::SameValue(y[i], (2.0 * a[i] + 1.0) / (3.0 * b[i] - 1.0))) << i;
        ServVmlSetStatus(0);
        k(64, a.data(), junk.data(), 1.0, 1.0, 0.0, 0.0, y.data());  // denominator 0
        for (int i = 0; i < 64; ++i) ASSERT_FALSE(std::isfinite(y[i]));
        EXPECT_EQ(ServVmlGetStatus(), 0);
    }
}

}  // namespace
