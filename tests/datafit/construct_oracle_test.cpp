// Every construction against the long-double condition-set oracle: random
// data, many partition sizes, both layouts, both partition kinds, both
// precisions; dense solve for small partitions, residuals for all.
#include <gtest/gtest.h>

#include <string>

#include "datafit/level_guard.h"
#include "datafit/df_oracle.h"
#include "datafit/df_test_data.h"

namespace orb::test {
namespace {

const Spline kSplines[] = {
    {2, 0, 0},
    {3, 0, 1}, {3, 0, 2}, {3, 0, 12}, {3, 0, 24}, {3, 0, 36}, {3, 0, 48},
    {3, 1, 1}, {3, 1, 2}, {3, 1, 12}, {3, 1, 24}, {3, 1, 36}, {3, 1, 48}, {3, 1, 64},
    {4, 2, 1}, {4, 2, 2}, {4, 2, 12}, {4, 2, 24}, {4, 2, 36}, {4, 2, 48}, {4, 2, 64},
    {4, 0, 1}, {4, 0, 2}, {4, 0, 12}, {4, 0, 24}, {4, 0, 36}, {4, 0, 48}, {4, 0, 64},
    {4, 3, 1}, {4, 3, 2}, {4, 3, 12}, {4, 3, 24}, {4, 3, 36}, {4, 3, 48}, {4, 3, 64},
    {4, 4, 1}, {4, 4, 2}, {4, 4, 12}, {4, 4, 24}, {4, 4, 36}, {4, 4, 48}, {4, 4, 64},
    {4, 5, 1}, {4, 5, 2}, {4, 5, 64},
};
const int64_t kSizes[] = {2, 3, 4, 5, 17, 1000};

template <class T>
void CheckAll(LD residual_tol, LD coeff_tol) {
    unsigned seed = 1;
    for (const Spline &s : kSplines) {
        for (int64_t nx : kSizes) {
            for (bool uniform : {false, true}) {
                for (int yhint : {16, 32}) {
                    // One function takes the scratch-free kernels, several
                    // the shared factorisation: each layout and partition
                    // kind meets both.
                    const int64_t ny = uniform == (yhint == 16) ? 1 : 3;
                    Problem<T> p = MakeProblem<T>(nx, ny, uniform, yhint, s, seed++);
                    const std::string what = ::testing::PrintToString(
                        std::vector<int64_t>{s.order, s.type, s.bc, nx, uniform, yhint});  // order type bc nx uniform yhint
                    DfTask *task = nullptr;
                    int st = Build(p, &task);
                    dfDeleteTask(&task);
                    if (s.order == 4 && nx < 3) {
                        EXPECT_EQ(st, DfStatusBadPartitionSize) << what;
                        continue;
                    }
                    if ((s.order == 4 && s.type == 2 && s.bc == 1 && nx == 3) ||
                        (s.order == 3 && s.type == 1 && s.bc == 1 && nx == 2)) {
                        EXPECT_EQ(st, DfStatusSingularSystem) << what;
                        continue;
                    }
                    ASSERT_EQ(st, DfStatusOk) << what;
                    for (int64_t i = 0; i < ny; ++i) {
                        SplineProblem op = p.Oracle(i);
                        const int64_t per = s.order * op.Pieces();
                        Conditions cond(op);
                        std::vector<LD> got(p.coeff.begin() + i * per, p.coeff.begin() + (i + 1) * per);
                        EXPECT_LE(cond.MaxResidual(got), residual_tol) << what << " function " << i;
                        if (nx > 17) continue;
                        std::vector<LD> want = cond.Solve();
                        ASSERT_EQ(static_cast<int64_t>(want.size()), per) << what;
                        for (int64_t j = 0; j < op.Pieces(); ++j) {
                            LD h = op.Width(j), scale = 0, hp = 1;
                            for (int q = 0; q < s.order; ++q, hp *= h)
                                scale = std::max(scale, std::fabs(want[s.order * j + q]) * hp);
                            hp = 1;
                            for (int q = 0; q < s.order; ++q, hp *= h)
                                EXPECT_LE(std::fabs(got[s.order * j + q] - want[s.order * j + q]) * hp,
                                          coeff_tol * (scale + 1))
                                    << what << " function " << i << " cell " << j << " coeff " << q;
                        }
                    }
                }
            }
        }
    }
}

TEST(DfConstructOracle, Double) { CheckAll<double>(1e-11L, 1e-11L); }
TEST(DfConstructOracle, Single) { CheckAll<float>(2e-5L, 2e-5L); }

}  // namespace
}  // namespace orb::test
