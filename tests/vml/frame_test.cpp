// Entry checks and per-thread state: statuses -1/-2/1000, n = 0 untouched,
// the mode-set rule, the callback flag, slot choice by accuracy code.
#include <gtest/gtest.h>

#include <thread>

#include "vml/vml_mode_text.h"
#include "vml_test_util.h"

namespace {

using orb::test::ModeScope;

TEST(VmlFrame, ZeroCountTouchesNothing) {
    ServVmlSetStatus(77);
    vdAdd(0, nullptr, nullptr, nullptr);
    vzDiv(0, nullptr, nullptr, nullptr);
    vdLinearFrac(0, nullptr, nullptr, 1, 1, 1, 1, nullptr);
    EXPECT_EQ(ServVmlGetStatus(), 77);
}

TEST(VmlFrame, ArgumentStatusesInParameterOrder) {
    double x[4] = {1, 2, 3, 4}, y[4] = {};
    const double keep[4] = {};
    struct Case { const char *what; void (*call)(double *, double *); int32_t status; };
    const Case cases[] = {
        {"negative n", [](double *a, double *o) { vdAdd(-5, a, a, o); }, -1},
        {"null a", [](double *, double *o) { vdAdd(5, nullptr, nullptr, o); }, -2},
        {"null b", [](double *a, double *o) { vdAdd(5, a, nullptr, o); }, -2},
        {"null y", [](double *a, double *) { vdSqr(5, a, nullptr); }, -2},
        {"powx null y", [](double *a, double *) { vdPowx(4, a, 2.0, nullptr); }, -2},
        {"linearfrac null y", [](double *a, double *) {
             vdLinearFrac(4, a, a, 1, 0, 1, 0, nullptr); }, -2},
    };
    for (const Case &c : cases) {
        ServVmlSetStatus(0);
        c.call(x, y);
        EXPECT_EQ(ServVmlGetStatus(), c.status) << c.what;
        EXPECT_EQ(0, std::memcmp(y, keep, sizeof y)) << c.what;
    }
}

TEST(VmlFrame, LinearFracWarnsOutsideAccuracyThree) {
    double a[10], b[10], y[10];
    for (int i = 0; i < 10; ++i) { a[i] = i; b[i] = i + 1; }
    for (uint32_t acc : {1u, 2u, 3u}) {
        ModeScope mode(0x0100 | acc);
        ServVmlSetStatus(0);
        vdLinearFrac(10, a, b, 1, 0, 1, 0, y);
        EXPECT_EQ(ServVmlGetStatus(), acc == 3 ? 0 : 1000) << acc;
        EXPECT_EQ(y[3], 3.0 / 4.0);
    }
}

TEST(VmlFrame, SetModeReplacesOnlyNonZeroFields) {
    ModeScope scope(0x00281A03);
    struct Case { uint32_t set, want; };
    const Case cases[] = {{0x1, 0x00281A01}, {0x0400, 0x00280401},
                          {0x00140000, 0x00140401}, {0, 0x00140401},
                          {0x00281F02, 0x00281F02}};
    for (const Case &c : cases) {
        const uint32_t before = ServVmlGetMode();
        EXPECT_EQ(ServVmlSetMode(c.set), before);
        EXPECT_EQ(ServVmlGetMode(), c.want) << std::hex << c.set;
    }
}

int NoopCallback(VmlErrorContext *) { return 0; }

TEST(VmlFrame, CallbackSetsAndClearsTheCallbackFlag) {
    ModeScope scope(0x0202);
    EXPECT_EQ(ServVmlSetCallback(NoopCallback), nullptr);
    EXPECT_EQ(ServVmlGetMode(), 0x1202u);
    EXPECT_EQ(ServVmlGetCallback(), &NoopCallback);
    EXPECT_EQ(ServVmlSetCallback(nullptr), &NoopCallback);
    EXPECT_EQ(ServVmlGetMode(), 0x0202u);
}

TEST(VmlFrame, StateIsPerThreadAndFreshThreadsStartAtDefault) {
    ModeScope scope(0x0103);
    ServVmlSetStatus(5);
    uint32_t other_mode = 0;
    int32_t other_status = -9;
    const void *other_base = &other_mode;
    std::thread t([&] {
        other_mode = ServVmlGetMode();
        other_status = ServVmlGetStatus();
        other_base = ServThreadStateGet()->vml_argbase;
    });
    t.join();
    EXPECT_EQ(other_status, 0);
    EXPECT_EQ(other_base, nullptr);
    // The test process runs without ORB_VML_MODE unless a probe sets it.
    if (ServVmlInitialMode() == -1) {
        EXPECT_EQ(other_mode, 0x1A02u);
    }
    EXPECT_EQ(ServVmlGetMode(), 0x0103u);
    EXPECT_EQ(ServVmlGetStatus(), 5);
}

TEST(VmlFrame, ModeTextParser) {
    struct Case { const char *text; bool ok; uint32_t mode; };
    const Case cases[] = {{"6658", true, 0x1A02}, {"0x1A02", true, 0x1A02},
                          {"0X280103", true, 0x280103}, {"0xffffffff", true, 0xFFFFFFFF},
                          {"0", false, 0}, {"", false, 0}, {"0x", false, 0},
                          {"12a", false, 0}, {"-3", false, 0}, {"0x100000000", false, 0},
                          {" 5", false, 0}, {"4294967296", false, 0}};
    for (const Case &c : cases) {
        uint32_t m = 0xDEAD;
        EXPECT_EQ(orb::vml::ParseModeText(c.text, &m), c.ok) << c.text;
        EXPECT_EQ(m, c.ok ? c.mode : 0xDEADu) << c.text;
    }
}

}  // namespace
