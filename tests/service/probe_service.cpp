// Probe scenarios of the service layer: level determination under a chosen
// environment and processor, fatal ends, printed messages.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "service/dispatch_slot.h"
#include "service/serv.h"
#include "service/testing_hooks.h"
#include "support/probe.h"
#include "support/test_env.h"

namespace {

std::string g_vendor = "GenuineVarel";
int g_level = 7;
orb::CpuidSnapshot SyntheticCpu() { return orb::SyntheticSnapshot(g_vendor.c_str(), g_level); }
// Pretends the processor of args vendor, feature level.
void UseSyntheticCpu(const std::vector<std::string> &args) {
    g_vendor = args.at(0);
    g_level = std::atoi(args.at(1).c_str());
    orb::testing::SetCpuidSource(SyntheticCpu);
}

void PrintLevels() {
    std::printf("cpu=%d ext=%d cbwr=%d\n", ServGetCpuLevel(), ServGetExtCpuLevel(),
                ServGetCbwrMode(1));
}

int Variant2() { return 2; }
int Variant3() { return 3; }
int Variant4() { return 4; }
int Variant5() { return 5; }
int Variant6() { return 6; }
int Variant7() { return 7; }
constexpr orb::DispatchSlot<int (*)()>::Table kVariants = {Variant2, Variant3, Variant4,
                                                           Variant5, Variant6, Variant7};

}  // namespace

// Levels of this machine under the environment the test set.
ORB_PROBE_SCENARIO(levels) {
    PrintLevels();
    return 0;
}

// Levels of a synthetic processor: args vendor, feature level.
ORB_PROBE_SCENARIO(synthetic_levels) {
    UseSyntheticCpu(args);
    PrintLevels();
    return 0;
}

// Synthetic processor, CpuLevel only (the extended query has its own fatal).
ORB_PROBE_SCENARIO(synthetic_cpu_level) {
    UseSyntheticCpu(args);
    std::printf("cpu=%d\n", ServGetCpuLevel());
    return 0;
}

ORB_PROBE_SCENARIO(synthetic_ext_level) {
    UseSyntheticCpu(args);
    std::printf("ext=%d\n", ServGetExtCpuLevel());
    return 0;
}

// The environment changed after the first queries changes nothing.
ORB_PROBE_SCENARIO(env_changed_after_first_use) {
    static orb::DispatchSlot<int (*)()> slot(kVariants);
    int before = slot();
    PrintLevels();
    orb::test::SetEnv("ORB_DEBUG_CPU_TYPE", "2");
    orb::test::SetEnv("ORB_CBWR", "COMPATIBLE");
    orb::test::SetEnv("ORB_EXT_LEVEL", "1");
    int after = slot();
    PrintLevels();
    std::printf("variant %d %d\n", before, after);
    return 0;
}

// The dispatch slot's guard: a level outside 2..7 in the cache.
ORB_PROBE_SCENARIO(dispatch_guard) {
    orb::testing::ForceCpuLevelCache(std::atoi(args.at(0).c_str()));
    static orb::DispatchSlot<int (*)()> slot(kVariants);
    int v = slot();
    std::printf("returned %d\n", v);
    return 0;
}

// Several threads make their first call at once.
ORB_PROBE_SCENARIO(concurrent_first_call) {
    static orb::DispatchSlot<int (*)()> slot(kVariants);
    constexpr int kThreads = 8;
    std::vector<int> seen(kThreads), levels(kThreads), ext(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            levels[t] = ServGetCpuLevel();
            ext[t] = ServGetExtCpuLevel();
            seen[t] = slot();
        });
    for (auto &th : threads) th.join();
    for (int t = 1; t < kThreads; ++t)
        if (seen[t] != seen[0] || levels[t] != levels[0] || ext[t] != ext[0]) return 3;
    std::printf("determinations=%d variant=%d level=%d\n", orb::testing::CpuLevelDeterminations(),
                seen[0], levels[0]);
    return 0;
}

// A message longer than the formatting buffer: args length of the inserted text.
ORB_PROBE_SCENARIO(print_long_message) {
    std::string text(std::size_t(std::atoi(args.at(0).c_str())), 'x');
    ServPrintMessage(0, 1, 1, text.c_str());
    std::printf("survived\n");
    return 0;
}

// The parameter-error report: args name, name_length, info.
ORB_PROBE_SCENARIO(param_error) {
    int32_t info = std::atoi(args.at(2).c_str());
    ServReportParameterError(args.at(0).c_str(), &info, std::atoi(args.at(1).c_str()));
    return 0;
}
