// The error handler: status, ignore-only mode, callback semantics and the
// record it sees, errno values, raised floating-point flags, write-back.
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <vector>

#include "vml_test_util.h"

namespace {

using orb::test::ModeScope;

struct Seen {
    int calls = 0;
    VmlErrorContext last{};
    int answer = 0;
    double replace = NAN;
};
thread_local Seen g_seen;

int Recorder(VmlErrorContext *c) {
    ++g_seen.calls;
    g_seen.last = *c;
    if (!std::isnan(g_seen.replace)) c->res1 = g_seen.replace;
    return g_seen.answer;
}

// Division by zero through the export: the record the callback sees, and
// its answer deciding the default actions (result write-back, errno).
TEST(VmlReport, DivisionByZeroRecordAndCallbackAnswer) {
    struct Case { int answer; double replace, want0, want1; int want_errno; };
    const Case cases[] = {{0, NAN, INFINITY, -INFINITY, ERANGE}, {0, 42.0, 42.0, 42.0, ERANGE},
                          {1, 42.0, INFINITY, -INFINITY, 0}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.answer);
        ModeScope mode(0x0202);
        ServVmlSetCallback(Recorder);
        g_seen = Seen{};
        g_seen.answer = c.answer;
        g_seen.replace = c.replace;
        errno = 0;
        const double a[3] = {1.0, 1.0, 1.0}, b[3] = {0.0, -0.0, 2.0};
        double y[3];
        vdDiv(3, a, b, y);
        EXPECT_EQ(y[0], c.want0);
        EXPECT_EQ(y[1], c.want1);
        EXPECT_EQ(y[2], 0.5);
        EXPECT_EQ(errno, c.want_errno);
        EXPECT_EQ(ServVmlGetStatus(), 2);
        ASSERT_EQ(g_seen.calls, 2);
        const VmlErrorContext &r = g_seen.last;  // as passed, before the callback's change
        EXPECT_EQ(r.code, 2);
        EXPECT_EQ(r.index, 1);
        EXPECT_EQ(r.arg1, 1.0);
        EXPECT_EQ(r.arg2, -0.0);
        EXPECT_EQ(r.res1, -INFINITY);
        EXPECT_EQ(r.res2, -INFINITY);
        EXPECT_STREQ(r.func_name, "vdDiv");
        EXPECT_EQ(r.func_name_len, 5);
    }
}

// Zero divisors spread over the peel, the vector loop and the tail, and
// special quotients among them: every level reports exactly the divisions
// of a finite dividend by zero (0/0 too; not inf/0, NaN/0, 1/inf, nor a
// divisor that is zero only in single precision), in order, whatever the
// output's offset from a vector boundary.
template <class T> void ReportedIndicesAtEveryOffset(const void *table) {
    static thread_local std::vector<int> seen;
    ModeScope mode(0x0202);
    ServVmlSetCallback([](VmlErrorContext *c) {
        EXPECT_EQ(c->code, 2);
        seen.push_back(c->index);
        return 0;
    });
    // 67: the last vector holds zero divisors; 63: it holds none, after
    // steps that reported. Zero divisors from the first element on, or
    // (lead 9) none in the first vector, which the peel may then do at once;
    // with lead 9, n = 39 leaves both the first and the last vector clean,
    // so those may be done before and after the steps that report.
    constexpr int kMax = 67;
    const int zeros[] = {0, 1, 2, 5, 8, 9, 16, 31, 32, 33, 47, 64, 66};
    struct Special { int at; double a, b; };
    const Special specials[] = {{3, INFINITY, 0.0}, {12, NAN, 0.0}, {20, 0.0, 0.0},
                                {40, 1.0, INFINITY}, {50, -3.0, -0.0}, {60, 1.0, 1e-310}};
    alignas(64) T a[kMax + 16], b[kMax + 16], y[kMax + 16];
    for (int lead : {0, 9})
    for (int n : {kMax, 63, 39})
    for (int off = 0; off < int(32 / sizeof(T)); ++off) {
        for (int i = 0; i < kMax + 16; ++i) {
            a[i] = T(i + 1);
            b[i] = T(2);
        }
        for (int z : zeros)
            if (z + lead < kMax) b[off + z + lead] = T(0);
        for (const Special &s : specials) {
            if (s.at + lead >= kMax) continue;
            a[off + s.at + lead] = T(s.a);
            b[off + s.at + lead] = T(s.b);
        }
        std::vector<int> want;
        for (int i = 0; i < n; ++i)
            if (b[off + i] == 0 && std::isfinite(a[off + i])) want.push_back(i);
        for (int slot = 0; slot < 30; ++slot) {
            if (!orb::test::SlotRunnable(slot)) continue;
            seen.clear();
            ServVmlSetStatus(0);
            static_cast<void (*const *)(int32_t, const T *, const T *, T *)>(table)[slot](
                n, a + off, b + off, y + off);
            EXPECT_EQ(seen, want) << "lead " << lead << " n " << n << " offset " << off << " slot " << slot;
            EXPECT_EQ(ServVmlGetStatus(), 2) << "offset " << off << " slot " << slot;
        }
    }
    ServVmlSetCallback(nullptr);
}

