// Planner choice and commit outcomes: which planner the descriptor ends up
// with, data-argument counts, plan release on a change of planner, the
// commit statuses of real formats, split chains and split thread counts,
// and the out-of-cache test.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "dft/dfti_descriptor.h"
#include "dft/dfti_plan.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft;

struct Handle {
    DftiHandle h = nullptr;
    ~Handle() {
        if (h) DftiFreeDescriptor(&h);
    }
};

struct Setting { int32_t parameter, value; };

struct PlannerRow {
    const char *name;
    int32_t precision, domain;
    std::vector<int32_t> lengths;
    std::vector<Setting> settings;
    double fscale;
    int32_t status;
    const DftiPlanner *planner;
    int32_t data_args;
};

TEST(DftiPlanners, ChoiceTable) {
    const int32_t D = DftiValueDouble, S = DftiValueSingle, C = DftiValueComplex, R = DftiValueReal;
    const PlannerRow rows[] = {
        {"cube 8", D, C, {8, 8, 8}, {}, 1.0, 0, &DftiPlannerSmallCube, 1},
        {"cube 10", D, C, {10, 10, 10}, {}, 1.0, 0, &DftiPlannerSmallCube, 1},
        {"cube 8 scaled", D, C, {8, 8, 8}, {}, 0.5, 0, &DftiPlannerGeneral, 1},
        {"cube 11", D, C, {11, 11, 11}, {}, 1.0, 0, &DftiPlannerGeneral, 1},
        {"cube 8 single", S, C, {8, 8, 8}, {}, 1.0, 0, &DftiPlannerSmallCube, 1},
        {"cube 8 batch", D, C, {8, 8, 8}, {{7, 2}}, 1.0, 0, &DftiPlannerGeneral, 1},
        {"cube 8 oop", D, C, {8, 8, 8}, {{11, 44}}, 1.0, 0, &DftiPlannerSmallCube, 2},
        {"cube 4x4x8", D, C, {4, 4, 8}, {}, 1.0, 0, &DftiPlannerGeneral, 1},
        {"split 2d in", D, C, {4, 6}, {{8, 42}}, 1.0, 0, &DftiPlannerSplitMultiDim, 2},
        {"split 2d oop", S, C, {4, 6}, {{8, 42}, {11, 44}}, 1.0, 0, &DftiPlannerSplitMultiDim, 4},
        {"split batch", D, C, {16}, {{8, 42}, {7, 3}, {14, 16}}, 1.0, 0, &DftiPlannerSplitBatch, 2},
        {"split 1d", D, C, {16}, {{8, 42}, {11, 44}}, 1.0, 0, &DftiPlannerSplit1D, 4},
        {"split 1d single", S, C, {16}, {{8, 42}}, 1.0, 0, &DftiPlannerGeneral, 2},
        // A unit dimension is dropped: the split 2-D case becomes 1-D.
        {"split 1x16", D, C, {1, 16}, {{8, 42}}, 1.0, 0, &DftiPlannerSplit1D, 2},
        {"interleaved 1d", D, C, {30}, {}, 1.0, 0, &DftiPlannerGeneral, 1},
        {"real ccs", D, R, {30}, {{11, 44}}, 1.0, 0, &DftiPlannerGeneral, 2},
        {"real pack", S, R, {31}, {{21, 55}}, 1.0, 0, &DftiPlannerGeneral, 1},
        {"real cce 2d", D, R, {6, 8}, {{10, 39}, {11, 44}}, 1.0, 0, &DftiPlannerGeneral, 2},
        {"real ccs 2d", D, R, {6, 8}, {{11, 44}}, 1.0, 6, nullptr, 0},
        {"real cce/ccs", D, R, {8}, {{10, 39}, {21, 54}}, 1.0, 3, nullptr, 0},
        {"real 40/cce", D, R, {8}, {{21, 57}}, 1.0, 3, nullptr, 0},
        {"zero transforms", D, C, {8}, {{7, 0}}, 1.0, 3, nullptr, 0},
    };
    for (const PlannerRow &r : rows) {
        Handle a;
        const int32_t rank = int32_t(r.lengths.size());
        ASSERT_EQ(r.precision == D ? DftiCreateDescriptor_d_md(&a.h, r.domain, rank, r.lengths.data())
                                   : DftiCreateDescriptor_s_md(&a.h, r.domain, rank, r.lengths.data()),
                  0);
        for (const Setting &s : r.settings) ASSERT_EQ(DftiSetValue(a.h, s.parameter, s.value), 0) << r.name;
        ASSERT_EQ(DftiSetValue(a.h, DftiParamForwardScale, r.fscale), 0);
        EXPECT_EQ(DftiCommitDescriptor(a.h), r.status) << r.name;
        if (r.status == 0) {
            EXPECT_EQ(a.h->current_planner, r.planner) << r.name;
            EXPECT_EQ(a.h->commit_status, DftiValueCommitted) << r.name;
            EXPECT_EQ(a.h->data_args, r.data_args) << r.name;
        } else {
            EXPECT_EQ(a.h->commit_status, DftiValueUncommitted) << r.name;
            EXPECT_EQ(a.h->compute_forward, nullptr) << r.name;
        }
    }
}

