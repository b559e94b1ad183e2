// Parsers of the thread-count variables, the dynamic rule and the topology
// decisions from synthetic CPUID/OS answers, table-driven; the live counts.
#include <gtest/gtest.h>

#include <thread>

#include "service/threads.h"

namespace {

struct CountCase { const char *text; int32_t want; };

TEST(ThreadCountText, DigitRule) {
    const CountCase cases[] = {
        {"4", 4}, {"0", 0}, {"007", 7}, {"4x", 1}, {"abc", 1}, {" 4", 1},
        {"-3", 1}, {"", 1}, {"99999999999", INT32_MAX}, {"12", 12},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseThreadCountText(c.text, int32_t(strlen(c.text))), c.want) << c.text;
}

struct ListCase { const char *text; int32_t want[orb::kThreadDomains]; };

TEST(DomainThreadList, Grammar) {
    const ListCase cases[] = {
        {"ORB_BLAS=2, ORB_FFT=3", {-1, 2, 3, -1, -1}},
        {"ORB_DOMAIN_BLAS=2;ORB_DOMAIN_FFT=3:ORB_DOMAIN_VML=4", {-1, 2, 3, 4, -1}},
        {"ORB_ALL=5 ORB_PARDISO=6", {5, -1, -1, -1, 6}},
        {"ORB_DOMAIN_ALL = 7 ORB_DOMAIN_PARDISO==8", {7, -1, -1, -1, 8}},
        {"\"ORB_BLAS=2\" 'ORB_VML=3'", {-1, 2, -1, 3, -1}},
        {"ORB_BLAS=2 ORB_BLAS=5", {-1, 2, -1, -1, -1}},      // first value wins
        {"ORB_BLAS=0 ORB_BLAS=5", {-1, 5, -1, -1, -1}},      // below 1 ignored
        {"ORB_BLAS=2x", {-1, 1, -1, -1, -1}},                // non-digits give 1
        {"ORB_BLAS=", {-1, 1, -1, -1, -1}},                  // empty number gives 1
        {"orb_blas=2 ORB_FFT=3", {-1, -1, 3, -1, -1}},       // case matters
        {"ORB_XYZ=2,ORB_VML=9", {-1, -1, -1, 9, -1}},        // unknown names skipped
        {"ORB_BLAS=2 =3 ORB_FFT=4", {-1, 2, -1, -1, -1}},    // empty name stops
        {"ORB_BLAS", {-1, 1, -1, -1, -1}},
        {"", {-1, -1, -1, -1, -1}},
        {",,;; ORB_FFT=3,,", {-1, -1, 3, -1, -1}},
    };
    for (const auto &c : cases) {
        int32_t got[orb::kThreadDomains] = {-1, -1, -1, -1, -1};
        orb::ParseDomainThreadList(c.text, got);
        for (int d = 0; d < orb::kThreadDomains; ++d)
            EXPECT_EQ(got[d], c.want[d]) << c.text << " domain " << d;
    }
}

TEST(DomainThreadList, KeepsValuesAlreadySet) {
    int32_t got[orb::kThreadDomains] = {4, -1, -1, -1, -1};
    orb::ParseDomainThreadList("ORB_ALL=9 ORB_BLAS=2", got);
    EXPECT_TRUE(got[0] == 4 && got[1] == 2) << got[0] << " " << got[1];
}

TEST(DynamicText, OnlyExactFalseTurnsOff) {
    const struct { const char *text; int32_t want; } cases[] = {
        {nullptr, 1}, {"FALSE", 0}, {"false", 0}, {"False", 1}, {"  'FALSE'", 0},
        {"\"false\" trailing", 0}, {"FALSEx", 1}, {"TRUE", 1}, {"0", 1}, {"", 1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseDynamicText(c.text), c.want) << (c.text ? c.text : "(unset)");
}

TEST(DynamicRule, Table) {
    orb::ThreadTopology known;  // 8 logical processors, two threads a core
    known.processors = 8; known.divisor = 2; known.flag = 1;
    orb::ThreadTopology unknown;
    unknown.processors = 8;
    orb::ThreadTopology off = known;
    off.hybrid_switch = 0;
    orb::ThreadTopology on = known;
    on.hybrid_switch = 1;
    const struct {
        int32_t n; bool explicit_count, omp; const orb::ThreadTopology *t; int32_t want;
    } cases[] = {
        {16, false, false, &known, 4},   // one thread a core
        {16, true, false, &known, 8},    // explicit: capped at P
        {3, true, false, &known, 3},
        {16, false, true, &known, 8},    // OMP_NUM_THREADS given
        {16, false, false, &unknown, 8}, // T unknown
        {5, false, false, &off, 1},
        {5, false, false, &on, 5},
        {16, false, false, &on, 8},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ApplyDynamicRule(c.n, c.explicit_count, c.omp, *c.t), c.want);
}

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
