// Large lengths: sampled bins against the naive oracle (primes, prime
// powers, products of large primes), algebraic identities up to 2^22,
// threaded plans equal to single-threaded ones, and one plan executed from
// several threads at once.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <thread>
#include <vector>

#include "dft/engine/engine_internal.h"
#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

template <class T>
std::vector<LCx> Round(std::vector<LCx> x) {
    for (auto &v : x) v = {T(v.real()), T(v.imag())};
    return x;
}

// One out-of-place 1-D transform of length n through the engine in T.
template <class T>
std::vector<LCx> Transform1D(int64_t n, int sign, const std::vector<LCx> &x, int nthreads = 1, double scale = 1.0,
                             EngineKind kind = EngineKind::C2C, int level = 0) {
    EngineProblem p;
    p.kind = kind, p.is_double = sizeof(T) == 8, p.sign = sign, p.dims[0] = {n, 1, 1};
    p.nthreads = nthreads, p.scale = scale;
    const bool real_in = kind == EngineKind::R2C;
    std::vector<T> in(real_in ? n : 2 * n), out(2 * n);
    for (int64_t i = 0; i < n; ++i) {
        if (real_in) in[i] = T(x[i].real());
        else in[2 * i] = T(x[i].real()), in[2 * i + 1] = T(x[i].imag());
    }
    int status = -1;
    EnginePlan *plan = level ? EnginePlanCreateForLevel(p, level, &status) : EnginePlanCreate(p, &status);
    EXPECT_EQ(status, EngineOk);
    std::vector<LCx> y;
    if (!plan) return y;
    EXPECT_EQ(EngineExecute(plan, in.data(), nullptr, out.data(), nullptr), EngineOk);
    EnginePlanDestroy(plan);
    for (int64_t k = 0; k < (real_in ? n / 2 + 1 : n); ++k) y.push_back({out[2 * k], out[2 * k + 1]});
    return y;
}

struct Sampled {
    int64_t n;
    bool is_double;
    int nthreads = 1;
    int level = 0;             // 0: the process's level
    bool four_step = false;    // four-step from 2^18 points, whatever the caches
    int ways = 0;              // first-level ways the plan assumes (0: the machine's)
};

class EngineLargeLengths : public ::testing::TestWithParam<Sampled> {};

TEST_P(EngineLargeLengths, SampledBinsMatchNaiveDft) {
    const auto [n, dbl, nthreads, level, four_step, ways] = GetParam();
    std::optional<FourStepFrom> forced;
    if (four_step) forced.emplace(int64_t(1) << 18);
    std::optional<FirstLevelCacheWays> assumed;
    if (ways) assumed.emplace(ways);
    // The rows on stage orders stay on the stages where a lone row would
    // take the split for the second-level cache (engine_cache_split_test).
    std::optional<SecondLevelCache> stages;
    if (ways) stages.emplace(int64_t(1) << 30);
    const std::vector<LCx> x = RandomComplex(n, 77 + n);
    // The top bins are those Bluestein's convolution wraps, when it does.
    std::vector<int64_t> ks = {0, n - 3, n - 2, n - 1};
    for (int b = 2; b < (n > (1 << 14) ? 6 : 16); ++b) ks.push_back((b * 2654435761ll + 12345) % n);
    std::vector<LCx> got, ref;
    for (int sign : {-1, 1}) {
        const std::vector<LCx> y = dbl ? Transform1D<double>(n, sign, x, nthreads, 1.0, EngineKind::C2C, level)
                                       : Transform1D<float>(n, sign, x, nthreads, 1.0, EngineKind::C2C, level);
        ASSERT_EQ(y.size(), size_t(n));
        for (int64_t k : ks) got.push_back(y[k]);
        for (LCx v : NaiveBins(x, ks, sign)) ref.push_back(v);
    }
    EXPECT_LE(RelRms(got, ref), Tolerance(dbl, n)) << "n=" << n;
}

