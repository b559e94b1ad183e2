// Failure injection for the configuration tests: ServAlloc/ServFree of this
// test program go to the memory manager's direct blocks (so its own
// statistics count every live block the descriptor code holds), and the
// k-th next request can be made to fail. Weak definitions in an object file
// keep the archive's front ends out of the link.
#include <atomic>

#include "dfti_alloc_shim.h"
#include "service/memory.h"
#include "service/serv.h"

namespace orb::dft::test {
std::atomic<long> g_fail_countdown{-1};
std::atomic<bool> g_shim_active{false};

long LiveBlocks() { return long(orb::mem::ReadStatistics().blocks_outstanding); }
}  // namespace orb::dft::test

using namespace orb::dft::test;

extern "C" __attribute__((weak)) void *ServAlloc(uint32_t size, int32_t alignment) {
    g_shim_active = true;
    long c = g_fail_countdown.load();
    if (c >= 0 && g_fail_countdown.fetch_sub(1) == 0) return nullptr;
    return orb::mem::DirectAlloc(size ? size : 1, orb::mem::EffectiveAlignment(alignment));
}

extern "C" __attribute__((weak)) void ServFree(void *pointer) {
    if (pointer) orb::mem::DirectFree(pointer);
}
