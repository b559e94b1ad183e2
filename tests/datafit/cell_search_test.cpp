// Cell search: every strategy (uniform formula, quasi-uniform guess,
// sorted walk, most-likely cell, binary search) at every level's kernel
// gives the cells of a brute-force count on random, sorted, uniform and
// hinted sites, including partition points and sites outside.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "datafit/level_guard.h"
#include "datafit/df_interp_request.h"
#include "orb_df.h"

namespace orb::df {
namespace {

using orb::test::kLevels;
using orb::test::kTwoThreads;
using orb::test::LevelKernels;

template <class T>
int64_t BruteCell(const std::vector<T> &x, T t) {
    // The count of partition points not above t (the standard library's
    // upper bound stands in for the linear count on long partitions).
    if (x.size() <= 64) {
        int64_t c = 0;
        for (T v : x) c += v <= t;
        return c;
    }
    return std::upper_bound(x.begin(), x.end(), t) - x.begin();
}

struct Scenario {
    const char *name;
    int xhint, sitehint;
    double hint_kind, likely;  // datahint[1], datahint[4]; kind < 0: no hint
    bool sorted;
};
const Scenario kScenarios[] = {
    {"binary", 0, 0, -1, 0, false},
    {"binary, hint kind 0", 1, 1, 0.0, 0, false},
    {"quasi-uniform", 2, 0, -1, 0, false},
    {"sorted walk", 0, 64, -1, 0, true},
    {"likely cell 0", 0, 0, 1.0, 0, false},
    {"likely cell middle", 0, 0, 1.0, 0.5, false},
    {"likely cell nx", 0, 0, 1.0, 1.0, false},
    {"sorted, uniform sites", 0, 4, -1, 0, true},
    {"uniform partition", 4, 0, -1, 0, false},
    {"uniform partition, uniform sites", 4, 4, -1, 0, true},
};

template <class T>
void Check(int (*kernel)(const InterpRequest<T> &), const char *level, int64_t nx, int64_t nsite,
           unsigned seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> w(0.01, 2.0), e(-9.0, 1.0);
    for (const Scenario &sc : kScenarios) {
        std::vector<T> full, given;
        if (sc.xhint == 4) {
            given = {T(-3.0), static_cast<T>(-3.0 + static_cast<double>(nx - 1) * 0.5)};
            double h = (double(given[1]) - double(given[0])) / double(nx - 1);
            for (int64_t j = 0; j < nx; ++j) full.push_back(static_cast<T>(double(given[0]) + double(j) * h));
        } else {
            // xhint 1: widths over ten orders of magnitude, so that a grid of
            // buckets meets crowded and empty buckets.
            for (double xv = -3.0; int64_t(full.size()) < nx; xv += sc.xhint == 1 ? std::pow(10.0, e(rng)) : w(rng))
                full.push_back(static_cast<T>(xv));
            given = full;
        }
        const double lo = double(full.front()) - 1.5, hi = double(full.back()) + 1.5;
        std::uniform_real_distribution<double> u(lo, hi);
        // Sites handed over, and every site they stand for.
        std::vector<T> sites, expanded;
        int64_t n = nsite;
        if (sc.sitehint == 4) {
            sites = {static_cast<T>(lo), static_cast<T>(hi)};
            const double d = n > 1 ? (double(sites[1]) - double(sites[0])) / double(n - 1) : 0.0;
            for (int64_t k = 0; k < n; ++k) expanded.push_back(static_cast<T>(double(sites[0]) + double(k) * d));
        } else {
            for (int64_t k = 0; k < nsite; ++k) sites.push_back(static_cast<T>(u(rng)));
            // Partition points (exact on a half-integer uniform grid), ends, outside.
            for (int64_t j = 0; j < nx && int64_t(sites.size()) < nsite + nx; ++j) sites.push_back(full[j]);
            sites.push_back(static_cast<T>(lo - 100));
            sites.push_back(static_cast<T>(hi + 100));
            if (sc.sorted) std::sort(sites.begin(), sites.end());
            n = int64_t(sites.size());
            expanded = sites;
        }
        DfTask task{};
        task.nx = nx;
        task.x = given.data();
        task.xhint = sc.xhint;
        double datahint[5] = {1, sc.hint_kind, 0, 1, sc.likely * double(nx)};
        std::vector<int32_t> cell(static_cast<size_t>(n), -7);
        InterpRequest<T> q{&task, 2, 1, n, sites.data(), sc.sitehint, 0, nullptr,
                           sc.hint_kind < 0 ? nullptr : datahint, nullptr, 0, cell.data(), {}, &kTwoThreads};
        ASSERT_EQ(kernel(q), 0) << sc.name;
        for (int64_t k = 0, bad = 0; k < n && bad < 5; ++k) {
            const int64_t want = BruteCell(full, expanded[k]);
            if (cell[k] == want) continue;
            ++bad;
            ADD_FAILURE() << level << " " << sc.name << " nx " << nx << " site " << k << " = "
                          << expanded[k] << ": cell " << cell[k] << ", want " << want;
        }
    }
}

TEST(DfCellSearch, EveryStrategyEveryLevelMatchesBruteForce) {
    unsigned seed = 11;
    for (const LevelKernels &lv : kLevels) {
        for (int64_t nx : {2, 3, 7, 100, 3000}) {
            for (int64_t nsite : {1, 50, 10000}) {
                Check<double>(lv.search_d, lv.name, nx, nsite, seed++);
                Check<float>(lv.search_s, lv.name, nx, nsite, seed++);
            }
        }
    }
}

TEST(DfCellSearch, UniformPartitionExample) {
    double x[2] = {0, 10}, y[11] = {};
    double s[5] = {-0.5, 0, 3.7, 10, 25};
    int32_t cell[5];
    DfTask *t = nullptr;
    ASSERT_EQ(dfdNewTask1D(&t, 11, x, DfUniform, 1, y, 0), 0);
    ASSERT_EQ(dfdInterpolate1D(t, DfCellSearch, 1, 5, s, 0, 0, nullptr, nullptr, nullptr, 0, cell), 0);
    EXPECT_EQ(std::vector<int32_t>(cell, cell + 5), (std::vector<int32_t>{0, 1, 4, 11, 11}));
    dfDeleteTask(&t);
}

}  // namespace
}  // namespace orb::df
