// The sort behind dlasrt/slasrt: median-of-three quicksort with an explicit
// stack and insertion sort for short parts, in either direction.
#ifndef ORB_LAPACK_AUX_LASRT_H
#define ORB_LAPACK_AUX_LASRT_H

#include <stdint.h>

namespace orb::lapack {

// Fortran convention: every argument by address; d has *n elements. The
// name (length 6) is what a bad argument is reported under.
void Dlasrt(const char *id, const int32_t *n, double *d, int32_t *info);
void Slasrt(const char *id, const int32_t *n, float *d, int32_t *info);

}  // namespace orb::lapack

#endif
