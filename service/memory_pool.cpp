// ServAlloc / ServFree: per-thread pools of five cached buffers in front of
// the direct blocks, the registry of up to 1024 pools, the mode switches and
// the release of the pools at unload.
//
// The thread's pool number and identifier live in a static thread-local
// record rather than a platform TLS slot: one %fs-relative load instead of
// two calls per lookup, which is what keeps a pooled allocate/release pair
// below the C runtime's (bench/memory).
//
// A pool is touched without a lock by its owner; other threads read it only
// under ServLock (to release a buffer they did not allocate, or to count).
// Its fields are therefore atomics used with relaxed ordering (plain moves
// on x86), except the in-use flag, whose release store by a freeing thread
// pairs with the owner's acquire load before it hands the buffer out again.
#include <atomic>
#include <new>

#include "service/memory.h"
#include "service/platform.h"
#include "service/serv.h"

namespace orb::mem {
namespace {

#if defined(__GNUC__) || defined(__clang__)
#define ORB_COLD __attribute__((noinline, cold))
#else
#define ORB_COLD
#endif

template <class T>
class Relaxed {
public:
    T get() const { return v_.load(std::memory_order_relaxed); }
    void set(T x) { v_.store(x, std::memory_order_relaxed); }

private:
    std::atomic<T> v_{};
};

struct PoolRecord {
    Relaxed<uintptr_t> raw[kSlotsPerPool];     // buffer from the primitive
    Relaxed<uintptr_t> handed[kSlotsPerPool];  // aligned pointer handed out
    Relaxed<uint32_t> size[kSlotsPerPool];     // size last requested
    Relaxed<uint32_t> capacity[kSlotsPerPool]; // size + alignment when made
    std::atomic<uint32_t> in_use[kSlotsPerPool]{};
    Relaxed<int32_t> made;                     // slots made, 0..5
};

struct RegistryEntry {
    std::atomic<uint32_t> owner{0};
    std::atomic<uint32_t> released{0};
    std::atomic<PoolRecord *> record{nullptr};
};

enum Mode : int32_t { kUndecided = -1, kDisabled = 0, kEnabled = 1, kReleased = 2 };

std::atomic<int32_t> g_mode{kUndecided};
RegistryEntry g_registry[kMaxPools + 1];  // numbered from 1
std::atomic<int32_t> g_pool_count{0};

// The calling thread's pool number (0 none) and its identifier, which is a
// system call on POSIX and so read once a thread.
struct ThreadPoolRef {
    int32_t pool_number;
    uint32_t thread_id;
};
thread_local ThreadPoolRef t_ref ORB_INITIAL_EXEC = {0, 0};

bool SwitchSet(const char *name) {
    char buf[17];
    return plat::GetEnv(name, buf, sizeof buf) != 0;
}

ORB_COLD int32_t DecideMode() {
    ServLock();
    int32_t mode = g_mode.load(std::memory_order_relaxed);
    if (mode == kUndecided) {
        if (SwitchSet("ORB_DISABLE_FAST_MM") || SwitchSet("ORB_MM_DISABLE"))
            mode = kDisabled;
        else
            mode = kEnabled;
        g_mode.store(mode, std::memory_order_release);
    }
    ServUnlock();
    return mode;
}

int32_t CurrentMode() {
    int32_t mode = g_mode.load(std::memory_order_acquire);
    return mode != kUndecided ? mode : DecideMode();
}

bool OwnedLive(const RegistryEntry &e, uint32_t self) {
    return e.owner.load(std::memory_order_relaxed) == self &&
           !e.released.load(std::memory_order_acquire);
}

ORB_COLD uint32_t ReadThreadId() { return t_ref.thread_id = plat::CurrentThreadId(); }

inline uint32_t ThisThread() {
    uint32_t id = t_ref.thread_id;
    return id ? id : ReadThreadId();
}

// The highest-numbered live entry of this thread, remembered.
ORB_COLD PoolRecord *ScanRegistry(uint32_t self) {
    for (int32_t i = g_pool_count.load(std::memory_order_acquire); i >= 1; --i) {
        if (OwnedLive(g_registry[i], self)) {
            t_ref.pool_number = i;
            return g_registry[i].record.load(std::memory_order_acquire);
        }
    }
    return nullptr;
}

// The calling thread's pool: the number it remembers if that entry is still
// its own (else the number is forgotten), or a registry scan.
inline PoolRecord *FindPool(uint32_t self) {
    if (int32_t n = t_ref.pool_number) {
        const RegistryEntry &e = g_registry[n];
        if (OwnedLive(e, self)) return e.record.load(std::memory_order_acquire);
        t_ref.pool_number = 0;
    }
    return ScanRegistry(self);
}

// A new pool for the calling thread; null when the registry is full or the
// record cannot be allocated.
ORB_COLD PoolRecord *RegisterPool(uint32_t self) {
    const Primitives &prim = GetPrimitives();
    PoolRecord *record = nullptr;
    ServLock();
    int32_t n = g_pool_count.load(std::memory_order_relaxed);
    if (n < kMaxPools) {
        if (void *memory = prim.allocate(sizeof(PoolRecord))) {
            record = new (memory) PoolRecord();
            RegistryEntry &e = g_registry[n + 1];
            e.owner.store(self, std::memory_order_relaxed);
            e.released.store(0, std::memory_order_relaxed);
            e.record.store(record, std::memory_order_relaxed);
            g_pool_count.store(n + 1, std::memory_order_release);
            t_ref.pool_number = n + 1;
        }
    }
    ServUnlock();
    return record;
}

void ClearSlot(PoolRecord &pool, int i) {
    pool.raw[i].set(0);
    pool.handed[i].set(0);
    pool.capacity[i].set(0);
}

// Gives slot i a fresh buffer of `need` bytes; false (slot left empty) when
// the primitive fails.
bool FillSlot(PoolRecord &pool, int i, uint32_t need) {
    void *raw = GetPrimitives().allocate(need);
    if (!raw) return false;
    pool.raw[i].set(uintptr_t(raw));
    pool.capacity[i].set(need);
    return true;
}

void *HandOut(PoolRecord &pool, int i, uint32_t size, uint32_t a) {
    uintptr_t raw = pool.raw[i].get();
    uintptr_t p = (raw & (a - 1)) == 0 ? raw : (raw & ~uintptr_t(a - 1)) + a;
    pool.size[i].set(size);
    pool.handed[i].set(p);
    pool.in_use[i].store(1, std::memory_order_relaxed);
    return reinterpret_cast<void *>(p);
}

// No free slot of exactly the capacity needed: a larger free one, a new
// one, a recycled smaller one, or a direct block.
ORB_COLD void *TakeOtherSlot(PoolRecord &pool, uint32_t size, uint32_t a, int larger, int smaller) {
    const uint32_t need = size + a;
    const int32_t made = pool.made.get();
    if (larger >= 0) return HandOut(pool, larger, size, a);
    if (made < kSlotsPerPool) {
        pool.made.set(made + 1);
        return FillSlot(pool, made, need) ? HandOut(pool, made, size, a) : nullptr;
    }
    if (smaller >= 0) {
        // The fields are cleared before the old buffer goes back, so a
        // cross-thread search never matches an address the primitive may
        // already have handed to someone else.
        auto old = reinterpret_cast<void *>(pool.raw[smaller].get());
        ClearSlot(pool, smaller);
        if (old) GetPrimitives().release(old);
        return FillSlot(pool, smaller, need) ? HandOut(pool, smaller, size, a) : nullptr;
    }
    return DirectAlloc(size, a);
}

inline void *TakeSlot(PoolRecord &pool, uint32_t size, uint32_t a) {
    const uint32_t need = size + a;
    const int32_t made = pool.made.get();
    int larger = -1, smaller = -1;
    for (int i = 0; i < made; ++i) {
        if (pool.in_use[i].load(std::memory_order_acquire)) continue;
        uint32_t capacity = pool.capacity[i].get();
        if (capacity == need) return HandOut(pool, i, size, a);
        if (capacity > need) {
            if (larger < 0) larger = i;
        } else if (smaller < 0) {
            smaller = i;
        }
    }
    return TakeOtherSlot(pool, size, a, larger, smaller);
}

inline bool ReleaseInPool(PoolRecord &pool, uintptr_t p) {
    const int32_t made = pool.made.get();
    for (int i = 0; i < made; ++i) {
        if (pool.handed[i].get() == p && pool.raw[i].get()) {
            pool.in_use[i].store(0, std::memory_order_release);
            return true;
        }
    }
    return false;
}

bool RecordEmpty(const PoolRecord &pool) {
    for (int i = 0; i < pool.made.get(); ++i)
        if (pool.raw[i].get()) return false;
    return true;
}

// Under ServLock. After ReleasePools a found buffer goes back to the
// primitive at once, and its record with the last one.
bool ReleaseInAnyPool(uintptr_t p, bool released, const Primitives &prim) {
    for (int32_t n = g_pool_count.load(std::memory_order_acquire); n >= 1; --n) {
        PoolRecord *pool = g_registry[n].record.load(std::memory_order_acquire);
        if (!pool) continue;
        const int32_t made = pool->made.get();
        for (int i = 0; i < made; ++i) {
            if (!pool->raw[i].get() || pool->handed[i].get() != p) continue;
            if (!released) {
                pool->in_use[i].store(0, std::memory_order_release);
                return true;
            }
            prim.release(reinterpret_cast<void *>(pool->raw[i].get()));
            ClearSlot(*pool, i);
            pool->in_use[i].store(0, std::memory_order_relaxed);
            if (RecordEmpty(*pool)) {
                g_registry[n].record.store(nullptr, std::memory_order_relaxed);
                prim.release(pool);
            }
            return true;
        }
    }
    return false;
}

}  // namespace

bool CacheEnabled() { return CurrentMode() == kEnabled; }

PoolCensus TakeCensus() {
    PoolCensus c{0, 0, 0, 0};
    ServLock();
    c.pools_registered = g_pool_count.load(std::memory_order_relaxed);
    for (int32_t n = 1; n <= c.pools_registered; ++n) {
        PoolRecord *pool = g_registry[n].record.load(std::memory_order_acquire);
        if (!pool) continue;
        ++c.records_live;
        for (int i = 0; i < pool->made.get(); ++i) {
            if (pool->raw[i].get()) ++c.buffers_live;
            if (pool->in_use[i].load(std::memory_order_acquire)) ++c.slots_in_use;
        }
    }
    ServUnlock();
    return c;
}

void ReleasePools() {
    if (g_mode.load(std::memory_order_acquire) != kEnabled) return;
    const Primitives &prim = GetPrimitives();
    ServLock();
    g_mode.store(kReleased, std::memory_order_release);
    for (int32_t n = g_pool_count.load(std::memory_order_relaxed); n >= 1; --n) {
        RegistryEntry &e = g_registry[n];
        e.released.store(1, std::memory_order_release);
        PoolRecord *pool = e.record.load(std::memory_order_relaxed);
        if (!pool) continue;
        for (int i = 0; i < pool->made.get(); ++i) {
            uintptr_t raw = pool->raw[i].get();
            if (!raw || pool->in_use[i].load(std::memory_order_acquire)) continue;
            prim.release(reinterpret_cast<void *>(raw));
            ClearSlot(*pool, i);
        }
        if (RecordEmpty(*pool)) {
            e.record.store(nullptr, std::memory_order_relaxed);
            prim.release(pool);
        }
    }
    ServUnlock();
}

}  // namespace orb::mem

