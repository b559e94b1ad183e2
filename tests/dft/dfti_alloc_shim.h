// Controls of the counting allocator stand-in used by the configuration tests.
#ifndef ORB_TESTS_DFT_DFTI_ALLOC_SHIM_H
#define ORB_TESTS_DFT_DFTI_ALLOC_SHIM_H

#include <atomic>

namespace orb::dft::test {
extern std::atomic<long> g_live_blocks;     // blocks handed out and not freed
extern std::atomic<long> g_fail_countdown;  // -1: never fail; k: fail the k-th next request
extern std::atomic<bool> g_shim_active;     // the stand-in is the allocator in use
}  // namespace orb::dft::test

#endif
