// Every length 1..100 of the 1-D complex and real transforms against the
// naive long-double DFT, both directions and precisions: each short-length
// codelet, every butterfly radix and generic odd radix, and Bluestein for
// the primes above 61.
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

}  // namespace
}  // namespace orb::dft::test
