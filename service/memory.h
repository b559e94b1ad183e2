// Internals of the memory manager behind ServAlloc / ServFree: the table of
// underlying primitives, direct blocks with their statistics, and the
// per-thread pools. Families use only ServAlloc / ServFree (service/serv.h);
// the rest is here for the manager's own files, its tests and benchmark.
#ifndef ORB_SERVICE_MEMORY_H
#define ORB_SERVICE_MEMORY_H

#include <stddef.h>
#include <stdint.h>

namespace orb::mem {

// The four underlying primitives. Filled at load from the replacement
// allocator library when it exports all four variables with non-null
// values, else from the C runtime. The manager uses allocate and release.
struct Primitives {
    void *(*allocate)(size_t);
    void *(*allocate_zeroed)(size_t, size_t);
    void *(*reallocate)(void *, size_t);
    void (*release)(void *);
};
const Primitives &GetPrimitives();

// Requests above this size always take the direct path.
constexpr uint32_t kPoolLimitBytes = 134217728;
constexpr int kSlotsPerPool = 5;
constexpr int kMaxPools = 1024;
// The two header words below a direct block: raw pointer, then total size.
constexpr size_t kDirectHeaderBytes = 2 * sizeof(uintptr_t);

// `alignment` when it is at least 64 and a power of two, else 64.
constexpr uint32_t EffectiveAlignment(int32_t alignment) {
    return alignment >= 64 && (alignment & (alignment - 1)) == 0 ? uint32_t(alignment) : 64u;
}

// Direct blocks: size + a + header bytes from the primitive, counted in the
// statistics. DirectAlloc returns null when the primitive fails or the total
// does not fit in the address space. DirectFree ignores a block whose raw
// word is zero.
void *DirectAlloc(uint32_t size, uint32_t a);
void DirectFree(void *p);

// The two process-wide counters of outstanding direct blocks.
struct Statistics {
    uint64_t bytes_outstanding;
    int64_t blocks_outstanding;
};
Statistics ReadStatistics();

// Whether requests go through the per-thread pools (decided on first use
// from ORB_DISABLE_FAST_MM / ORB_MM_DISABLE; false after ReleasePools).
bool CacheEnabled();

// A consistent view of all pools, taken under ServLock.
struct PoolCensus {
    int pools_registered;  // registry entries ever made (1..1024 numbers used)
    int records_live;      // pool records still allocated
    int buffers_live;      // cached buffers held by slots
    int slots_in_use;      // slots whose buffer is handed out
};
PoolCensus TakeCensus();

// Releases every pool at unload: cached buffers not in use and their
// records go back to the primitive, every registry entry is marked
// released, and the manager switches to direct blocks. Buffers still in use are released when
// their owner frees them. No thread may be inside ServAlloc / ServFree
// meanwhile. Runs from the library destructor on POSIX; the Windows entry
// point calls it on process detach.
void ReleasePools();

}  // namespace orb::mem

#endif
