// Read-once environment handling and the fatal ends, each case in a fresh
// process.
#include <gtest/gtest.h>

#include <string>

#include "support/process_harness.h"

namespace {

using orb::test::EnvList;
using orb::test::ExpectProbe;
using orb::test::RunProbe;

TEST(ProcessLevels, SyntheticProcessorsUnderEnvironment) {
    struct Case {
        const char *vendor;
        int features;
        EnvList env;
        const char *expected;
    } cases[] = {
        {"GenuineVarel", 7, {}, "cpu=7 ext=9 cbwr=1\n"},
        {"GenuineVarel", 5, {{"ORB_DEBUG_CPU_TYPE", "7"}}, "cpu=7 ext=7 cbwr=1\n"},
        {"GenuineVarel", 5, {{"ORB_CBWR", "AVX"}}, "cpu=5 ext=7 cbwr=9\n"},
        {"GenuineVarel", 7, {{"ORB_CBWR", "BRANCH=SSE4_2"}}, "cpu=5 ext=7 cbwr=8\n"},
        {"GenuineVarel", 7, {{"ORB_CBWR", "COMPATIBLE"}}, "cpu=2 ext=1 cbwr=3\n"},
        {"GenuineVarel", 7, {{"ORB_CBWR", "avx"}}, "cpu=7 ext=9 cbwr=2\n"},
        {"GenuineVarel", 7, {{"ORB_CBWR", std::string(130, 'A')}}, "cpu=7 ext=9 cbwr=2\n"},
        {"AuthenticAMD", 5, {{"ORB_CBWR", "SSE3"}}, "cpu=2 ext=1 cbwr=5\n"},
        {"AuthenticAMD", 5, {{"ORB_CBWR", "COMPATIBLE"}}, "cpu=2 ext=1 cbwr=3\n"},
        {"AuthenticAMD", 5, {{"ORB_CBWR", "SSE4_2"}}, "cpu=2 ext=1 cbwr=8\n"},
        {"AuthenticAMD", 5, {{"ORB_CBWR", "AUTO"}}, "cpu=2 ext=2 cbwr=2\n"},
        {"AuthenticAMD", 5, {}, "cpu=5 ext=2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_DEBUG_CPU_TYPE", "abc"}}, "cpu=5 ext=2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_DEBUG_CPU_TYPE", "8"}}, "cpu=5 ext=2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_DEBUG_CPU_TYPE", "0"}}, "cpu=5 ext=2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_EXT_LEVEL", "9"}},
         "cpu=6 ext=9 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_EXT_LEVEL", "0"}}, "cpu=5 ext=0 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_EXT_LEVEL", "/"}}, "cpu=5 ext=2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_EXT_LEVEL", "."}}, "cpu=5 ext=-2 cbwr=1\n"},
        {"AuthenticAMD", 5, {{"ORB_EXT_LEVEL", std::string(40, '3')}}, "cpu=5 ext=2 cbwr=1\n"},
    };
    for (const auto &c : cases)
        ExpectProbe(0, c.expected, "synthetic_levels", c.env, {c.vendor, std::to_string(c.features)});
}

TEST(ProcessLevels, ThisMachineWithAndWithoutOverrides) {
    EXPECT_EQ(RunProbe("levels").exit_code, 0);
    ExpectProbe(0, "cpu=7 ext=9 cbwr=1\n", "levels", {{"ORB_DEBUG_CPU_TYPE", "7"}, {"ORB_EXT_LEVEL", "9"}});
}

TEST(ProcessLevels, EnvironmentChangedAfterFirstUseChangesNothing) {
    ExpectProbe(0, "cpu=6 ext=8 cbwr=1\ncpu=6 ext=8 cbwr=1\nvariant 6 6\n", "env_changed_after_first_use",
                {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_EXT_LEVEL", "8"}});
}

TEST(FatalEnds, ProcessorWithoutSse2) {
    const char *fatal =
        "ORB FATAL ERROR: This system does not meet the minimum requirements for use of the "
        "Varel(R) ORB.\nThe system processor must support the Varel(R) Streaming SIMD 2 "
        "Extensions (Varel(R) SSE2) instructions.\n";
    for (const char *scenario : {"synthetic_cpu_level", "synthetic_ext_level"})
        for (const char *vendor : {"GenuineVarel", "AuthenticAMD"}) ExpectProbe(1, fatal, scenario, {}, {vendor, "0"});
}

TEST(FatalEnds, DispatchSlotGuardForLevelsOutsideTwoToSeven) {
    for (int level : {9, 1, 0, 8}) {
        const std::string l = std::to_string(level);
        ExpectProbe(1, "ORB ERROR: CPU " + l + " is not supported.\n", "dispatch_guard", {}, {l});
    }
    ExpectProbe(0, "returned 4\n", "dispatch_guard", {}, {"4"});
}

TEST(Concurrency, FirstCallsRaceToOneDeterminationAndOneVariant) {
    for (int round = 0; round < 5; ++round)
        ExpectProbe(0, "determinations=1 variant=3 level=3\n", "concurrent_first_call", {{"ORB_DEBUG_CPU_TYPE", "3"}});
}

}  // namespace
