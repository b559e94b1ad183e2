// Large lengths: sampled bins against the naive oracle (primes, prime
// powers, products of large primes), algebraic identities up to 2^22,
// threaded plans equal to single-threaded ones, and one plan executed from
// several threads at once.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

template <class T>
std::vector<T> Interleave(const std::vector<LCx> &x) {
    std::vector<T> v(2 * x.size());
    for (size_t i = 0; i < x.size(); ++i) v[2 * i] = T(x[i].real()), v[2 * i + 1] = T(x[i].imag());
    return v;
}

template <class T>
std::vector<T> Transform1D(int64_t n, int sign, const std::vector<T> &in, int nthreads = 1, double scale = 1.0) {
    EngineProblem p;
    p.is_double = sizeof(T) == 8, p.sign = sign, p.dims[0] = {n, 1, 1}, p.nthreads = nthreads, p.scale = scale;
    int status = -1;
    EnginePlan *plan = EnginePlanCreate(p, &status);
    EXPECT_EQ(status, EngineOk);
    std::vector<T> out(2 * n);
    if (plan) {
        EXPECT_EQ(EngineExecute(plan, in.data(), nullptr, out.data(), nullptr), EngineOk);
        EnginePlanDestroy(plan);
    }
    return out;
}

struct Sampled {
    int64_t n;
    bool is_double;
    int nthreads = 1;
};

class EngineLargeLengths : public ::testing::TestWithParam<Sampled> {};

TEST_P(EngineLargeLengths, SampledBinsMatchNaiveDft) {
    const auto [n, dbl, nthreads] = GetParam();
    std::vector<LCx> x = RandomComplex(n, 77 + n);
    const int bins = n > (1 << 14) ? 6 : 16;
    std::vector<LCx> got, ref;
    for (int sign : {-1, 1}) {
        std::vector<LCx> y(n);
        if (dbl) {
            auto o = Transform1D<double>(n, sign, Interleave<double>(x), nthreads);
            for (int64_t k = 0; k < n; ++k) y[k] = {o[2 * k], o[2 * k + 1]};
        } else {
            auto o = Transform1D<float>(n, sign, Interleave<float>(x), nthreads);
            for (int64_t k = 0; k < n; ++k) y[k] = {o[2 * k], o[2 * k + 1]};
        }
        std::vector<int64_t> ks;
        for (int b = 0; b < bins; ++b) {
            int64_t k = (b * 2654435761ll + 12345) % n;
            if (b == 0) k = 0;
            if (b == 1) k = n - 1;
            ks.push_back(k);
            got.push_back(y[k]);
        }
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
    {1 << 19, true}, {1 << 19, false}, {531441, true},
    // Rader: 65537 - 1 = 2^16 with the inner FFTs threaded; 786433 - 1 =
    // 3 2^18 runs its convolution as four-step FFTs.
    {65537, true, 2}, {65537, false, 2}, {786433, true}, {786433, false, 2},
    // Bluestein's filter for a length past the four-step bound
    // (262147 - 1 = 2 3 43691).
    {262147, true},
};

INSTANTIATE_TEST_SUITE_P(Lengths, EngineLargeLengths, ::testing::ValuesIn(kSampled),
                         [](const auto &info) {
                             return std::to_string(info.param.n) + (info.param.is_double ? "_d" : "_s") +
                                    (info.param.nthreads > 1 ? "_threads" : "");
                         });

// Identities of the DFT at 2^20 (double) and 2^18 (single): Parseval,
// linearity, the transform of a shifted impulse, round trip.
// Relative RMS distance of two interleaved arrays, accumulated in long double.
template <class T, class F>
double RelRmsTo(const std::vector<T> &got, F ref) {
    long double num = 0, den = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        const long double r = ref(i), d = got[i] - r;
        num += d * d, den += r * r;
    }
    return double(sqrtl(num / den));
}

