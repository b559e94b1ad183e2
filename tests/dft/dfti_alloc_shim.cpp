// Counting allocator for the configuration tests: it takes the place of the
// library's ServAlloc/ServFree in that test program (a weak definition in an
// object file keeps the archive's allocator out), counts live blocks for the
// leak checks and can fail the k-th next request.
#include <stdlib.h>

#include <atomic>

#include "dfti_alloc_shim.h"
#include "service/serv.h"

namespace orb::dft::test {
std::atomic<long> g_live_blocks{0};
std::atomic<long> g_fail_countdown{-1};
std::atomic<bool> g_shim_active{false};
}  // namespace orb::dft::test

using namespace orb::dft::test;

extern "C" __attribute__((weak)) void *ServAlloc(uint32_t size, int32_t alignment) {
    g_shim_active = true;
    long c = g_fail_countdown.load();
    if (c >= 0 && g_fail_countdown.fetch_sub(1) == 0) return nullptr;
    void *p = nullptr;
    if (alignment < int32_t(sizeof(void *))) alignment = sizeof(void *);
#if defined(_WIN32)
    p = _aligned_malloc(size ? size : 1, size_t(alignment));
    if (!p) return nullptr;
#else
    if (posix_memalign(&p, size_t(alignment), size ? size : 1) != 0) return nullptr;
#endif
    ++g_live_blocks;
    return p;
}

extern "C" __attribute__((weak)) void ServFree(void *pointer) {
    if (!pointer) return;
    --g_live_blocks;
#if defined(_WIN32)
    _aligned_free(pointer);
#else
    free(pointer);
#endif
}
