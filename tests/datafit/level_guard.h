// Every level's copy of the interpolation and cell-search kernels, for the
// tests that call each directly; and a guard that skips a whole test program
// forced (ORB_EXT_LEVEL) to an extended level whose instructions this
// processor or emulator does not run.
#ifndef ORB_TESTS_DATAFIT_LEVEL_GUARD_H
#define ORB_TESTS_DATAFIT_LEVEL_GUARD_H

#include <gtest/gtest.h>

#include <cstdlib>

#include "datafit/df_interp_request.h"

namespace orb::test {

struct LevelKernels {
    const char *name;
    df::InterpKernelD interp_d, search_d;
    df::InterpKernelS interp_s, search_s;
};
#define ORB_DF_LEVEL_ROW(ns) {#ns, df::ns::InterpolateD, df::ns::CellSearchD, df::ns::InterpolateS, df::ns::CellSearchS},
inline const LevelKernels kLevels[] = {ORB_DF_INTERP_LEVELS(ORB_DF_LEVEL_ROW)};
#undef ORB_DF_LEVEL_ROW

// Two threads for the kernels' threaded paths.
inline int32_t TwoThreads(int32_t) { return 2; }
inline const df::ThreadServices kTwoThreads = {TwoThreads};

inline bool HostRunsExtLevel(int level) {
    __builtin_cpu_init();
    if (level >= 9) return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (level >= 8) return __builtin_cpu_supports("avx");
    if (level >= 7) return __builtin_cpu_supports("sse4.2");
    if (level >= 6) return __builtin_cpu_supports("sse4.1");
    if (level >= 5) return __builtin_cpu_supports("ssse3");
    if (level >= 4) return __builtin_cpu_supports("sse3");
    if (level >= 2) return __builtin_cpu_supports("sse2");
    return true;
}

class ExtLevelGuard : public ::testing::Environment {
public:
    void SetUp() override {
        const char *e = std::getenv("ORB_EXT_LEVEL");
        if (e && *e && !HostRunsExtLevel(e[0] - '0')) GTEST_SKIP() << "host lacks level " << e;
    }
};

inline ::testing::Environment *const kExtLevelGuard =
    ::testing::AddGlobalTestEnvironment(new ExtLevelGuard);

}  // namespace orb::test

#endif