const Sampled kSampled[] = {
    {1009, true},     {1009, false},    {4099, true},   {4099, false},     {65537, true},
    {65537, false},   {19683, true},    {15625, false}, {16807, true},     {257 * 263, true}, {257 * 263, false}, {2 * 4099 * 3, true}, {61 * 59 * 53, true}, {100000, true}, {100000, false},
     {1536, true},   {2 * 3 * 3 * 3 * 3 * 3 * 1024, true},
    // Four-step with unequal factors (512 x 1024), interleaved blocks of 8
    // (double) and 16 (single); 3^12 = 729 x 729 takes the unblocked path.
    // (Forced: the cache rule keeps them on the stages up to the largest
    // cache; 3^12 runs there too, and the identities below take 2^18 and
    // 2^20 wherever the rule puts them.)
    {1 << 19, true, 1, 0, true}, {1 << 19, false, 1, 0, true}, {531441, true, 1, 0, true}, {531441, true},
    // Rader: 65537 - 1 = 2^16 with the inner FFTs threaded; 786433 - 1 =
    // 3 2^18 runs its convolution as four-step FFTs.
    {65537, true, 2}, {65537, false, 2}, {786433, true, 1, 0, true}, {786433, false, 2, 0, true},
    // Bluestein's filter for a length past the four-step bound
    // (262147 - 1 = 2 3 43691; 524288 points, 5 wrapped outputs).
    {262147, true, 1, 0, true},
    // Bluestein: 65539 (131072 points, K = 5 wrapped outputs) and 16531
    // (34560 points).
    {65539, true}, {65539, false, 2}, {16531, true}, {16531, false},
    // Beyond the first-level cache 3s and 5s pair with factors of two, on
    // every kernel build: 12,10,5,5 (3000 double), 12,11,6,3 (2376 double),
    // 12,10,10,5 and 12,23,6,3 (6000, 4968 single), a radix-8 first stage
    // before 10s in single (8000: 8,10,10,10; 10000: 8,10,5,5,5), 10^4 and
    // 12^5 in double.
    {3000, true, 1, 5}, {3000, true, 1, 6}, {3000, true, 1, 7}, {2376, true, 1, 5}, {2376, true, 1, 7},
    {6000, false, 1, 5}, {6000, false, 1, 6}, {6000, false, 1, 7}, {4968, false, 1, 5}, {4968, false, 1, 7},
    {8000, false, 1, 5}, {8000, false, 1, 6}, {8000, false, 1, 7}, {10000, false, 1, 5}, {10000, false, 2, 7},
    {10000, true, 1, 5}, {10000, true, 1, 6}, {10000, true, 2, 7}, {248832, true, 1, 7}, {248832, false, 1, 7},
    // Where the first-level cache has 8 ways, powers of two from 2^14 on
    // radix-4 stages (a radix-8 one first for an odd exponent), on every
    // kernel build and shared over threads; 2^e times 3s and 5s (e >= 12)
    // with the odd stages first, a factor of two joined to the first for
    // an odd e (6 or 10).
    {1 << 14, true, 1, 5, false, 8}, {1 << 14, false, 1, 6, false, 8}, {1 << 15, true, 1, 7, false, 8},
    {1 << 15, false, 1, 5, false, 8}, {1 << 16, false, 2, 7, false, 8}, {1 << 17, true, 1, 6, false, 8},
    {1 << 17, false, 2, 7, false, 8}, {3 << 12, true, 1, 5, false, 8}, {3 << 13, false, 1, 6, false, 8},
    {3 << 14, true, 2, 7, false, 8}, {5 << 13, false, 1, 7, false, 8}, {5 << 14, true, 1, 6, false, 8},
    {9 << 12, true, 1, 7, false, 8}, {15 << 12, false, 1, 5, false, 8},
    // With 12 ways the same lengths keep the other rules' orders.
    {1 << 14, true, 1, 7, false, 12}, {1 << 15, false, 1, 6, false, 12}, {1 << 17, true, 2, 7, false, 12},
    {3 << 13, true, 1, 7, false, 12}, {9 << 12, false, 1, 5, false, 12}, {15 << 12, true, 1, 7, false, 12},
};

