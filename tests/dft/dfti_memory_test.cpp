// Memory failures and leaks: each allocation of create and commit fails in
// turn; create returns 1 with nothing left allocated, commit returns 1 and
// leaves the descriptor uncommitted and freeable; a compute whose scratch
// cannot be had returns 1; a full create-commit-compute-free cycle of each
// kind of plan leaks nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "dfti_alloc_shim.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

struct FailGuard {
    ~FailGuard() { g_fail_countdown = -1; }
};

bool ShimInUse() {
    DftiHandle h = nullptr;
    g_shim_active = false;
    DftiCreateDescriptor_d_1d(&h, DftiValueComplex, 4);
    DftiFreeDescriptor(&h);
    return g_shim_active;
}

TEST(DftiMemory, CreateFailsCleanly) {
    if (!ShimInUse()) GTEST_SKIP() << "the library's allocator is linked";
    FailGuard guard;
    const int32_t lengths[3] = {4, 5, 6};
    int failures = 0;
    for (long k = 0; k < 20; ++k) {
        long live = LiveBlocks();
        DftiHandle h = nullptr;
        g_fail_countdown = k;
        int32_t s = DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 3, lengths);
        g_fail_countdown = -1;
        if (s == 0) {
            DftiFreeDescriptor(&h);
            EXPECT_EQ(LiveBlocks(), live);
            break;
        }
        ++failures;
        EXPECT_EQ(s, 1) << k;
        EXPECT_EQ(h, nullptr);
        EXPECT_EQ(LiveBlocks(), live) << k;
    }
    EXPECT_GE(failures, 5);  // the record and its four tables
}

// Each allocation of a commit fails in turn on a fresh descriptor. A failed
// planner passes the descriptor on, so the commit either succeeds through a
// later planner or returns 1 uncommitted; either way free releases all.
TEST(DftiMemory, CommitFailuresLeaveNothing) {
    if (!ShimInUse()) GTEST_SKIP() << "the library's allocator is linked";
    FailGuard guard;
    struct Row { int32_t domain; std::vector<int32_t> lengths; int32_t layout8, format, count, placement; };
    const Row rows[] = {{DftiValueComplex, {1000}, 39, 54, 1, 43},
                        {DftiValueReal, {1500}, 39, 55, 1, 43},
                        {DftiValueComplex, {6, 10}, 42, 54, 1, 44},
                        {DftiValueComplex, {3, 4, 5}, 42, 54, 2, 43},
                        {DftiValueComplex, {12}, 42, 54, 5, 44}};
    for (const Row &r : rows) {
        int failures = 0;
        for (long k = 0; k < 60; ++k) {
            long live = LiveBlocks();
            DftiHandle h = nullptr;
            ASSERT_EQ(DftiCreateDescriptor_d_md(&h, r.domain, int32_t(r.lengths.size()), r.lengths.data()), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamLayout8, r.layout8), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, r.format), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, r.count), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, 64), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, 64), 0);
            ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, r.placement), 0);
            g_fail_countdown = k;
            int32_t s = DftiCommitDescriptor(h);
            const bool exhausted = g_fail_countdown.load() >= 0;  // fewer than k+1 requests
            g_fail_countdown = -1;
            std::vector<double> x(4096, 0.5), y(4096);
            if (s != 0) {
                ++failures;
                EXPECT_EQ(s, 1) << k;
                EXPECT_EQ(DftiComputeForward(h, x.data(), x.data() + 2048, y.data(), y.data() + 2048), 2) << k;
            } else {
                EXPECT_EQ(DftiComputeForward(h, x.data(), x.data() + 2048, y.data(), y.data() + 2048), 0) << k;
            }
            if (r.domain == DftiValueReal && s == 0) {
                g_fail_countdown = 0;  // the repacking scratch (too large for the stack)
                EXPECT_EQ(DftiComputeForward(h, x.data()), 1);
                g_fail_countdown = -1;
            }
            EXPECT_EQ(DftiFreeDescriptor(&h), 0);
            EXPECT_EQ(LiveBlocks(), live) << r.lengths.size() << " " << k;
            if (exhausted) break;
        }
        if (r.layout8 == 39) {
            EXPECT_GE(failures, 1) << r.lengths[0];
        }
    }
}

// A large transform on two threads takes the team's buffers at compute
// time. Each allocation of the compute fails in turn: the call either
// returns 1 or completes (serially) with the same result as an unhindered
// call; it never hangs or leaves part of the output unwritten. 2^18 runs
// the blocked four-step, 3^12 the general one.
TEST(DftiMemory, ThreadedComputeSurvivesEachFailure) {
    if (!ShimInUse()) GTEST_SKIP() << "the library's allocator is linked";
    FailGuard guard;
    for (int32_t n : {1 << 18, 531441}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor_d_1d(&h, DftiValueComplex, n), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamThreadLimit, 2), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        std::vector<double> x(2 * size_t(n)), want(x.size()), got(x.size());
        for (size_t j = 0; j < x.size(); ++j) x[j] = double((j * 7919) % 1013) / 1013.0 - 0.5;
        ASSERT_EQ(DftiComputeForward(h, x.data(), want.data()), 0);
        int completed_under_failure = 0;
        for (long k = 0; k < 6; ++k) {
            std::fill(got.begin(), got.end(), -7.0);
            g_fail_countdown = k;
            const int32_t s = DftiComputeForward(h, x.data(), got.data());
            const bool exhausted = g_fail_countdown.load() >= 0;
            g_fail_countdown = -1;
            if (exhausted) break;
            if (s == 0) {
                ++completed_under_failure;
                EXPECT_EQ(got, want) << "n " << n << " failing request " << k;
            } else {
                EXPECT_EQ(s, 1) << "n " << n << " failing request " << k;
            }
        }
        EXPECT_GE(completed_under_failure, 1) << n;  // the team's buffers fell back to one thread
        EXPECT_EQ(DftiFreeDescriptor(&h), 0);
    }
}

TEST(DftiMemory, CyclesLeakNothing) {
    if (!ShimInUse()) GTEST_SKIP() << "the library's allocator is linked";
    struct Row { int32_t domain; std::vector<int32_t> lengths; int32_t layout8; int32_t param10; };
    const Row rows[] = {{DftiValueComplex, {8, 8, 8}, 39, 40}, {DftiValueComplex, {16}, 42, 40},
                        {DftiValueComplex, {6, 10}, 42, 40}, {DftiValueComplex, {3, 4, 5}, 42, 40},
                        {DftiValueReal, {30}, 39, 40},
                        {DftiValueReal, {6, 8}, 39, 39}};
    for (const Row &r : rows) {
        long live = LiveBlocks();
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor_d_md(&h, r.domain, int32_t(r.lengths.size()), r.lengths.data()), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamLayout8, r.layout8), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, r.param10), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);  // recommit reuses the record
        EXPECT_GE(LiveBlocks(), live + 5);       // the record, four tables and the plan
        std::vector<double> a(2 * 8 * 8 * 8 + 2, 0.25), b(a.size(), 0.5);
        ASSERT_EQ(DftiComputeForward(h, a.data(), b.data()), 0);
        ASSERT_EQ(DftiFreeDescriptor(&h), 0);
        EXPECT_EQ(LiveBlocks(), live) << r.lengths.size();
    }
}

}  // namespace
