// One committed descriptor computed from four threads at once (user thread
// count 4): every result matches the oracle.
#include <gtest/gtest.h>

#include <thread>

#include "engine_oracle.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

TEST(DftiConcurrency, FourThreadsOneDescriptor) {
    for (int32_t n : {1000, 1024, 997}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 1, n), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamUserThreadCount, 4), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, 3), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, n), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, n), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        std::vector<std::vector<LCx>> want(4);
        std::vector<std::vector<double>> in(4), out(4);
        for (int t = 0; t < 4; ++t) {
            std::vector<LCx> x = RandomComplex(3 * int64_t(n), 40 + t);
            in[t].resize(6 * size_t(n));
            for (int64_t i = 0; i < 3 * n; ++i) {
                in[t][2 * i] = double(x[i].real());
                in[t][2 * i + 1] = double(x[i].imag());
                x[i] = LCx(in[t][2 * i], in[t][2 * i + 1]);
            }
            for (int b = 0; b < 3; ++b) {
                std::vector<LCx> row(x.begin() + b * n, x.begin() + (b + 1) * n);
                std::vector<int64_t> shape{n};
                NaiveAxis(row, shape, 0, -1);
                want[t].insert(want[t].end(), row.begin(), row.end());
            }
        }
        std::vector<int> bad(4, 0);
        std::vector<std::thread> pool;
        for (int t = 0; t < 4; ++t)
            pool.emplace_back([&, t] {
                for (int rep = 0; rep < 20; ++rep) {
                    out[t].assign(6 * size_t(n), 0.0);
                    if (DftiComputeForward(h, in[t].data(), out[t].data()) != 0) {
                        ++bad[t];
                        continue;
                    }
                    std::vector<LCx> got(3 * size_t(n));
                    for (int64_t i = 0; i < 3 * n; ++i) got[i] = LCx(out[t][2 * i], out[t][2 * i + 1]);
                    if (RelRms(got, want[t]) > Tolerance(true, n)) ++bad[t];
                }
            });
        for (auto &th : pool) th.join();
        for (int t = 0; t < 4; ++t) EXPECT_EQ(bad[t], 0) << "thread " << t << " n " << n;
        DftiFreeDescriptor(&h);
    }
}

}  // namespace
