// The root, power and arc-tangent exports through the call frame: an
// exceptional element found by a kernel reaching the caller's status word
// and callback with its position in the whole array, serial and threaded.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "orb_vml.h"
#include "vml/kernels/atan2/atan2_kernels.h"
#include "vml/kernels/pow/pow_kernels.h"
#include "vml/kernels/roots/roots_kernels.h"
#include "vml/vml_tables.h"
#include "vml_math_reports.h"

namespace {

// n = 5000 goes through the threader whenever more than one thread is
// allowed; n = 50 always runs in the calling thread.
TEST(VmlMathEntry, ReportsReachTheCaller) {
    for (int n : {50, 5000}) {
        SCOPED_TRACE(n);
        std::vector<double> a(n), y(n);
        for (int i = 0; i < n; ++i) a[i] = i + 1.0;
        const int bad = n - 7;
        a[bad] = -4.0;
        StartReportCapture();
        vdSqrt(n, a.data(), y.data());
        EXPECT_EQ(ServVmlGetStatus(), 1);
        ASSERT_EQ(g_math_reports.size(), 1u);
        EXPECT_EQ(g_math_reports[0].index, bad);
        EXPECT_EQ(g_math_reports[0].arg1, -4.0);
        EXPECT_EQ(g_math_reports[0].name, "vdSqrt");
        EXPECT_TRUE(std::isnan(y[bad]));
        EXPECT_EQ(y[8], 3.0);

        std::vector<float> af(n, 2.0f), yf(n);
        af[bad] = -0.0f;
        StartReportCapture();
        vsInvCbrt(n, af.data(), yf.data());
        EXPECT_EQ(ServVmlGetStatus(), 2);
        ASSERT_EQ(g_math_reports.size(), 1u);
        EXPECT_EQ(g_math_reports[0].index, bad);
        EXPECT_EQ(yf[bad], -INFINITY);

        StartReportCapture();
        a[bad] = 1e200;
        vdPowx(n, a.data(), 2.0, y.data());
        EXPECT_EQ(ServVmlGetStatus(), 3);
        ASSERT_EQ(g_math_reports.size(), 1u);
        EXPECT_EQ(g_math_reports[0].index, bad);
        EXPECT_EQ(g_math_reports[0].arg2, 2.0);
        EXPECT_EQ(y[3], 16.0);

        StartReportCapture();
        std::vector<double> x(n, -1.0);
        vdAtan2(n, a.data(), x.data(), y.data());
        EXPECT_TRUE(g_math_reports.empty());
        ServVmlSetCallback(nullptr);
    }
}

// The accuracy code picks the flavour: code 1 and 3 give the seed-only
// single-precision cube root, code 2 the accurate one.
TEST(VmlMathEntry, AccuracyCodeSelectsFlavour) {
    const int n = 64;
    std::vector<float> a(n), y1(n), y2(n);
    for (int i = 0; i < n; ++i) a[i] = 1.0f + i * 0.37f;
    StartReportCapture();
    ServVmlSetMode(1);
    vsCbrt(n, a.data(), y1.data());
    ServVmlSetMode(2);
    vsCbrt(n, a.data(), y2.data());
    int differ = 0;
    for (int i = 0; i < n; ++i) {
        differ += y1[i] != y2[i];
        EXPECT_NEAR(y1[i], std::cbrt((double)a[i]), 4 * std::cbrt((double)a[i]) * 1.2e-7);
    }
    EXPECT_GT(differ, 0);
    ServVmlSetCallback(nullptr);
}

}  // namespace
