// One committed descriptor computed from four threads at once (user thread
// count 4), complex batched and packed real: every result matches the oracle.
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

namespace {

// Packed real formats repack through per-call scratch: four threads on one
// descriptor, small (stack scratch) and large (heap scratch) lengths.
TEST(DftiConcurrency, PackedRealFourThreads) {
    for (int32_t n : {100, 1500}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, DftiValueReal, 1, n), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, DftiValuePack55), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamUserThreadCount, 4), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        std::vector<std::vector<double>> in(4), want(4);
        for (int t = 0; t < 4; ++t) {
            std::vector<LCx> x = RandomComplex(n, 70 + t);
            for (auto &v : x) v = LCx((long double)double(v.real()), 0);
            for (const auto &v : x) in[t].push_back(double(v.real()));
            std::vector<int64_t> shape{n};
            NaiveAxis(x, shape, 0, -1);
            // PACK: R0, R1, I1, ..., and R(n/2) last for even n.
            want[t].push_back(double(x[0].real()));
            for (int32_t k = 1; 2 * k < n; ++k) {
                want[t].push_back(double(x[k].real()));
                want[t].push_back(double(x[k].imag()));
            }
            if (n % 2 == 0) want[t].push_back(double(x[n / 2].real()));
        }
        std::vector<int> bad(4, 0);
        std::vector<std::thread> pool;
        for (int t = 0; t < 4; ++t)
            pool.emplace_back([&, t] {
                std::vector<double> out(n);
                for (int rep = 0; rep < 20; ++rep) {
                    if (DftiComputeForward(h, in[t].data(), out.data()) != 0) {
                        ++bad[t];
                        continue;
                    }
                    std::vector<LCx> got, ref;
                    for (int32_t i = 0; i < n; ++i) got.push_back(out[i]), ref.push_back(want[t][i]);
                    if (RelRms(got, ref) > Tolerance(true, n)) ++bad[t];
                }
            });
        for (auto &th : pool) th.join();
        for (int t = 0; t < 4; ++t) EXPECT_EQ(bad[t], 0) << "thread " << t << " n " << n;
        DftiFreeDescriptor(&h);
    }
}

}  // namespace