namespace orb::mem {
namespace {

// Everything but a request served from an existing pool: the first use,
// size 0, direct blocks, a thread without a pool yet.
ORB_COLD void *AllocateSlowly(uint32_t size, int32_t alignment) {
    const int32_t mode = CurrentMode();
    if (size == 0) return nullptr;
    const uint32_t a = EffectiveAlignment(alignment);
    if (mode != kEnabled || size > kPoolLimitBytes) return DirectAlloc(size, a);
    const uint32_t self = ThisThread();
    PoolRecord *pool = FindPool(self);
    if (!pool) pool = RegisterPool(self);
    return pool ? TakeSlot(*pool, size, a) : DirectAlloc(size, a);
}

// A pointer not handed out by the calling thread's pool.
ORB_COLD void FreeSlowly(void *pointer) {
    const int32_t mode = CurrentMode();
    if (mode == kDisabled) return DirectFree(pointer);
    const auto p = uintptr_t(pointer);
    const Primitives &prim = GetPrimitives();
    ServLock();
    bool found = ReleaseInAnyPool(p, mode == kReleased, prim);
    ServUnlock();
    if (!found) DirectFree(pointer);
}

}  // namespace
}  // namespace orb::mem

using namespace orb::mem;

extern "C" void *ServAlloc(uint32_t size, int32_t alignment) {
    if (g_mode.load(std::memory_order_acquire) == kEnabled && size - 1u < kPoolLimitBytes) {
        if (PoolRecord *pool = FindPool(ThisThread()))
            return TakeSlot(*pool, size, EffectiveAlignment(alignment));
    }
    return AllocateSlowly(size, alignment);
}

extern "C" void ServFree(void *pointer) {
    if (!pointer) return;
    if (g_mode.load(std::memory_order_acquire) == kEnabled) {
        PoolRecord *pool = FindPool(ThisThread());
        if (pool && ReleaseInPool(*pool, uintptr_t(pointer))) return;
    }
    FreeSlowly(pointer);
}

#if !defined(_WIN32)
// POSIX has no DLL entry point: the pools go back when the library unloads.
__attribute__((destructor)) static void OrbMemoryUnload() { orb::mem::ReleasePools(); }
#endif
