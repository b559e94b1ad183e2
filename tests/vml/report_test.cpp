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

TEST(VmlReport, DivisionByZeroReportsSingularity) {
    ModeScope mode(0x0202);
    ServVmlSetCallback(Recorder);
    g_seen = Seen{};
    const double a[3] = {1.0, 1.0, 1.0}, b[3] = {0.0, -0.0, 2.0};
    double y[3];
    vdDiv(3, a, b, y);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(y[1], -INFINITY);
    EXPECT_EQ(y[2], 0.5);
    EXPECT_EQ(ServVmlGetStatus(), 2);
    ASSERT_EQ(g_seen.calls, 2);
    const VmlErrorContext &c = g_seen.last;
    EXPECT_EQ(c.code, 2);
    EXPECT_EQ(c.index, 1);
    EXPECT_EQ(c.arg1, 1.0);
    EXPECT_EQ(c.arg2, -0.0);
    EXPECT_EQ(c.res1, -INFINITY);
    EXPECT_EQ(c.res2, -INFINITY);
    EXPECT_STREQ(c.func_name, "vdDiv");
    EXPECT_EQ(c.func_name_len, 5);
}

TEST(VmlReport, DivisionSpecialsAndZeroOverZero) {
    ModeScope mode(0x0100 | 0x2);
    struct Case { double a, b; bool reported; };
    const Case cases[] = {{INFINITY, 0.0, false}, {NAN, 0.0, false},
                          {0.0, 0.0, true}, {1.0, INFINITY, false},
                          {-3.0, -0.0, true}, {1.0, 1e-310, false}};
    for (const Case &c : cases) {
        for (int slot = 0; slot < 30; ++slot) {
            if (!orb::test::SlotRunnable(slot)) continue;
            ServVmlSetStatus(0);
            double y;
            vml_kernels_vdDiv[slot](1, &c.a, &c.b, &y);
            EXPECT_EQ(ServVmlGetStatus(), c.reported ? 2 : 0) << c.a << "/" << c.b << " slot " << slot;
        }
        float fa = float(c.a), fb = float(c.b), fy;
        ServVmlSetStatus(0);
        vsDiv(1, &fa, &fb, &fy);
        EXPECT_EQ(ServVmlGetStatus(), (c.reported || fb == 0.0f) && std::isfinite(fa) ? 2 : 0);
    }
}

// Zero divisors spread over the peel, the vector loop and the tail: every
// level reports exactly their positions, in order, whatever the output's
// offset from a vector boundary.
template <class T> void ReportedIndicesAtEveryOffset(const VmlBinaryKernelD *dtab,
                                                     const VmlBinaryKernelS *stab) {
    static thread_local std::vector<int> seen;
    ModeScope mode(0x0202);
    ServVmlSetCallback([](VmlErrorContext *c) {
        seen.push_back(c->index);
        return 0;
    });
    const int n = 67;
    const std::vector<int> zeros = {0, 1, 2, 5, 8, 9, 16, 31, 32, 33, 47, 64, 66};
    alignas(64) T a[n + 16], b[n + 16], y[n + 16];
    for (int off = 0; off < int(32 / sizeof(T)); ++off) {
        for (int i = 0; i < n + 16; ++i) {
            a[i] = T(i + 1);
            b[i] = T(2);
        }
        for (int z : zeros) b[off + z] = T(0);
        for (int slot = 0; slot < 30; ++slot) {
            if (!orb::test::SlotRunnable(slot)) continue;
            seen.clear();
            if constexpr (sizeof(T) == 8) dtab[slot](n, a + off, b + off, y + off);
            else stab[slot](n, a + off, b + off, y + off);
            EXPECT_EQ(seen, zeros) << "offset " << off << " slot " << slot;
        }
    }
    ServVmlSetCallback(nullptr);
}

TEST(VmlReport, IndicesAcrossPeelLoopAndTail) {
    ReportedIndicesAtEveryOffset<double>(vml_kernels_vdDiv, nullptr);
    ReportedIndicesAtEveryOffset<float>(nullptr, vml_kernels_vsDiv);
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

TEST(VmlReport, CallbackReturnValueDecidesDefaultActions) {
    struct Case { int answer; double replace; double want_y; int want_errno; };
    const Case cases[] = {{0, 42.0, 42.0, ERANGE}, {1, 42.0, INFINITY, 0},
                          {0, NAN, INFINITY, ERANGE}};
    for (const Case &c : cases) {
        ModeScope mode(0x0202);
        ServVmlSetCallback(Recorder);
        g_seen = Seen{};
        g_seen.answer = c.answer;
        g_seen.replace = c.replace;
        errno = 0;
        const double a[1] = {1.0}, b[1] = {0.0};
        double y[1];
        vdDiv(1, a, b, y);
        EXPECT_EQ(y[0], c.want_y) << c.answer;
        EXPECT_EQ(errno, c.want_errno) << c.answer;
    }
}

TEST(VmlReport, ErrnoPerCode) {
    ModeScope mode(0x0202);
    struct Case { int32_t code; int want; };
    const Case cases[] = {{-2, EACCES}, {-1, EINVAL}, {0, 0}, {1, EDOM}, {2, ERANGE},
                          {3, ERANGE}, {4, ERANGE}, {5, EFAULT}, {1000, EFAULT}};
    for (const Case &c : cases) {
        errno = 12345;
        double a = 1, y = 2;
        ServVmlReportErrorD(c.code, 0, &a, &a, &y, &y, "vdTest");
        EXPECT_EQ(errno, c.want) << c.code;
        EXPECT_EQ(ServVmlGetStatus(), c.code);
    }
}

TEST(VmlReport, RaisesTheMatchingFlag) {
    ModeScope mode(0x0802);
    struct Case { int32_t code; int flag; };
    const Case cases[] = {{1, FE_INVALID}, {2, FE_DIVBYZERO}, {3, FE_OVERFLOW},
                          {4, FE_UNDERFLOW}, {7, 0}};
    for (const Case &c : cases) {
        std::feclearexcept(FE_ALL_EXCEPT);
        float a = 1, y = 2;
        ServVmlReportErrorS(c.code, 0, &a, &a, &y, &y, "vsTest");
        const int raised = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
        if (c.flag) EXPECT_TRUE(raised & c.flag) << c.code;
        else EXPECT_EQ(raised, 0) << c.code;
    }
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
