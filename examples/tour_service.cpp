// Tour section: what the service layer detected. The levels are internal
// (no entry point returns them), so this section links the service layer's
// own objects; they read the same environment as the loaded library.
#include <cstdio>

#include "service/serv.h"
#include "tour.h"

extern "C" void tour_service(void) {
    static const char *const cbwr_names[] = {"?", "unset", "AUTO", "COMPATIBLE", "SSE2", "SSE3",
                                             "SSSE3", "SSE4_1", "SSE4_2", "AVX", "AVX2"};
    static const char *const level_names[] = {"?", "?", "SSE2", "SSE3", "SSSE3", "SSE4.2", "AVX", "AVX2 set"};
    int level = ServGetCpuLevel();
    int ext = ServGetExtCpuLevel();
    int mode = ServGetCbwrMode(1);
    std::printf("\n[Processor dispatch]\n");
    std::printf("  CpuLevel           %d (%s)\n", level,
                level >= 2 && level <= 7 ? level_names[level] : "?");
    std::printf("  ExtCpuLevel        %d\n", ext);
    std::printf("  vendor test        %s\n", ServIsGenuineVarel() ? "passes" : "fails (another vendor)");
    std::printf("  reproducibility    %d (%s)\n", mode,
                mode >= 1 && mode <= 10 ? cbwr_names[mode] : "?");
}