TEST(DftiPlanners, SwitchingLayoutReleasesTheOldPlan) {
    Handle a;
    ASSERT_EQ(DftiCreateDescriptor_d_1d(&a.h, DftiValueComplex, 16), 0);
    ASSERT_EQ(DftiSetValue(a.h, DftiParamLayout8, 42), 0);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->current_planner, &DftiPlannerSplit1D);
    const auto *split_plan = static_cast<const DftiPlanRecord *>(a.h->plan);
    EXPECT_EQ(split_plan->blocking.b, 0);  // 16 * 1 / 32
    EXPECT_EQ(split_plan->split.kind, kSplitKindEngine);
    // Recommitting with the same split planner keeps its plan record.
    ASSERT_EQ(DftiSetValue(a.h, DftiParamTransformCount, 1), 0);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->plan, split_plan);
    ASSERT_EQ(DftiSetValue(a.h, DftiParamLayout8, 39), 0);
    // The split planner still owns its plan until the next commit.
    EXPECT_EQ(a.h->current_planner, &DftiPlannerSplit1D);
    EXPECT_EQ(DftiPlannerGeneral.release(&DftiPlannerGeneral, a.h), 7);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->current_planner, &DftiPlannerGeneral);
    EXPECT_EQ(a.h->data_args, 1);
}

// Split layouts above rank 1 or with batches run chains of rank-1
// sub-descriptors: one per dimension (the first one alone moves data from
// input to output and carries the scales), or one under the outer batch row.
// Split batches of straight-line lengths run the kernel over the outer row,
// those of other lengths one engine plan.
TEST(DftiPlanners, SplitChains) {
    const int32_t D = DftiValueDouble, S = DftiValueSingle;
    struct Row {
        int32_t precision;
        std::vector<int32_t> lengths;
        int32_t count, placement;
        const DftiPlanner *planner;
        std::vector<const DftiPlanner *> sub_planners;
    };
    const Row rows[] = {
        // Passes whose batch rows merge into at most two runs are one
        // engine plan each (the middle pass of a 3-D batch has three), unless
        // straight-line kernels take the length.
        {D, {12, 16}, 1, 44, &DftiPlannerSplitMultiDim, {&DftiPlannerGeneral, &DftiPlannerGeneral}},
        {D, {4, 6}, 1, 43, &DftiPlannerSplitMultiDim, {&DftiPlannerSplitBatch, &DftiPlannerSplitBatch}},
        {S, {3, 4, 5}, 2, 44, &DftiPlannerSplitMultiDim,
         {&DftiPlannerGeneral, &DftiPlannerSplitBatch, &DftiPlannerGeneral}},
        // Batches of lengths without straight-line kernels: one engine plan,
        // no chain.
        {D, {16}, 3, 44, &DftiPlannerSplitBatch, {}},
        {D, {8}, 5, 43, &DftiPlannerSplitBatch, {&DftiPlannerSplit1D}},
        {S, {16}, 3, 43, &DftiPlannerSplitBatch, {}},
    };
    for (const Row &r : rows) {
        Handle a;
        const int32_t rank = int32_t(r.lengths.size());
        ASSERT_EQ(r.precision == D ? DftiCreateDescriptor_d_md(&a.h, DftiValueComplex, rank, r.lengths.data())
                                   : DftiCreateDescriptor_s_md(&a.h, DftiValueComplex, rank, r.lengths.data()),
                  0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamLayout8, 42), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamPlacement, r.placement), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamTransformCount, r.count), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamInputDistance, 200), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamOutputDistance, 200), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamBackwardScale, 0.5), 0);
        ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
        ASSERT_EQ(a.h->current_planner, r.planner) << rank;
        const auto *plan = static_cast<const DftiPlanRecord *>(a.h->plan);
        ASSERT_EQ(plan->sub_count, int32_t(r.sub_planners.size())) << rank;
        for (int32_t k = 0; k < plan->sub_count; ++k) {
            const DftiDescriptor *sub = plan->subs[k];
            EXPECT_EQ(sub->current_planner, r.sub_planners[k]) << rank << " " << k;
            EXPECT_EQ(sub->rank, 1);
            EXPECT_EQ(sub->layout8, DftiValueLayout42);
            const bool first = k == 0;
            EXPECT_EQ(sub->placement, first ? r.placement : DftiValuePlacement43) << rank << " " << k;
            EXPECT_EQ(sub->bscale, first ? 0.5 : 1.0) << rank << " " << k;
        }
        for (int32_t k = plan->sub_count; k < DftiMaxRank; ++k) EXPECT_EQ(plan->subs[k], nullptr);
        if (r.planner == &DftiPlannerSplitBatch) {
            EXPECT_EQ(plan->outer.n, r.count);
            EXPECT_EQ(plan->outer.is, 200);
        }
        // A recommit with the same planner keeps the record and its chain.
        DftiDescriptor *first_sub = plan->subs[0];
        ASSERT_EQ(DftiSetValue(a.h, DftiParamTransformCount, r.count), 0);
        ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
        EXPECT_EQ(a.h->plan, plan);
        EXPECT_EQ(plan->subs[0], first_sub);
    }
}

