// Special operands of the root, power and arc-tangent kernels at every
// level: results as C99 gives them (sign of zero and of infinity included)
// and exactly the reports of the status table, with their records; plus
// the control-word rules (denormal flushing on request, round-to-nearest
// forced, caller's word restored) and in-place calls.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <limits>

#include "vml/kernels/atan2/atan2_kernels.h"
#include "vml/kernels/pow/pow_kernels.h"
#include "vml/kernels/roots/roots_kernels.h"
#include "vml/vml_frame.h"
#include "vml_math_reports.h"

namespace {

const char *const kLevelNames[] = {"ref", "generic", "sse2", "sse42", "avx", "avx2"};
#define ORB_ALL_LEVELS(fn) \
    {k_ref::fn, k_generic::fn, k_sse2::fn, k_sse42::fn, k_avx::fn, k_avx2::fn}

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;

struct Case {
    double a, b;     // b: exponent (Powx) or x (Atan2); unused otherwise
    double want;
    int code;        // status reported for this element, 0 for none
};

// Same value, or both NaN; zeros must agree in sign. A finite non-zero
// want may be off by the relative error `rel` (the 11-bit flavours).
bool Same(double got, double want, double rel = 0) {
    if (std::isnan(want)) return std::isnan(got);
    if (rel > 0 && std::isfinite(want) && want != 0)
        return std::fabs(got - want) <= rel * std::fabs(want);
    return got == want && std::signbit(got) == std::signbit(want);
}

// Runs `call` (n, a, b, y) at one level over all cases at once and checks
// results and reports (code, index, arguments, result, name).
template <typename T, typename Call>
void Check(const std::vector<Case> &cases, const char *name, const char *level, Call call,
           double rel = 0) {
    SCOPED_TRACE(level);
    const int n = static_cast<int>(cases.size());
    std::vector<T> a(n), b(n), y(n, T(-7));
    for (int i = 0; i < n; ++i) {
        a[i] = static_cast<T>(cases[i].a);
        b[i] = static_cast<T>(cases[i].b);
    }
    StartReportCapture();
    call(n, a.data(), b.data(), y.data());
    size_t next = 0;
    for (int i = 0; i < n; ++i) {
        const Case &c = cases[i];
        SCOPED_TRACE(testing::Message() << "a=" << c.a << " b=" << c.b);
        const T want = static_cast<T>(c.want);
        EXPECT_TRUE(Same(y[i], want, rel)) << "got " << y[i] << " want " << want;
        if (c.code == 0) continue;
        ASSERT_LT(next, g_math_reports.size()) << "missing report";
        const MathReport &r = g_math_reports[next++];
        EXPECT_EQ(r.code, c.code);
        EXPECT_EQ(r.index, i);
        EXPECT_TRUE(Same(r.arg1, a[i]));
        EXPECT_TRUE(Same(r.res1, y[i]));
        EXPECT_EQ(r.name, name);
    }
    EXPECT_EQ(next, g_math_reports.size()) << "unexpected reports";
    // The status word holds the last report's code (0 when none).
    EXPECT_EQ(ServVmlGetStatus(), g_math_reports.empty() ? 0 : g_math_reports.back().code);
    ServVmlSetCallback(nullptr);
}

// Check at every level of the table k; run(kernel, n, a, b, y) calls one.
template <typename T, typename K, size_t L, typename Run>
void CheckAll(const K (&k)[L], const std::vector<Case> &cases, const char *name, Run run,
              double rel = 0) {
    for (size_t l = 0; l < L; ++l)
        Check<T>(cases, name, kLevelNames[l],
                 [&](int n, const T *a, const T *b, T *y) { run(k[l], n, a, b, y); }, rel);
}
const auto kUnary = [](auto k, int n, auto a, auto, auto y) { k(n, a, y); };
const auto kPowx = [](auto k, int n, auto a, auto b, auto y) { k(n, a, b[0], y); };
const auto kBinary = [](auto k, int n, auto a, auto b, auto y) { k(n, a, b, y); };

template <typename T, typename K, size_t L>
void CheckUnaryAll(const K (&k)[L], const std::vector<Case> &cases, const char *name, double rel = 0) {
    CheckAll<T>(k, cases, name, kUnary, rel);
}

const std::vector<Case> kSqrtCases = {
    {-1, 0, kNaN, 1},  {-0.0, 0, -0.0, 0}, {0.0, 0, 0.0, 0}, {-kInf, 0, kNaN, 1},
    {kInf, 0, kInf, 0}, {kNaN, 0, kNaN, 0}, {-1e-40, 0, kNaN, 1}, {4, 0, 2, 0},
    {0.25, 0, 0.5, 0}, {-kNaN, 0, kNaN, 0}, {1e-300, 0, 1e-150, 0}};

TEST(VmlMathSpecial, Sqrt) {
    const decltype(&k_ref::vdSqrt_ha) kd[] = ORB_ALL_LEVELS(vdSqrt_ha);
    const decltype(&k_ref::vsSqrt_ha) ks[] = ORB_ALL_LEVELS(vsSqrt_ha);
    CheckUnaryAll<double>(kd, kSqrtCases, "vdSqrt");
    CheckUnaryAll<float>(ks, kSqrtCases, "vsSqrt");
    // The code-3 flavour: eight normal operands (one whole vector on the
    // estimate path) ahead of the special ones; 11 correct bits.
    const decltype(&k_ref::vsSqrt_ep) ke[] = ORB_ALL_LEVELS(vsSqrt_ep);
    std::vector<Case> cases;
    for (int i = 0; i < 8; ++i) cases.push_back({std::ldexp(1.0 + i / 8.0, 3 * i - 12), 0,
                                                 std::sqrt(std::ldexp(1.0 + i / 8.0, 3 * i - 12)), 0});
    cases.insert(cases.end(), kSqrtCases.begin(), kSqrtCases.end());
    CheckUnaryAll<float>(ke, cases, "vsSqrt", 0x1p-11);
}

const std::vector<Case> kCbrtCases = {
    {-0.0, 0, -0.0, 0}, {0.0, 0, 0.0, 0}, {-kInf, 0, -kInf, 0}, {kInf, 0, kInf, 0},
    {kNaN, 0, kNaN, 0}, {-8, 0, -2, 0}, {27, 0, 3, 0}, {0.125, 0, 0.5, 0}, {-1, 0, -1, 0}};
const std::vector<Case> kInvCbrtCases = {
    {-0.0, 0, -kInf, 2}, {0.0, 0, kInf, 2}, {-kInf, 0, -0.0, 0}, {kInf, 0, 0.0, 0},
    {kNaN, 0, kNaN, 0}, {-8, 0, -0.5, 0}, {0.125, 0, 2, 0}, {1, 0, 1, 0}, {-0.0, 0, -kInf, 2}};

TEST(VmlMathSpecial, Cbrt) {
    const decltype(&k_ref::vdCbrt_ha) kd[] = ORB_ALL_LEVELS(vdCbrt_ha);
    const decltype(&k_ref::vsCbrt_ha) ks[] = ORB_ALL_LEVELS(vsCbrt_ha);
    const decltype(&k_ref::vsCbrt_la) kl[] = ORB_ALL_LEVELS(vsCbrt_la);
    const decltype(&k_ref::vsCbrt_ep) ke[] = ORB_ALL_LEVELS(vsCbrt_ep);
    CheckUnaryAll<double>(kd, kCbrtCases, "vdCbrt");
    CheckUnaryAll<float>(ks, kCbrtCases, "vsCbrt");
    // The faster flavours are not exact on cubes; check the specials only.
    std::vector<Case> specials(kCbrtCases.begin(), kCbrtCases.begin() + 5);
    CheckUnaryAll<float>(kl, specials, "vsCbrt");
    CheckUnaryAll<float>(ke, specials, "vsCbrt");
    const decltype(&k_ref::vdCbrt_ep) kde[] = ORB_ALL_LEVELS(vdCbrt_ep);
    CheckUnaryAll<double>(kde, specials, "vdCbrt");
}

TEST(VmlMathSpecial, InvCbrt) {
    const decltype(&k_ref::vdInvCbrt_ha) kd[] = ORB_ALL_LEVELS(vdInvCbrt_ha);
    const decltype(&k_ref::vsInvCbrt_ha) ks[] = ORB_ALL_LEVELS(vsInvCbrt_ha);
    const decltype(&k_ref::vsInvCbrt_la) kl[] = ORB_ALL_LEVELS(vsInvCbrt_la);
    const decltype(&k_ref::vsInvCbrt_ep) ke[] = ORB_ALL_LEVELS(vsInvCbrt_ep);
    CheckUnaryAll<double>(kd, kInvCbrtCases, "vdInvCbrt");
    CheckUnaryAll<float>(ks, kInvCbrtCases, "vsInvCbrt");
    std::vector<Case> specials(kInvCbrtCases.begin(), kInvCbrtCases.begin() + 5);
    CheckUnaryAll<float>(kl, specials, "vsInvCbrt");
    CheckUnaryAll<float>(ke, specials, "vsInvCbrt");
    const decltype(&k_ref::vdInvCbrt_la) kdl[] = ORB_ALL_LEVELS(vdInvCbrt_la);
    const decltype(&k_ref::vdInvCbrt_ep) kde[] = ORB_ALL_LEVELS(vdInvCbrt_ep);
    CheckUnaryAll<double>(kdl, specials, "vdInvCbrt");
    CheckUnaryAll<double>(kde, specials, "vdInvCbrt");
}

// Powx takes one exponent per call: the cases are grouped by exponent.
const std::vector<Case> kPowCases = {
    // negative bases
    {-2, 0.5, kNaN, 1}, {-1, 0.5, kNaN, 1}, {-kInf, 0.5, kInf, 0}, {-0.0, 0.5, 0.0, 0},
    {-2, 3, -8, 0}, {-0.0, 3, -0.0, 0}, {-kInf, 3, -kInf, 0}, {-2, 2, 4, 0},
    {-0.0, 2, 0.0, 0}, {-kInf, 2, kInf, 0}, {-kInf, -3, -0.0, 0}, {-kInf, -0.5, 0.0, 0},
    // zero bases with negative exponents
    {0.0, -1, kInf, 2}, {-0.0, -1, -kInf, 2}, {-0.0, -2, kInf, 2}, {-0.0, -0.5, kInf, 2},
    {0.0, -kInf, kInf, 2}, {-0.0, -kInf, kInf, 2}, {0.0, 0.5, 0.0, 0},
    // overflow from finite operands; underflow is not reported
    {10, 400, kInf, 3}, {-10, 401, -kInf, 3}, {10, -400, 0.0, 0}, {-10, -401, -0.0, 0},
    {0.5, 2000, 0.0, 0}, {1.0000001, 1e15, kInf, 3},
    // beyond the single-precision range only (CheckPowAll adds status 3)
    {0x1p70, 2, 0x1p140, 0}, {-0x1p50, 3, -0x1p150, 0}, {0x1p63, 2, 0x1p126, 0},
    // NaN and the exponents 0 and +-inf
    {kNaN, 2, kNaN, 0}, {kNaN, 0, 1, 0}, {1, kNaN, 1, 0}, {2, kNaN, kNaN, 0},
    {-1, kInf, 1, 0}, {0.5, kInf, 0.0, 0}, {2, kInf, kInf, 0}, {0.5, -kInf, kInf, 0},
    {2, -kInf, 0.0, 0}, {kInf, kInf, kInf, 0}, {-kInf, -kInf, 0.0, 0},
    {-5, 0, 1, 0}, {kInf, 0, 1, 0}, {0.0, 0, 1, 0}, {-0.0, -0.0, 1, 0},
    // infinite bases
    {kInf, -1, 0.0, 0}, {kInf, 0.5, kInf, 0},
    // exact cases
    {2, 10, 1024, 0}, {4, 0.5, 2, 0}, {1, 1e300, 1, 0}, {-1, 1e300, 1, 0}};

// rel: relative error allowed on finite non-zero results (the code-3
// flavours are not exact on exact cases).
template <typename T, typename K, size_t L>
void CheckPowAll(const K (&k)[L], const char *name, double overflow_at, double rel = 0) {
    // Group the cases by exponent, keep the order within a group.
    std::vector<double> exps;
    for (const Case &c : kPowCases) {
        bool seen = false;
        for (double e : exps) seen = seen || Same(e, c.b);
        if (!seen) exps.push_back(c.b);
    }
    for (double e : exps) {
        std::vector<Case> group;
        for (const Case &c : kPowCases) {
            if (!Same(c.b, e)) continue;
            Case g = c;
            // Single precision overflows earlier: 10^40 is already infinite.
            if (std::fabs(c.a) > 1 && std::isfinite(c.a) && std::isfinite(e) && e > 0 &&
                std::fabs(std::pow(std::fabs(c.a), e)) > overflow_at && c.code == 0) g.code = 3;
            group.push_back(g);
        }
        CheckAll<T>(k, group, name, kPowx, rel);
    }
}

TEST(VmlMathSpecial, Powx) {
    const decltype(&k_ref::vdPowx_ha) kd[] = ORB_ALL_LEVELS(vdPowx_ha);
    const decltype(&k_ref::vsPowx_ha) ks[] = ORB_ALL_LEVELS(vsPowx_ha);
    CheckPowAll<double>(kd, "vdPowx", std::numeric_limits<double>::max());
    CheckPowAll<float>(ks, "vsPowx", 3.5e38);
    const decltype(&k_ref::vdPowx_ep) kde[] = ORB_ALL_LEVELS(vdPowx_ep);
    const decltype(&k_ref::vsPowx_ep) kse[] = ORB_ALL_LEVELS(vsPowx_ep);
    CheckPowAll<double>(kde, "vdPowx", std::numeric_limits<double>::max(), 0x1p-26);
    CheckPowAll<float>(kse, "vsPowx", 3.5e38, 0x1p-11);
}

// The single-precision code-3 power runs whole float vectors on a fast
// path and hands a vector with any lane out of its range to the accurate
// core: special and reported lanes amid regular ones, at every position.
TEST(VmlMathSpecial, PowxFastMixedBlocks) {
    const decltype(&k_ref::vsPowx_ep) kse[] = ORB_ALL_LEVELS(vsPowx_ep);
    const decltype(&k_ref::vdPowx_ep) kde[] = ORB_ALL_LEVELS(vdPowx_ep);
    const double odd[] = {kNaN, 0.0, -kInf, 1e-40, 1e30, -3.0};
    const double want3[] = {kNaN, 0.0, -kInf, 0.0, kInf, -27.0};
    const int code3[] = {0, 0, 0, 0, 3, 0};
    for (int pos = 0; pos < 19; ++pos)
        for (int o = 0; o < 6; ++o) {
            std::vector<Case> cases;
            for (int i = 0; i < 19; ++i) {
                const double a = 1.0 + i / 16.0;
                cases.push_back(i == pos ? Case{odd[o], 3, want3[o], code3[o]}
                                         : Case{a, 3, a * a * a, 0});
            }
            CheckAll<float>(kse, cases, "vsPowx", kPowx, 0x1p-11);
            // 1e-40 is no subnormal in double, 1e90 no overflow
            if (o != 3 && o != 4) CheckAll<double>(kde, cases, "vdPowx", kPowx, 0x1p-26);
        }
    // A negative base with a non-integer exponent amid regular ones.
    std::vector<Case> cases;
    for (int i = 0; i < 17; ++i) cases.push_back({i == 9 ? -2.0 : 4.0, 0.5, i == 9 ? kNaN : 2.0, i == 9});
    CheckAll<float>(kse, cases, "vsPowx", kPowx, 0x1p-11);
}

const std::vector<Case> kAtan2Cases = {
    {0.0, 0.0, 0.0, 0}, {-0.0, 0.0, -0.0, 0}, {0.0, -0.0, kPi, 0}, {-0.0, -0.0, -kPi, 0},
    {0.0, -3, kPi, 0}, {-0.0, -3, -kPi, 0}, {0.0, 3, 0.0, 0}, {-0.0, 3, -0.0, 0},
    {2, 0.0, kPi / 2, 0}, {2, -0.0, kPi / 2, 0}, {-2, 0.0, -kPi / 2, 0}, {-2, -0.0, -kPi / 2, 0},
    {kInf, kInf, kPi / 4, 0}, {-kInf, kInf, -kPi / 4, 0}, {kInf, -kInf, 3 * kPi / 4, 0},
    {-kInf, -kInf, -3 * kPi / 4, 0}, {kInf, 5, kPi / 2, 0}, {-kInf, -5, -kPi / 2, 0},
    {5, kInf, 0.0, 0}, {-5, kInf, -0.0, 0}, {5, -kInf, kPi, 0}, {-5, -kInf, -kPi, 0},
    {kNaN, 1, kNaN, 0}, {1, kNaN, kNaN, 0}, {kNaN, kInf, kNaN, 0}, {1, 1, kPi / 4, 0},
    {-1, -1, -3 * kPi / 4, 0}, {1e-320, 1e300, 0.0, 0}, {-1e300, 1e-320, -kPi / 2, 0}};

TEST(VmlMathSpecial, Atan2) {
    using KD = decltype(&k_ref::vdAtan2_ha);
    const KD kd[3][6] = {ORB_ALL_LEVELS(vdAtan2_ha), ORB_ALL_LEVELS(vdAtan2_la),
                         ORB_ALL_LEVELS(vdAtan2_ep)};
    using KS = decltype(&k_ref::vsAtan2_ha);
    const KS ks[3][6] = {ORB_ALL_LEVELS(vsAtan2_ha), ORB_ALL_LEVELS(vsAtan2_la),
                         ORB_ALL_LEVELS(vsAtan2_ep)};
    for (int f = 0; f < 3; ++f) {
        CheckAll<double>(kd[f], kAtan2Cases, "vdAtan2", kBinary);
        CheckAll<float>(ks[f], kAtan2Cases, "vsAtan2", kBinary, f == 2 ? 0x1p-11 : 0);
    }
}

// The vector levels follow the denormal field of the mode, force
// round-to-nearest and give the caller's control word back.
TEST(VmlMathSpecial, ControlWord) {
    const decltype(&k_ref::vdCbrt_ha) kd[] = ORB_ALL_LEVELS(vdCbrt_ha);
    const unsigned saved = _mm_getcsr();
    const double sub[3] = {1e-310, 8.0, 1e-320};
    for (size_t l = 1; l < 6; ++l) {
        SCOPED_TRACE(kLevelNames[l]);
        double plain[3], flushed[3], upward[3];
        SetDenormalFlush(false);
        kd[l](3, sub, plain);
        EXPECT_GT(plain[0], 0.0);
        SetDenormalFlush(true);  // flush-to-zero, denormals-are-zero
        kd[l](3, sub, flushed);
        EXPECT_EQ(flushed[0], 0.0);
        EXPECT_EQ(flushed[1], 2.0);
        EXPECT_EQ(_mm_getcsr(), saved);
        SetDenormalFlush(false);
        _mm_setcsr((saved & ~0x6000u) | 0x4000u);  // round upward
        kd[l](3, sub, upward);
        EXPECT_EQ(_mm_getcsr(), (saved & ~0x6000u) | 0x4000u);
        _mm_setcsr(saved);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(upward[i], plain[i]);
    }
    SetDenormalFlush(false);
}

// Output on top of the input gives the same values as a separate output.
TEST(VmlMathSpecial, InPlace) {
    std::vector<double> a(37), y(37);
    for (int i = 0; i < 37; ++i) a[i] = (i - 18) * 0.37;
    k_avx2::vdPowx_ha(37, a.data(), 3.0, y.data());
    std::vector<double> b = a;
    k_avx2::vdPowx_ha(37, b.data(), 3.0, b.data());
    EXPECT_EQ(b, y);
    k_sse2::vdAtan2_ha(36, a.data(), a.data() + 1, y.data());
    std::vector<double> c = a;
    k_sse2::vdAtan2_ha(36, c.data(), c.data() + 1, c.data());
    EXPECT_TRUE(std::equal(c.begin(), c.begin() + 36, y.begin()));
}

}  // namespace
