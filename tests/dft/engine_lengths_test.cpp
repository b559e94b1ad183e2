// Every length 1..100 of the 1-D complex and real transforms against the
// naive long-double DFT, both directions and precisions: each short-length
// codelet, every butterfly radix and generic odd radix, and the primes
// above 61. Then primes up to 7681 on both convolution paths (Rader when
// p-1 factors into the butterflies, Bluestein otherwise) in every shape of
// call.
#include <gtest/gtest.h>

#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

struct LengthSweep {
    const char *name;
    EngineKind kind;
    bool is_double;
    int sign;
};

class EngineLengths : public ::testing::TestWithParam<LengthSweep> {};

TEST_P(EngineLengths, EveryLengthUpTo100MatchesNaiveDft) {
    const LengthSweep &sw = GetParam();
    for (int64_t n = 1; n <= 100; ++n) {
        Case c;
        c.kind = sw.kind, c.is_double = sw.is_double, c.sign = sw.sign, c.dims = {n};
        Outcome o = RunCase(c);
        ASSERT_EQ(o.create_status, EngineOk) << "n=" << n;
        ASSERT_EQ(o.exec_status, EngineOk) << "n=" << n;
        EXPECT_LE(o.error, o.tolerance) << sw.name << " n=" << n;
        EXPECT_FALSE(o.stray_write) << sw.name << " n=" << n;
    }
}

const LengthSweep kSweeps[] = {
    {"c2c_double_forward", EngineKind::C2C, true, -1},
    {"c2c_double_backward", EngineKind::C2C, true, +1},
    {"c2c_single_forward", EngineKind::C2C, false, -1},
    {"c2c_single_backward", EngineKind::C2C, false, +1},
    {"r2c_double", EngineKind::R2C, true, -1},
    {"c2r_double", EngineKind::C2R, true, +1},
    {"r2c_single", EngineKind::R2C, false, -1},
    {"c2r_single", EngineKind::C2R, false, +1},
};

INSTANTIATE_TEST_SUITE_P(Sweeps, EngineLengths, ::testing::ValuesIn(kSweeps),
                         [](const auto &info) { return std::string(info.param.name); });

// Primes above the largest butterfly. 67, 97, 131, 257, 641, 1009 and 7681
// have p-1 = 2*3*11, 2^5*3, 2*5*13, 2^8, 2^7*5, 2^4*3^2*7, 2^9*3*5 (Rader);
// 167 (166 = 2*83), 971 (970 = 2*5*97) and 4099 (4098 = 2*3*683) do not
// (Bluestein on 360, 2048 and 8640 points).
const int64_t kPrimes[] = {67, 97, 131, 167, 257, 641, 971, 1009, 4099, 7681};

struct PrimeCall {
    const char *name;
    EngineKind kind;
    int sign;
    bool in_place;
    double scale;  // times 1/p when negative
    int nthreads;
};

// Both directions, in and out of place, scaled, threaded, and the real
// transforms (a full-length complex FFT for odd n).
const PrimeCall kPrimeCalls[] = {
    {"c2c_forward", EngineKind::C2C, -1, false, 1.0, 1},
    {"c2c_backward_inplace_scaled", EngineKind::C2C, +1, true, -1.0, 2},
    {"c2c_forward_inplace_half", EngineKind::C2C, -1, true, 0.5, 1},
    {"c2c_backward_threads", EngineKind::C2C, +1, false, 2.0, 2},
    {"r2c", EngineKind::R2C, -1, false, 1.0, 1},
    {"r2c_inplace_threads", EngineKind::R2C, -1, true, 0.25, 2},
    {"c2r_inplace_scaled", EngineKind::C2R, +1, true, -1.0, 1},
    {"c2r", EngineKind::C2R, +1, false, 1.0, 2},
};

struct PrimeSweep {
    const char *name;
    bool is_double;
};

class EnginePrimes : public ::testing::TestWithParam<PrimeSweep> {};

TEST_P(EnginePrimes, ConvolutionPathsMatchNaiveDft) {
    const bool dbl = GetParam().is_double;
    for (int64_t n : kPrimes)
        for (const PrimeCall &pc : kPrimeCalls) {
            Case c;
            c.kind = pc.kind, c.is_double = dbl, c.sign = pc.sign, c.dims = {n};
            c.in_place = pc.in_place, c.nthreads = pc.nthreads;
            c.scale = pc.scale < 0 ? -pc.scale / double(n) : pc.scale;
            Outcome o = RunCase(c);
            ASSERT_EQ(o.create_status, EngineOk) << pc.name << " n=" << n;
            ASSERT_EQ(o.exec_status, EngineOk) << pc.name << " n=" << n;
            EXPECT_LE(o.error, o.tolerance) << pc.name << " n=" << n;
            EXPECT_FALSE(o.stray_write) << pc.name << " n=" << n;
        }
}

const PrimeSweep kPrimeSweeps[] = {{"double", true}, {"single", false}};

INSTANTIATE_TEST_SUITE_P(Precisions, EnginePrimes, ::testing::ValuesIn(kPrimeSweeps),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orb::dft::test
