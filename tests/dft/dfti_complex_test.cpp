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
    // Fields in declaration order: name, precision, lengths, count, in place,
    // split, backward, strides, pad, negated axis, scale, ordering, threads.
    const ApiCase cases[] = {
        {.name = "2d", .lengths = {12, 10}},
        {.name = "3d", .lengths = {5, 6, 7}},
        {.name = "7d", .lengths = {2, 3, 2, 1, 2, 5, 2}},
        {.name = "1d batch oop padded", .lengths = {30}, .count = 5, .in_place = false, .pad = 3},
        {.name = "1d stride 2/3", .lengths = {17}, .in_place = false, .unit_in = 2, .unit_out = 3},
        {.name = "1d negative stride", .lengths = {24}, .in_place = false, .unit_in = -1, .unit_out = 2},
        {.name = "2d negative outer, batched", .lengths = {6, 9}, .count = 3, .in_place = false,
         .pad = 1, .negate_axis = 0},
        {.name = "3d negative middle in place", .lengths = {4, 5, 3}, .negate_axis = 1},
        {.name = "2d split in place", .lengths = {8, 12}, .split = true},
        {.name = "2d split oop scaled", .lengths = {7, 4}, .in_place = false, .split = true,
         .scale = 0.125},
        {.name = "3d split oop batched padded", .lengths = {3, 4, 5}, .count = 3, .in_place = false,
         .split = true, .pad = 2, .negate_axis = 1, .scale = 2.0},
        {.name = "2d split batched threads", .lengths = {16, 10}, .count = 5, .split = true,
         .thread_limit = 2},
        {.name = "2d split user threads", .lengths = {6, 40}, .split = true, .user_threads = 4},
        {.name = "1d split batched strided", .lengths = {20}, .count = 4, .in_place = false,
         .split = true, .unit_in = 2, .unit_out = -1},
        {.name = "1d split batch in place threads", .lengths = {12}, .count = 6, .split = true,
         .unit_in = 3, .thread_limit = 2},
        {.name = "1d split straight-line batch", .lengths = {9}, .count = 7, .split = true,
         .unit_in = 2, .pad = 1, .thread_limit = 2},
        {.name = "1d split straight-line batch oop", .lengths = {5}, .count = 40, .in_place = false,
         .split = true, .unit_out = -3},
        {.name = "1d split single transform", .lengths = {64}, .in_place = false, .split = true},
        {.name = "1d split straight-line in place strided", .lengths = {7}, .split = true,
         .unit_in = -2, .scale = 0.25},
        {.name = "1d split straight-line oop", .lengths = {10}, .in_place = false, .split = true,
         .unit_in = 3, .unit_out = 2},
        {.name = "small cube 8", .lengths = {8, 8, 8}},
        {.name = "cube 8 scaled", .lengths = {8, 8, 8}, .in_place = false, .scale = 0.5},
        {.name = "ordering 49", .lengths = {48}, .ordering = 49},
        {.name = "threads 2 batched", .lengths = {100}, .count = 9, .thread_limit = 2},
        {.name = "unit dimensions", .lengths = {1, 16, 1}, .in_place = false},
    };
    for (ApiCase c : cases)
        for (bool dbl : {true, false})
            for (bool backward : {false, true}) {
                c.is_double = dbl;
                c.backward = backward;
                SCOPED_TRACE(std::string(dbl ? "double" : "single") + (backward ? " backward" : " forward"));
                Expect(c);
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
