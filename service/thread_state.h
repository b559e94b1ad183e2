// Storage of the per-thread ServThreadState records. Two strategies: static
// thread-local storage when the library's code lies in the executable's
// image, a thread-local slot with records from a private heap otherwise.
#ifndef ORB_SERVICE_THREAD_STATE_H
#define ORB_SERVICE_THREAD_STATE_H

#include <atomic>

#include "service/platform.h"
#include "service/serv.h"

namespace orb {

enum class ThreadStateMode { StaticTls, SlotAndHeap };

// The choice for a CodeInMainImage answer (1 yes, 0 no, -1 query failed).
constexpr ThreadStateMode ChooseThreadStateMode(int code_in_main_image) {
    return code_in_main_image == 0 ? ThreadStateMode::SlotAndHeap : ThreadStateMode::StaticTls;
}

// The slot-and-heap strategy as an object, so tests can run it whatever
// this process chose.
class SlotHeapStore {
public:
    // The calling thread's record, made on first access; null when it cannot
    // be made (message 760 has then been printed).
    ServThreadState *Get();
    // Releases the calling thread's record.
    void ThreadDetach();
    // Frees the slot and destroys the heap.
    void ProcessDetach();
    // Records currently allocated (for tests).
    long LiveRecords() const;

private:
    bool Init();
    static void ThreadExit(void *record);

    plat::TlsKey key_ = 0;
    plat::Heap heap_ = nullptr;
    std::atomic<bool> ready_{false};
    std::atomic<bool> failed_{false};
};

ThreadStateMode ProcessThreadStateMode();

#if !defined(_WIN32)
// Every vector-math call looks its record up at least twice, and the slot
// lookup is two calls and a key search. Each thread keeps the address it
// found; a store teardown bumps the generation, which voids every thread's
// copy at once. (Windows thread-locals of this toolchain are emulated and
// would cost more than the slot itself.)
struct CachedRecord {
    ServThreadState *record;
    uint32_t generation;
};
extern thread_local constinit CachedRecord t_cached ORB_INITIAL_EXEC;
extern std::atomic<uint32_t> g_generation ORB_HIDDEN;
#endif

// The calling thread's record if this thread has looked it up since the
// last teardown, else null.
inline ServThreadState *CachedThreadRecord() {
#if !defined(_WIN32)
    const CachedRecord c = t_cached;
    if (c.generation == g_generation.load(std::memory_order_relaxed)) return c.record;
#endif
    return nullptr;
}

// ServThreadStateGet with its fast path inline, for the per-call paths.
inline ServThreadState *ThreadRecord() {
    if (ServThreadState *r = CachedThreadRecord()) [[likely]] return r;
    return ServThreadStateGet();
}

}  // namespace orb

#endif