TEST(DftiPlanners, UserThreadsGiveSingleThreadedPlans) {
    Handle a;
    ASSERT_EQ(DftiCreateDescriptor_d_1d(&a.h, DftiValueComplex, 1000), 0);
    ASSERT_EQ(DftiSetValue(a.h, DftiParamThreadLimit, 4), 0);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->threads, 4);
    ASSERT_EQ(DftiSetValue(a.h, DftiParamUserThreadCount, 4), 0);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->threads, 1);
}

// Short split lengths take the straight-line kind, longer ones the engine;
// split loops open a parallel region only for problems worth one.
TEST(DftiPlanners, SplitKindAndThreads) {
    struct Row { int32_t n, count, threads; };  // threads -1: not checked
    const Row rows[] = {{1, 1, -1}, {7, 1, -1}, {10, 1, -1}, {11, 1, -1}, {64, 1, -1},
                        {8, 1000, 1}, {8, 8192, 2}, {64, 1000, 2}, {100, 1, 1}};
    for (const Row &r : rows) {
        Handle a;
        ASSERT_EQ(DftiCreateDescriptor_d_1d(&a.h, DftiValueComplex, r.n), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamLayout8, 42), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamThreadLimit, r.threads < 0 ? 0 : 2), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamTransformCount, r.count), 0);
        ASSERT_EQ(DftiSetValue(a.h, DftiParamInputDistance, r.n), 0);
        ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
        const auto *plan = static_cast<const DftiPlanRecord *>(a.h->plan);
        if (r.threads >= 0) {
            EXPECT_EQ(plan->threads, r.threads) << r.n << " x " << r.count;
        }
        if (r.count > 1) continue;
        ASSERT_EQ(a.h->current_planner, &DftiPlannerSplit1D);
        EXPECT_EQ(plan->split.kind, r.n <= 10 ? kSplitKindStraight : kSplitKindEngine) << r.n;
        EXPECT_EQ(plan->forward == nullptr, r.n <= 10) << r.n;  // no engine plan behind the kernels
    }
}

