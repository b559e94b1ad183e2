// Inputs the fuzz targets found, replayed through the public API with
// arrays of exactly the documented extent (the sanitized suite sees any
// access past them; the plain suite checks the status).
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "include/orb_df.h"

namespace {

// Evaluating a knot-based quadratic whose internal conditions are not knots
// must be refused, not read nx+1 knots from an array of another extent.
TEST(FuzzFindings, KnotQuadraticEvaluatedWithoutKnots) {
    const struct { int32_t ic_type; bool null_ic; } cases[] = {
        {DfIcSecondDerivatives, false}, {DfIcFirstDerivatives, false}, {0, true}};
    for (const auto &c : cases) {
        for (int32_t nx : {2, 5}) {
            SCOPED_TRACE(testing::Message() << "ic_type " << c.ic_type << " nx " << nx);
            std::vector<double> x(nx), y(nx), coeff(3 * nx, 0.0);
            for (int32_t j = 0; j < nx; ++j) x[j] = j, y[j] = j * j;
            // The ic extent for second derivatives: nx-2 values (none for nx = 2).
            std::unique_ptr<double[]> ic(new double[std::max(nx - 2, 1)]());
            DfTask *task = nullptr;
            ASSERT_EQ(dfdNewTask1D(&task, nx, x.data(), DfNonUniform, 1, y.data(), 0), 0);
            ASSERT_EQ(dfdEditPPSpline1D(task, DfQuadratic, DfTypeSubbotin, DfBcFreeEnd, nullptr, c.ic_type,
                                        c.null_ic ? nullptr : ic.get(), coeff.data(), 0),
                      0);
            const double site[3] = {-1.0, 0.5, nx + 1.0};
            double r[3] = {-9, -9, -9};
            EXPECT_EQ(dfdInterpolate1D(task, DfInterpolate, DfMethodPP, 3, site, DfSitesNoHint, 0, nullptr, nullptr,
                                       r, DfResultFuncsSitesDerivs, nullptr),
                      DfStatusBadInternalConditionType);
            for (double v : r) EXPECT_EQ(v, -9.0);
            EXPECT_EQ(dfDeleteTask(&task), 0);
        }
    }
}

// Step-wise and lookup types are evaluated from the values; a task that
// holds the values of function 0 only (yhint 128) cannot evaluate the
// others and must say so instead of following their missing tables.
TEST(FuzzFindings, ValueTypesWithFirstFunctionOnly) {
    for (int32_t type : {DfTypeLookup, DfTypeStepRight, DfTypeStepLeft}) {
        for (int32_t ny : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << "type " << type << " ny " << ny);
            const double x[3] = {0, 1, 2}, y[3] = {5, 6, 7}, site[2] = {0.5, 1.0};
            DfTask *task = nullptr;
            ASSERT_EQ(dfdNewTask1D(&task, 3, x, DfNonUniform, ny, y, DfValuesFirstOnly), 0);
            ASSERT_EQ(dfdEditPPSpline1D(task, DfLinear, type, 0, nullptr, 0, nullptr, nullptr, 0), 0);
            std::vector<double> r(2 * ny, -9.0);
            const int s = dfdInterpolate1D(task, DfInterpolate, DfMethodPP, 2, site, DfSitesNoHint, 0, nullptr,
                                           nullptr, r.data(), DfResultFuncsSitesDerivs, nullptr);
            if (ny == 1) {
                EXPECT_EQ(s, 0);
                // Step right: v_j on [x_j, x_{j+1}); left: v_{j+1} on (x_j, x_{j+1}].
                if (type != DfTypeLookup) {
                    EXPECT_EQ(r[0], type == DfTypeStepRight ? 5.0 : 6.0);
                }
                EXPECT_EQ(r[1], 6.0);
            } else {
                EXPECT_EQ(s, DfStatusNullFunctionValues);
                for (double v : r) EXPECT_EQ(v, -9.0);
            }
            EXPECT_EQ(dfDeleteTask(&task), 0);
        }
    }
}

// A uniform partition given by decreasing ends is outside the contract, but
// the cells reported (and the values they select) stay within 0..nx, also
// for sites so far out that the cell estimate is beyond any integer.
TEST(FuzzFindings, UniformEndsInDecreasingOrder) {
    const int32_t nx = 5;
    const double ends[2] = {1.0, 0.0}, site[7] = {1.0, 1.5, 3.0, 0.5, -2.0, 3.75e307, 1e308};
    std::unique_ptr<double[]> y(new double[nx]);
    for (int32_t j = 0; j < nx; ++j) y[j] = 10.0 + j;
    for (int32_t type : {DfTypeStepRight, DfTypeStepLeft}) {
        SCOPED_TRACE(type);
        DfTask *task = nullptr;
        ASSERT_EQ(dfdNewTask1D(&task, nx, ends, DfUniform, 1, y.get(), 0), 0);
        ASSERT_EQ(dfdEditPPSpline1D(task, DfLinear, type, 0, nullptr, 0, nullptr, nullptr, 0), 0);
        double r[7];
        int32_t cell[7];
        ASSERT_EQ(dfdInterpolate1D(task, DfInterpolate | DfCellSearch, DfMethodPP, 7, site, DfSitesNoHint, 0,
                                   nullptr, nullptr, r, DfResultFuncsSitesDerivs, cell),
                  0);
        for (int k = 0; k < 7; ++k)
            EXPECT_TRUE(cell[k] >= 0 && cell[k] <= nx && r[k] >= 10.0 && r[k] <= 10.0 + nx - 1)
                << k << ": cell " << cell[k] << ", value " << r[k];
        EXPECT_EQ(dfDeleteTask(&task), 0);
    }
}

}  // namespace
