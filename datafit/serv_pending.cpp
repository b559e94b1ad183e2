// Weak stand-in for the service layer's thread-count query until its
// implementation is part of the build; the real definition replaces this
// one at link time.
#include <omp.h>

#include "service/serv.h"

extern "C" __attribute__((weak)) int32_t ServDomainThreads(int32_t) {
    int n = omp_get_max_threads();
    return n < 1 ? 1 : n;
}
