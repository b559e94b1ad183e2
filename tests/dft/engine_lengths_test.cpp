// Every length 1..100 of the 1-D complex and real transforms against the
// naive long-double DFT, both directions and precisions: each short-length
// codelet, every butterfly radix and generic odd radix, and the primes
// above 61. Then primes up to 7681 on both convolution paths (Rader when
// p-1 factors into the butterflies, Bluestein otherwise) in every shape of
// call.
#include <gtest/gtest.h>

#include "dft/engine/engine_internal.h"
#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

using K = EngineKind;

TEST(EngineLengths, EveryLengthUpTo100MatchesNaiveDft) {
    const std::pair<K, int> kinds[] = {{K::C2C, -1}, {K::C2C, 1}, {K::R2C, -1}, {K::C2R, 1}};
    for (const auto &[kind, sign] : kinds)
        for (bool dbl : {true, false})
            for (int64_t n = 1; n <= 100; ++n)
                ExpectMatches({.name = "kind " + std::to_string(int(kind)) + " sign " + std::to_string(sign) +
                                       (dbl ? " double" : " single") + " n=" + std::to_string(n),
                               .kind = kind, .is_double = dbl, .sign = sign, .dims = {n}});
}

// Primes above the largest butterfly. 67, 97, 131, 257, 641, 1009 and 7681
// have p-1 = 2*3*11, 2^5*3, 2*5*13, 2^8, 2^7*5, 2^4*3^2*7, 2^9*3*5 (Rader);
// 167 (166 = 2*83), 971 (970 = 2*5*97) and 4099 (4098 = 2*3*683) do not
// (Bluestein on 320, 2048 and 8640 points, 167 with 13 wrapped outputs
// fixed up after the convolution). Both directions, in and
// out of place, scaled, threaded, and the real transforms (Rader's
// convolution on real data from 97 on, 131 with an odd half length
// (p-1)/2 = 65; a full-length complex FFT for the rest).
TEST(EnginePrimes, ConvolutionPathsMatchNaiveDft) {
    struct Call {
        const char *name;
        K kind;
        int sign;
        bool in_place;
        double scale;  // times 1/p when negative
        int nthreads;
    };
    const Call calls[] = {
        {"c2c_forward", K::C2C, -1, false, 1.0, 1},
        {"c2c_backward_inplace_scaled", K::C2C, +1, true, -1.0, 2},
        {"c2c_forward_inplace_half", K::C2C, -1, true, 0.5, 1},
        {"c2c_backward_threads", K::C2C, +1, false, 2.0, 2},
        {"r2c", K::R2C, -1, false, 1.0, 1},
        {"r2c_inplace_threads", K::R2C, -1, true, 0.25, 2},
        {"c2r_inplace_scaled", K::C2R, +1, true, -1.0, 1},
        {"c2r", K::C2R, +1, false, 1.0, 2},
    };
    for (bool dbl : {true, false})
        for (int64_t n : {67, 97, 131, 167, 257, 641, 971, 1009, 4099, 7681})
            for (const Call &pc : calls)
                ExpectMatches({.name = std::string(pc.name) + (dbl ? " double" : " single") + " n=" + std::to_string(n),
                               .kind = pc.kind, .is_double = dbl, .sign = pc.sign, .dims = {n},
                               .in_place = pc.in_place, .scale = pc.scale < 0 ? -pc.scale / double(n) : pc.scale,
                               .nthreads = pc.nthreads});
}

// Bluestein on fewer than 2n-1 points: the outputs k > m-n wrap around
// the cyclic convolution and are fixed up afterwards. Lengths (points m,
// wrapped outputs K): 134 (256, 11), 269 (512, 25), 794 (1536, 51, the
// most below 2000), 1367 (single 2700, 33; double 2880, none), 2078 (4096,
// 59, the most below 3000) and 8198 = 2*4099 (17280, none); the real
// transforms of even n run the half length (67 and 397 Rader, 1039 and
// 4099 Bluestein).
TEST(EngineBluestein, WrappedOutputsMatchNaiveDft) {
    const std::pair<K, int> kinds[] = {{K::C2C, -1}, {K::C2C, 1}, {K::R2C, -1}, {K::C2R, 1}};
    for (bool dbl : {true, false})
        for (int64_t n : {134, 269, 794, 1367, 2078, 8198})
            for (const auto &[kind, sign] : kinds)
                ExpectMatches({.name = "kind " + std::to_string(int(kind)) + " sign " + std::to_string(sign) +
                                       (dbl ? " double" : " single") + " n=" + std::to_string(n),
                               .kind = kind, .is_double = dbl, .sign = sign, .dims = {n},
                               .in_place = sign > 0, .scale = sign > 0 ? 1.0 / double(n) : 1.0,
                               .nthreads = n > 4000 ? 2 : 1});
}

