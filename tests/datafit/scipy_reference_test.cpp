// Constructions against reference values from SciPy (not-a-knot, natural,
// clamped and periodic cubic splines, Akima), written to
// reference/scipy_reference.h by the script beside it; both precisions.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "datafit/df_test_data.h"
#include "datafit/reference/scipy_reference.h"

namespace orb::test {
namespace {

template <class T>
void CheckCase(const scipy_ref::Case &c, double tol) {
    const int nx = scipy_ref::kNx;
    std::vector<T> x(scipy_ref::kX, scipy_ref::kX + nx), y(c.y, c.y + nx);
    std::vector<T> bc = {static_cast<T>(scipy_ref::kClamp[0]), static_cast<T>(scipy_ref::kClamp[1])};
    std::vector<T> coeff(4 * (nx - 1)), site(c.site, c.site + c.nsite), r(2 * c.nsite);
    DfTask *task = nullptr;
    ASSERT_EQ(Df<T>::New(&task, nx, x.data(), DfNonUniform, 1, y.data(), DfValuesPerFunction), 0);
    ASSERT_EQ(Df<T>::Edit(task, DfCubic, c.type, c.bc, bc.data(), 0, nullptr, coeff.data(), 0), 0);
    ASSERT_EQ(Df<T>::Construct(task, 0, 0), 0) << c.name;
    int32_t dorder[2] = {1, 1};
    ASSERT_EQ(Df<T>::Interpolate(task, DfInterpolate, DfMethodPP, c.nsite, site.data(), DfSitesSorted, 2,
                                 dorder, nullptr, r.data(), DfResultFuncsSitesDerivs, nullptr), 0);
    for (int k = 0; k < c.nsite; ++k) {
        EXPECT_NEAR(r[2 * k], c.value[k], tol * (1 + std::fabs(c.value[k]))) << c.name << " site " << k;
        EXPECT_NEAR(r[2 * k + 1], c.deriv[k], tol * (1 + std::fabs(c.deriv[k]))) << c.name << " site " << k;
    }
    dfDeleteTask(&task);
}

TEST(DfScipyReference, BothPrecisions) {
    for (const auto &c : scipy_ref::kCases) {
        CheckCase<double>(c, 1e-12);
        CheckCase<float>(c, 1e-4);
    }
}

}  // namespace
}  // namespace orb::test