INSTANTIATE_TEST_SUITE_P(Lengths, EngineLargeLengths, ::testing::ValuesIn(kSampled),
                         [](const auto &info) {
                             return std::to_string(info.param.n) + (info.param.is_double ? "_d" : "_s") +
                                    (info.param.nthreads > 1 ? "_threads" : "") +
                                    (info.param.four_step ? "_fourstep" : "") +
                                    (info.param.ways ? "_ways" + std::to_string(info.param.ways) : "") +
                                    (info.param.level ? "_level" + std::to_string(info.param.level) : "");
                         });

// Identities of the DFT: Parseval, linearity, the transform of a shifted
// impulse, the time shift, the round trip.
template <class T>
void Identities(int64_t n, bool linearity) {
    const double tol = Tolerance(sizeof(T) == 8, n);
    const std::vector<LCx> a = Round<T>(RandomComplex(n, 5)), fa = Transform1D<T>(n, -1, a);
    ASSERT_EQ(fa.size(), size_t(n));
    long double ex = 0, eX = 0;  // sum |X|^2 = n sum |x|^2
    for (int64_t i = 0; i < n; ++i) ex += std::norm(a[i]), eX += std::norm(fa[i]);
    EXPECT_LE(fabsl(eX / (ex * n) - 1), tol) << n;
    std::vector<LCx> in(n), want(n);
    if (linearity) {  // F(a + 2b) = F(a) + 2 F(b)
        const std::vector<LCx> b = Round<T>(RandomComplex(n, 6)), fb = Transform1D<T>(n, -1, b);
        for (int64_t i = 0; i < n; ++i) in[i] = a[i] + 2.0L * b[i], want[i] = fa[i] + 2.0L * fb[i];
        EXPECT_LE(RelRms(Transform1D<T>(n, -1, in), want), tol) << n;
    }
    const std::vector<LCx> w = Roots(-1, n);
    const int64_t s = n / 3 + 1;  // impulse at s: X[k] = w^(s k)
    for (int64_t k = 0; k < n; ++k) in[k] = LCx(k == s ? 1 : 0), want[k] = w[(s * k) % n];
    EXPECT_LE(RelRms(Transform1D<T>(n, -1, in), want), tol) << n;
    // Shift by one: F(x[j-1])[k] = w^k F(x)[k].
    for (int64_t j = 0; j < n; ++j) in[(j + 1) % n] = a[j], want[j] = w[j] * fa[j];
    EXPECT_LE(RelRms(Transform1D<T>(n, -1, in), want), tol) << n;
    EXPECT_LE(RelRms(Transform1D<T>(n, +1, fa, 1, 1.0 / double(n)), a), tol) << n;  // scale 1/n
}

TEST(EngineIdentities, LargeLengths) {
    Identities<double>(int64_t(1) << 20, false);
    Identities<float>(int64_t(1) << 18, true);
    Identities<double>(3 * 5 * 7 * 4096, true);
}

