// The BLAS-1 kernel variants of one level: this file is compiled once per
// CpuLevel, each copy in its own namespace ORB_KNS.
#include "blas1/kernel_table.h"
#include "blas1/kernels_impl.h"

namespace orb::blas1::ORB_KNS {

void dcopy(const int32_t *n, const double *x, const int32_t *incx, double *y, const int32_t *incy) {
    Copy(n, x, incx, y, incy);
}
void scopy(const int32_t *n, const float *x, const int32_t *incx, float *y, const int32_t *incy) {
    Copy(n, x, incx, y, incy);
}
void dscal(const int32_t *n, const double *alpha, double *x, const int32_t *incx) {
    Scal(n, alpha, x, incx);
}
void sscal(const int32_t *n, const float *alpha, float *x, const int32_t *incx) {
    Scal(n, alpha, x, incx);
}
int32_t idamax(const int32_t *n, const double *x, const int32_t *incx) { return Iamax(n, x, incx); }
int32_t isamax(const int32_t *n, const float *x, const int32_t *incx) { return Iamax(n, x, incx); }

}  // namespace orb::blas1::ORB_KNS
