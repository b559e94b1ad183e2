// Engine configurations against the naive oracle: ranks 1-7, batches,
// padded and negative strides, in and out of place, split storage on each
// side, real transforms of every rank, scales, threads and kernel levels.
#include <gtest/gtest.h>

#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

using K = EngineKind;

std::vector<Case> LayoutCases() {
    // Fields in declaration order: name, kind, precision (set below), sign,
    // dims, batch, strides, pad, negated outer axis, in place, split, scale,
    // threads.
    const K R2C = K::R2C, C2R = K::C2R;
    const Case table[] = {
        // Complex: ranks, batches, strides.
        {.name = "c2c_2d_16x12", .dims = {16, 12}},
        {.name = "c2c_2d_back_7x30", .sign = 1, .dims = {7, 30}, .scale = 0.25},
        {.name = "c2c_3d_8cube", .dims = {8, 8, 8}},
        {.name = "c2c_3d_5x6x7_padded", .sign = 1, .dims = {5, 6, 7}, .pad = 3},
        {.name = "c2c_rank7", .dims = {2, 3, 2, 4, 1, 3, 5}},
        {.name = "c2c_rank4_strided", .sign = 1, .dims = {3, 4, 5, 2}, .in_unit = 2, .out_unit = 3},
        {.name = "c2c_batch_1d", .dims = {60}, .batch = {7}},
        {.name = "c2c_codelet_batch_inplace", .sign = 1, .dims = {16}, .batch = {5}, .in_place = true, .scale = 0.5},
        {.name = "c2c_batch2_1d", .dims = {12}, .batch = {3, 5}, .pad = 1},
        {.name = "c2c_batch_2d", .sign = 1, .dims = {6, 10}, .batch = {4}},
        {.name = "c2c_negative_unit", .dims = {100}, .in_unit = -1, .out_unit = -2},
        {.name = "c2c_negative_2d", .dims = {9, 16}, .batch = {2}, .in_unit = -1, .negate_outer = true},
        {.name = "c2c_inplace_1d", .dims = {1000}, .in_place = true},
        // Rows from 4 KiB of a batch that stays in cache run one at a time.
        {.name = "c2c_rows_alone_batch_inplace", .sign = 1, .dims = {600}, .batch = {3}, .in_place = true},
        {.name = "c2c_rows_alone_batch_padded", .dims = {384}, .batch = {5}, .pad = 2, .scale = 0.5},
        {.name = "c2c_inplace_strided", .sign = 1, .dims = {243}, .batch = {3}, .in_unit = 3, .in_place = true},
        {.name = "c2c_inplace_3d", .dims = {4, 9, 10}, .pad = 2, .in_place = true},
        {.name = "c2c_bluestein_batch", .dims = {127}, .batch = {3}, .in_unit = 2},
        {.name = "c2c_bluestein_2d", .sign = 1, .dims = {67, 71}},
        // Rader (1009 - 1 = 2^4 3^2 7) along rows, columns and a batch.
        {.name = "c2c_rader_batch_inplace", .sign = 1, .dims = {1009}, .batch = {3}, .in_place = true, .scale = 1.0 / 1009},
        {.name = "c2c_rader_2d", .dims = {1009, 6}, .pad = 1},
        {.name = "c2c_rader_2d_strided", .sign = 1, .dims = {4, 1009}, .in_unit = -2},
        {.name = "split_rader_batch", .dims = {1009}, .batch = {2}, .split_in = true, .split_out = true},
        {.name = "r2c_rader_2d", .kind = R2C, .dims = {3, 1009}},
        {.name = "c2r_rader_batch", .kind = C2R, .sign = 1, .dims = {1009}, .batch = {3}, .in_place = true},
        {.name = "threads_rader_batch", .dims = {1009}, .batch = {5}, .nthreads = 2},
        // Codelet passes shared over two threads: 21 rows and 24 columns
        // split unevenly, so a thread's range starts or ends inside a block.
        {.name = "threads_codelet_2d_inplace", .sign = 1, .dims = {7, 24}, .batch = {3}, .pad = 1, .in_place = true,
         .nthreads = 2},
        // Columns 16 KiB (double) or 8 KiB (single) apart: the codelet runs
        // on a contiguous copy instead of in place.
        {.name = "c2c_codelet_aliased_columns", .dims = {64, 1024}, .in_place = true},
        // Double columns of a two-pass length (AVX levels) gathered a block
        // at a time and transformed one by one: 10 and 11 columns leave a
        // short block after the first eight.
        {.name = "c2r_2d_two_pass_columns", .kind = C2R, .sign = 1, .dims = {100, 18}, .scale = 0.5, .level = 7},
        {.name = "c2c_2d_two_pass_columns_avx", .dims = {100, 11}, .pad = 1, .level = 6},
        // Short columns gathered up to 64 at a time: 150 and 130 columns
        // leave a short block after the full ones (interleaved stages, two-
        // pass kernels one by one, split storage, a team of two).
        {.name = "c2c_2d_wide_column_blocks", .sign = 1, .dims = {24, 150}, .pad = 1},
        {.name = "c2r_2d_wide_two_pass_columns", .kind = C2R, .sign = 1, .dims = {100, 258}, .level = 7},
        {.name = "split_2d_wide_column_blocks", .dims = {12, 150}, .split_in = true, .split_out = true},
        {.name = "threads_2d_wide_column_blocks", .dims = {20, 200}, .in_place = true, .nthreads = 2},
        {.name = "c2c_len1_dims", .dims = {1, 5, 1}, .batch = {1}},
        // Split storage on either side, in and out of place.
        {.name = "split_in", .dims = {64}, .batch = {2}, .split_in = true},
        {.name = "split_out", .sign = 1, .dims = {48}, .split_out = true},
        {.name = "split_both_2d", .dims = {12, 20}, .split_in = true, .split_out = true},
        {.name = "split_inplace_2d", .sign = 1, .dims = {16, 9}, .batch = {2}, .in_place = true, .split_in = true,
         .split_out = true},
        {.name = "split_strided_neg", .dims = {30}, .batch = {3}, .in_unit = -2, .negate_outer = true, .split_in = true,
         .split_out = true},
        // Split codelets on the parts where they lie: rows a vector's worth
        // at a time plus leftovers (13 rows), strided rows in place, columns
        // of a 2-D pass; and rows of two- and three-pass lengths.
        {.name = "split_codelet_rows_batch", .dims = {64}, .batch = {13}, .split_in = true, .split_out = true,
         .scale = 0.5},
        // Split rows of 32 and 64 points (AVX levels): each row joined into
        // pairs, the interleaved row codelet, split back; backward, in
        // place, rows farther apart than their length.
        {.name = "split_paired_rows_batch_inplace_padded", .sign = 1, .dims = {32}, .batch = {5}, .pad = 2,
         .in_place = true, .split_in = true, .split_out = true, .scale = 0.5},
        // Contiguous split rows of 2-8 points: blocks of rows transposed in
        // registers (a vector of rows plus leftovers; padded distances).
        {.name = "split_transposed_rows_batch", .dims = {8}, .batch = {11}, .split_in = true, .split_out = true,
         .scale = 0.5},
        {.name = "split_transposed_rows_batch_inplace", .sign = 1, .dims = {4}, .batch = {6}, .in_place = true,
         .split_in = true, .split_out = true},
        {.name = "split_transposed_rows_batch_padded", .dims = {2}, .batch = {9}, .pad = 3, .split_in = true,
         .split_out = true},
        {.name = "split_codelet_strided_batch_inplace", .sign = 1, .dims = {12}, .batch = {7}, .in_unit = 3,
         .in_place = true, .split_in = true, .split_out = true},
        {.name = "split_codelet_columns_2d", .sign = 1, .dims = {9, 10}, .batch = {3}, .pad = 1, .split_in = true,
         .split_out = true},
        {.name = "split_codelet_threads_2d", .dims = {16, 20}, .batch = {3}, .split_in = true, .split_out = true,
         .nthreads = 2},
        {.name = "split_two_pass_rows_batch", .dims = {256}, .batch = {3}, .split_in = true, .split_out = true,
         .scale = 0.25},
        // Lone 1024-point rows have a three-pass kernel at the AVX2 level only.
        {.name = "split_three_pass_row_inplace", .sign = 1, .dims = {1024}, .in_place = true, .split_in = true,
         .split_out = true, .level = 7},
        {.name = "split_three_pass_row", .dims = {1024}, .split_in = true, .split_out = true, .scale = 2.0,
         .level = 7},
        {.name = "split_three_pass_512", .sign = 1, .dims = {512}, .split_in = true, .split_out = true,
         .level = 7},
        // 1536 and 768 (24 x 8 x 8, 12 x 8 x 8) also with AVX; real 1536 on
        // its 768-point half.
        {.name = "split_three_pass_1536_avx_inplace", .dims = {1536}, .in_place = true, .split_in = true,
         .split_out = true, .level = 6},
        {.name = "split_three_pass_768", .sign = 1, .dims = {768}, .split_in = true, .split_out = true,
         .scale = 0.5, .level = 7},
        {.name = "r2c_three_pass_half_avx", .kind = R2C, .dims = {1536}, .level = 6},
        {.name = "c2r_three_pass_half", .kind = C2R, .sign = 1, .dims = {1536}, .scale = 0.25, .level = 7},
        // Real transforms.
        {.name = "r2c_batch", .kind = R2C, .dims = {64}, .batch = {5}},
        {.name = "c2r_batch", .kind = C2R, .sign = 1, .dims = {63}, .batch = {5}, .scale = 1.0 / 63},
        {.name = "r2c_strided", .kind = R2C, .dims = {50}, .in_unit = 3, .out_unit = -2},
        {.name = "c2r_strided", .kind = C2R, .sign = 1, .dims = {50}, .in_unit = -2, .out_unit = 3},
        {.name = "r2c_split_out", .kind = R2C, .dims = {40}, .batch = {2}, .split_out = true},
        {.name = "c2r_split_in", .kind = C2R, .sign = 1, .dims = {41}, .batch = {2}, .split_in = true},
        {.name = "r2c_2d", .kind = R2C, .dims = {12, 16}},
        {.name = "c2r_2d", .kind = C2R, .sign = 1, .dims = {12, 15}},
        {.name = "r2c_3d_odd", .kind = R2C, .dims = {5, 6, 9}, .pad = 2},
        {.name = "c2r_3d", .kind = C2R, .sign = 1, .dims = {4, 6, 8}, .batch = {2}, .negate_outer = true},
        // Unpadded: the row loops merge into one (real rows of codelet
        // lengths, columns in longer blocks), batch included.
        {.name = "r2c_3d_merged", .kind = R2C, .dims = {4, 6, 16}, .batch = {3}},
        {.name = "c2r_3d_merged_inplace", .kind = C2R, .sign = 1, .dims = {6, 4, 12}, .batch = {2}, .in_place = true},
        {.name = "threads_r2c_3d_merged", .kind = R2C, .dims = {8, 8, 8}, .nthreads = 2},
        {.name = "r2c_rank7", .kind = R2C, .dims = {2, 2, 3, 2, 2, 3, 4}},
        {.name = "c2r_rank7", .kind = C2R, .sign = 1, .dims = {2, 2, 3, 2, 2, 3, 5}},
        {.name = "r2c_inplace_1d", .kind = R2C, .dims = {128}, .batch = {3}, .in_place = true},
        {.name = "c2r_inplace_1d", .kind = C2R, .sign = 1, .dims = {90}, .batch = {2}, .in_place = true},
        {.name = "r2c_inplace_2d", .kind = R2C, .dims = {10, 14}, .in_place = true},
        {.name = "c2r_inplace_3d", .kind = C2R, .sign = 1, .dims = {6, 4, 10}, .in_place = true},
        // Past 1 MiB of double data the last two dimensions run slab by slab.
        {.name = "r2c_inplace_3d_slabs", .kind = R2C, .dims = {16, 64, 130}, .in_place = true},
        {.name = "r2c_bluestein", .kind = R2C, .dims = {2 * 101}},
        {.name = "c2r_bluestein_odd", .kind = C2R, .sign = 1, .dims = {103}},
        // Threads: rows, batches and a long single row.
        {.name = "threads_batch", .dims = {64}, .batch = {37}, .nthreads = 2},
        {.name = "threads_2d", .sign = 1, .dims = {32, 48}, .nthreads = 3},
        {.name = "threads_c2r_3d", .kind = C2R, .sign = 1, .dims = {8, 6, 10}, .nthreads = 2},
        // Slab by slab, the slabs shared out.
        {.name = "threads_c2c_3d_slabs_inplace", .dims = {16, 64, 80}, .pad = 1, .in_place = true, .nthreads = 2},
        {.name = "threads_c2c_4d_slabs_batch", .sign = 1, .dims = {3, 4, 60, 64}, .batch = {2}, .nthreads = 3},
        // Backward the outer dimensions run first, then the slabs (the
        // double case; single stays under the slab threshold).
        {.name = "threads_c2r_4d_slabs_inplace", .kind = C2R, .sign = 1, .dims = {2, 4, 64, 130}, .batch = {2},
         .in_place = true, .scale = 0.5, .nthreads = 3},
        // Slabs of 64, 128 and 256 double rows in the cache run as one 2-D
        // transform each, with radix column passes; backward out of place
        // it works in the scratch array, and the input stays as it was.
        {.name = "c2c_3d_radix_slabs", .dims = {20, 64, 64}},
        {.name = "c2c_3d_radix_slabs_inplace", .sign = 1, .dims = {12, 128, 70}, .in_place = true, .scale = 0.5,
         .nthreads = 2},
        {.name = "r2c_3d_radix_slabs", .kind = R2C, .dims = {12, 128, 100}, .pad = 3, .nthreads = 3},
        {.name = "c2r_3d_radix_slabs", .kind = C2R, .sign = 1, .dims = {12, 128, 100}, .scale = 0.25},
        {.name = "c2r_3d_radix_slabs_threads", .kind = C2R, .sign = 1, .dims = {6, 256, 99}, .nthreads = 2},
        // Even output row and slab distances (pad 1): the outer dimension
        // goes into the output array itself, the slabs run in place there.
        {.name = "c2r_3d_packed_slabs", .kind = C2R, .sign = 1, .dims = {12, 128, 100}, .pad = 1, .scale = 0.5},
        {.name = "c2r_3d_packed_slabs_threads", .kind = C2R, .sign = 1, .dims = {8, 128, 130}, .pad = 1,
         .nthreads = 3},
        {.name = "c2r_3d_radix_slabs_inplace", .kind = C2R, .sign = 1, .dims = {12, 128, 100}, .in_place = true},
        {.name = "c2r_2d_radix_columns", .kind = C2R, .sign = 1, .dims = {128, 100}},
        {.name = "c2c_2d_radix_columns_inplace", .dims = {64, 90}, .pad = 2, .in_place = true, .nthreads = 2},
        {.name = "r2c_4d_radix_slabs_batch", .kind = R2C, .dims = {3, 3, 64, 126}, .batch = {2}, .nthreads = 2},
        // Single rows of the two-pass kernels reached through a gathered
        // copy (strides, split storage) and with a thread count.
        {.name = "two_pass_strided", .dims = {256}, .in_unit = -2, .out_unit = 3},
        {.name = "two_pass_strided_inplace", .sign = 1, .dims = {512}, .in_unit = 2, .in_place = true, .scale = 0.25},
        {.name = "two_pass_split", .sign = 1, .dims = {128}, .split_in = true, .split_out = true},
        {.name = "two_pass_threads", .dims = {100}, .nthreads = 2},
        // Rows with a two-pass kernel run one at a time, not gathered.
        {.name = "two_pass_rows_2d", .sign = 1, .dims = {12, 128}, .pad = 1},
        {.name = "two_pass_rows_batch_inplace", .dims = {256}, .batch = {3}, .in_place = true, .scale = 0.5},
        {.name = "two_pass_rows_threads_2d", .dims = {6, 100}, .nthreads = 2},
        // Even real lengths whose half-length complex FFT takes two passes.
        {.name = "r2c_two_pass", .kind = R2C, .dims = {1024}},
        {.name = "c2r_two_pass_inplace", .kind = C2R, .sign = 1, .dims = {256}, .in_place = true, .scale = 1.0 / 256},
    };
    std::vector<Case> v;
    for (bool dbl : {true, false})
        for (Case c : table) {
            c.is_double = dbl;
            c.name = (dbl ? "d_" : "s_") + c.name;
            v.push_back(c);
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

TEST_P(EngineLayouts, MatchesNaiveDftWithoutStrayWrites) { ExpectMatches(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Table, EngineLayouts, ::testing::ValuesIn(LayoutCases()),
                         [](const auto &info) { return info.param.name; });

// Every kernel build (SSE2-class, AVX, AVX2+FMA) on lengths that reach each
// butterfly, both loop shapes, the codelets (single rows and batches; 6-50
// with an odd factor, whose lone rows run their last butterflies on
// scalars) and the two- and three-pass kernels (single rows of 100-4096,
// three passes at 768 and 1536 with AVX and AVX2+FMA; in place their first
// pass writes the scratch, out of place the output; 1024 in place and 8192
// on the stages; single 1000 on the stages but at the SSE2 class), and 2376
// and 3000 on the radix-6, 10 and 12 stages of double data beyond the
// first-level cache.
class EngineLevels : public ::testing::TestWithParam<int> {};

TEST_P(EngineLevels, KernelVariantMatchesNaiveDft) {
    const int64_t lengths[] = {2,   3,   4,   5,   6,   7,   8,   10,  11,  12,  13,  14,  16,  17,  18,  30,
                               32,  48,  50,  60,  64,  96,  128, 169, 210, 256, 289, 343, 384, 512, 625,
                               2 * 11 * 13, 3 * 61, 4 * 67, 1024, 2048, 257, 1009, 4096, 8192, 100, 500, 1000,
                               768, 1536, 2376, 3000};
    for (bool dbl : {true, false})
        for (int sign : {-1, 1})
            for (int64_t n : lengths) {
                // Short lengths as a batch of 5: whole vectors of rows plus
                // a remainder row in every build. In place: an odd stage
                // count runs its last stage over its own input.
                for (bool in_place : {false, true}) {
                    if (in_place && n <= 64) continue;
                    Case c{.name = "level " + std::to_string(GetParam()) + " n=" + std::to_string(n) +
                                   (dbl ? " double" : " single") + (in_place ? " in place" : ""),
                           .is_double = dbl, .sign = sign, .dims = {n}, .in_place = in_place, .scale = 0.5,
                           .level = GetParam()};
                    if (n <= 64) c.batch = {5};
                    ExpectMatches(c);
                }
            }
}

// Rows of the AVX2+FMA and SSE2-class two-pass kernels for products of
// two even codelet lengths (72-960; some keep the stages): one row out of
// place and in place (through the scratch), a batch of 3 (rows one at a
// time), and Rader primes whose convolution runs them in place (193: 192
// points, 241: 240, 401: 400).
TEST(EngineTwoPassLengths, MatchNaiveDft) {
    const int64_t lengths[] = {72,  80,  96,  120, 144, 160, 180, 192, 200, 240, 288, 300, 320,
                               360, 384, 400, 480, 600, 640, 720, 800, 960, 193, 241, 401};
    int i = 0;
    for (int level : {5, 7})
        for (int64_t n : lengths)
            for (bool dbl : {true, false}) {
                const int sign = ++i % 2 ? -1 : 1;
                const std::string name =
                    "level " + std::to_string(level) + " n=" + std::to_string(n) + (dbl ? " double" : " single");
                ExpectMatches(Case{.name = name, .is_double = dbl, .sign = sign, .dims = {n}, .level = level});
                ExpectMatches(Case{.name = name + " in place", .is_double = dbl, .sign = -sign, .dims = {n},
                                   .in_place = true, .scale = 0.5, .level = level});
                if (n % 2 == 0)
                    ExpectMatches(Case{.name = name + " batch", .is_double = dbl, .sign = sign, .dims = {n},
                                       .batch = {3}, .pad = 1, .level = level});
            }
}

// Real transforms of every length with a straight-line real codelet and
// some without (the half-length FFT and the level's vectorised pair step,
// n/2 odd and even), each level's build: a lone row
// (the direct call), rows in a batch with strides (whole vectors of rows
// plus a remainder), the padded in-place layout, rows of a 2-D array (the
// pass loop; C2R through the scratch array), rows shared by two threads,
// and split complex storage (which the codelets leave to the general path).
TEST_P(EngineLevels, RealCodeletsMatchNaiveDft) {
    struct Shape {
        const char *what;
        std::vector<int64_t> outer, batch;
        int64_t in_unit, out_unit;
        bool in_place, split;
        int nthreads;
    };
    const Shape shapes[] = {
        {"row", {}, {}, 1, 1, false, false, 1},
        {"row strided", {}, {}, -2, 3, false, false, 1},
        {"row in place", {}, {}, 1, 1, true, false, 1},
        {"batch strided", {}, {7}, 2, -1, false, false, 1},
        {"batch in place", {}, {5}, 1, 1, true, false, 1},
        {"2d", {3}, {}, 1, 1, false, false, 1},
        {"batch threads", {}, {9}, 1, 1, false, false, 2},
        {"batch split", {}, {3}, 1, 1, false, true, 1},
    };
    const int64_t lengths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 18, 20, 24, 28, 32, 36, 42, 64, 250};
    for (bool dbl : {true, false})
        for (K kind : {K::R2C, K::C2R})
            for (int64_t n : lengths)
                for (const Shape &sh : shapes) {
                    Case c{.name = "level " + std::to_string(GetParam()) + (kind == K::R2C ? " r2c" : " c2r") +
                                   " n=" + std::to_string(n) + (dbl ? " double " : " single ") + sh.what,
                           .kind = kind, .is_double = dbl, .sign = kind == K::R2C ? -1 : 1, .batch = sh.batch,
                           .in_unit = sh.in_unit, .out_unit = sh.out_unit, .in_place = sh.in_place,
                           .split_in = sh.split && kind == K::C2R, .split_out = sh.split && kind == K::R2C,
                           .scale = 0.5, .nthreads = sh.nthreads, .level = GetParam()};
                    c.dims = sh.outer;
                    c.dims.push_back(n);
                    ExpectMatches(c);
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
