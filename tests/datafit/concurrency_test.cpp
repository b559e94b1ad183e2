// Several threads constructing and evaluating their own tasks at once give
// the results of a serial run (the kernels share only the cached driver
// and kernel pointers and the memory manager).
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "datafit/df_test_data.h"

namespace orb::test {
namespace {

std::vector<double> BuildAndEvaluate(unsigned seed) {
    Problem<double> p = MakeProblem<double>(300, 2, seed % 2 == 0, 16, {4, static_cast<int>(2 + seed % 4), 2}, seed);
    DfTask *task = nullptr;
    std::vector<double> r(2 * 2 * 500, 0.0);
    if (Build(p, &task) != 0) return {};
    std::vector<double> sites;
    for (int k = 0; k < 500; ++k) sites.push_back(static_cast<double>(p.xfull.front()) + k * 0.37);
    int32_t dorder[2] = {1, 1};
    if (dfdInterpolate1D(task, 1, 1, 500, sites.data(), 0, 2, dorder, nullptr, r.data(), 0, nullptr) != 0) r.clear();
    dfDeleteTask(&task);
    r.insert(r.end(), p.coeff.begin(), p.coeff.end());
    return r;
}

TEST(DfConcurrency, ThreadsMatchSerialRuns) {
    const unsigned kThreads = 4, kRounds = 20;
    std::vector<std::vector<double>> serial;
    for (unsigned s = 0; s < kThreads; ++s) serial.push_back(BuildAndEvaluate(100 + s));
    for (const auto &v : serial) ASSERT_FALSE(v.empty());
    std::vector<int> mismatches(kThreads, 0);
    std::vector<std::thread> pool;
    for (unsigned s = 0; s < kThreads; ++s)
        pool.emplace_back([&, s] {
            for (unsigned round = 0; round < kRounds; ++round)
                if (BuildAndEvaluate(100 + s) != serial[s]) ++mismatches[s];
        });
    for (auto &t : pool) t.join();
    for (unsigned s = 0; s < kThreads; ++s) EXPECT_EQ(mismatches[s], 0) << "thread " << s;
}

}  // namespace
}  // namespace orb::test
