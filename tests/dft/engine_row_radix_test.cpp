// Two-dimensional transforms whose columns run as two radix-N passes
// across whole rows (n0 = 512, 1024, 2048 or 4096 past the second-level
// cache, 64, 128 or 256 in it): sampled bins against the naive
// long-double 2-D DFT, complex and real, out of place and in place, both
// directions, scaled, padded rows, rows whose length leaves a partial
// column block, teams of threads, every kernel build; the real backward
// transform leaves its input as it was.
#include <gtest/gtest.h>

#include <vector>

#include "dft/engine/engine_internal.h"
#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

struct Row {
    int64_t n0, n1, ld;  // ld: elements from one row to the next
    int sign;
    bool in_place;
    double scale;
    int nthreads;
    int level;  // 0: the process's level
};

// Bin (k0, k1) of the 2-D DFT of x (n0 rows of n1, ld apart).
std::vector<LCx> NaiveBins2D(const std::vector<LCx> &x, int64_t n0, int64_t n1, int64_t ld, int sign,
                             const std::vector<std::pair<int64_t, int64_t>> &bins) {
    const std::vector<LCx> w0 = Roots(sign, n0), w1 = Roots(sign, n1);
    std::vector<LCx> out;
    for (const auto &[k0, k1] : bins) {
        LCx sum = 0;
        for (int64_t j0 = 0; j0 < n0; ++j0) {
            LCx row = 0;
            for (int64_t j1 = 0; j1 < n1; ++j1) row += x[j0 * ld + j1] * w1[(j1 * k1) % n1];
            sum += row * w0[(j0 * k0) % n0];
        }
        out.push_back(sum);
    }
    return out;
}

TEST(EngineRowRadix2D, SampledBinsMatchNaiveDft) {
    const Row rows[] = {
        {1024, 256, 256, -1, false, 1.0, 1, 0},   {1024, 256, 256, 1, false, 1.0 / 1024, 2, 0},
        {1024, 256, 256, -1, true, 1.0, 3, 0},    {1024, 256, 256, 1, true, 0.5, 1, 0},
        {1024, 300, 304, -1, false, 1.0, 2, 0},   {1024, 259, 264, -1, true, 2.0, 2, 0},
        {1024, 256, 256, -1, false, 1.0, 1, 5},   {1024, 256, 256, 1, true, 1.0, 2, 6},
        {1024, 256, 256, -1, false, 1.0, 1, 7},   {4096, 256, 256, -1, false, 1.0, 2, 0},
        {4096, 256, 256, 1, true, 1.0, 1, 5},
        // 512 = 16 x 32 and 2048 = 32 x 64: in place the rows move in
        // cycles longer than pairs.
        {512, 264, 264, -1, true, 1.0, 2, 0},     {512, 264, 272, 1, false, 0.5, 1, 5},
        {2048, 256, 256, -1, true, 1.0, 2, 0},    {2048, 256, 256, 1, false, 1.0, 1, 6},
        // In the cache: columns read where they lie, an odd last column.
        {64, 64, 64, -1, false, 1.0, 1, 0},       {64, 64, 64, 1, true, 0.5, 2, 0},
        {128, 128, 128, -1, true, 1.0, 1, 7},     {128, 101, 104, 1, false, 1.0 / 128, 3, 5},
        {128, 33, 33, -1, false, 1.0, 1, 6},      {256, 200, 200, -1, true, 1.0, 2, 0},
        {256, 120, 130, 1, false, 2.0, 1, 7},
    };
    // Planned for a 2 MiB second-level cache, whatever this machine's: the
    // arrays here (4 MiB and up) then outgrow it.
    const SecondLevelCache assumed(int64_t(2) << 20);
    for (const Row &r : rows) {
        const int64_t elems = r.n0 * r.ld;
        std::vector<LCx> x = RandomComplex(elems, 17 + r.n1);
        std::vector<double> in(2 * elems), out(2 * elems, 7.0);
        for (int64_t i = 0; i < elems; ++i) in[2 * i] = double(x[i].real()), in[2 * i + 1] = double(x[i].imag());
        for (int64_t i = 0; i < elems; ++i) x[i] = {in[2 * i], in[2 * i + 1]};
        EngineProblem p;
        p.kind = EngineKind::C2C, p.is_double = true, p.sign = r.sign, p.rank = 2;
        p.dims[0] = {r.n0, r.ld, r.ld}, p.dims[1] = {r.n1, 1, 1};
        p.scale = r.scale, p.nthreads = r.nthreads;
        int status = -1;
        EnginePlan *plan = r.level ? EnginePlanCreateForLevel(p, r.level, &status) : EnginePlanCreate(p, &status);
        ASSERT_EQ(status, EngineOk);
        double *y = r.in_place ? in.data() : out.data();
        ASSERT_EQ(EngineExecute(plan, in.data(), nullptr, y, nullptr), EngineOk);
        EnginePlanDestroy(plan);
        std::vector<std::pair<int64_t, int64_t>> bins = {{0, 0}, {r.n0 - 1, r.n1 - 1}, {1, 0}, {0, 1}};
        for (int b = 0; b < 12; ++b)
            bins.push_back({(b * 2654435761ll + 7) % r.n0, (b * 40503ll + 3) % r.n1});
        std::vector<LCx> got, ref = NaiveBins2D(x, r.n0, r.n1, r.ld, r.sign, bins);
        for (auto &v : ref) v *= (long double)r.scale;
        for (const auto &[k0, k1] : bins) got.push_back({y[2 * (k0 * r.ld + k1)], y[2 * (k0 * r.ld + k1) + 1]});
        EXPECT_LE(RelRms(got, ref), Tolerance(true, r.n0 * r.n1))
            << r.n0 << " x " << r.n1 << " ld " << r.ld << " sign " << r.sign << (r.in_place ? " in place" : "")
            << " threads " << r.nthreads << " level " << r.level;
        // Padding between rows is left alone out of place.
        if (!r.in_place && r.ld > r.n1) {
            bool untouched = true;
            for (int64_t j = 0; j < r.n0; ++j)
                for (int64_t c = r.n1; c < r.ld; ++c) untouched &= out[2 * (j * r.ld + c)] == 7.0;
            EXPECT_TRUE(untouched) << r.n0 << " x " << r.n1 << " ld " << r.ld;
        }
    }
}

