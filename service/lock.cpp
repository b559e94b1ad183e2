// ServLock / ServUnlock: the service layer's one process-wide spin lock.
// Acquire spins on a compare-and-exchange of 0 -> 1 with no pause or yield;
// it guards only short first-use computations.
#include <atomic>

#include "service/serv.h"

namespace {
std::atomic<int32_t> g_lock_word{0};
}

extern "C" void ServLock(void) {
    for (;;) {
        int32_t expected = 0;
        if (g_lock_word.compare_exchange_weak(expected, 1, std::memory_order_acquire,
                                              std::memory_order_relaxed))
            return;
    }
}

extern "C" void ServUnlock(void) { g_lock_word.store(0, std::memory_order_release); }
