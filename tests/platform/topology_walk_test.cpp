// Processor topology from x2APIC identifiers: the count over synthetic
// identifier sets, and on Windows the affinity walk against the processor
// the system says the thread runs on and the system's own processor
// records (GetLogicalProcessorInformation).
#include <gtest/gtest.h>

#include <vector>

#include "service/topology_apic.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

// Identifier of thread t of core c of package p.
uint32_t Id(uint32_t p, uint32_t c, uint32_t t, int smt_shift, int core_shift) {
    return (p << core_shift) | (c << smt_shift) | t;
}

std::vector<uint32_t> Machine(int packages, int cores, int threads, int smt_shift, int core_shift,
                              int core_stride = 1) {
    std::vector<uint32_t> ids;
    for (int p = 0; p < packages; ++p)
        for (int c = 0; c < cores; ++c)
            for (int t = 0; t < threads; ++t)
                ids.push_back(Id(uint32_t(p), uint32_t(c * core_stride), uint32_t(t), smt_shift, core_shift));
    return ids;
}

TEST(TopologyWalk, CountsFromIdentifiers) {
    const struct { const char *what; std::vector<uint32_t> ids; int smt_shift, core_shift; int32_t packages, cores; } cases[] = {
        {"two sockets, 4 cores, SMT", Machine(2, 4, 2, 1, 3), 1, 3, 2, 8},
        {"one socket, sparse core ids", Machine(1, 4, 2, 1, 6, 3), 1, 6, 1, 4},
        {"no SMT level", Machine(1, 6, 1, 0, 4), 0, 4, 1, 6},
        {"four sockets, odd widths", Machine(4, 3, 4, 2, 5), 2, 5, 4, 12},
        {"subset of a machine", {0, 1, 16, 17}, 1, 4, 2, 2},
        {"one processor", {5}, 1, 4, 1, 1},
        {"repeated identifier", {0, 0}, 1, 4, 0, 0},
        {"shifts unknown", {0, 1}, -1, -1, 0, 0},
        {"core level below SMT", {0, 1}, 3, 1, 0, 0},
        {"nothing visited", {}, 1, 4, 0, 0},
    };
    for (const auto &c : cases) {
        orb::ApicShifts s;
        s.smt_shift = c.smt_shift;
        s.core_shift = c.core_shift;
        int32_t packages = -1, cores = -1;
        orb::CountApicTopology(c.ids.data(), int32_t(c.ids.size()), s, &packages, &cores);
        EXPECT_EQ(packages, c.packages) << c.what;
        EXPECT_EQ(cores, c.cores) << c.what;
    }
}

#if defined(_WIN32)
// Distinct cores and packages as the system records them.
void SystemCounts(int32_t *packages, int32_t *cores) {
    *packages = *cores = 0;
    DWORD bytes = 0;
    GetLogicalProcessorInformation(nullptr, &bytes);
    std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> info(bytes / sizeof(info[0]) + 1);
    if (!GetLogicalProcessorInformation(info.data(), &bytes)) return;
    for (size_t i = 0; i < bytes / sizeof(info[0]); ++i) {
        if (info[i].Relationship == RelationProcessorCore) ++*cores;
        if (info[i].Relationship == RelationProcessorPackage) ++*packages;
    }
}

uint32_t ProcessorNumber() { return GetCurrentProcessorNumber(); }

// Starting from a narrower thread mask, the visit runs on each processor of
// the mask in turn (as the system reports where the thread runs) and the
// walk counts what the system records; each puts the thread's mask back. A
// process restricted to part of the machine is refused.
TEST(TopologyWalk, WindowsWalkRunsEverywhereMatchesTheSystemAndRestoresAffinity) {
    DWORD_PTR process_mask = 0, system_mask = 0;
    HANDLE process = GetCurrentProcess(), self = GetCurrentThread();
    ASSERT_TRUE(GetProcessAffinityMask(process, &process_mask, &system_mask));
    if (process_mask != system_mask) GTEST_SKIP() << "a restricted process";
    std::vector<uint32_t> expected;
    for (uint32_t bit = 0; bit < 8 * sizeof(DWORD_PTR); ++bit)
        if ((process_mask >> bit) & 1) expected.push_back(bit);

    const DWORD_PTR lowest = process_mask & (~process_mask + 1);
    const DWORD_PTR original = SetThreadAffinityMask(self, lowest);
    ASSERT_NE(original, 0u);
    std::vector<uint32_t> seen;
    EXPECT_TRUE(orb::VisitEachProcessor(&ProcessorNumber, &seen));
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(SetThreadAffinityMask(self, lowest), lowest);
    if (orb::ReadApicShifts().core_shift >= 0) {  // leaf 0xB present
        int32_t packages = 0, cores = 0;
        ASSERT_TRUE(orb::WalkProcessorTopology(&packages, &cores));
        EXPECT_EQ(SetThreadAffinityMask(self, lowest), lowest);
        int32_t sys_packages = 0, sys_cores = 0;
        SystemCounts(&sys_packages, &sys_cores);
        ASSERT_GT(sys_cores, 0);
        EXPECT_EQ(packages, sys_packages);
        EXPECT_EQ(cores, sys_cores);
    }
    EXPECT_EQ(SetThreadAffinityMask(self, original), lowest);

    if (expected.size() > 1) {
        ASSERT_TRUE(SetProcessAffinityMask(process, lowest));
        seen.clear();
        EXPECT_FALSE(orb::VisitEachProcessor(&ProcessorNumber, &seen));
        EXPECT_TRUE(seen.empty());
        ASSERT_TRUE(SetProcessAffinityMask(process, process_mask));
    }
}
#endif

}  // namespace
