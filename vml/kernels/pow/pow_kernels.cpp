/* Power-by-scalar kernels of one instruction-set level (compiled per level). */
#include "pow_kernels.h"

#include "pow_loop.h"

namespace ORB_KNS {
using namespace orb::vmk;
constexpr int kW = ORB_KLEVEL >= 6 ? 4 : 2;

#define ORB_VML_POW_DEF(fn, T, name, fast)                               \
    void fn(int32_t n, const T *a, T b, T *y) {                          \
        FpControl fp;                                                    \
        powx_loop<kW, T, fast>(n, a, b, y, name);                        \
    }
ORB_VML_POW_KERNELS(ORB_VML_POW_DEF)
#undef ORB_VML_POW_DEF
} // namespace ORB_KNS
