// Weak stand-ins for the service layer's memory and thread-count entries
// until their implementations are part of the build; the real definitions
// replace these at link time.
#include <cstdlib>

#include <omp.h>

#include "service/serv.h"

extern "C" __attribute__((weak)) void *ServAlloc(uint32_t size, int32_t alignment) {
    if (size == 0) return nullptr;
    size_t a = (alignment >= 64 && (alignment & (alignment - 1)) == 0) ? alignment : 64;
    return std::aligned_alloc(a, (size + a - 1) / a * a);
}
extern "C" __attribute__((weak)) void ServFree(void *p) { std::free(p); }
extern "C" __attribute__((weak)) int32_t ServDomainThreads(int32_t) {
    int n = omp_get_max_threads();
    return n < 1 ? 1 : n;
}
