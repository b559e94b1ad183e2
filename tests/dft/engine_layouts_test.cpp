// Engine configurations against the naive oracle: ranks 1-7, batches,
// padded and negative strides, in and out of place, split storage on each
// side, real transforms of every rank, scales, threads and kernel levels.
#include <gtest/gtest.h>

#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

using K = EngineKind;

Case Make(std::string name, K kind, bool dbl, int sign, std::vector<int64_t> dims, std::vector<int64_t> batch = {}) {
    Case c;
    c.name = std::move(name), c.kind = kind, c.is_double = dbl, c.sign = sign;
    c.dims = std::move(dims), c.batch = std::move(batch);
    return c;
}

std::vector<Case> LayoutCases() {
    std::vector<Case> v;
    auto add = [&](Case c, auto &&tweak) {
        tweak(c);
        v.push_back(c);
    };
    auto none = [](Case &) {};
    for (bool dbl : {true, false}) {
        const std::string p = dbl ? "d_" : "s_";
        // Complex: ranks, batches, strides.
        add(Make(p + "c2c_2d_16x12", K::C2C, dbl, -1, {16, 12}), none);
        add(Make(p + "c2c_2d_back_7x30", K::C2C, dbl, 1, {7, 30}), [](Case &c) { c.scale = 0.25; });
        add(Make(p + "c2c_3d_8cube", K::C2C, dbl, -1, {8, 8, 8}), none);
        add(Make(p + "c2c_3d_5x6x7_padded", K::C2C, dbl, 1, {5, 6, 7}), [](Case &c) { c.pad = 3; });
        add(Make(p + "c2c_rank7", K::C2C, dbl, -1, {2, 3, 2, 4, 1, 3, 5}), none);
        add(Make(p + "c2c_rank4_strided", K::C2C, dbl, 1, {3, 4, 5, 2}), [](Case &c) { c.in_unit = 2, c.out_unit = 3; });
        add(Make(p + "c2c_batch_1d", K::C2C, dbl, -1, {60}, {7}), none);
        add(Make(p + "c2c_codelet_batch_inplace", K::C2C, dbl, 1, {16}, {5}),
            [](Case &c) { c.in_place = true, c.scale = 0.5; });
        add(Make(p + "c2c_batch2_1d", K::C2C, dbl, -1, {12}, {3, 5}), [](Case &c) { c.pad = 1; });
        add(Make(p + "c2c_batch_2d", K::C2C, dbl, 1, {6, 10}, {4}), none);
        add(Make(p + "c2c_negative_unit", K::C2C, dbl, -1, {100}), [](Case &c) { c.in_unit = -1, c.out_unit = -2; });
        add(Make(p + "c2c_negative_2d", K::C2C, dbl, -1, {9, 16}, {2}),
            [](Case &c) { c.in_unit = -1, c.negate_outer = true; });
        add(Make(p + "c2c_inplace_1d", K::C2C, dbl, -1, {1000}), [](Case &c) { c.in_place = true; });
        add(Make(p + "c2c_inplace_strided", K::C2C, dbl, 1, {243}, {3}), [](Case &c) { c.in_place = true, c.in_unit = 3; });
        add(Make(p + "c2c_inplace_3d", K::C2C, dbl, -1, {4, 9, 10}), [](Case &c) { c.in_place = true, c.pad = 2; });
        add(Make(p + "c2c_bluestein_batch", K::C2C, dbl, -1, {127}, {3}), [](Case &c) { c.in_unit = 2; });
        add(Make(p + "c2c_bluestein_2d", K::C2C, dbl, 1, {67, 71}), none);
        // Rader (1009 - 1 = 2^4 3^2 7) along rows, columns and a batch.
        add(Make(p + "c2c_rader_batch_inplace", K::C2C, dbl, 1, {1009}, {3}),
            [](Case &c) { c.in_place = true, c.scale = 1.0 / 1009; });
        add(Make(p + "c2c_rader_2d", K::C2C, dbl, -1, {1009, 6}), [](Case &c) { c.pad = 1; });
        add(Make(p + "c2c_rader_2d_strided", K::C2C, dbl, 1, {4, 1009}), [](Case &c) { c.in_unit = -2; });
        add(Make(p + "split_rader_batch", K::C2C, dbl, -1, {1009}, {2}), [](Case &c) { c.split_in = c.split_out = true; });
        add(Make(p + "r2c_rader_2d", K::R2C, dbl, -1, {3, 1009}), none);
        add(Make(p + "c2r_rader_batch", K::C2R, dbl, 1, {1009}, {3}), [](Case &c) { c.in_place = true; });
        add(Make(p + "threads_rader_batch", K::C2C, dbl, -1, {1009}, {5}), [](Case &c) { c.nthreads = 2; });
        // Codelet passes shared over two threads: 21 rows and 24 columns
        // split unevenly, so a thread's range starts or ends inside a block.
        add(Make(p + "threads_codelet_2d_inplace", K::C2C, dbl, 1, {7, 24}, {3}),
            [](Case &c) { c.nthreads = 2, c.in_place = true, c.pad = 1; });
        // Columns 16 KiB (double) or 8 KiB (single) apart: the codelet runs
        // on a contiguous copy instead of in place.
        add(Make(p + "c2c_codelet_aliased_columns", K::C2C, dbl, -1, {64, 1024}), [](Case &c) { c.in_place = true; });
        add(Make(p + "c2c_len1_dims", K::C2C, dbl, -1, {1, 5, 1}, {1}), none);
        // Split storage on either side, in and out of place.
        add(Make(p + "split_in", K::C2C, dbl, -1, {64}, {2}), [](Case &c) { c.split_in = true; });
        add(Make(p + "split_out", K::C2C, dbl, 1, {48}), [](Case &c) { c.split_out = true; });
        add(Make(p + "split_both_2d", K::C2C, dbl, -1, {12, 20}), [](Case &c) { c.split_in = c.split_out = true; });
        add(Make(p + "split_inplace_2d", K::C2C, dbl, 1, {16, 9}, {2}),
            [](Case &c) { c.split_in = c.split_out = true, c.in_place = true; });
        add(Make(p + "split_strided_neg", K::C2C, dbl, -1, {30}, {3}),
            [](Case &c) { c.split_in = c.split_out = true, c.in_unit = -2, c.negate_outer = true; });
        // Real transforms.
        add(Make(p + "r2c_batch", K::R2C, dbl, -1, {64}, {5}), none);
        add(Make(p + "c2r_batch", K::C2R, dbl, 1, {63}, {5}), [](Case &c) { c.scale = 1.0 / 63; });
        add(Make(p + "r2c_strided", K::R2C, dbl, -1, {50}), [](Case &c) { c.in_unit = 3, c.out_unit = -2; });
        add(Make(p + "c2r_strided", K::C2R, dbl, 1, {50}), [](Case &c) { c.in_unit = -2, c.out_unit = 3; });
        add(Make(p + "r2c_split_out", K::R2C, dbl, -1, {40}, {2}), [](Case &c) { c.split_out = true; });
        add(Make(p + "c2r_split_in", K::C2R, dbl, 1, {41}, {2}), [](Case &c) { c.split_in = true; });
        add(Make(p + "r2c_2d", K::R2C, dbl, -1, {12, 16}), none);
        add(Make(p + "c2r_2d", K::C2R, dbl, 1, {12, 15}), none);
        add(Make(p + "r2c_3d_odd", K::R2C, dbl, -1, {5, 6, 9}), [](Case &c) { c.pad = 2; });
        add(Make(p + "c2r_3d", K::C2R, dbl, 1, {4, 6, 8}, {2}), [](Case &c) { c.negate_outer = true; });
        add(Make(p + "r2c_rank7", K::R2C, dbl, -1, {2, 2, 3, 2, 2, 3, 4}), none);
        add(Make(p + "c2r_rank7", K::C2R, dbl, 1, {2, 2, 3, 2, 2, 3, 5}), none);
        add(Make(p + "r2c_inplace_1d", K::R2C, dbl, -1, {128}, {3}), [](Case &c) { c.in_place = true; });
        add(Make(p + "c2r_inplace_1d", K::C2R, dbl, 1, {90}, {2}), [](Case &c) { c.in_place = true; });
        add(Make(p + "r2c_inplace_2d", K::R2C, dbl, -1, {10, 14}), [](Case &c) { c.in_place = true; });
        add(Make(p + "c2r_inplace_3d", K::C2R, dbl, 1, {6, 4, 10}), [](Case &c) { c.in_place = true; });
        add(Make(p + "r2c_bluestein", K::R2C, dbl, -1, {2 * 101}), none);
        add(Make(p + "c2r_bluestein_odd", K::C2R, dbl, 1, {103}), none);
        // Threads: rows, batches and a long single row.
        add(Make(p + "threads_batch", K::C2C, dbl, -1, {64}, {37}), [](Case &c) { c.nthreads = 2; });
        add(Make(p + "threads_2d", K::C2C, dbl, 1, {32, 48}), [](Case &c) { c.nthreads = 3; });
        add(Make(p + "threads_c2r_3d", K::C2R, dbl, 1, {8, 6, 10}), [](Case &c) { c.nthreads = 2; });
    }
    // The multi-row and column paths once more with the AVX and AVX2 kernels.
    const size_t base = v.size();
    for (size_t i = 0; i < base; ++i) {
        const std::string &nm = v[i].name;
        if (nm.find("batch") == std::string::npos && nm.find("2d") == std::string::npos &&
            nm.find("3d") == std::string::npos)
            continue;
        for (int level : {6, 7}) {
            Case c = v[i];
            c.level = level;
            c.name += level == 6 ? "_avx" : "_avx2";
            v.push_back(c);
        }
    }
    return v;
}

