/* Power-by-scalar kernels of extended level 0: plain loops over the same
 * core, control word untouched. */
#include "pow_kernels.h"

#include "pow_loop.h"

namespace k_ref {
using namespace orb::vmk;

#define ORB_VML_POW_DEF(fn, T, name, fast)                               \
    void fn(int32_t n, const T *a, T b, T *y) { powx_loop<1, T, fast>(n, a, b, y, name); }
ORB_VML_POW_KERNELS(ORB_VML_POW_DEF)
#undef ORB_VML_POW_DEF
} // namespace k_ref
