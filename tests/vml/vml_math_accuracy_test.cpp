// Accuracy of the root, power and arc-tangent kernels of every level
// against the MPFR oracle: a few tens of thousands of operands per function
// and precision, run through all six level variants, including the hard
// regions. The bound depends on the flavour: 1 ulp for the accurate
// kernels (Sqrt correctly rounded), 4 ulp for the lower-accuracy ones,
// 26 correct bits (double) or 11 (single) for the fastest ones.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "vml/kernels/atan2/atan2_kernels.h"
#include "vml/kernels/pow/pow_kernels.h"
#include "vml/kernels/roots/roots_kernels.h"
#include "vml_math_inputs.h"
#include "vml_math_oracle.h"

namespace {

using orb::test::Bits;
using orb::test::ExactValue;
using orb::test::InputGen;
using orb::test::RandomRootOperands;
using orb::test::MathFn;
using orb::test::Reference;
using orb::test::UlpError;

const char *const kLevelNames[] = {"ref", "generic", "sse2", "sse42", "avx", "avx2"};
#define ORB_ALL_LEVELS(fn) \
    {k_ref::fn, k_generic::fn, k_sse2::fn, k_sse42::fn, k_avx::fn, k_avx2::fn}

template <typename T> constexpr bool kSingle = sizeof(T) == 4;

// Worst error over all levels of a set of results against the references.
struct Worst {
    double err = 0;
    std::string where;
    void see(double e, const char *level, double a, double b) {
        if (e > err) {
            err = e;
            char buf[160];
            std::snprintf(buf, sizeof buf, "level %s, a=%.17g b=%.17g", level, a, b);
            where = buf;
        }
    }
};

template <typename T>
std::vector<ExactValue> References(MathFn fn, const std::vector<T> &a, const std::vector<T> &b) {
    std::vector<ExactValue> r(a.size());
    for (size_t i = 0; i < a.size(); ++i) r[i] = Reference(fn, a[i], b[i], kSingle<T>);
    return r;
}

// Runs the six level variants (run(level, y)) over operands a, b and
// checks the worst error against the references.
template <typename T, typename Run>
void CheckLevels(MathFn fn, const std::vector<T> &a, const std::vector<T> &b, double bound,
                 Run run) {
    auto ref = References(fn, a, b);
    Worst w;
    std::vector<T> y(a.size());
    for (size_t l = 0; l < 6; ++l) {
        run(l, y.data());
        for (size_t i = 0; i < a.size(); ++i)
            w.see(UlpError(ref[i], y[i], kSingle<T>), kLevelNames[l], a[i], b[i]);
    }
    EXPECT_LE(w.err, bound) << w.where;
    std::printf("  %s %zu operands: max %.3f ulp (%s)\n", kSingle<T> ? "single" : "double",
                a.size(), w.err, w.where.c_str());
}

template <typename T, typename K>
void CheckUnary(MathFn fn, const K (&k)[6], const std::vector<T> &a, double bound) {
    const int32_t n = static_cast<int32_t>(a.size());
    CheckLevels<T>(fn, a, std::vector<T>(a.size(), T(0)), bound,
                   [&](size_t l, T *y) { k[l](n, a.data(), y); });
}

template <typename T, typename K>
void CheckAtan2(const K (&k)[6], const std::vector<T> &a, const std::vector<T> &b,
                double bound = 1.0) {
    const int32_t n = static_cast<int32_t>(a.size());
    CheckLevels<T>(MathFn::Atan2, a, b, bound,
                   [&](size_t l, T *y) { k[l](n, a.data(), b.data(), y); });
}

template <typename T, typename K>
void CheckPow(const K (&k)[6], const std::vector<T> &a, T b, double bound = 1.0) {
    const int32_t n = static_cast<int32_t>(a.size());
    CheckLevels<T>(MathFn::Pow, a, std::vector<T>(a.size(), b), bound,
                   [&](size_t l, T *y) { k[l](n, a.data(), b, y); });
}

// The random root operands plus powers of two over the whole range.
template <typename T> std::vector<T> RootInputs(uint64_t seed, bool negative_too, int count) {
    std::vector<T> v = RandomRootOperands<T>(seed, negative_too, size_t(count));
    // Powers of two around the edges of the range.
    for (int e = Bits<T>::kExpMin; e <= Bits<T>::kExpMax; e += 7) v.push_back(std::ldexp(T(1), e));
    v.push_back(std::numeric_limits<T>::max());
    v.push_back(std::numeric_limits<T>::denorm_min());
    return v;
}
// One flavour's level variants and its bound (ulp of the precision).
template <typename T> struct UnaryFlavour {
    void (*k[6])(int32_t, const T *, T *);
    double bound;
};
struct RootCase {
    MathFn fn;
    std::vector<UnaryFlavour<double>> d;
    std::vector<UnaryFlavour<float>> s;
};

TEST(VmlMathAccuracy, Roots) {
    const RootCase cases[] = {
        // Sqrt correctly rounded: within half an ulp.
        {MathFn::Sqrt,
         {{ORB_ALL_LEVELS(vdSqrt_ha), 0.5}},
         {{ORB_ALL_LEVELS(vsSqrt_ha), 0.5}, {ORB_ALL_LEVELS(vsSqrt_ep), 0x1p12}}},
        {MathFn::Cbrt,
         {{ORB_ALL_LEVELS(vdCbrt_ha), 1.0}, {ORB_ALL_LEVELS(vdCbrt_ep), 0x1p26}},
         {{ORB_ALL_LEVELS(vsCbrt_ha), 1.0},
          {ORB_ALL_LEVELS(vsCbrt_la), 4.0},
          {ORB_ALL_LEVELS(vsCbrt_ep), 0x1p12}}},  // 11 correct bits
        {MathFn::InvCbrt,
         {{ORB_ALL_LEVELS(vdInvCbrt_ha), 1.0},
          {ORB_ALL_LEVELS(vdInvCbrt_la), 4.0},
          {ORB_ALL_LEVELS(vdInvCbrt_ep), 0x1p26}},  // 26 correct bits
         {{ORB_ALL_LEVELS(vsInvCbrt_ha), 1.0},
          {ORB_ALL_LEVELS(vsInvCbrt_la), 4.0},
          {ORB_ALL_LEVELS(vsInvCbrt_ep), 0x1p12}}}};
    uint64_t seed = 1;
    for (const RootCase &c : cases) {
        const bool negative_too = c.fn != MathFn::Sqrt;
        auto din = RootInputs<double>(seed++, negative_too, 50000);
        for (const auto &f : c.d) CheckUnary<double>(c.fn, f.k, din, f.bound);
        auto fin = RootInputs<float>(seed++, negative_too, 50000);
        for (const auto &f : c.s) CheckUnary<float>(c.fn, f.k, fin, f.bound);
    }
}

// Bases for an exponent b: log-uniform so that |b log2 a| stays within
// the range of the type (some results overflow or underflow on purpose),
// bases next to 1, and negative bases when b is an integer.
template <typename T> std::vector<T> PowBases(uint64_t seed, T b, int count) {
    InputGen g(seed);
    const double span = (kSingle<T> ? 160.0 : 1100.0) / std::fabs((double)b);
    std::vector<T> v;
    const bool integer = std::nearbyint(b) == b;
    for (int i = 0; i < count; ++i) {
        double x;
        if (i % 3 == 2)
            x = 1.0 + g.uniform(-1.0, 1.0) * std::fmin(0.5, 4.0 * span);
        else
            x = std::exp2(g.uniform(-1.0, 1.0) * std::fmin(span, kSingle<T> ? 149.0 : 1074.0));
        T t = static_cast<T>(x);
        if (t == 0 || !std::isfinite(t)) continue;
        if (integer && g.coin()) t = -t;
        v.push_back(t);
    }
    return v;
}

template <typename T> const std::vector<T> &PowExponents() {
    static const std::vector<T> e = {T(0.5), T(-0.5), T(2), T(3), T(-3), T(1.0 / 3), T(7.25),
                                     T(-13.5), T(123.456), T(1e-3), T(1e5), T(-1e5), T(1e15),
                                     T(0.1), T(-1), T(1), T(1023.5), T(-1074)};
    return e;
}

TEST(VmlMathAccuracy, Powx) {
    const decltype(&k_ref::vdPowx_ha) kd[] = ORB_ALL_LEVELS(vdPowx_ha);
    const decltype(&k_ref::vsPowx_ha) ks[] = ORB_ALL_LEVELS(vsPowx_ha);
    // code 3: 26 correct bits (double), 11 (single)
    const decltype(&k_ref::vdPowx_ep) kde[] = ORB_ALL_LEVELS(vdPowx_ep);
    const decltype(&k_ref::vsPowx_ep) kse[] = ORB_ALL_LEVELS(vsPowx_ep);
    uint64_t seed = 100;
    for (double b : PowExponents<double>()) {
        SCOPED_TRACE(b);
        auto a = PowBases<double>(seed++, b, 3000);
        CheckPow<double>(kd, a, b);
        CheckPow<double>(kde, a, b, 0x1p26);
    }
    for (float b : PowExponents<float>()) {
        SCOPED_TRACE(b);
        auto a = PowBases<float>(seed++, b, 3000);
        CheckPow<float>(ks, a, b);
        CheckPow<float>(kse, a, b, 0x1p12);
    }
}

// Operand pairs: both random over the whole range, the ratio near 0 and
// near infinity (close to the axes), |a| close to |b|, the ratio around
// tan(pi/8), subnormals, all four quadrants.
template <typename T> void Atan2Inputs(uint64_t seed, int count, std::vector<T> &a, std::vector<T> &b) {
    InputGen g(seed);
    const int lo = kSingle<T> ? -149 : -1074, hi = kSingle<T> ? 127 : 1023;
    for (int i = 0; i < count; ++i) {
        double x = g.log_uniform<double>(lo / 2, hi / 2), y;
        switch (i % 6) {
        case 0: y = g.log_uniform<double>(lo, hi); x = g.log_uniform<double>(lo, hi); break;
        case 1: y = x * std::exp2(-g.uniform(0, kSingle<T> ? 60 : 200)); break;
        case 2: y = x * std::exp2(g.uniform(0, kSingle<T> ? 60 : 200)); break;
        case 3: y = x * (1.0 + g.uniform(-1e-6, 1e-6)); break;
        case 4: y = x * (0.41421356237309503 + g.uniform(-1e-3, 1e-3)); break;
        default: y = g.subnormal<T>(); x = g.coin() ? g.subnormal<T>() : x; break;
        }
        T ty = static_cast<T>(y), tx = static_cast<T>(x);
        if (!std::isfinite(ty) || !std::isfinite(tx)) continue;
        if (g.coin()) ty = -ty;
        if (g.coin()) tx = -tx;
        if (g.coin()) std::swap(ty, tx);
        a.push_back(ty);
        b.push_back(tx);
    }
}

TEST(VmlMathAccuracy, Atan2) {
    using KD = decltype(&k_ref::vdAtan2_ha);
    using KS = decltype(&k_ref::vsAtan2_ha);
    // code 2: 1 ulp, code 1: 4 ulp, code 3: 26 (double) or 11 (single) bits
    const struct { KD k[6]; double bound; } fd[] = {
        {ORB_ALL_LEVELS(vdAtan2_ha), 1.0}, {ORB_ALL_LEVELS(vdAtan2_la), 4.0},
        {ORB_ALL_LEVELS(vdAtan2_ep), 0x1p26}};
    const struct { KS k[6]; double bound; } fs[] = {
        {ORB_ALL_LEVELS(vsAtan2_ha), 1.0}, {ORB_ALL_LEVELS(vsAtan2_la), 4.0},
        {ORB_ALL_LEVELS(vsAtan2_ep), 0x1p12}};
    std::vector<double> ad, bd;
    Atan2Inputs<double>(7, 60000, ad, bd);
    for (const auto &f : fd) CheckAtan2<double>(f.k, ad, bd, f.bound);
    std::vector<float> as, bs;
    Atan2Inputs<float>(8, 60000, as, bs);
    for (const auto &f : fs) CheckAtan2<float>(f.k, as, bs, f.bound);
}

}  // namespace