// Mixed radices whose plain order (largest first) starts with a radix the
// vector's lanes do not divide, so that the plan forms 12s, 10s or 6s of
// the factors of two instead, even in the first-level cache: 450 = 2 3^2
// 5^2, 540, 900, 1500, 2700 (Bluestein's length for 1367) and 84 = 2^2 3 7
// (a generic radix). Single rows, interleaved batches (the stages run
// across rows), and every kernel level.
TEST(EngineLengths, CombinedMixedRadixOrdersMatchNaiveDft) {
    for (bool dbl : {true, false})
        for (int64_t n : {84, 450, 540, 900, 1500, 2700})
            for (int level : {5, 6, 7})
                for (bool batched : {false, true})
                    ExpectMatches({.name = std::string(dbl ? "double" : "single") + " n=" + std::to_string(n) +
                                           " level " + std::to_string(level) + (batched ? " batch" : ""),
                                   .is_double = dbl, .sign = batched ? 1 : -1, .dims = {n},
                                   .batch = batched ? std::vector<int64_t>{3} : std::vector<int64_t>{},
                                   .level = level});
}

// Where the second-level cache holds 1 MiB or more, lone rows of 4096,
// 8192 and 8640 points (real rows over them, Bluestein's 4099 on 8640)
// take a three-pass or 64 x 64 kernel, the stages below: out of place and
// in place at the level that builds those kernels, the stages at one that
// does not, in a batch and with the smaller cache. Batches of rows beyond
// 2 MiB run one row at a time there, in blocks of eight with the smaller
// cache (270 x 500).
TEST(EngineLengths, SecondLevelCacheRulesMatchNaiveDft) {
    constexpr int64_t kLarge = int64_t(2) << 20, kSmall = int64_t(256) << 10;
    struct Row {
        EngineKind kind;
        int64_t n;
        bool dbl, in_place;
        int64_t batch;  // 0: a lone row
        int level;
        int64_t cache;
    };
    const Row rows[] = {
        {EngineKind::C2C, 4096, true, false, 0, 7, kLarge},  {EngineKind::C2C, 4096, true, true, 0, 7, kLarge},
        {EngineKind::C2C, 8192, true, false, 0, 7, kLarge},  {EngineKind::C2C, 8192, true, true, 0, 7, kLarge},
        {EngineKind::C2C, 4096, false, false, 0, 7, kLarge}, {EngineKind::C2C, 4096, false, true, 0, 7, kLarge},
        {EngineKind::R2C, 8192, true, false, 0, 7, kLarge},  {EngineKind::C2C, 4096, true, false, 2, 7, kLarge},
        {EngineKind::C2C, 8192, true, false, 0, 6, kLarge},  {EngineKind::C2C, 8192, true, false, 0, 7, kSmall},
        {EngineKind::C2C, 270, true, false, 500, 7, kLarge}, {EngineKind::C2C, 270, true, true, 500, 7, kSmall},
        {EngineKind::C2C, 8640, true, false, 0, 7, kLarge},  {EngineKind::C2C, 8640, true, true, 0, 7, kLarge},
        {EngineKind::C2C, 4099, true, false, 0, 7, kLarge},  {EngineKind::C2C, 4099, true, true, 0, 7, kLarge},
    };
    for (const Row &r : rows) {
        SecondLevelCache assumed(r.cache);
        ExpectMatches({.name = std::to_string(r.n) + (r.dbl ? " double" : " single") +
                               (r.kind == EngineKind::R2C ? " r2c" : "") + (r.in_place ? " in place" : "") +
                               (r.batch ? " x " + std::to_string(r.batch) : "") + " level " +
                               std::to_string(r.level) + " cache " + std::to_string(r.cache >> 10) + " KiB",
                       .kind = r.kind, .is_double = r.dbl, .sign = r.in_place ? 1 : -1, .dims = {r.n},
                       .batch = r.batch ? std::vector<int64_t>{r.batch} : std::vector<int64_t>{},
                       .in_place = r.in_place, .scale = r.in_place ? 0.5 : 1.0, .level = r.level});
    }
}

