// Large two-dimensional complex transforms whose columns run as two
// radix-N passes across whole rows (n0 = 1024 or 4096): sampled bins
// against the naive long-double 2-D DFT, out of place and in place, both
// directions, scaled, padded rows, rows whose length leaves a partial
// column block, teams of threads, every kernel build.
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

}  // namespace
}  // namespace orb::dft::test
