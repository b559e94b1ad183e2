// Controls of the failure-injecting allocator front end used by the
// configuration tests.
#ifndef ORB_TESTS_DFT_DFTI_ALLOC_SHIM_H
#define ORB_TESTS_DFT_DFTI_ALLOC_SHIM_H

#include <atomic>

namespace orb::dft::test {
extern std::atomic<long> g_fail_countdown;  // -1: never fail; k: fail the k-th next request
extern std::atomic<bool> g_shim_active;     // the front end is the allocator in use
// Blocks outstanding by the memory manager's statistics.
long LiveBlocks();
}  // namespace orb::dft::test

#endif
