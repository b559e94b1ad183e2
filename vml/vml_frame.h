/* Vector-math call frame: the per-thread mode/status/callback accessors, the
 * error handler the kernels call for an exceptional element, the mode-word
 * constants and the kernel pointer types of every export shape.
 * Internal; nothing here is exported from the shared library. */
#ifndef ORB_VML_FRAME_H
#define ORB_VML_FRAME_H

#include <stdint.h>

#include "orb_vml.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- mode word fields ---- */
enum {
    VmlModeAccuracyMask = 0x0000000F, /* accuracy code 1..3 */
    VmlModeErrorMask = 0x0000FF00,    /* error actions */
    VmlModeDenormMask = 0x003C0000,   /* denormal control */
    VmlModeDenormFlush = 0x00280000,  /* FTZ + DAZ wanted in the kernels */
    VmlModeDenormKeep = 0x00140000,   /* explicit "no flushing" */
    VmlModeDefault = 0x1A02
};
enum {
    VmlErrIgnore = 0x0100,
    VmlErrSetErrno = 0x0200,
    VmlErrPrint = 0x0400,
    VmlErrRaise = 0x0800,
    VmlErrCallback = 0x1000,
    VmlErrCallbackNibble = 0xF000,
    VmlErrDefaultNibble = 0x0F00
};
/* ---- status codes ---- */
enum {
    VmlStatusOk = 0,
    VmlStatusBadSize = -1,
    VmlStatusBadMem = -2,
    VmlStatusErrDom = 1,
    VmlStatusSing = 2,
    VmlStatusOverflow = 3,
    VmlStatusUnderflow = 4,
    VmlStatusModeWarning = 1000
};

/* ---- per-thread state (the calling thread's ServThreadState record) ---- */
uint32_t ServVmlGetMode(void);              /* fills a zero word first */
uint32_t ServVmlSetMode(uint32_t mode);     /* zero fields keep; old word */
int32_t ServVmlGetStatus(void);
int32_t ServVmlSetStatus(int32_t status);   /* returns the old status */
VmlErrorCallback ServVmlGetCallback(void);
VmlErrorCallback ServVmlSetCallback(VmlErrorCallback callback);
const void *ServVmlSetArgBase(const void *base);

/* Initial mode of the process from "ORB_VML_MODE": -1 in both halves when
 * the variable is absent or unusable, else the mode word in the low half. */
int64_t ServVmlInitialMode(void);

/* ---- error handler: one variant per element type ----
 * (code, local index i, first-argument array, second-argument array,
 *  first-result array, second-result array, function name).
 * A one-argument, one-result kernel passes its input array twice and its
 * output array twice. The real-valued magnitude of vcAbs/vzAbs passes the
 * complex input arrays and the real output array, hence the mixed variant
 * types below. */
void ServVmlReportErrorS(int32_t code, int32_t i, const float *a1,
                         const float *a2, float *r1, float *r2,
                         const char *name);
void ServVmlReportErrorD(int32_t code, int32_t i, const double *a1,
                         const double *a2, double *r1, double *r2,
                         const char *name);
void ServVmlReportErrorC(int32_t code, int32_t i, const VmlComplex8 *a1,
                         const VmlComplex8 *a2, VmlComplex8 *r1,
                         VmlComplex8 *r2, const char *name);
void ServVmlReportErrorZ(int32_t code, int32_t i, const VmlComplex16 *a1,
                         const VmlComplex16 *a2, VmlComplex16 *r1,
                         VmlComplex16 *r2, const char *name);

/* Dynamic thread count for allowed count t, n elements and per-element
 * cost c; also stores the result as the new allowed count. */
int32_t ServVmlThreadCount(int32_t *t, int32_t n, float c);

/* ---- kernel pointer types, one per shape and element type ---- */
typedef void (*VmlUnaryKernelS)(int32_t n, const float *a, float *y);
typedef void (*VmlUnaryKernelD)(int32_t n, const double *a, double *y);
typedef void (*VmlBinaryKernelS)(int32_t n, const float *a, const float *b,
                                 float *y);
typedef void (*VmlBinaryKernelD)(int32_t n, const double *a, const double *b,
                                 double *y);
typedef void (*VmlBinaryKernelC)(int32_t n, const VmlComplex8 *a,
                                 const VmlComplex8 *b, VmlComplex8 *y);
typedef void (*VmlBinaryKernelZ)(int32_t n, const VmlComplex16 *a,
                                 const VmlComplex16 *b, VmlComplex16 *y);
typedef void (*VmlPowxKernelS)(int32_t n, const float *a, float b, float *y);
typedef void (*VmlPowxKernelD)(int32_t n, const double *a, double b,
                               double *y);
typedef void (*VmlAbsKernelC)(int32_t n, const VmlComplex8 *a, float *y);
typedef void (*VmlAbsKernelZ)(int32_t n, const VmlComplex16 *a, double *y);
typedef void (*VmlLinearFracKernelS)(int32_t n, const float *a,
                                     const float *b, float scalea,
                                     float shifta, float scaleb, float shiftb,
                                     float *y);
typedef void (*VmlLinearFracKernelD)(int32_t n, const double *a,
                                     const double *b, double scalea,
                                     double shifta, double scaleb,
                                     double shiftb, double *y);

#ifdef __cplusplus
}

/* C++ kernels call the handler by element type through one name. */
inline void ServVmlReportError(int32_t c, int32_t i, const float *a1,
                               const float *a2, float *r1, float *r2,
                               const char *name) {
    ServVmlReportErrorS(c, i, a1, a2, r1, r2, name);
}
inline void ServVmlReportError(int32_t c, int32_t i, const double *a1,
                               const double *a2, double *r1, double *r2,
                               const char *name) {
    ServVmlReportErrorD(c, i, a1, a2, r1, r2, name);
}
inline void ServVmlReportError(int32_t c, int32_t i, const VmlComplex8 *a1,
                               const VmlComplex8 *a2, VmlComplex8 *r1,
                               VmlComplex8 *r2, const char *name) {
    ServVmlReportErrorC(c, i, a1, a2, r1, r2, name);
}
inline void ServVmlReportError(int32_t c, int32_t i, const VmlComplex16 *a1,
                               const VmlComplex16 *a2, VmlComplex16 *r1,
                               VmlComplex16 *r2, const char *name) {
    ServVmlReportErrorZ(c, i, a1, a2, r1, r2, name);
}
#endif

#ifdef __cplusplus
#include "service/thread_state.h"

namespace orb::vml {
// ServVmlGetMode with its fast path inline: a word once filled is never 0.
inline uint32_t ThreadMode() {
    const uint32_t mode = orb::ThreadRecord()->vml_mode;
    return mode != 0 ? mode : ServVmlGetMode();
}

// Control-word bits the kernels own: FTZ, DAZ and rounding control, the
// first two set only when the mode asks for flushing, rounding to nearest.
// (Always inline: the kernel sources of every instruction-set level use it.)
constexpr uint32_t kCsrMask = 0xE040;
constexpr uint32_t kCsrFlushBits = 0x8040;
__attribute__((always_inline)) constexpr uint32_t WantedCsrBits(uint32_t mode) {
    return (mode & VmlModeDenormMask) == VmlModeDenormFlush ? kCsrFlushBits : 0u;
}
}  // namespace orb::vml
#endif

#endif
