/* What the root, power and arc-tangent kernels take from the vector call
 * frame: the thread's mode word and the exceptional-element reporters. */
#ifndef ORB_VML_KERNELS_FRAME_LINK_H
#define ORB_VML_KERNELS_FRAME_LINK_H

#include <stdint.h>

extern "C" {
uint32_t ServVmlGetMode(void);
void ServVmlReportError_s(int32_t code, int32_t i, const float *a1, const float *a2,
                          float *r1, float *r2, const char *name);
void ServVmlReportError_d(int32_t code, int32_t i, const double *a1, const double *a2,
                          double *r1, double *r2, const char *name);
}

namespace orb::vmk {

inline void report(int32_t code, int32_t i, const float *a1, const float *a2,
                   float *r, const char *name) {
    ServVmlReportError_s(code, i, a1, a2, r, r, name);
}
inline void report(int32_t code, int32_t i, const double *a1, const double *a2,
                   double *r, const char *name) {
    ServVmlReportError_d(code, i, a1, a2, r, r, name);
}

} // namespace orb::vmk

#endif
