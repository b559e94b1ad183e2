/* What the root, power and arc-tangent kernels take from the vector call
 * frame: the thread's mode word and the exceptional-element reporters. */
#ifndef ORB_VML_KERNELS_FRAME_LINK_H
#define ORB_VML_KERNELS_FRAME_LINK_H

#include <stdint.h>

#include "lanes.h"
#include "vml/vml_frame.h"

ORB_VMK_BEGIN

/* One-result kernels: the result array is both result arguments. */
template <typename T>
inline void report(int32_t code, int32_t i, const T *a1, const T *a2, T *r,
                   const char *name) {
    ServVmlReportError(code, i, a1, a2, r, r, name);
}

ORB_VMK_END

#endif