// Long real rows: sampled bins of R2C against the naive DFT of the real
// row, and sampled outputs of C2R against the naive inverse of the full
// conjugate-even spectrum (the imaginary parts of bins 0 and n/2, which no
// real signal has, must be ignored: the input carries them).
// - Large primes run Rader's convolution on real data (three real FFTs of
//   lengths p-1 and (p-1)/2): 65537 (half length 2^15), 7681 (3840) on
//   every kernel build, 786433 (393216: the convolution beyond the
//   second-level cache), 2251 ((p-1)/2 = 1125, odd: its real transform
//   runs full length), threaded and scaled.
// - Rows whose backward transform forms its complex row in the output
//   array (threaded, or at the SSE2-class level: 2^16 and 2^17 double, 2^17
//   and 2^18 single), or inside the first stage (one thread, AVX and
//   AVX2+FMA, single precision on every build: powers of two, 48000 and
//   100000 on mixed radices, 2 3^10 and 2 5^7 whose half length is odd),
//   out of place and in place, scaled, with packed ends; and either side
//   of them (2^15, 2^18 double), where the row goes through the scratch.
// - Forward rows whose pair step runs inside the last stage (double, AVX
//   and AVX2+FMA, one thread: 2^15, 40000, 48000), the same ways.
TEST(EngineLargeRealRows, SampledBinsMatchNaiveDft) {
    struct Row {
        int64_t n;
        bool is_double;
        int nthreads;
        int level;
        double scale;
        bool in_place = false;
        bool packed_ends = false;
    };
    const Row rows[] = {{65537, true, 1, 0, 1.0},  {65537, false, 2, 0, 1.0}, {65537, true, 2, 0, 0.5},
                        {7681, true, 1, 5, 1.0},   {7681, true, 1, 6, 1.0},   {7681, false, 1, 7, 2.0},
                        {786433, true, 2, 0, 1.0}, {2251, true, 1, 0, 1.0},   {2251, false, 1, 0, 1.0},
                        {1 << 16, true, 1, 0, 1.0}, {1 << 16, true, 1, 5, 0.25, true},
                        {1 << 16, true, 2, 0, 1.0, false, true}, {1 << 17, true, 1, 7, 1.0, true, true},
                        {1 << 17, true, 2, 0, 2.0}, {1 << 17, false, 1, 0, 1.0}, {1 << 18, false, 2, 6, 1.0, true},
                        {1 << 15, true, 1, 0, 1.0, true}, {1 << 18, true, 1, 0, 1.0, true},
                        {1 << 15, true, 1, 7, 1.0}, {1 << 16, true, 1, 6, 0.5, true}, {1 << 17, true, 1, 7, 2.0},
                        {48000, true, 1, 6, 1.0, false, true}, {100000, true, 1, 7, 1.0, true, true},
                        {2 * 59049, true, 1, 7, 1.0}, {2 * 78125, true, 1, 6, 1.0, true},
                        {1 << 16, false, 1, 7, 1.0, true}, {1 << 17, false, 1, 5, 4.0, false, true},
                        {1 << 18, false, 1, 6, 1.0}, {1 << 15, true, 1, 6, 1.0, true, true},
                        {40000, true, 1, 7, 3.0, true}};
    for (const Row &r : rows) {
        const int64_t n = r.n, h = n / 2;
        std::vector<int64_t> ks = {0, 1, 2, h - 1, h};
        for (int b = 2; b < 10; ++b) ks.push_back((b * 2654435761ll + 12345) % (h + 1));
        for (EngineKind kind : {EngineKind::R2C, EngineKind::C2R}) {
            const bool fwd = kind == EngineKind::R2C;
            EngineProblem p;
            p.kind = kind, p.is_double = r.is_double, p.sign = fwd ? -1 : 1, p.dims[0] = {n, 1, 1};
            p.nthreads = r.nthreads, p.scale = r.scale, p.packed_ends = r.packed_ends;
            // Forward: x real. Backward: bins 0..h, spread to the full
            // conjugate-even spectrum for the oracle.
            std::vector<LCx> x = RandomComplex(n, 31 + n), full(n);
            if (fwd) {
                for (auto &v : x) v = v.real();
                full = x;
            } else {
                full[0] = x[0].real();
                if (n % 2 == 0) full[h] = x[h].real();
                for (int64_t k = 1; k < n - h; ++k) full[k] = x[k], full[n - k] = std::conj(x[k]);
            }
            std::vector<long double> in(2 * n), out(2 * n);
            for (int64_t i = 0; i < (fwd ? n : h + 1); ++i) {
                if (fwd) in[i] = x[i].real();
                else in[2 * i] = x[i].real(), in[2 * i + 1] = x[i].imag();
            }
            // Packed ends: X[n/2].re where X[0].im would be.
            if (!fwd && r.packed_ends) in[1] = in[n];
            const auto run = [&]<class T>(T) {
                std::vector<T> a(in.begin(), in.end()), y(2 * n);
                const std::vector<T> a0 = a;
                int status = -1;
                EnginePlan *plan = r.level ? EnginePlanCreateForLevel(p, r.level, &status) : EnginePlanCreate(p, &status);
                ASSERT_EQ(status, EngineOk);
                T *dst = r.in_place ? a.data() : y.data();
                EXPECT_EQ(EngineExecute(plan, a.data(), nullptr, dst, nullptr), EngineOk);
                EnginePlanDestroy(plan);
                // Out of place the input stays as it was.
                if (!r.in_place) {
                    EXPECT_TRUE(a == a0);
                }
                std::copy(dst, dst + 2 * n, out.begin());
                // Every output, not only the sampled ones, against the same
                // plan on two threads (whose rows keep the pair step apart).
                if (r.nthreads == 1 && n % 2 == 0) {
                    EngineProblem p2 = p;
                    p2.nthreads = 2;
                    std::vector<T> y2(2 * n);
                    EnginePlan *plan2 = r.level ? EnginePlanCreateForLevel(p2, r.level, &status) : EnginePlanCreate(p2, &status);
                    ASSERT_EQ(status, EngineOk);
                    EXPECT_EQ(EngineExecute(plan2, a0.data(), nullptr, y2.data(), nullptr), EngineOk);
                    EnginePlanDestroy(plan2);
                    std::vector<LCx> one, two;
                    for (int64_t i = 0; i < (fwd ? h + 1 : n / 2); ++i)
                        one.push_back({out[2 * i], out[2 * i + 1]}), two.push_back({y2[2 * i], y2[2 * i + 1]});
                    EXPECT_LE(RelRms(one, two), Tolerance(r.is_double, n))
                        << (fwd ? "R2C" : "C2R") << " n=" << n << " level " << r.level << ": one thread against two";
                }
            };
            if (r.is_double) run(double{});
            else run(float{});
            std::vector<LCx> got, ref = NaiveBins(full, ks, p.sign);
            for (auto &v : ref) v *= (long double)r.scale;
            for (int64_t k : ks) {
                // Packed ends: bin h's real part where bin 0's imaginary one was.
                if (fwd && r.packed_ends && (k == 0 || k == h)) got.push_back(k == 0 ? LCx(out[0]) : LCx(out[1]));
                else got.push_back(fwd ? LCx(out[2 * k], out[2 * k + 1]) : LCx(out[k]));
            }
            EXPECT_LE(RelRms(got, ref), Tolerance(r.is_double, n))
                << (fwd ? "R2C" : "C2R") << " n=" << n << " level " << r.level << " threads " << r.nthreads
                << (r.in_place ? " in place" : "") << (r.packed_ends ? " packed ends" : "");
        }
    }
}

