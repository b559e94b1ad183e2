/* Two-argument arc-tangent kernels of one instruction-set level. */
#include "atan2_kernels.h"

#include "atan2_loop.h"

namespace ORB_KNS {
using namespace orb::vmk;
constexpr int kW = ORB_KLEVEL >= 6 ? 4 : 2;

#define ORB_VML_ATAN2_DEF(fn, T, acc)                                         \
    void fn(int32_t n, const T *a, const T *b, T *y) {                   \
        FpControl fp;                                                    \
        atan2_loop<kW, T, AtanPath::acc>(n, a, b, y);                                   \
    }
ORB_VML_ATAN2_KERNELS(ORB_VML_ATAN2_DEF)
#undef ORB_VML_ATAN2_DEF
} // namespace ORB_KNS
