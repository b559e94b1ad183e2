// ServThreadStateGet and the two ways of keeping per-thread records.
#include "service/thread_state.h"

#include <atomic>

#include "service/serv_lifecycle.h"

namespace orb {
namespace {

std::atomic<long> g_live_slot_records{0};
// Slot stores are few and process-lived; each thread-exit callback finds its
// store through this pointer (POSIX destructors receive only the record).
struct RecordHeader {
    plat::Heap heap;
};

}  // namespace

#if !defined(_WIN32)
thread_local constinit CachedRecord t_cached ORB_INITIAL_EXEC{nullptr, 0};
std::atomic<uint32_t> g_generation{1};
#endif

bool SlotHeapStore::Init() {
    if (ready_) return true;
    if (failed_) return false;
    ServLock();
    if (!ready_ && !failed_) {
        heap_ = plat::HeapCreate();
        if (!heap_ || !plat::TlsAlloc(&key_, &SlotHeapStore::ThreadExit))
            failed_.store(true);
        else
            ready_.store(true);
    }
    ServUnlock();
    return ready_;
}

void SlotHeapStore::ThreadExit(void *record) {
    if (!record) return;
#if !defined(_WIN32)
    // POSIX runs this on the exiting thread; a later call on that thread
    // (another thread-exit handler) must not find the freed record.
    if (t_cached.record == record) t_cached = {nullptr, 0};
#endif
    auto *header = static_cast<RecordHeader *>(record) - 1;
    plat::HeapFree(header->heap, header);
    g_live_slot_records.fetch_sub(1, std::memory_order_relaxed);
}

ServThreadState *SlotHeapStore::Get() {
    if (!Init()) {
        ServPrintMessage(0, 760, 0);
        return nullptr;
    }
    if (void *p = plat::TlsGet(key_)) return static_cast<ServThreadState *>(p);
    // The record is zeroed in full: the argument base must read as null in a
    // thread that never made a threaded call.
    auto *header = static_cast<RecordHeader *>(
        plat::HeapAllocZeroed(heap_, sizeof(RecordHeader) + sizeof(ServThreadState)));
    if (!header) {
        ServPrintMessage(0, 760, 0);
        return nullptr;
    }
    header->heap = heap_;
    auto *record = reinterpret_cast<ServThreadState *>(header + 1);
    if (!plat::TlsSet(key_, record)) {
        plat::HeapFree(heap_, header);
        ServPrintMessage(0, 760, 0);
        return nullptr;
    }
    g_live_slot_records.fetch_add(1, std::memory_order_relaxed);
    return record;
}

void SlotHeapStore::ThreadDetach() {
    if (!ready_) return;
    void *p = plat::TlsGet(key_);
    if (!p) return;
    plat::TlsSet(key_, nullptr);
    ThreadExit(p);
}

void SlotHeapStore::ProcessDetach() {
    if (!ready_) return;
    ThreadDetach();
    plat::TlsFree(key_);
    plat::HeapDestroy(heap_);
    ready_.store(false);
}

long SlotHeapStore::LiveRecords() const { return g_live_slot_records.load(); }

namespace {

thread_local ServThreadState t_static_record ORB_INITIAL_EXEC{};
SlotHeapStore g_slot_store;
std::atomic<int> g_mode{-1};

ThreadStateMode DetermineMode() {
    int m = g_mode.load(std::memory_order_acquire);
    if (m < 0) {
        int where = plat::CodeInMainImage(reinterpret_cast<const void *>(&ServThreadStateGet));
        m = int(ChooseThreadStateMode(where));
        g_mode.store(m, std::memory_order_release);
    }
    return ThreadStateMode(m);
}

}  // namespace

ThreadStateMode ProcessThreadStateMode() { return DetermineMode(); }

}  // namespace orb

namespace {

__attribute__((noinline)) ServThreadState *LookUpRecord() {
    ServThreadState *record;
    if (orb::DetermineMode() == orb::ThreadStateMode::StaticTls) {
        record = &orb::t_static_record;
    } else {
        record = orb::g_slot_store.Get();
        if (!record) ServTerminate(1);
    }
#if !defined(_WIN32)
    orb::t_cached = {record, orb::g_generation.load(std::memory_order_acquire)};
#endif
    return record;
}

void ForgetCachedRecord() {
#if !defined(_WIN32)
    orb::t_cached = {nullptr, 0};
#endif
}

}  // namespace

extern "C" ServThreadState *ServThreadStateGet(void) {
    if (ServThreadState *r = orb::CachedThreadRecord()) [[likely]] return r;
    return LookUpRecord();
}

extern "C" void ServThreadDetach(void) {
    ForgetCachedRecord();
    if (orb::g_mode.load() == int(orb::ThreadStateMode::SlotAndHeap)) orb::g_slot_store.ThreadDetach();
}

extern "C" void ServProcessDetach(void) {
    ForgetCachedRecord();
#if !defined(_WIN32)
    orb::g_generation.fetch_add(1, std::memory_order_acq_rel);
#endif
    if (orb::g_mode.load() == int(orb::ThreadStateMode::SlotAndHeap)) orb::g_slot_store.ProcessDetach();
}

#if !defined(_WIN32)
// POSIX has no DLL entry point: release the slot when the library unloads.
__attribute__((destructor)) static void OrbServiceUnload() { ServProcessDetach(); }
#endif
