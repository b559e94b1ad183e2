// Complex transforms through the descriptor interface against the
// long-double oracle: every length 1-512, larger smooth and prime lengths,
// ranks 1-3 and 7, batches, strides (negative too), in and out of place,
// split storage, both precisions, both directions, round trips, and the
// algebraic checks at large n.
#include <gtest/gtest.h>

#include <cmath>

#include "dfti_layout.h"
#include "engine_oracle.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

void Expect(const ApiCase &c) {
    ApiOutcome o = RunApiCase(c);
    ASSERT_EQ(o.commit, 0) << c.name;
    ASSERT_EQ(o.compute, 0) << c.name;
    EXPECT_LE(o.error, o.tolerance) << c.name;
    EXPECT_FALSE(o.stray_write) << c.name;
}

TEST(DftiComplex, EveryLengthTo512) {
    for (bool dbl : {true, false})
        for (int32_t n = 1; n <= 512; ++n) {
            ApiCase c;
            c.name = (dbl ? "z n=" : "c n=") + std::to_string(n);
            c.is_double = dbl;
            c.lengths = {n};
            c.backward = n % 3 == 0;
            c.in_place = n % 2 == 0;
            Expect(c);
        }
}

TEST(DftiComplex, LargerLengths) {
    // primes, prime powers, products of large primes, smooth sizes
    for (int32_t n : {1009, 2048, 2187, 2310, 3125, 4099, 2 * 1009, 97 * 31})
        for (bool dbl : {true, false}) {
            if (n > 4100 && !dbl) continue;
            ApiCase c;
            c.name = std::to_string(n);
            c.is_double = dbl;
            c.lengths = {n};
            c.in_place = false;
            Expect(c);
        }
}

TEST(DftiComplex, LayoutTable) {
    auto make = [](std::string name, std::vector<int32_t> lengths) {
        ApiCase c;
        c.name = std::move(name);
        c.lengths = std::move(lengths);
        return c;
    };
    std::vector<ApiCase> cases;
    cases.push_back(make("2d", {12, 10}));
    cases.push_back(make("3d", {5, 6, 7}));
    cases.push_back(make("7d", {2, 3, 2, 1, 2, 5, 2}));
    {
        ApiCase c = make("1d batch oop padded", {30});
        c.count = 5, c.in_place = false, c.pad = 3;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d stride 2/3", {17});
        c.in_place = false, c.unit_in = 2, c.unit_out = 3;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d negative stride", {24});
        c.in_place = false, c.unit_in = -1, c.unit_out = 2;
        cases.push_back(c);
    }
    {
        ApiCase c = make("2d negative outer, batched", {6, 9});
        c.negate_axis = 0, c.count = 3, c.pad = 1, c.in_place = false;
        cases.push_back(c);
    }
    {
        ApiCase c = make("3d negative middle in place", {4, 5, 3});
        c.negate_axis = 1;
        cases.push_back(c);
    }
    {
        ApiCase c = make("2d split in place", {8, 12});
        c.split = true;
        cases.push_back(c);
    }
    {
        ApiCase c = make("2d split oop backward scaled", {7, 4});
        c.split = true, c.in_place = false, c.backward = true, c.scale = 0.125;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d split batched strided", {20});
        c.split = true, c.count = 4, c.unit_in = 2, c.in_place = false, c.unit_out = -1;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d split single transform", {64});
        c.split = true, c.in_place = false;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d split straight-line in place strided", {7});
        c.split = true, c.unit_in = -2, c.scale = 0.25;
        cases.push_back(c);
    }
    {
        ApiCase c = make("1d split straight-line oop", {10});
        c.split = true, c.in_place = false, c.unit_in = 3, c.unit_out = 2;
        cases.push_back(c);
    }
    {
        ApiCase c = make("small cube 8", {8, 8, 8});
        cases.push_back(c);
    }
    {
        ApiCase c = make("cube 8 scaled", {8, 8, 8});
        c.scale = 0.5, c.in_place = false;
        cases.push_back(c);
    }
    {
        ApiCase c = make("ordering 49", {48});
        c.ordering = 49;
        cases.push_back(c);
    }
    {
        ApiCase c = make("threads 2 batched", {100});
        c.count = 9, c.thread_limit = 2;
        cases.push_back(c);
    }
    {
        ApiCase c = make("unit dimensions", {1, 16, 1});
        c.in_place = false;
        cases.push_back(c);
    }
    for (ApiCase c : cases)
        for (bool dbl : {true, false}) {
            c.is_double = dbl;
            c.name += dbl ? " (double)" : " (single)";
            Expect(c);
            c.backward = !c.backward;
            c.name += " other direction";
            Expect(c);
            c.name.resize(c.name.size() - 16);
        }
}

TEST(DftiComplex, RoundTrips) {
    const std::vector<std::vector<int32_t>> shapes = {{1}, {7}, {1024}, {4, 9}, {3, 5, 7}};
    for (const auto &s : shapes)
        for (bool dbl : {true, false})
            for (bool split : {false, true}) {
                int64_t n = 1;
                for (int32_t x : s) n *= x;
                EXPECT_LE(RoundTripError(dbl, s, split), 2 * Tolerance(dbl, n))
                    << s.size() << " " << dbl << " " << split;
            }
}

// Large n: impulse, time shift and Parseval, in double.
TEST(DftiComplex, AlgebraicChecksLarge) {
    const int32_t n = 1 << 20;
    DftiHandle h = nullptr;
    ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 1, n), 0);
    ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
    ASSERT_EQ(DftiCommitDescriptor(h), 0);
    std::vector<double> x(2 * size_t(n), 0.0), y(2 * size_t(n));
    const int64_t shift = 12345;
    x[2 * shift] = 1.0;  // impulse at `shift`: y[k] = exp(-2 pi i k shift / n)
    ASSERT_EQ(DftiComputeForward(h, x.data(), y.data()), 0);
    double worst = 0;
    for (int64_t k = 0; k < n; k += 997) {
        long double a = -2.0L * 3.14159265358979323846264338327950288L * (long double)((k * shift) % n) / n;
        worst = std::fmax(worst, std::hypot(y[2 * k] - double(cosl(a)), y[2 * k + 1] - double(sinl(a))));
    }
    EXPECT_LE(worst, 5 * 2.2e-16 * 20);
    // Parseval on random data.
    std::vector<LCx> r = RandomComplex(n, 5);
    long double ex = 0, ey = 0;
    for (int64_t i = 0; i < n; ++i) {
        x[2 * i] = double(r[i].real());
        x[2 * i + 1] = double(r[i].imag());
        ex += std::norm(r[i]);
    }
    ASSERT_EQ(DftiComputeForward(h, x.data(), y.data()), 0);
    for (int64_t i = 0; i < n; ++i) ey += (long double)y[2 * i] * y[2 * i] + (long double)y[2 * i + 1] * y[2 * i + 1];
    EXPECT_NEAR(double(ey / (ex * n)), 1.0, 5 * 2.2e-16 * 20);
    DftiFreeDescriptor(&h);
}

}  // namespace
