// Stand-in for the service thread counts while they are not on this
// branch: weak, so the library's definition wins once it is linked.
#include <omp.h>

#include "service/serv.h"

extern "C" __attribute__((weak)) int32_t ServDomainThreads(int32_t) {
    return omp_get_max_threads();
}