// Threads change how work is shared, not the arithmetic: results equal.
TEST(EngineThreads, ThreadedEqualsSingleThreaded) {
    for (bool four_step : {false, true}) {
        std::optional<FourStepFrom> forced;
        if (four_step) forced.emplace(int64_t(1) << 18);
        for (int64_t n : {1 << 15, 1 << 18, 3 * 5 * 4096, 65537, 786433, 262147, 65539}) {
            if (four_step && n < (1 << 18)) continue;
            const std::vector<LCx> x = RandomComplex(n, 9);
            EXPECT_TRUE(Transform1D<double>(n, -1, x, 1) == Transform1D<double>(n, -1, x, 2))
                << "n=" << n << (four_step ? " four-step" : "");
        }
    }
    const int64_t n = 1 << 17;  // a long real row
    const std::vector<LCx> x = RandomReal(n, 3);
    EXPECT_TRUE(Transform1D<double>(n, -1, x, 1, 1.0, EngineKind::R2C) ==
                Transform1D<double>(n, -1, x, 2, 1.0, EngineKind::R2C));
}

// A real row with packed ends (X[n/2].re beside X[0].re, n reals in all)
// against the same row's plain plan: the same numbers, nothing written past
// n reals, threaded rows included; rows on a codelet or of odd length have
// no such plan.
template <class T>
void PackedEndsRow(int64_t n, int nthreads) {
    const std::string name = "n=" + std::to_string(n) + " threads " + std::to_string(nthreads);
    const std::vector<LCx> x = RandomReal(n, 21);
    std::vector<T> real(n), plain(n + 2, T(-3)), packed(n + 2, T(-3)), back_plain(n + 2, T(-3)),
        back_packed(n + 2, T(-3));
    for (int64_t j = 0; j < n; ++j) real[j] = T(x[j].real());
    auto run = [&](EngineKind kind, bool ends, const T *in, T *out) {
        EngineProblem p;
        p.kind = kind, p.is_double = sizeof(T) == 8, p.sign = kind == EngineKind::R2C ? -1 : 1;
        p.dims[0] = {n, 1, 1}, p.nthreads = nthreads, p.packed_ends = ends;
        int status = -1;
        EnginePlan *plan = EnginePlanCreate(p, &status);
        ASSERT_NE(plan, nullptr) << name;
        EXPECT_EQ(EngineExecute(plan, in, nullptr, out, nullptr), EngineOk);
        EnginePlanDestroy(plan);
    };
    run(EngineKind::R2C, false, real.data(), plain.data());
    run(EngineKind::R2C, true, real.data(), packed.data());
    std::vector<T> want(plain.begin(), plain.begin() + n);
    want[1] = plain[n];  // X[n/2].re in place of X[0].im (zero)
    EXPECT_TRUE(std::vector<T>(packed.begin(), packed.begin() + n) == want) << name;
    EXPECT_EQ(packed[n], T(-3)) << name;
    EXPECT_EQ(packed[n + 1], T(-3)) << name;
    run(EngineKind::C2R, false, plain.data(), back_plain.data());
    run(EngineKind::C2R, true, packed.data(), back_packed.data());
    EXPECT_TRUE(back_plain == back_packed) << name;
}

