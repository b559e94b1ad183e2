// Direct blocks: one primitive allocation per request, the caller's aligned
// pointer preceded by two header words (raw pointer, total size), and the
// process-wide statistics of outstanding blocks under ServLock.
#include <cstdint>

#include "service/memory.h"
#include "service/serv.h"

namespace orb::mem {
namespace {

uint64_t g_bytes_outstanding = 0;
int64_t g_blocks_outstanding = 0;

uintptr_t *HeaderOf(void *p) { return static_cast<uintptr_t *>(p) - 2; }

}  // namespace

void *DirectAlloc(uint32_t size, uint32_t a) {
    uint64_t total = uint64_t(size) + a + kDirectHeaderBytes;
    // On 32-bit builds size + alignment can exceed the address space.
    if (total > uint64_t(SIZE_MAX)) return nullptr;
    void *raw = GetPrimitives().allocate(size_t(total));
    if (!raw) return nullptr;
    uintptr_t p = (uintptr_t(raw) + a + kDirectHeaderBytes) & ~uintptr_t(a - 1);
    uintptr_t *header = HeaderOf(reinterpret_cast<void *>(p));
    header[0] = uintptr_t(raw);
    header[1] = uintptr_t(total);
    ServLock();
    g_bytes_outstanding += total;
    g_blocks_outstanding += 1;
    ServUnlock();
    return reinterpret_cast<void *>(p);
}

void DirectFree(void *p) {
    const uintptr_t *header = HeaderOf(p);
    uintptr_t raw = header[0];
    if (!raw) return;
    uintptr_t total = header[1];
    ServLock();
    g_bytes_outstanding -= total;
    g_blocks_outstanding -= 1;
    ServUnlock();
    GetPrimitives().release(reinterpret_cast<void *>(raw));
}

Statistics ReadStatistics() {
    ServLock();
    Statistics s{g_bytes_outstanding, g_blocks_outstanding};
    ServUnlock();
    return s;
}

}  // namespace orb::mem
