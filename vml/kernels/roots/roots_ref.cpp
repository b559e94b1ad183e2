/* Root kernels of extended level 0: plain element-by-element loops over the
 * same cores, without touching the floating-point control word. */
#include "roots_kernels.h"

#include "kernel_loop.h"

namespace k_ref {
using namespace orb::vmk;

#define ORB_VML_ROOT_DEF(fn, T, core, acc, code, name)                   \
    void fn(int32_t n, const T *a, T *y) {                              \
        unary_loop<1, core, T, Acc::acc>(n, a, y, code, name);          \
    }
ORB_VML_ROOT_KERNELS(ORB_VML_ROOT_DEF)
#undef ORB_VML_ROOT_DEF
} // namespace k_ref
