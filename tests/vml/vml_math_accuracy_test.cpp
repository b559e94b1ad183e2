// The root, power and arc-tangent exports: every kernel of their dispatch
// tables (six level variants per accuracy code) against the MPFR oracle;
// special operands with C99 results and exactly the reports of the status
// table; the control-word rules; the exports through the call frame.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "orb_vml.h"
#include "vml_math_inputs.h"
#include "vml_math_oracle.h"
#include "vml_test_util.h"

namespace {

using orb::test::InputGen;
using orb::test::MathFn;
using orb::test::SlotRunnable;

template <typename T> constexpr bool kSingle = sizeof(T) == 4;
// Levels of a table block that hold the six variants: plain reference,
// generic, SSE2, SSE4.2, AVX, AVX2.
constexpr int kLevels[] = {0, 1, 3, 7, 8, 9};

template <typename T> std::string Name(MathFn fn) {
    static const char *const names[] = {"Sqrt", "Cbrt", "InvCbrt", "Powx", "Atan2"};
    return std::string(kSingle<T> ? "vs" : "vd") + names[int(fn)];
}

// Calls one slot of the export's table; b[0] is the exponent of Powx.
template <typename T> void Run(MathFn fn, int slot, int32_t n, const T *a, const T *b, T *y) {
    const void *const tables[5][2] = {
        {vml_kernels_vdSqrt, vml_kernels_vsSqrt}, {vml_kernels_vdCbrt, vml_kernels_vsCbrt},
        {vml_kernels_vdInvCbrt, vml_kernels_vsInvCbrt}, {vml_kernels_vdPowx, vml_kernels_vsPowx},
        {vml_kernels_vdAtan2, vml_kernels_vsAtan2}};
    const void *t = tables[int(fn)][kSingle<T> ? 1 : 0];
    if (fn == MathFn::Pow)
        static_cast<void (*const *)(int32_t, const T *, T, T *)>(t)[slot](n, a, b[0], y);
    else if (fn == MathFn::Atan2)
        static_cast<void (*const *)(int32_t, const T *, const T *, T *)>(t)[slot](n, a, b, y);
    else
        static_cast<void (*const *)(int32_t, const T *, T *)>(t)[slot](n, a, y);
}

// ---- Accuracy against the oracle -------------------------------------------

// Bound in ulps of accuracy codes 1-3: 4 ulp, 1 ulp (half an ulp for the
// correctly rounded square root), 26 correct bits (double) or 11 (single).
template <typename T> double Bound(MathFn fn, int code) {
    if (code == 3) return kSingle<T> ? 0x1p12 : 0x1p26;
    return code == 1 ? 4.0 : fn == MathFn::Sqrt ? 0.5 : 1.0;
}

// Worst error of every runnable slot of each code against its bound.
template <typename T> void CheckAccuracy(MathFn fn, const std::vector<T> &a, const std::vector<T> &b) {
    std::vector<orb::test::ExactValue> ref(a.size());
    for (size_t i = 0; i < a.size(); ++i) ref[i] = orb::test::Reference(fn, a[i], b[i], kSingle<T>);
    std::vector<T> y(a.size());
    for (int code = 1; code <= 3; ++code) {
        double worst = 0;
        char where[160] = "";
        for (int level : kLevels) {
            const int slot = level + 10 * (code - 1);
            if (!SlotRunnable(slot)) continue;
            Run<T>(fn, slot, int32_t(a.size()), a.data(), b.data(), y.data());
            for (size_t i = 0; i < a.size(); ++i) {
                const double e = orb::test::UlpError(ref[i], y[i], kSingle<T>);
                if (e <= worst) continue;
                worst = e;
                std::snprintf(where, sizeof where, "slot %d, a=%.17g b=%.17g", slot, double(a[i]),
                              double(b[i]));
            }
        }
        EXPECT_LE(worst, Bound<T>(fn, code)) << Name<T>(fn) << " " << where;
        std::printf("  %s code %d, %zu operands: max %.3f ulp (%s)\n", Name<T>(fn).c_str(), code,
                    a.size(), worst, where);
    }
}

// The random root operands plus powers of two over the whole range.
template <typename T> void CheckRoot(MathFn fn, uint64_t seed) {
    std::vector<T> a = orb::test::RandomRootOperands<T>(seed, fn != MathFn::Sqrt, 50000);
    for (int e = orb::test::Bits<T>::kExpMin; e <= orb::test::Bits<T>::kExpMax; e += 7)
        a.push_back(std::ldexp(T(1), e));
    a.push_back(std::numeric_limits<T>::max());
    a.push_back(std::numeric_limits<T>::denorm_min());
    CheckAccuracy<T>(fn, a, std::vector<T>(a.size(), T(0)));
}

TEST(VmlMathAccuracy, Roots) {
    uint64_t seed = 1;
    for (MathFn fn : {MathFn::Sqrt, MathFn::Cbrt, MathFn::InvCbrt}) {
        CheckRoot<double>(fn, seed++);
        CheckRoot<float>(fn, seed++);
    }
}

// Bases for an exponent b: log-uniform so that |b log2 a| stays within
// the range of the type (some results overflow or underflow on purpose),
// bases next to 1, and negative bases when b is an integer.
template <typename T> void CheckPowx(uint64_t seed) {
    for (double bd : {0.5, -0.5, 2.0, 3.0, -3.0, 1.0 / 3, 7.25, -13.5, 123.456, 1e-3, 1e5, -1e5,
                      1e15, 0.1, -1.0, 1.0, 1023.5, -1074.0}) {
        const T b = T(bd);
        SCOPED_TRACE(b);
        InputGen g(seed++);
        const double span = (kSingle<T> ? 160.0 : 1100.0) / std::fabs(double(b));
        const bool integer = std::nearbyint(b) == b;
        std::vector<T> a;
        for (int i = 0; i < 3000; ++i) {
            const double x = i % 3 == 2
                ? 1.0 + g.uniform(-1.0, 1.0) * std::fmin(0.5, 4.0 * span)
                : std::exp2(g.uniform(-1.0, 1.0) * std::fmin(span, kSingle<T> ? 149.0 : 1074.0));
            const T t = T(x);
            if (t == 0 || !std::isfinite(t)) continue;
            a.push_back(integer && g.coin() ? -t : t);
        }
        CheckAccuracy<T>(MathFn::Pow, a, std::vector<T>(a.size(), b));
    }
}

TEST(VmlMathAccuracy, Powx) {
    CheckPowx<double>(100);
    CheckPowx<float>(118);
}

// Operand pairs: both random over the whole range, the ratio near 0 and
// near infinity (close to the axes), |a| close to |b|, the ratio around
// tan(pi/8), subnormals, all four quadrants.
template <typename T> void CheckAtan2(uint64_t seed) {
    InputGen g(seed);
    const int lo = kSingle<T> ? -149 : -1074, hi = kSingle<T> ? 127 : 1023;
    std::vector<T> a, b;
    for (int i = 0; i < 60000; ++i) {
        double x = g.log_uniform<double>(lo / 2, hi / 2), y;
        switch (i % 6) {
        case 0: y = g.log_uniform<double>(lo, hi); x = g.log_uniform<double>(lo, hi); break;
        case 1: y = x * std::exp2(-g.uniform(0, kSingle<T> ? 60 : 200)); break;
        case 2: y = x * std::exp2(g.uniform(0, kSingle<T> ? 60 : 200)); break;
        case 3: y = x * (1.0 + g.uniform(-1e-6, 1e-6)); break;
        case 4: y = x * (0.41421356237309503 + g.uniform(-1e-3, 1e-3)); break;
        default: y = g.subnormal<T>(); x = g.coin() ? g.subnormal<T>() : x; break;
        }
        T ty = T(y), tx = T(x);
        if (!std::isfinite(ty) || !std::isfinite(tx)) continue;
        if (g.coin()) ty = -ty;
        if (g.coin()) tx = -tx;
        if (g.coin()) std::swap(ty, tx);
        a.push_back(ty);
        b.push_back(tx);
    }
    CheckAccuracy<T>(MathFn::Atan2, a, b);
}

TEST(VmlMathAccuracy, Atan2) {
    CheckAtan2<double>(7);
    CheckAtan2<float>(8);
}

// ---- Special operands and reports ------------------------------------------

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;

struct Case {
    double a, b;  // b: exponent (Powx) or x (Atan2); unused otherwise
    double want;
    int code;     // status reported for this element, 0 for none
};

// Reports through the frame's callback, from every thread (team members
// of a threaded call report concurrently).
struct Report {
    int32_t code, index;
    double arg1, arg2, res1;
    std::string name;
};
std::vector<Report> g_reports;
std::mutex g_reports_lock;

int Record(VmlErrorContext *c) {
    std::lock_guard<std::mutex> hold(g_reports_lock);
    g_reports.push_back({c->code, c->index, c->arg1, c->arg2, c->res1,
                         std::string(c->func_name, c->func_name_len)});
    return 1;  // handled: keep the kernel's result, no default action
}

// Default mode (accuracy 2, errno and callback actions) with the recorder.
void StartCapture() {
    ServVmlSetMode(0x1A02);
    ServVmlSetCallback(Record);
    ServVmlSetStatus(0);
    g_reports.clear();
}

// Same value, or both NaN; zeros must agree in sign. A finite non-zero
// want may be off by the relative error `rel`.
bool Matches(double got, double want, double rel = 0) {
    if (std::isnan(want)) return std::isnan(got);
    if (rel > 0 && std::isfinite(want) && want != 0) return std::fabs(got - want) <= rel * std::fabs(want);
    return got == want && std::signbit(got) == std::signbit(want);
}

// All cases at once through one slot: results, reports (code, index,
// arguments, result, name), the status word, and the same values in place.
template <typename T> void CheckCases(MathFn fn, int slot, const std::vector<Case> &cases, double rel) {
    SCOPED_TRACE(testing::Message() << Name<T>(fn) << " slot " << slot);
    const int n = int(cases.size());
    std::vector<T> a(n), b(n), y(n, T(-7));
    for (int i = 0; i < n; ++i) {
        a[i] = T(cases[i].a);
        b[i] = T(cases[i].b);
    }
    StartCapture();
    Run<T>(fn, slot, n, a.data(), b.data(), y.data());
    size_t next = 0;
    for (int i = 0; i < n; ++i) {
        const Case &c = cases[i];
        SCOPED_TRACE(testing::Message() << "a=" << c.a << " b=" << c.b);
        EXPECT_TRUE(Matches(y[i], T(c.want), rel)) << "got " << y[i] << " want " << T(c.want);
        if (c.code == 0) continue;
        ASSERT_LT(next, g_reports.size()) << "missing report";
        const Report &r = g_reports[next++];
        EXPECT_EQ(r.code, c.code);
        EXPECT_EQ(r.index, i);
        EXPECT_TRUE(Matches(r.arg1, a[i]));
        EXPECT_TRUE(Matches(r.res1, y[i]));
        EXPECT_EQ(r.name, Name<T>(fn));
    }
    EXPECT_EQ(next, g_reports.size()) << "unexpected reports";
    // The status word holds the last report's code (0 when none).
    EXPECT_EQ(ServVmlGetStatus(), g_reports.empty() ? 0 : g_reports.back().code);
    std::vector<T> z = a;
    Run<T>(fn, slot, n, z.data(), b.data(), z.data());
    for (int i = 0; i < n; ++i) EXPECT_TRUE(Matches(z[i], y[i])) << "in place, i " << i;
    ServVmlSetCallback(nullptr);
}

// Every runnable slot from accuracy code `first` on; rel1 and rel3 are the
// relative errors allowed at codes 1 and 3, code 2 is exact.
template <typename T>
void CheckSlots(MathFn fn, const std::vector<Case> &cases, double rel1, double rel3, int first = 1) {
    for (int code = first; code <= 3; ++code)
        for (int level : kLevels)
            if (SlotRunnable(level + 10 * (code - 1)))
                CheckCases<T>(fn, level + 10 * (code - 1), cases, code == 1 ? rel1 : code == 3 ? rel3 : 0);
}
// 4 ulp of the faster root flavours, 11 or 26 correct bits of code 3.
template <typename T> constexpr double kRel1 = kSingle<T> ? 0x1p-21 : 0x1p-50;
template <typename T> constexpr double kRel3 = kSingle<T> ? 0x1p-11 : 0x1p-26;

TEST(VmlMathSpecial, Roots) {
    // Eight normal operands ahead of the special ones: one whole vector on
    // the estimate path of the code-3 square root.
    std::vector<Case> sqrt_cases;
    for (int i = 0; i < 8; ++i) {
        const double x = std::ldexp(1.0 + i / 8.0, 3 * i - 12);
        sqrt_cases.push_back({x, 0, std::sqrt(x), 0});
    }
    sqrt_cases.insert(sqrt_cases.end(),
        {{-1, 0, kNaN, 1}, {-0.0, 0, -0.0, 0}, {0.0, 0, 0.0, 0}, {-kInf, 0, kNaN, 1},
         {kInf, 0, kInf, 0}, {kNaN, 0, kNaN, 0}, {-1e-40, 0, kNaN, 1}, {4, 0, 2, 0},
         {0.25, 0, 0.5, 0}, {-kNaN, 0, kNaN, 0}, {1e-300, 0, 1e-150, 0}});
    const std::pair<MathFn, std::vector<Case>> table[] = {
        {MathFn::Sqrt, sqrt_cases},
        {MathFn::Cbrt,
         {{-0.0, 0, -0.0, 0}, {0.0, 0, 0.0, 0}, {-kInf, 0, -kInf, 0}, {kInf, 0, kInf, 0},
          {kNaN, 0, kNaN, 0}, {-8, 0, -2, 0}, {27, 0, 3, 0}, {0.125, 0, 0.5, 0}, {-1, 0, -1, 0}}},
        {MathFn::InvCbrt,
         {{-0.0, 0, -kInf, 2}, {0.0, 0, kInf, 2}, {-kInf, 0, -0.0, 0}, {kInf, 0, 0.0, 0},
          {kNaN, 0, kNaN, 0}, {-8, 0, -0.5, 0}, {0.125, 0, 2, 0}, {1, 0, 1, 0},
          {-0.0, 0, -kInf, 2}}}};
    for (const auto &[fn, cases] : table) {
        CheckSlots<double>(fn, cases, kRel1<double>, kRel3<double>);
        CheckSlots<float>(fn, cases, kRel1<float>, kRel3<float>);
    }
}

// Powx takes one exponent per call: the cases run in groups by exponent.
template <typename T> void CheckPowxCases(const std::vector<Case> &all) {
    std::vector<double> exps;
    for (const Case &c : all)
        if (std::none_of(exps.begin(), exps.end(), [&](double e) { return Matches(e, c.b); }))
            exps.push_back(c.b);
    for (double e : exps) {
        std::vector<Case> group;
        for (Case c : all) {
            if (!Matches(c.b, e)) continue;
            // Single precision overflows earlier: 10^40 is already infinite.
            if (kSingle<T> && c.code == 0 && std::isfinite(c.a) && std::isfinite(e) && e > 0 &&
                std::pow(std::fabs(c.a), e) > 3.5e38)
                c.code = 3;
            group.push_back(c);
        }
        CheckSlots<T>(MathFn::Pow, group, 0, kRel3<T>);
    }
}

TEST(VmlMathSpecial, Powx) {
    const std::vector<Case> cases = {
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
        // beyond the single-precision range only (reported there)
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
    CheckPowxCases<double>(cases);
    CheckPowxCases<float>(cases);
}

// The code-3 power runs whole vectors on a fast path and hands a vector
// with any lane out of its range to the accurate core: special and
// reported lanes amid regular ones, at every position.
TEST(VmlMathSpecial, PowxFastMixedBlocks) {
    const double odd[] = {kNaN, 0.0, -kInf, 1e-40, 1e30, -3.0};
    const double want3[] = {kNaN, 0.0, -kInf, 0.0, kInf, -27.0};
    for (int pos = 0; pos < 19; ++pos)
        for (int o = 0; o < 6; ++o) {
            std::vector<Case> cases;
            for (int i = 0; i < 19; ++i) {
                const double a = 1.0 + i / 16.0;
                cases.push_back(i == pos ? Case{odd[o], 3, want3[o], o == 4 ? 3 : 0}
                                         : Case{a, 3, a * a * a, 0});
            }
            CheckSlots<float>(MathFn::Pow, cases, 0, kRel3<float>, 3);
            // 1e-40 is no subnormal in double, 1e30 cubed no overflow
            if (o != 3 && o != 4) CheckSlots<double>(MathFn::Pow, cases, 0, kRel3<double>, 3);
        }
    // A negative base with a non-integer exponent amid regular ones.
    std::vector<Case> cases;
    for (int i = 0; i < 17; ++i) cases.push_back({i == 9 ? -2.0 : 4.0, 0.5, i == 9 ? kNaN : 2.0, i == 9});
    CheckSlots<float>(MathFn::Pow, cases, 0, kRel3<float>, 3);
}

TEST(VmlMathSpecial, Atan2) {
    const std::vector<Case> cases = {
        {0.0, 0.0, 0.0, 0}, {-0.0, 0.0, -0.0, 0}, {0.0, -0.0, kPi, 0}, {-0.0, -0.0, -kPi, 0},
        {0.0, -3, kPi, 0}, {-0.0, -3, -kPi, 0}, {0.0, 3, 0.0, 0}, {-0.0, 3, -0.0, 0},
        {2, 0.0, kPi / 2, 0}, {2, -0.0, kPi / 2, 0}, {-2, 0.0, -kPi / 2, 0}, {-2, -0.0, -kPi / 2, 0},
        {kInf, kInf, kPi / 4, 0}, {-kInf, kInf, -kPi / 4, 0}, {kInf, -kInf, 3 * kPi / 4, 0},
        {-kInf, -kInf, -3 * kPi / 4, 0}, {kInf, 5, kPi / 2, 0}, {-kInf, -5, -kPi / 2, 0},
        {5, kInf, 0.0, 0}, {-5, kInf, -0.0, 0}, {5, -kInf, kPi, 0}, {-5, -kInf, -kPi, 0},
        {kNaN, 1, kNaN, 0}, {1, kNaN, kNaN, 0}, {kNaN, kInf, kNaN, 0}, {1, 1, kPi / 4, 0},
        {-1, -1, -3 * kPi / 4, 0}, {1e-320, 1e300, 0.0, 0}, {-1e300, 1e-320, -kPi / 2, 0}};
    CheckSlots<double>(MathFn::Atan2, cases, 0, 0);
    CheckSlots<float>(MathFn::Atan2, cases, 0, kRel3<float>);
    // Output over the first operand while the second one is the same array
    // shifted by one element.
    std::vector<double> a(37), y(36);
    for (int i = 0; i < 37; ++i) a[i] = (i - 18) * 0.37;
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        vml_kernels_vdAtan2[slot](36, a.data(), a.data() + 1, y.data());
        std::vector<double> c = a;
        vml_kernels_vdAtan2[slot](36, c.data(), c.data() + 1, c.data());
        EXPECT_TRUE(std::equal(y.begin(), y.end(), c.begin())) << slot;
    }
}

// The vector levels follow the denormal field of the mode, force
// round-to-nearest and give the caller's control word back.
TEST(VmlMathSpecial, ControlWord) {
    const unsigned saved = _mm_getcsr();
    const double sub[3] = {1e-310, 8.0, 1e-320};
    const auto flush = [](bool on) { ServVmlSetMode(on ? 0x00280000u : 0x00140000u); };
    for (int slot : {11, 13, 17, 18, 19}) {
        if (!SlotRunnable(slot)) continue;
        SCOPED_TRACE(slot);
        double plain[3], flushed[3], upward[3];
        flush(false);
        vml_kernels_vdCbrt[slot](3, sub, plain);
        EXPECT_GT(plain[0], 0.0);
        flush(true);  // flush-to-zero, denormals-are-zero
        vml_kernels_vdCbrt[slot](3, sub, flushed);
        EXPECT_EQ(flushed[0], 0.0);
        EXPECT_EQ(flushed[1], 2.0);
        EXPECT_EQ(_mm_getcsr(), saved);
        flush(false);
        _mm_setcsr((saved & ~0x6000u) | 0x4000u);  // round upward
        vml_kernels_vdCbrt[slot](3, sub, upward);
        EXPECT_EQ(_mm_getcsr(), (saved & ~0x6000u) | 0x4000u);
        _mm_setcsr(saved);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(upward[i], plain[i]);
    }
    flush(false);
}

// ---- Through the call frame ------------------------------------------------

// n = 5000 goes through the threader whenever more than one thread is
// allowed; n = 50 always runs in the calling thread.
TEST(VmlMathEntry, ReportsReachTheCaller) {
    for (int n : {50, 5000}) {
        SCOPED_TRACE(n);
        const int bad = n - 7;
        std::vector<double> a(n), x(n, -1.0), y(n);
        for (int i = 0; i < n; ++i) a[i] = i + 1.0;
        std::vector<float> af(n, 2.0f), yf(n);
        a[bad] = -4.0;
        af[bad] = -0.0f;
        // One report of `code` at the bad element, or none for code 0.
        const auto reported = [&](const std::function<void()> &call, int32_t code) {
            StartCapture();
            call();
            EXPECT_EQ(ServVmlGetStatus(), code);
            EXPECT_EQ(g_reports.size(), code ? 1u : 0u);
            return g_reports.size() == (code ? 1u : 0u) && (!code || g_reports[0].index == bad);
        };
        ASSERT_TRUE(reported([&] { vdSqrt(n, a.data(), y.data()); }, 1)) << "one report at the bad element";
        EXPECT_EQ(g_reports[0].arg1, -4.0);
        EXPECT_EQ(g_reports[0].name, "vdSqrt");
        EXPECT_TRUE(std::isnan(y[bad]));
        EXPECT_EQ(y[8], 3.0);
        ASSERT_TRUE(reported([&] { vsInvCbrt(n, af.data(), yf.data()); }, 2)) << "one report at the bad element";
        EXPECT_EQ(yf[bad], -INFINITY);
        a[bad] = 1e200;
        ASSERT_TRUE(reported([&] { vdPowx(n, a.data(), 2.0, y.data()); }, 3)) << "one report at the bad element";
        EXPECT_EQ(g_reports[0].arg2, 2.0);
        EXPECT_EQ(y[3], 16.0);
        EXPECT_TRUE(reported([&] { vdAtan2(n, a.data(), x.data(), y.data()); }, 0));
        ServVmlSetCallback(nullptr);
    }
}

// The accuracy code picks the flavour: code 1 gives the faster
// single-precision cube root, code 2 the accurate one.
TEST(VmlMathEntry, AccuracyCodeSelectsFlavour) {
    const int n = 64;
    std::vector<float> a(n), y1(n), y2(n);
    for (int i = 0; i < n; ++i) a[i] = 1.0f + i * 0.37f;
    StartCapture();
    ServVmlSetMode(1);
    vsCbrt(n, a.data(), y1.data());
    ServVmlSetMode(2);
    vsCbrt(n, a.data(), y2.data());
    int differ = 0;
    for (int i = 0; i < n; ++i) {
        differ += y1[i] != y2[i];
        EXPECT_NEAR(y1[i], std::cbrt(double(a[i])), 4 * std::cbrt(double(a[i])) * 1.2e-7);
    }
    EXPECT_GT(differ, 0);
    ServVmlSetCallback(nullptr);
}

}  // namespace
