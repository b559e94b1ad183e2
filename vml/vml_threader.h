// Threaders of the vector-math exports: the split of one call among the
// threads of the vector-math domain. One template serves the twelve
// argument lists; the named orb_vml_serv_threader_* functions instantiate it.
#ifndef ORB_VML_THREADER_H
#define ORB_VML_THREADER_H

#include <stdint.h>

#include <atomic>

#include "service/threads.h"
#include "vml/vml_frame.h"

#ifdef __cplusplus
extern "C" {
#endif

void orb_vml_serv_threader_s_1i_1o(VmlUnaryKernelS k, int32_t n,
                                   const float *a, float *y, float cost,
                                   int32_t zero);
void orb_vml_serv_threader_d_1i_1o(VmlUnaryKernelD k, int32_t n,
                                   const double *a, double *y, float cost,
                                   int32_t zero);
void orb_vml_serv_threader_s_2i_1o(VmlBinaryKernelS k, int32_t n,
                                   const float *a, const float *b, float *y,
                                   float cost, int32_t zero);
void orb_vml_serv_threader_d_2i_1o(VmlBinaryKernelD k, int32_t n,
                                   const double *a, const double *b,
                                   double *y, float cost, int32_t zero);
void orb_vml_serv_threader_c_2i_1o(VmlBinaryKernelC k, int32_t n,
                                   const VmlComplex8 *a, const VmlComplex8 *b,
                                   VmlComplex8 *y, float cost, int32_t zero);
void orb_vml_serv_threader_z_2i_1o(VmlBinaryKernelZ k, int32_t n,
                                   const VmlComplex16 *a,
                                   const VmlComplex16 *b, VmlComplex16 *y,
                                   float cost, int32_t zero);
void orb_vml_serv_threader_s_cs_2i_s_1o(VmlPowxKernelS k, int32_t n,
                                        const float *a, float b, float *y,
                                        float cost, int32_t zero);
void orb_vml_serv_threader_d_cd_2i_d_1o(VmlPowxKernelD k, int32_t n,
                                        const double *a, double b, double *y,
                                        float cost, int32_t zero);
void orb_vml_serv_threader_c_1i_s_1o(VmlAbsKernelC k, int32_t n,
                                     const VmlComplex8 *a, float *y,
                                     float cost, int32_t zero);
void orb_vml_serv_threader_z_1i_d_1o(VmlAbsKernelZ k, int32_t n,
                                     const VmlComplex16 *a, double *y,
                                     float cost, int32_t zero);
void orb_vml_serv_threader_s_6i_1o(VmlLinearFracKernelS k, int32_t n,
                                   const float *a, const float *b,
                                   float scalea, float shifta, float scaleb,
                                   float shiftb, float *y, float cost,
                                   int32_t zero);
void orb_vml_serv_threader_d_6i_1o(VmlLinearFracKernelD k, int32_t n,
                                   const double *a, const double *b,
                                   double scalea, double shifta,
                                   double scaleb, double shiftb, double *y,
                                   float cost, int32_t zero);

#ifdef __cplusplus
}

namespace orb::vml {
// Elements below this count always run in the calling thread.
constexpr int32_t kThreadThreshold = 100;
// Machine factor F of the dynamic rule for given topology counts.
float MachineFactor(int32_t packages, int32_t cores, int32_t smt_minus_one);
// This process's machine factor, computed on first use (inline once
// known: the entries ask on every call of a threadable size); NaN before.
extern std::atomic<float> g_factor ORB_HIDDEN;
float FirstProcessFactor();
inline float ProcessFactor() {
    const float f = g_factor.load(std::memory_order_acquire);
    return f >= 0.0f ? f : FirstProcessFactor();
}
// Elements below which the dynamic rule keeps a call of any export in the
// calling thread, once the machine factor is known (0 before): the entries
// compare with it before they would form the rule's float product.
extern std::atomic<int32_t> g_serial_below ORB_HIDDEN;
// That bound for a factor and the largest cost of any kernel table: every
// n below it passes SerialUnder's product for every cost up to max_cost,
// whatever the caller's rounding mode (0 for a NaN, the int32 maximum for
// a zero product).
int32_t SerialBound(float factor, float max_cost);
// The largest cost of any kernel table.
float MaxTableCost();
// The dynamic rule's answer "below one thread" for n elements of a cost.
inline bool SerialUnder(int32_t dynamic, float factor, int32_t n, float cost) {
    return dynamic != 0 && float(n) * cost * factor < 1.0f;
}
// True when a call of n elements runs in the calling thread whatever the
// thread count: below the threshold, or, under the dynamic rule, when the
// work estimate is below one thread. Inline: the entries test it before
// handing a call to the threader, which then stays off the short calls.
inline bool RunsSerial(int32_t n, float cost) {
    return n < kThreadThreshold || SerialUnder(orb::Dynamic(), ProcessFactor(), n, cost);
}
// RunsSerial from the words already known, false while any is not: the
// entries' short path then makes no call before the kernel's. The switch
// reads 1 only once set or read so (the environment never overrides a set
// value), and a factor not yet known is NaN, which fails the comparison:
// two loads and no other test on the entries' path; below the serial
// bound, one more load and no float product.
inline bool KnownSerial(int32_t n, float cost) {
    if (n < kThreadThreshold) return true;
    if (orb::g_dynamic.load(std::memory_order_relaxed) != 1) return false;
    return n < g_serial_below.load(std::memory_order_relaxed) ||
           float(n) * cost * g_factor.load(std::memory_order_acquire) < 1.0f;
}
// First element and count of team member k of m for n elements.
inline void ChunkOf(int32_t n, int32_t k, int32_t m, int32_t *first,
                    int32_t *count) {
    const int32_t chunk = n / m;
    *first = k * chunk;
    *count = (k + 1 < m) ? chunk : n - k * chunk;
}
}  // namespace orb::vml
#endif

#endif
