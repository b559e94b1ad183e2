// Stand-ins for the service allocator and thread counts while they are not
// in the tree: weak, so the library's own definitions win once linked.
#include <stdlib.h>

#include "service/serv.h"

extern "C" __attribute__((weak)) void *ServAlloc(uint32_t size, int32_t alignment) {
    void *p = nullptr;
    if (alignment < int32_t(sizeof(void *))) alignment = sizeof(void *);
    return posix_memalign(&p, size_t(alignment), size ? size : 1) == 0 ? p : nullptr;
}
extern "C" __attribute__((weak)) void ServFree(void *pointer) { free(pointer); }
extern "C" __attribute__((weak)) int32_t ServDomainThreads(int32_t) { return 1; }
