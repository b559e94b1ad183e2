// Evaluation: values and derivatives of constructed splines at every
// level's kernel against a long-double evaluation of the coefficients at
// brute-force cells, both result layouts, derivative selections, uniform
// sites, large threaded site counts; the spline reproduces the data at the
// partition points; the value-only types 6, 7 and 8.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "datafit/level_guard.h"
#include "datafit/df_interp_request.h"
#include "datafit/df_test_data.h"

namespace orb::df {
namespace {

using orb::test::kLevels;
using orb::test::kTwoThreads;
using orb::test::LD;
using orb::test::LevelKernels;

template <class T>
int Run(const LevelKernels &lv, const InterpRequest<T> &q) {
    if constexpr (sizeof(T) == 8) return lv.interp_d(q);
    else return lv.interp_s(q);
}

// d-th derivative of the piece with coefficients c at offset u, and the
// scale its rounding errors are measured against.
template <class T>
std::pair<LD, LD> Piece(const T *c, int order, int d, LD u) {
    LD acc = 0, scale = 0, pw = 1;
    for (int p = order - 1; p >= d; --p) {
        LD f = 1;
        for (int k = 0; k < d; ++k) f *= p - k;
        acc = acc * u + c[p] * f;
    }
    for (int p = 0; p < order; ++p, pw *= std::fabs(u) + 1) scale += std::fabs(c[p]) * pw;
    return {acc, scale};
}

template <class T>
void CheckEvaluation(LD tol) {
    unsigned seed = 5;
    const orb::test::Spline splines[] = {{2, 0, 0}, {3, 0, 2}, {3, 1, 12}, {4, 2, 2}, {4, 5, 1}};
    const int64_t nx = 40, ny = 2;
    for (const LevelKernels &lv : kLevels) for (const auto &sp : splines) for (bool uniform : {false, true}) {
        for (int64_t nsite : {7, 9000}) {
            // The threaded path at the lowest and highest level only.
            if (nsite > 7 && &lv != &kLevels[0] && &lv != &kLevels[7]) continue;
            auto p = orb::test::MakeProblem<T>(nx, ny, uniform, 16, sp, seed++);
            DfTask *task = nullptr;
            ASSERT_EQ(orb::test::Build(p, &task), 0);
            std::mt19937_64 rng(seed);
            std::uniform_real_distribution<double> u(double(p.xfull.front() - 2), double(p.xfull.back() + 2));
            std::vector<T> sites;
            for (int64_t k = 0; k < nsite; ++k) sites.push_back(static_cast<T>(u(rng)));
            // Partition points (on a uniform partition the rounding of x_0 + j*h
            // makes the cell of a point ambiguous; those sites stay random).
            const bool at_points = !uniform;
            for (int64_t j = 0; at_points && j < nx && j < nsite; ++j) sites[j] = static_cast<T>(p.xfull[j]);
            // The knot-based quadratic has one piece per knot interval.
            const bool knots = sp.order == 3 && sp.type == 1;
            const int64_t pieces = knots ? nx : nx - 1;
            int32_t dorder[4] = {1, 1, 0, 1};  // value, first and third derivatives
            const int ders[3] = {0, 1, 3};
            for (int64_t rhint : {DfResultFuncsSitesDerivs, DfResultSitesFuncsDerivs}) {
                std::vector<T> r(static_cast<size_t>(nsite * ny * 3), T(-99));
                std::vector<int32_t> cell(static_cast<size_t>(nsite), -1);
                InterpRequest<T> q{task, 3, 1, nsite, sites.data(), 0, 4, dorder, nullptr,
                                   r.data(), rhint, cell.data(), {}, &kTwoThreads};
                ASSERT_EQ(Run(lv, q), 0);
                int bad = 0;
                for (int64_t i = 0; i < ny; ++i) for (int64_t k = 0; k < nsite && bad < 5; ++k) {
                    const LD t = sites[k];
                    int64_t c = 0, j = 0;
                    while (c < nx && p.xfull[c] <= t) ++c;
                    ASSERT_EQ(cell[k], c);
                    if (!knots) j = std::min<int64_t>(std::max<int64_t>(c - 1, 0), nx - 2);
                    while (knots && j + 1 < nx && p.ic[j + 1] <= sites[k]) ++j;
                    const T *coef = &p.coeff[(i * pieces + j) * sp.order];
                    const LD off = t - p.xfull[j];
                    const T *out = rhint == DfResultSitesFuncsDerivs ? &r[(k * ny + i) * 3] : &r[(i * nsite + k) * 3];
                    for (int d = 0; d < 3; ++d) {
                        auto [want, scale] = Piece(coef, sp.order, ders[d], off);
                        if (std::fabs(out[d] - want) <= tol * (scale + 1)) continue;
                        ++bad;
                        ADD_FAILURE() << lv.name << " order " << sp.order << " site " << k
                                      << " derivative " << ders[d] << ": " << out[d] << " want " << want;
                    }
                    // The spline passes through the data.
                    if (at_points && k < nx) {
                        LD v = p.Value(i, k);
                        EXPECT_NEAR(double(out[0]), double(v), double(tol * 100 * (std::fabs(v) + 1)));
                    }
                }
            }
            dfDeleteTask(&task);
        }
    }
}

TEST(DfInterpolate, EveryLevelDouble) { CheckEvaluation<double>(1e-12L); }
TEST(DfInterpolate, EveryLevelSingle) { CheckEvaluation<float>(1e-5L); }

TEST(DfInterpolate, UniformSitesAndValueOnly) {
    double x[5] = {0, 1, 2, 3, 4}, y[5] = {0, 1, 4, 9, 16}, c[8], r[9], s[2] = {0, 4};
    DfTask *t = nullptr;
    ASSERT_EQ(dfdNewTask1D(&t, 5, x, 0, 1, y, 0), 0);
    ASSERT_EQ(dfdEditPPSpline1D(t, 2, 0, 0, nullptr, 0, nullptr, c, 0), 0);
    ASSERT_EQ(dfdConstruct1D(t, 0, 0), 0);
    ASSERT_EQ(dfdInterpolate1D(t, 1, 1, 9, s, DfSitesUniform, 0, nullptr, nullptr, r, 0, nullptr), 0);
    const double want[9] = {0, 0.5, 1, 2.5, 4, 6.5, 9, 12.5, 16};
    for (int k = 0; k < 9; ++k) EXPECT_DOUBLE_EQ(r[k], want[k]) << k;
    dfDeleteTask(&t);
}

TEST(DfInterpolate, LookupAndStepTypes) {
    double x[4] = {0, 1, 2, 3}, y[8] = {10, 11, 12, 13, 20, 21, 22, 23};
    double s[6] = {-1, 0, 0.5, 1, 2.5, 3};
    struct Row { int type; double want[6]; };
    const double nan = NAN;
    const Row rows[] = {
        {6, {nan, 10, nan, 11, nan, 13}},
        {7, {10, 10, 10, 11, 12, 13}},
        {8, {10, 10, 11, 11, 13, 13}},
    };
    for (const Row &row : rows) {
        DfTask *t = nullptr;
        ASSERT_EQ(dfdNewTask1D(&t, 4, x, 0, 2, y, 16), 0);
        ASSERT_EQ(dfdEditPPSpline1D(t, 1, row.type, 0, nullptr, 0, nullptr, nullptr, 0), 0);
        double r[12];
        int32_t dorder[1] = {1};
        ASSERT_EQ(dfdInterpolate1D(t, 1, 1, 6, s, 0, 1, dorder, nullptr, r, 0, nullptr), 0);
        for (int k = 0; k < 6; ++k) {
            if (std::isnan(row.want[k])) {
                EXPECT_TRUE(std::isnan(r[k])) << row.type << " " << k;
            } else {
                EXPECT_EQ(r[k], row.want[k]) << row.type << " " << k;
                EXPECT_EQ(r[6 + k], row.want[k] + 10) << row.type << " " << k;
            }
        }
        dfDeleteTask(&t);
    }
}

}  // namespace
}  // namespace orb::df