class EngineLayouts : public ::testing::TestWithParam<Case> {};

TEST_P(EngineLayouts, MatchesNaiveDftWithoutStrayWrites) {
    Outcome o = RunCase(GetParam());
    ASSERT_EQ(o.create_status, EngineOk);
    ASSERT_EQ(o.exec_status, EngineOk);
    EXPECT_LE(o.error, o.tolerance);
    EXPECT_FALSE(o.stray_write);
}

INSTANTIATE_TEST_SUITE_P(Table, EngineLayouts, ::testing::ValuesIn(LayoutCases()),
                         [](const auto &info) { return info.param.name; });

// Every kernel build (SSE2-class, AVX, AVX2+FMA) on lengths that reach each
// butterfly, both loop shapes and the codelets (single rows and batches).
class EngineLevels : public ::testing::TestWithParam<int> {};

TEST_P(EngineLevels, KernelVariantMatchesNaiveDft) {
    const int64_t lengths[] = {2,   3,   4,   5,   7,   8,   11,  12,  13,  16,  17,   32,       48,     60,
                               64,  96,  128, 169, 210, 256, 289, 343, 384, 512, 625, 2 * 11 * 13, 3 * 61, 4 * 67,
                               1024, 2048, 257, 1009};
    for (bool dbl : {true, false})
        for (int sign : {-1, 1})
            for (int64_t n : lengths) {
                // Short lengths as a batch of 5: whole vectors of rows plus
                // a remainder row in every build.
                Case c = Make("lvl", K::C2C, dbl, sign, {n}, n <= 64 ? std::vector<int64_t>{5} : std::vector<int64_t>{});
                c.level = GetParam(), c.scale = 0.5;
                Outcome o = RunCase(c);
                ASSERT_EQ(o.exec_status, EngineOk);
                EXPECT_LE(o.error, o.tolerance) << "level " << GetParam() << " n=" << n << " double=" << dbl;
                // In place: an odd stage count runs its last stage over its
                // own input.
                if (n > 64) {
                    c.in_place = true;
                    o = RunCase(c);
                    ASSERT_EQ(o.exec_status, EngineOk);
                    EXPECT_LE(o.error, o.tolerance) << "in place, level " << GetParam() << " n=" << n << " double=" << dbl;
                }
            }
}

