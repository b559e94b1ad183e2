// The exported CBLAS shims on the edge cases users rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "orb_cblas.h"

namespace {

TEST(CblasEdges, IamaxIndices) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct { std::vector<double> x; int n, inc, want; } cases[] = {
        {{1, 2, 3}, 0, 1, 0},
        {{1, 2, 3, 4, 5}, 5, 0, 0},
        {{1, 2, 3, 4, 5}, 5, -1, 0},
        {{1, -3, 3}, 3, 1, 1},
        {{nan, 1, 2}, 3, 1, 0},
        {{7}, 1, 1, 0},
        {{1, 0, 2, 0, -9, 0}, 3, 2, 2},
        {{-2, 2, 2, 2}, 4, 1, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(cblas_idamax(c.n, c.x.data(), c.inc), c.want);
        std::vector<float> f(c.x.begin(), c.x.end());
        EXPECT_EQ(cblas_isamax(c.n, f.data(), c.inc), c.want);
    }
}

TEST(CblasEdges, Scale) {
    std::vector<double> a = {1, 2, 3, 4};
    cblas_dscal(3, 2.0, a.data(), -1);
    EXPECT_EQ(a, (std::vector<double>{2, 4, 6, 4}));
    std::vector<double> b = {1, 2, 3};
    cblas_dscal(3, 2.0, b.data(), 0);
    EXPECT_EQ(b, (std::vector<double>{8, 2, 3}));
    std::vector<double> c(20, 1.0);
    c[9] = std::numeric_limits<double>::infinity();
    cblas_dscal(20, 0.0, c.data(), 1);
    EXPECT_TRUE(std::isnan(c[9]));
    EXPECT_EQ(c[0], 0.0);
    std::vector<float> s = {1, 2, 3, 4, 5};
    cblas_sscal(-2, 3.0f, s.data(), 1);
    cblas_sscal(2, 3.0f, s.data(), 2);
    EXPECT_EQ(s, (std::vector<float>{3, 2, 9, 4, 5}));
}

TEST(CblasEdges, Copy) {
    const std::vector<double> x = {1, 2, 3};
    std::vector<double> y(3, 0.0);
    cblas_dcopy(3, x.data(), -1, y.data(), 1);
    EXPECT_EQ(y, (std::vector<double>{3, 2, 1}));
    cblas_dcopy(3, x.data(), 0, y.data(), 1);
    EXPECT_EQ(y, (std::vector<double>{1, 1, 1}));
    std::vector<double> z = {9, 9, 9};
    cblas_dcopy(3, x.data(), 1, z.data(), 0);
    EXPECT_EQ(z, (std::vector<double>{3, 9, 9}));
    cblas_dcopy(0, x.data(), 1, z.data(), 1);
    cblas_dcopy(-4, x.data(), 1, z.data(), 1);
    EXPECT_EQ(z, (std::vector<double>{3, 9, 9}));
    const std::vector<float> fx = {1, 2, 3, 4};
    std::vector<float> fy(7, 0.0f);
    cblas_scopy(4, fx.data(), 1, fy.data(), -2);
    EXPECT_EQ(fy, (std::vector<float>{4, 0, 3, 0, 2, 0, 1}));
}

}  // namespace