TEST(VmlReport, IndicesAcrossPeelLoopAndTail) {
    ReportedIndicesAtEveryOffset<double>(vml_kernels_vdDiv);
    ReportedIndicesAtEveryOffset<float>(vml_kernels_vsDiv);
    // The same kernels without the control-word frame.
    ReportedIndicesAtEveryOffset<double>(vml_bodies_vdDiv);
    ReportedIndicesAtEveryOffset<float>(vml_bodies_vsDiv);
}

TEST(VmlReport, IgnoreOnlyRecordsTheStatus) {
    ModeScope mode(0x0100 | 0x2);
    ServThreadStateGet()->vml_callback = reinterpret_cast<void *>(&Recorder);
    g_seen = Seen{};
    errno = 0;
    std::feclearexcept(FE_ALL_EXCEPT);
    double a = 1, b = 0, y = 7;
    ServVmlReportErrorD(1, 0, &a, &b, &y, &y, "vdX");
    EXPECT_EQ(ServVmlGetStatus(), 1);
    EXPECT_EQ(g_seen.calls, 0);
    EXPECT_EQ(errno, 0);
    EXPECT_FALSE(std::fetestexcept(FE_INVALID));
    EXPECT_EQ(y, 7);
    ServThreadStateGet()->vml_callback = nullptr;
}

// With errno and exception actions both on: errno and the raised flag of
// every code (flags for the element codes 1-4 only).
TEST(VmlReport, ErrnoAndFlagPerCode) {
    ModeScope mode(0x0A02);
    struct Case { int32_t code; int err, flag; };
    const Case cases[] = {{-2, EACCES, 0}, {-1, EINVAL, 0}, {0, 0, 0}, {1, EDOM, FE_INVALID},
                          {2, ERANGE, FE_DIVBYZERO}, {3, ERANGE, FE_OVERFLOW},
                          {4, ERANGE, FE_UNDERFLOW}, {5, EFAULT, 0}, {7, EFAULT, 0},
                          {1000, EFAULT, 0}};
    for (const Case &c : cases) {
        errno = 12345;
        std::feclearexcept(FE_ALL_EXCEPT);
        double a = 1, y = 2;
        ServVmlReportErrorD(c.code, 0, &a, &a, &y, &y, "vdTest");
        const int raised = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
        EXPECT_EQ(errno, c.err) << c.code;
        EXPECT_EQ(ServVmlGetStatus(), c.code);
        if (c.flag) EXPECT_TRUE(raised & c.flag) << c.code;
        else EXPECT_EQ(raised, 0) << c.code;
    }
    float a = 1, y = 2;  // the single-precision report raises the same way
    std::feclearexcept(FE_ALL_EXCEPT);
    ServVmlReportErrorS(3, 0, &a, &a, &y, &y, "vsTest");
    EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW));
}

int ChangeBoth(VmlErrorContext *c) {
    c->res1 = 10.0;
    c->res2 = 20.0;
    c->res1_im = 11.0;
    c->res2_im = 21.0;
    g_seen.last = *c;
    return 0;
}

TEST(VmlReport, ComplexRecordAndWriteBackOrder) {
    ModeScope mode(0x0002);
    ServVmlSetCallback(ChangeBoth);
    VmlComplex16 a[2] = {{1, 2}, {3, 4}}, b[2] = {{5, 6}, {7, 8}};
    VmlComplex16 r1[2] = {{9, 9}, {9, 9}}, r2[2] = {{0, 0}, {0, 0}};
    ServVmlReportErrorZ(3, 1, a, b, r1, r2, "vzTest");
    EXPECT_EQ(g_seen.last.arg1, 3); EXPECT_EQ(g_seen.last.arg1_im, 4);
    EXPECT_EQ(g_seen.last.arg2, 7); EXPECT_EQ(g_seen.last.arg2_im, 8);
    EXPECT_EQ(r1[1].real, 10); EXPECT_EQ(r1[1].imag, 11);
    EXPECT_EQ(r2[1].real, 20); EXPECT_EQ(r2[1].imag, 21);
    // Same array for both results: res1 is written last and wins.
    VmlComplex16 same[2] = {{9, 9}, {9, 9}};
    ServVmlReportErrorZ(3, 0, a, a, same, same, "vzTest");
    EXPECT_EQ(same[0].real, 10);
    EXPECT_EQ(same[0].imag, 11);
    // Parameter codes fill no values and write nothing back.
    double x = 5, out = 6;
    ServVmlSetCallback(Recorder);
    g_seen = Seen{};
    g_seen.replace = 99;
    ServVmlReportErrorD(-2, 0, &x, &x, &out, &out, "vdTest");
    EXPECT_EQ(out, 6);
    EXPECT_EQ(g_seen.last.arg1, 0);
    EXPECT_EQ(g_seen.last.code, -2);
}

TEST(VmlReport, LongNamesAreCut) {
    ModeScope mode(0x0002);
    ServVmlSetCallback(Recorder);
    g_seen = Seen{};
    const std::string name(80, 'q');
    float a = 1, y = 1;
    ServVmlReportErrorS(1, 0, &a, &a, &y, &y, name.c_str());
    EXPECT_EQ(g_seen.last.func_name_len, 63);
    EXPECT_EQ(std::string(g_seen.last.func_name), name.substr(0, 63));
}

}  // namespace
