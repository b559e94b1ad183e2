// The process-wide level caches: CpuLevel (dispatch slots) and ExtCpuLevel
// (vector math, data fitting), the live feature tests, and the fatal ends
// of detection.
#include <atomic>

#include "service/cpu_detect.h"
#include "service/dispatch_slot.h"
#include "service/platform.h"
#include "service/scrambled_name.h"
#include "service/serv.h"
#include "service/testing_hooks.h"

namespace {

std::atomic<int32_t> g_cpu_level{-1};
int32_t g_hardware_level = -1;
int32_t g_override = -911;  // -911 not read, -6 absent/invalid, 2..7 forced

std::atomic<int> g_determinations{0};
std::atomic<orb::CpuidSnapshot (*)()> g_cpuid_source{&orb::ReadCpuidSnapshot};

orb::CpuidSnapshot Snapshot() { return g_cpuid_source.load(std::memory_order_relaxed)(); }

// Name of the variable that forces ExtCpuLevel.
constexpr orb::ScrambledName kExtLevelVar("ORB_EXT_LEVEL");

[[noreturn]] void NoSse2() {
    ServPrintMessage(0, 1210, 0);
    ServPrintMessage(0, 1211, 0);
    ServTerminate(1);
}

}  // namespace

std::atomic<int32_t> orb::g_ext_level{-1};

extern "C" int32_t ServGetCpuLevel(void) {
    int32_t cached = g_cpu_level.load(std::memory_order_acquire);
    if (cached >= 0) return cached;
    ServLock();
    cached = g_cpu_level.load(std::memory_order_relaxed);
    if (cached >= 0) {
        ServUnlock();
        return cached;
    }
    g_determinations.fetch_add(1, std::memory_order_relaxed);
    const int32_t mode = ServGetCbwrMode(1);
    if (g_override == -911) {
        g_override = orb::kOverrideAbsent;
        char buf[32] = {};
        uint32_t got = orb::plat::GetEnv("ORB_DEBUG_CPU_TYPE", buf, sizeof buf);
        if (got > 0 && got < sizeof buf) g_override = orb::ParseCpuTypeOverride(buf);
    }
    const orb::CpuidSnapshot snap = Snapshot();
    if (g_hardware_level < 0) {
        int hw = orb::DetectHardwareLevel(snap);
        if (hw == orb::kNoUsableLevel) {
            ServUnlock();  // the printer takes the lock on its first use
            NoSse2();
        }
        g_hardware_level = hw;
    }
    int32_t level = orb::DecideCpuLevel(g_hardware_level, g_override, mode,
                                        orb::SnapIsGenuineVarel(snap));
    g_cpu_level.store(level, std::memory_order_release);
    ServUnlock();
    return level;
}

extern "C" int32_t ServGetExtCpuLevel(void) {
    int32_t cached = orb::g_ext_level.load(std::memory_order_acquire);
    if (cached != -1) return cached;
    char name[sizeof kExtLevelVar.bytes];
    kExtLevelVar.Decode(name);
    char buf[32] = {};
    uint32_t got = orb::plat::GetEnv(name, buf, sizeof buf);
    // A value too long for the buffer leaves it empty and counts as unset.
    if (got > 0 && got < sizeof buf) {
        int forced = orb::ParseExtLevelOverride(buf);
        if (forced != orb::kExtOverrideAbsent) {
            orb::g_ext_level.store(forced, std::memory_order_release);
            return forced;
        }
    }
    int level = orb::DecideExtLevel(Snapshot(), ServGetCbwrMode(1));
    if (level == orb::kNoUsableLevel) NoSse2();
    orb::g_ext_level.store(level, std::memory_order_release);
    return level;
}

extern "C" int ServIsGenuineVarel(void) { return orb::SnapIsGenuineVarel(Snapshot()); }
extern "C" int ServHasAvx2Set(void) { return orb::SnapHasAvx2Set(Snapshot()); }
extern "C" int ServHasAvx(void) { return orb::SnapHasAvx(Snapshot()); }
extern "C" int ServHasSse42(void) { return orb::SnapHasSse42(Snapshot()); }
extern "C" int ServHasSse41(void) { return orb::SnapHasSse41(Snapshot()); }
extern "C" int ServHasSsse3(void) { return orb::SnapHasSsse3(Snapshot()); }
extern "C" int ServHasSse3(void) { return orb::SnapHasSse3(Snapshot()); }
extern "C" int ServHasSse2(void) { return orb::SnapHasSse2(Snapshot()); }

namespace orb {

void DispatchUnsupportedLevel(int level) {
    ServPrintMessage(0, 1213, 1, level);
    ServTerminate(1);
}

}  // namespace orb

namespace orb::testing {

void SetCpuidSource(CpuidSnapshot (*source)()) {
    g_cpuid_source.store(source ? source : &ReadCpuidSnapshot);
}
void ForceCpuLevelCache(int32_t level) { g_cpu_level.store(level); }
int CpuLevelDeterminations() { return g_determinations.load(); }

}  // namespace orb::testing

extern "C" void ServTerminate(int exit_code) { orb::plat::Terminate(exit_code); }
