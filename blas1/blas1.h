// Internal BLAS-1 entries (Fortran convention: scalars by address, 1-based
// index results), their dispatch slots, and the copy driver's decisions,
// exposed for the tests. Nothing here is exported.
#ifndef ORB_BLAS1_BLAS1_H
#define ORB_BLAS1_BLAS1_H

#include <stdint.h>

#include "blas1/kernel_table.h"

namespace orb::blas1 {

// Copies of more elements than this may be split among threads.
constexpr int32_t kCopySerialLimit = 2000;

// Internal entries.
void Dcopy(const int32_t *n, const double *x, const int32_t *incx, double *y, const int32_t *incy);
void Scopy(const int32_t *n, const float *x, const int32_t *incx, float *y, const int32_t *incy);
void Dscal(const int32_t *n, const double *alpha, double *x, const int32_t *incx);
void Sscal(const int32_t *n, const float *alpha, float *x, const int32_t *incx);
int32_t Idamax(const int32_t *n, const double *x, const int32_t *incx);
int32_t Isamax(const int32_t *n, const float *x, const int32_t *incx);

// Dispatch slots (ForLevel gives each level's variant).
DispatchSlot<CopyFn<double>> &DcopySlot();
DispatchSlot<CopyFn<float>> &ScopySlot();
DispatchSlot<ScalFn<double>> &DscalSlot();
DispatchSlot<ScalFn<float>> &SscalSlot();
DispatchSlot<IamaxFn<double>> &IdamaxSlot();
DispatchSlot<IamaxFn<float>> &IsamaxSlot();

// Microarchitecture code of the copy driver from its inputs: vendor test,
// reproducibility mode (1 unset .. 10 AVX2), CpuLevel, SSE4.1, AES
// (CPUID.1:ECX bit 25), and the value of "ORB_DEBUG_CPU_MA" (0 when unset).
int32_t DecideMicroarchCode(bool varel, int32_t cbwr_mode, int32_t cpu_level, bool sse41,
                            bool aes, int32_t debug_ma);
// This process's code, computed once.
int32_t MicroarchCode();

// Whether a copy longer than the serial limit is split, given the code and
// the increments. A zero destination increment always copies serially, so
// that the last source element deterministically ends in y[0].
bool CopySplits(int32_t code, int32_t incx, int32_t incy);

// The threaded path: n elements in contiguous equal shares over a team of
// `threads`, each share copied by `kernel`.
template <typename T>
void CopyThreaded(CopyFn<T> kernel, int32_t n, const T *x, int32_t incx, T *y, int32_t incy,
                  int32_t threads);

}  // namespace orb::blas1

#endif
