// BLAS-1 behaviour that depends on the process: the microarchitecture code
// under "ORB_DEBUG_CPU_MA" and the reproducibility mode, and large copies
// under different thread settings.
#include <gtest/gtest.h>

#include "support/process_harness.h"

using orb::test::ExpectProbe;

namespace {

TEST(Blas1Process, MicroarchCode) {
    const struct { const char *cpu; orb::test::EnvList env; const char *want; } cases[] = {
        {"real", {}, "code=0\n"},  // this machine's vendor is not the tuned one
        {"varel5", {{"ORB_DEBUG_CPU_MA", "64"}}, "code=64\n"},
        {"varel5", {{"ORB_DEBUG_CPU_MA", "66"}, {"ORB_CBWR", "AUTO"}}, "code=66\n"},
        {"varel5", {{"ORB_CBWR", "AUTO"}}, "code=64\n"},
        {"varel5", {{"ORB_CBWR", "COMPATIBLE"}, {"ORB_DEBUG_CPU_MA", "64"}}, "code=0\n"},
        {"varel5", {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_DEBUG_CPU_MA", "64"}}, "code=128\n"},  // level 5 only
    };
    for (const auto &c : cases) ExpectProbe(0, c.want, "blas1_microarch", c.env, {c.cpu});
}

TEST(Blas1Process, LargeCopyUnderThreadSettings) {
    for (const char *threads : {"1", "2", "3"})
        ExpectProbe(0, "bad=0\n", "blas1_large_copy",
                    {{"ORB_DOMAIN_NUM_THREADS", std::string("ORB_BLAS=") + threads}, {"ORB_DYNAMIC", "FALSE"}});
}

}  // namespace