// Short real rows at every kernel level, both precisions, alone and three
// to a batch (a vector's worth of rows and the scalar remainder): the
// straight-line real codelets in their half-length and full-length forms.
// C2R input carries imaginary parts at bins 0 and n/2, which no real
// signal has and the transform must ignore; the oracle drops them.
template <class T>
void ShortRealRows(EngineKind kind, int64_t n, int64_t rows, int level) {
    const bool fwd = kind == EngineKind::R2C;
    const int64_t h = n / 2 + 1, in_row = fwd ? n : 2 * h, out_row = fwd ? 2 * h : n;
    const std::vector<LCx> x = RandomComplex(rows * n, 977 + uint64_t(n));
    std::vector<T> in(size_t(rows * in_row)), out(size_t(rows * out_row));
    std::vector<LCx> expect;
    for (int64_t r = 0; r < rows; ++r) {
        const LCx *xr = x.data() + r * n;
        std::vector<LCx> full(static_cast<size_t>(n));
        if (fwd) {
            for (int64_t j = 0; j < n; ++j) full[j] = T(xr[j].real()), in[r * in_row + j] = T(xr[j].real());
        } else {
            for (int64_t k = 0; k < h; ++k)
                in[r * in_row + 2 * k] = T(xr[k].real()), in[r * in_row + 2 * k + 1] = T(xr[k].imag());
            full[0] = T(xr[0].real());
            for (int64_t k = 1; k < h; ++k) {
                full[k] = {T(xr[k].real()), T(xr[k].imag())};
                full[n - k] = std::conj(full[k]);
            }
            if (n % 2 == 0) full[n / 2] = T(xr[n / 2].real());
        }
        const std::vector<LCx> all = NaiveAll(full, {n}, fwd ? -1 : 1);
        for (int64_t k = 0; k < (fwd ? h : n); ++k) expect.push_back(fwd ? all[k] : LCx(all[k].real()));
    }
    EngineProblem p;
    p.kind = kind, p.is_double = sizeof(T) == 8, p.sign = fwd ? -1 : 1, p.dims[0] = {n, 1, 1};
    if (rows > 1) p.howmany_rank = 1, p.howmany[0] = {rows, fwd ? n : h, fwd ? h : n};
    int status = -1;
    EnginePlan *plan = EnginePlanCreateForLevel(p, level, &status);
    ASSERT_EQ(status, EngineOk);
    EXPECT_EQ(EngineExecute(plan, in.data(), nullptr, out.data(), nullptr), EngineOk);
    EnginePlanDestroy(plan);
    std::vector<LCx> got;
    for (int64_t r = 0; r < rows; ++r)
        for (int64_t k = 0; k < (fwd ? h : n); ++k)
            got.push_back(fwd ? LCx(out[r * out_row + 2 * k], out[r * out_row + 2 * k + 1])
                              : LCx(out[r * out_row + k]));
    EXPECT_LE(RelRms(got, expect), Tolerance(sizeof(T) == 8, n))
        << (fwd ? "R2C" : "C2R") << (sizeof(T) == 8 ? " double" : " single") << " n=" << n << " rows " << rows
        << " level " << level;
}

TEST(EngineLengths, ShortRealRowsEveryLevelMatchNaiveDft) {
    for (EngineKind kind : {EngineKind::R2C, EngineKind::C2R})
        for (int level : {5, 6, 7})
            for (int64_t rows : {1, 3})
                for (int64_t n = 1; n <= 40; ++n) {
                    ShortRealRows<double>(kind, n, rows, level);
                    ShortRealRows<float>(kind, n, rows, level);
                }
}

}  // namespace
}  // namespace orb::dft::test