template <class T>
void Identities(int64_t n, bool linearity) {
    const double tol = Tolerance(sizeof(T) == 8, n);
    auto a = Interleave<T>(RandomComplex(n, 5)), b = linearity ? Interleave<T>(RandomComplex(n, 6)) : std::vector<T>();
    auto fa = Transform1D<T>(n, -1, a);
    // Parseval: sum |X|^2 = n sum |x|^2.
    long double ex = 0, eX = 0;
    for (int64_t i = 0; i < 2 * n; ++i) ex += (long double)a[i] * a[i], eX += (long double)fa[i] * fa[i];
    EXPECT_LE(fabsl(eX / (ex * n) - 1), tol);
    // Linearity: F(a + 2b) = F(a) + 2 F(b).
    if (linearity) {
        auto fb = Transform1D<T>(n, -1, b);
        std::vector<T> ab(2 * n);
        for (int64_t i = 0; i < 2 * n; ++i) ab[i] = a[i] + T(2) * b[i];
        auto fab = Transform1D<T>(n, -1, ab);
        EXPECT_LE(RelRmsTo(fab, [&](size_t i) { return (long double)fa[i] + 2.0L * fb[i]; }), tol);
    }
    // exp(-2 pi i k / n) for every k, once.
    std::vector<long double> cs(n), sn(n);
    for (int64_t k = 0; k < n; ++k) {
        sincosl(-2.0L * 3.141592653589793238462643383279502884L * (long double)k / n, &sn[k], &cs[k]);
    }
    // Impulse at position s: X[k] = exp(-2 pi i s k / n).
    const int64_t s = n / 3 + 1;
    std::vector<T> imp(2 * n, T(0));
    imp[2 * s] = T(1);
    auto fi = Transform1D<T>(n, -1, imp);
    EXPECT_LE(RelRmsTo(fi,
                       [&](size_t i) {
                           const int64_t k = (s * int64_t(i / 2)) % n;
                           return i % 2 ? sn[k] : cs[k];
                       }),
              tol);
    // Time shift by one: F(x[j-1])[k] = exp(-2 pi i k / n) F(x)[k].
    std::vector<T> sh(2 * n);
    for (int64_t j = 0; j < n; ++j) sh[2 * ((j + 1) % n)] = a[2 * j], sh[2 * ((j + 1) % n) + 1] = a[2 * j + 1];
    auto fs = Transform1D<T>(n, -1, sh);
    EXPECT_LE(RelRmsTo(fs,
                       [&](size_t i) {
                           const int64_t k = int64_t(i / 2);
                           const long double c = cs[k], si = sn[k], re = fa[2 * k], im = fa[2 * k + 1];
                           return i % 2 ? re * si + im * c : re * c - im * si;
                       }),
              tol);
    // Round trip with scale 1/n.
    auto back = Transform1D<T>(n, +1, fa, 1, 1.0 / double(n));
    EXPECT_LE(RelRmsTo(back, [&](size_t i) { return (long double)a[i]; }), tol);
}

TEST(EngineIdentities, Double1M) { Identities<double>(int64_t(1) << 20, false); }
TEST(EngineIdentities, Single256K) { Identities<float>(int64_t(1) << 18, true); }
TEST(EngineIdentities, DoubleSmooth) { Identities<double>(3 * 5 * 7 * 4096, true); }

// Threads change how work is shared, not the arithmetic: results equal.
TEST(EngineThreads, ThreadedEqualsSingleThreaded) {
    const int64_t lengths[] = {1 << 15, 1 << 18, 3 * 5 * 4096, 65537, 786433, 262147};
    for (int64_t n : lengths) {
        auto x = Interleave<double>(RandomComplex(n, 9));
        auto one = Transform1D<double>(n, -1, x, 1);
        auto two = Transform1D<double>(n, -1, x, 2);
        EXPECT_EQ(one, two) << "n=" << n;
    }
}

TEST(EngineThreads, RealLongRowThreadedEqualsSingleThreaded) {
    const int64_t n = 1 << 17;
    std::vector<double> x(n), y1(n + 2), y2(n + 2);
    auto r = RandomComplex(n, 3);
    for (int64_t i = 0; i < n; ++i) x[i] = double(r[i].real());
    for (int nt : {1, 2}) {
        EngineProblem p;
        p.kind = EngineKind::R2C, p.dims[0] = {n, 1, 1}, p.nthreads = nt;
        int status;
        EnginePlan *plan = EnginePlanCreate(p, &status);
        ASSERT_NE(plan, nullptr);
        EXPECT_EQ(EngineExecute(plan, x.data(), nullptr, (nt == 1 ? y1 : y2).data(), nullptr), EngineOk);
        EnginePlanDestroy(plan);
    }
    EXPECT_EQ(y1, y2);
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
    auto x = Interleave<double>(RandomComplex(total, 11));
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