// CpuLevel 2-5 share the SSE2-class build.
INSTANTIATE_TEST_SUITE_P(AllLevels, EngineLevels, ::testing::Values(5, 6, 7));

TEST(EngineProblem, InvalidProblemsAreRejected) {
    struct Bad {
        const char *what;
        void (*edit)(EngineProblem &);
    } bad[] = {
        {"rank 0", [](EngineProblem &p) { p.rank = 0; }},
        {"rank 8", [](EngineProblem &p) { p.rank = 8; }},
        {"length 0", [](EngineProblem &p) { p.dims[0].n = 0; }},
        {"howmany 3", [](EngineProblem &p) { p.howmany_rank = 3; }},
        {"batch 0", [](EngineProblem &p) { p.howmany_rank = 1, p.howmany[0] = {0, 1, 1}; }},
        {"r2c backward", [](EngineProblem &p) { p.kind = EngineKind::R2C, p.sign = 1; }},
        {"c2r forward", [](EngineProblem &p) { p.kind = EngineKind::C2R, p.sign = -1; }},
        {"sign 0", [](EngineProblem &p) { p.sign = 0; }},
        {"threads 0", [](EngineProblem &p) { p.nthreads = 0; }},
    };
    for (const Bad &b : bad) {
        EngineProblem p;
        p.dims[0] = {8, 1, 1};
        b.edit(p);
        int status = -1;
        EXPECT_EQ(EnginePlanCreate(p, &status), nullptr) << b.what;
        EXPECT_EQ(status, EngineInvalid) << b.what;
    }
}

TEST(EngineProblem, SplitSideWithoutImaginaryArrayIsRejected) {
    EngineProblem p;
    p.dims[0] = {8, 1, 1};
    p.split_in = true;
    int status = -1;
    EnginePlan *plan = EnginePlanCreate(p, &status);
    ASSERT_NE(plan, nullptr);
    double buf[16] = {};
    EXPECT_EQ(EngineExecute(plan, buf, nullptr, buf, nullptr), EngineInvalid);
    EnginePlanDestroy(plan);
}

}  // namespace
}  // namespace orb::dft::test
