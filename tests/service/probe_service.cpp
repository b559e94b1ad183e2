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

std::string g_vendor;
int g_level = 0;
orb::CpuidSnapshot SyntheticCpu() { return orb::SyntheticSnapshot(g_vendor.c_str(), g_level); }

void PrintLevels() {
    std::printf("cpu=%d ext=%d cbwr=%d\n", ServGetCpuLevel(), ServGetExtCpuLevel(),
                ServGetCbwrMode(1));
}

template <int N>
int Variant() { return N; }
constexpr orb::DispatchSlot<int (*)()>::Table kVariants = {Variant<2>, Variant<3>, Variant<4>,
                                                           Variant<5>, Variant<6>, Variant<7>};

}  // namespace

// Levels under the environment the test set, of this machine or of a
// synthetic processor (args vendor, feature level); a third argument "cpu"
// or "ext" asks that query alone (each has its own fatal end).
ORB_PROBE_SCENARIO(levels) {
    if (args.size() >= 2) {
        g_vendor = args[0];
        g_level = std::atoi(args[1].c_str());
        orb::testing::SetCpuidSource(SyntheticCpu);
    }
    if (args.size() == 3)
        std::printf("%d\n", args[2] == "cpu" ? ServGetCpuLevel() : ServGetExtCpuLevel());
    else
        PrintLevels();
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
    std::printf("returned %d\n", slot());
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
