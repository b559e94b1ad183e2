/* Two-argument arc-tangent kernels of extended level 0: plain loops over
 * the same core, control word untouched. */
#include "atan2_kernels.h"

#include "atan2_loop.h"

namespace k_ref {
using namespace orb::vmk;

#define ORB_VML_ATAN2_DEF(fn, T, acc)                                         \
    void fn(int32_t n, const T *a, const T *b, T *y) { atan2_loop<1, T, AtanPath::acc>(n, a, b, y); }
ORB_VML_ATAN2_KERNELS(ORB_VML_ATAN2_DEF)
#undef ORB_VML_ATAN2_DEF
} // namespace k_ref