TEST(EngineRealRows, PackedEndsEqualPlainRow) {
    for (int64_t n : {32, 34, 1024, 4096}) PackedEndsRow<double>(n, 1), PackedEndsRow<float>(n, 1);
    PackedEndsRow<double>(1 << 16, 2);  // the row's stages shared over threads
    for (int64_t n : {16, 31, 1025}) {
        EngineProblem p;
        p.kind = EngineKind::R2C, p.dims[0] = {n, 1, 1}, p.packed_ends = true;
        int status = -1;
        EXPECT_EQ(EnginePlanCreate(p, &status), nullptr) << n;
        EXPECT_EQ(status, EngineInvalid) << n;
    }
}

// A single-threaded plan is immutable: four threads executing it at once
// get the same answers as one thread alone.
TEST(EngineThreads, OnePlanFromFourThreads) {
    const int64_t n0 = 24, n1 = 127;  // a Bluestein dimension too
    EngineProblem p;
    p.rank = 2, p.dims[0] = {n0, n1, n1}, p.dims[1] = {n1, 1, 1};
    p.howmany_rank = 1, p.howmany[0] = {3, n0 * n1, n0 * n1};
    int status;
    EnginePlan *plan = EnginePlanCreate(p, &status);
    ASSERT_NE(plan, nullptr);
    const int64_t total = 3 * n0 * n1;
    std::vector<double> x;
    for (LCx v : RandomComplex(total, 11)) x.insert(x.end(), {double(v.real()), double(v.imag())});
    std::vector<double> expect(2 * total);
    ASSERT_EQ(EngineExecute(plan, x.data(), nullptr, expect.data(), nullptr), EngineOk);
    std::vector<std::vector<double>> outs(4, std::vector<double>(2 * total));
    std::vector<int> rc(4, -1);
    std::vector<std::thread> team;
    for (int t = 0; t < 4; ++t)
        team.emplace_back([&, t] {
            for (int rep = 0; rep < 20; ++rep) rc[t] = EngineExecute(plan, x.data(), nullptr, outs[t].data(), nullptr);
        });
    for (auto &th : team) th.join();
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ(rc[t], EngineOk);
        EXPECT_EQ(outs[t], expect) << "thread " << t;
    }
    EnginePlanDestroy(plan);
}

}  // namespace
}  // namespace orb::dft::test