// The out-of-cache test against hand-worked answers of its rules.
// Batch rows that continue each other merge into one run, unless the
// merged count would pass 2^31 - 1 (it would wrap in the 32-bit row).
TEST(DftiPlanners, BatchRowsMergeOnlyWhenTheCountFits) {
    const struct {
        const char *name;
        std::vector<DftiRow> rows;
        std::vector<DftiRow> merged;
    } cases[] = {
        {"contiguous runs", {{4, 64, 64}, {3, 256, 256}}, {{12, 64, 64}}},
        {"gap between runs", {{4, 64, 64}, {3, 300, 256}}, {{4, 64, 64}, {3, 300, 256}}},
        {"unit rows dropped", {{1, 5, 5}, {7, 8, 8}, {1, 9, 9}}, {{7, 8, 8}}},
        {"count at the limit", {{32768, 1, 1}, {65535, 32768, 32768}}, {{2147450880, 1, 1}}},
        {"count past the limit", {{46341, 1, 1}, {46341, 46341, 46341}}, {{46341, 1, 1}, {46341, 46341, 46341}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<DftiRow> rows = c.rows;
        DftiRow dim{8, 1, 1};
        DftiTable dims{1, 1, &dim}, batch{int32_t(rows.size()), int32_t(rows.size()), rows.data()};
        DftiNormaliseTables(&dims, &batch);
        ASSERT_EQ(batch.count, int32_t(c.merged.size()));
        for (size_t i = 0; i < c.merged.size(); ++i) {
            EXPECT_EQ(rows[i].n, c.merged[i].n) << i;
            EXPECT_EQ(rows[i].is, c.merged[i].is) << i;
            EXPECT_EQ(rows[i].os, c.merged[i].os) << i;
        }
    }
}

TEST(DftiPlanners, LargeProblemTest) {
    // Cache sizes 0: the test's floors apply (C1 = 32 KiB, C2 = 1 MiB).
    struct Row { std::vector<int32_t> lengths; bool large; };
    const Row rows[] = {
        {{256}, false},     // 256 * 4096 = 1 MiB: not above C2; B = 4096 < C1
        {{257}, true},      // 257 * 4112 > C2
        {{8, 8}, false},    // B = 1024
        {{64, 4096}, true}, // 16*4096*64 = 4 MiB > C2
        {{3, 1024}, false}, // B = 49152 in [C1, 2C1): 3*2^14 strips to 1
        {{13, 256}, true},  // B = 53248 in [C1, 2C1): 13 remains, and again below 3C1
        {{5, 1024}, false}, // B = 81920 in [2C1, 3C1): strips to 1
        {{7, 1024}, true},  // B = 114688 in [3C1, 4C1): 7 remains
        {{9, 1024}, true},  // B = 147456 >= 4C1
    };
    for (const Row &r : rows) {
        Handle a;
        ASSERT_EQ(DftiCreateDescriptor_d_md(&a.h, DftiValueComplex, int32_t(r.lengths.size()),
                                            r.lengths.data()),
                  0);
        ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
        EXPECT_EQ(DftiIsLargeProblem(a.h, 0, 0), r.large) << r.lengths.back();
    }
}

// The cache sizes the planners read against the operating system's own
// records of this processor's caches (where it keeps them).
// Lengths near 2^31 and large cache arguments: the working-set products
// pass 2^63 unless the test divides instead (a wrapped product read as
// small and called the transform cache-resident).
TEST(DftiPlanners, LargeProblemTestWithoutWrappedProducts) {
    const struct {
        std::vector<int32_t> dims;  // row 0 first
        int64_t c2;
        bool large;
    } rows[] = {
        {{INT32_MAX}, 0, true},
        {{1 << 30}, 0, true},
        {{1 << 20, 1 << 20, 1 << 20}, int64_t(1) << 62, true},
        {{1 << 20, 1 << 20}, int64_t(1) << 62, true},  // B = 2^44 >= 4 C1
        {{16, 16}, int64_t(1) << 62, false},
    };
    for (const auto &r : rows) {
        std::vector<DftiRow> dims;
        for (int32_t n : r.dims) dims.push_back({n, 1, 1});
        DftiDescriptor d{};
        d.work_rank = int32_t(dims.size());
        d.work_n = dims[0].n;
        d.work_dims = DftiTable{int32_t(dims.size()), int32_t(dims.size()), dims.data()};
        EXPECT_EQ(DftiIsLargeProblem(&d, 0, r.c2), r.large) << r.dims.size() << " dims from " << r.dims[0];
    }
}

TEST(DftiPlanners, CacheSizesMatchTheSystemRecords) {
    int64_t sys_l1d = 0, sys_l2 = 0, sys_largest = 0, sys_l1d_ways = 0;
    for (int i = 0; i < 16; ++i) {
        const std::string dir = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + "/";
        std::ifstream level(dir + "level"), type(dir + "type"), size(dir + "size");
        int lv = 0;
        std::string ty, sz;
        if (!(level >> lv) || !(type >> ty) || !(size >> sz)) break;
        int64_t bytes = std::stoll(sz);
        if (sz.back() == 'K') bytes <<= 10;
        if (sz.back() == 'M') bytes <<= 20;
        if (ty == "Instruction") continue;
        if (lv == 1 && ty == "Data") {
            sys_l1d = bytes;
            std::ifstream ways(dir + "ways_of_associativity");
            if (!(ways >> sys_l1d_ways)) sys_l1d_ways = 0;
        }
        if (lv == 2) sys_l2 = bytes;
        sys_largest = std::max(sys_largest, bytes);
    }
    if (sys_l1d == 0 || sys_l2 == 0) GTEST_SKIP() << "no cache records from the system";
    EXPECT_EQ(DftiCacheSize(1), sys_l1d);
    EXPECT_EQ(DftiCacheSize(2), sys_l2);
    EXPECT_EQ(DftiCacheSize(0), sys_largest);
    if (sys_l1d_ways > 0) {
        EXPECT_EQ(DftiFirstLevelWays(), sys_l1d_ways);
    }
}

}  // namespace
