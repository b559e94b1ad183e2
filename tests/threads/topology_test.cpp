// Topology decisions from synthetic CPUID/OS answers, and the live counts.
#include <gtest/gtest.h>

#include <thread>

#include "service/threads.h"

namespace {

TEST(Topology, Decisions) {
    struct Case {
        const char *what;
        orb::TopologyInputs in;
        int32_t packages, cores, per_core, processors, divisor;
    };
    auto in = [](int32_t online, int32_t affinity, int32_t smt, int32_t core,
                 int32_t amd_core, int32_t amd_pkg, int32_t htt, int32_t l1) {
        orb::TopologyInputs t;
        t.online_processors = online; t.affinity_processors = affinity;
        t.leafb_smt = smt; t.leafb_core = core;
        t.amd_threads_per_core = amd_core; t.amd_threads_per_package = amd_pkg;
        t.leaf1_htt = htt; t.leaf1_logical = l1;
        return t;
    };
    auto os = [](orb::TopologyInputs t, int32_t packages, int32_t cores) {
        t.os_packages = packages;
        t.os_cores = cores;
        return t;
    };
    const Case cases[] = {
        {"OS topology wins", os(in(2, 2, 0, 0, 1, 1, 1, 254), 1, 2), 1, 2, 1, 2, 1},
        {"OS: two sockets SMT", os(in(16, 16, 0, 0, 0, 0, 0, 0), 2, 8), 2, 4, 2, 16, 2},
        {"OS answer inconsistent", os(in(4, 4, 2, 4, 0, 0, 1, 4), 1, 8), 1, 2, 2, 4, 2},
        {"two sockets, SMT", in(32, 32, 2, 16, 0, 0, 1, 16), 2, 8, 2, 32, 2},
        {"one socket no SMT", in(8, 8, 1, 8, 0, 0, 1, 8), 1, 8, 1, 8, 1},
        {"affinity narrower", in(16, 4, 2, 16, 0, 0, 1, 16), 1, 8, 2, 4, 2},
        {"AMD leaves only", in(16, 16, 0, 0, 2, 16, 1, 16), 1, 8, 2, 16, 2},
        {"leaf 1 only", in(4, 4, 0, 0, 0, 0, 1, 4), 1, 4, 1, 4, -1},
        {"VM reports a big package", in(2, 2, 2, 128, 0, 0, 1, 128), 1, 1, 2, 2, 2},
        {"nothing known", in(0, 0, 0, 0, 0, 0, 0, 0), 1, 1, 1, 1, -1},
    };
    for (const auto &c : cases) {
        orb::ThreadTopology t = orb::DecideTopology(c.in);
        EXPECT_EQ(t.packages, c.packages) << c.what;
        EXPECT_EQ(t.cores_per_package, c.cores) << c.what;
        EXPECT_EQ(t.threads_per_core, c.per_core) << c.what;
        EXPECT_EQ(t.processors, c.processors) << c.what;
        EXPECT_EQ(t.divisor, c.divisor) << c.what;
        EXPECT_EQ(t.hybrid_switch, -1) << c.what;
    }
}

TEST(Topology, LiveCountsCoverTheMachine) {
    int32_t p = 0, c = 0, t = -1;
    ServTopologyCounts(&p, &c, &t);
    ServTopologyCounts(nullptr, nullptr, nullptr);
    EXPECT_GE(p, 1);
    EXPECT_GE(c, 1);
    EXPECT_GE(t, 0);
    int32_t hw = int32_t(std::thread::hardware_concurrency());
    if (hw > 0) {
        EXPECT_LE(p * c * (t + 1), hw);
    }
    EXPECT_GE(ServProcessorCount(), 1);
    EXPECT_LE(ServProcessorCount(), hw > 0 ? hw : ServProcessorCount());
}

}  // namespace
