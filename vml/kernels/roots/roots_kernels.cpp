/* Root kernels of one instruction-set level (compiled once per level):
 * two lanes up to SSE4.2, four lanes from AVX on. */
#include "roots_kernels.h"

#include "kernel_loop.h"

namespace ORB_KNS {
using namespace orb::vmk;
constexpr int kW = ORB_KLEVEL >= 6 ? 4 : 2;

#define ORB_VML_ROOT_DEF(fn, T, core, acc, code, name)                   \
    void fn(int32_t n, const T *a, T *y) {                              \
        unary_kernel<kW, core, T, Acc::acc>(n, a, y, code, name);       \
    }
ORB_VML_ROOT_KERNELS(ORB_VML_ROOT_DEF)
#undef ORB_VML_ROOT_DEF
} // namespace ORB_KNS
