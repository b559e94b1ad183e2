// Stand-in for the service allocator while it is not on this branch:
// weak, so the library's own definitions win as soon as they are linked.
#include <stdlib.h>

#include "service/serv.h"

extern "C" __attribute__((weak)) void *ServAlloc(uint32_t size, int32_t alignment) {
    void *p = nullptr;
    if (alignment < int32_t(sizeof(void *))) alignment = sizeof(void *);
#if defined(_WIN32)
    p = _aligned_malloc(size ? size : 1, size_t(alignment));
    return p;
#else
    return posix_memalign(&p, size_t(alignment), size ? size : 1) == 0 ? p : nullptr;
#endif
}

extern "C" __attribute__((weak)) void ServFree(void *pointer) {
#if defined(_WIN32)
    _aligned_free(pointer);
#else
    free(pointer);
#endif
}