struct RealRow {
    int64_t n0, n1;
    bool forward, in_place;
    double scale;
    int nthreads;
    int level;
    int64_t re_pad = 0;  // reals after each real row (in place: after 2h)
};

// Real rows: forward from a real array, backward from the half spectrum of
// a conjugate-even array (the bins of columns 0 and n1/2 made to agree
// with their mirror images, as a real signal's do).
TEST(EngineRowRadix2D, RealRowsMatchNaiveDft) {
    const RealRow rows[] = {
        {1024, 256, true, false, 1.0, 1, 0},  {1024, 256, true, true, 1.0, 2, 0},
        {1024, 300, true, true, 0.5, 2, 7},   {4096, 256, true, false, 1.0, 2, 6},
        {1024, 256, false, false, 1.0 / (1024 * 256), 3, 0}, {1024, 256, false, true, 1.0, 1, 5},
        {1024, 300, false, false, 1.0, 2, 0}, {4096, 256, false, false, 1.0, 1, 7},
        {512, 512, true, true, 1.0, 2, 0},    {512, 512, false, true, 1.0, 1, 0},
        {2048, 256, false, false, 1.0, 2, 7}, {2048, 256, true, true, 1.0, 1, 6},
        {2048, 256, false, true, 0.25, 2, 0},
        {128, 128, true, false, 1.0, 1, 0},   {128, 128, false, false, 1.0, 2, 0},
        {256, 256, false, true, 1.0, 1, 7},   {256, 256, true, true, 1.0 / 256, 3, 5},
        {64, 130, true, true, 1.0, 1, 6},     {128, 64, false, false, 0.5, 2, 6},
        {256, 98, true, false, 1.0, 2, 7},
        // Backward out of place past the cache the half spectrum lies in
        // the output rows, the last column aside (even row distances), or
        // in a scratch array (odd ones); the padding stays as it was.
        {1024, 300, false, false, 1.0, 1, 0, 2},  {1024, 300, false, false, 0.5, 2, 6, 1},
        {1024, 301, false, false, 1.0, 3, 0},     {2048, 257, false, false, 1.0, 1, 7, 3},
        // Backward in place with real rows longer than two complex rows:
        // the radix form cannot run there, the passes (through their
        // scratch array) do.
        {1024, 300, false, true, 0.5, 2, 0, 2},   {256, 200, false, true, 1.0, 1, 7, 4},
    };
    const SecondLevelCache assumed(int64_t(2) << 20);
    for (const RealRow &r : rows) {
        const int64_t n0 = r.n0, n1 = r.n1, h = n1 / 2 + 1;
        // Row strides: in place a real row is two complex rows' reals.
        const int64_t re_ld = (r.in_place ? 2 * h : n1) + r.re_pad, cx_ld = h;
        std::vector<double> re(n0 * re_ld + 2 * n0 * cx_ld, 7.0), cx(2 * n0 * cx_ld, 7.0);
        std::vector<LCx> full(n0 * n1);  // the oracle's input, n0 x n1
        if (r.forward) {
            const std::vector<LCx> x = RandomReal(n0 * n1, 5 + n1);
            for (int64_t j = 0; j < n0; ++j)
                for (int64_t c = 0; c < n1; ++c) re[j * re_ld + c] = double(x[j * n1 + c].real()), full[j * n1 + c] = re[j * re_ld + c];
        } else {
            const std::vector<LCx> z = RandomComplex(n0 * h, 9 + n1);
            for (int64_t k0 = 0; k0 < n0; ++k0)
                for (int64_t k1 = 0; k1 < h; ++k1) {
                    LCx v = z[k0 * h + k1];
                    if (k1 == 0 || 2 * k1 == n1) {
                        // Mirror pairs (k0, n0-k0) agree; self-mirrored bins are real.
                        const int64_t m0 = (n0 - k0) % n0;
                        v = m0 == k0 ? LCx(v.real()) : m0 < k0 ? std::conj(LCx(z[m0 * h + k1])) : v;
                    }
                    cx[2 * (k0 * cx_ld + k1)] = double(v.real()), cx[2 * (k0 * cx_ld + k1) + 1] = double(v.imag());
                }
            for (int64_t k0 = 0; k0 < n0; ++k0)
                for (int64_t k1 = 0; k1 < n1; ++k1) {
                    const bool low = k1 < h;
                    const int64_t a0 = low ? k0 : (n0 - k0) % n0, a1 = low ? k1 : n1 - k1;
                    const LCx v(cx[2 * (a0 * cx_ld + a1)], cx[2 * (a0 * cx_ld + a1) + 1]);
                    full[k0 * n1 + k1] = low ? v : std::conj(v);
                }
        }
        const std::vector<double> kept = cx;
        EngineProblem p;
        p.kind = r.forward ? EngineKind::R2C : EngineKind::C2R, p.is_double = true, p.sign = r.forward ? -1 : 1;
        p.rank = 2, p.dims[0] = {n0, r.forward ? re_ld : cx_ld, r.forward ? cx_ld : re_ld}, p.dims[1] = {n1, 1, 1};
        p.scale = r.scale, p.nthreads = r.nthreads;
        int status = -1;
        EnginePlan *plan = r.level ? EnginePlanCreateForLevel(p, r.level, &status) : EnginePlanCreate(p, &status);
        ASSERT_EQ(status, EngineOk);
        // In place both sides are the real array (its rows hold h complex).
        if (r.in_place && !r.forward) std::copy(cx.begin(), cx.end(), re.begin());
        double *src = r.forward || r.in_place ? re.data() : cx.data();
        double *dst = r.in_place ? re.data() : r.forward ? cx.data() : re.data();
        ASSERT_EQ(EngineExecute(plan, src, nullptr, dst, nullptr), EngineOk);
        EnginePlanDestroy(plan);
        std::vector<std::pair<int64_t, int64_t>> bins = {{0, 0}, {n0 - 1, r.forward ? h - 1 : n1 - 1}, {1, 0}};
        for (int b = 0; b < 12; ++b) bins.push_back({(b * 2654435761ll + 7) % n0, (b * 40503ll + 3) % (r.forward ? h : n1)});
        std::vector<LCx> got, ref = NaiveBins2D(full, n0, n1, n1, p.sign, bins);
        for (auto &v : ref) v *= (long double)r.scale;
        for (const auto &[k0, k1] : bins)
            got.push_back(r.forward ? LCx(dst[2 * (k0 * cx_ld + k1)], dst[2 * (k0 * cx_ld + k1) + 1])
                                    : LCx(dst[k0 * re_ld + k1]));
        EXPECT_LE(RelRms(got, ref), Tolerance(true, n0 * n1))
            << n0 << " x " << n1 << (r.forward ? " R2C" : " C2R") << (r.in_place ? " in place" : "") << " threads "
            << r.nthreads << " level " << r.level;
        if (!r.forward && !r.in_place) {
            EXPECT_TRUE(cx == kept) << "C2R input changed, " << n0 << " x " << n1;
            bool untouched = true;
            for (int64_t j = 0; j < n0; ++j)
                for (int64_t c = n1; c < re_ld; ++c) untouched &= re[j * re_ld + c] == 7.0;
            EXPECT_TRUE(untouched) << "C2R padding written, " << n0 << " x " << n1;
        }
    }
}

}  // namespace
}  // namespace orb::dft::test
