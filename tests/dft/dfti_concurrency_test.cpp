// One committed descriptor computed from four threads at once (user thread
// count 4): complex batched, split storage through sub-descriptor chains,
// and packed real (per-call repacking scratch); every result matches the
// oracle.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "engine_oracle.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

// Runs `once(t)` 20 times on each of four threads; it answers whether the
// call succeeded with the expected result.
void FromFourThreads(const std::function<bool(int)> &once, const std::string &name) {
    std::vector<int> bad(4, 0);
    std::vector<std::thread> pool;
    for (int t = 0; t < 4; ++t)
        pool.emplace_back([&, t] {
            for (int rep = 0; rep < 20; ++rep) bad[t] += once(t) ? 0 : 1;
        });
    for (auto &th : pool) th.join();
    for (int t = 0; t < 4; ++t) EXPECT_EQ(bad[t], 0) << "thread " << t << " " << name;
}

// Complex, interleaved or split: each thread transforms its own batch.
TEST(DftiConcurrency, ComplexFourThreads) {
    struct Row { std::vector<int32_t> shape; int32_t count; bool split; };
    const Row rows[] = {{{1000}, 3, false}, {{1024}, 3, false}, {{997}, 3, false},
                        {{12, 20}, 2, true}, {{6}, 5, true}, {{64}, 1, true}};
    for (const Row &r : rows) {
        int64_t n = 1;
        for (int32_t x : r.shape) n *= x;
        const int64_t total = n * r.count;
        const std::string name = std::to_string(n) + (r.split ? " split" : "");
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor_d_md(&h, DftiValueComplex, int32_t(r.shape.size()), r.shape.data()), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamLayout8, r.split ? 42 : 39), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamUserThreadCount, 4), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, r.count), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, int32_t(n)), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, int32_t(n)), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0) << name;
        std::vector<std::vector<LCx>> want(4);
        std::vector<std::vector<double>> in(4);
        std::vector<int64_t> shape{r.count};  // the batch as the outermost axis
        shape.insert(shape.end(), r.shape.begin(), r.shape.end());
        for (int t = 0; t < 4; ++t) {
            std::vector<LCx> x = RandomComplex(total, 40 + t);
            in[t].resize(2 * size_t(total));
            for (int64_t i = 0; i < total; ++i) {
                // interleaved: re, im pairs; split: all re, then all im
                const int64_t re = r.split ? i : 2 * i, im = r.split ? total + i : 2 * i + 1;
                in[t][re] = double(x[i].real());
                in[t][im] = double(x[i].imag());
                x[i] = LCx(in[t][re], in[t][im]);
            }
            want[t] = x;
            for (size_t axis = 1; axis < shape.size(); ++axis) NaiveAxis(want[t], shape, int(axis), -1);
        }
        FromFourThreads(
            [&](int t) {
                std::vector<double> out(2 * size_t(total), 0.0);
                double *i = in[t].data(), *o = out.data();
                const int32_t s = r.split ? DftiComputeForward(h, i, i + total, o, o + total)
                                          : DftiComputeForward(h, i, o);
                if (s != 0) return false;
                std::vector<LCx> got(total);
                for (int64_t k = 0; k < total; ++k)
                    got[k] = r.split ? LCx(o[k], o[total + k]) : LCx(o[2 * k], o[2 * k + 1]);
                return RelRms(got, want[t]) <= Tolerance(true, n);
            },
            name);
        DftiFreeDescriptor(&h);
    }
}

// Packed real formats repack through per-call scratch: small (stack
// scratch) and large (heap scratch) lengths.
TEST(DftiConcurrency, PackedRealFourThreads) {
    for (int32_t n : {100, 1500}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, DftiValueReal, 1, n), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, DftiValuePack55), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamUserThreadCount, 4), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        std::vector<std::vector<double>> in(4);
        std::vector<std::vector<LCx>> want(4);
        for (int t = 0; t < 4; ++t) {
            std::vector<LCx> x = RandomReal(n, 70 + t);
            for (auto &v : x) in[t].push_back(double(v.real()));
            for (auto &v : x) v = LCx(double(v.real()), 0);  // the oracle sees the rounded input
            for (long double v : Listing(DftiValuePack55, NaiveAll(x, {n}, -1), n)) want[t].push_back(v);
        }
        FromFourThreads(
            [&](int t) {
                std::vector<double> out(n);
                if (DftiComputeForward(h, in[t].data(), out.data()) != 0) return false;
                std::vector<LCx> got(out.begin(), out.end());
                return RelRms(got, want[t]) <= Tolerance(true, n);
            },
            "real " + std::to_string(n));
        DftiFreeDescriptor(&h);
    }
}

}  // namespace
