// Exported CBLAS level-1 shims: values in, scalars passed on by address to
// the internal entries, 0-based index out.
#include "blas1/blas1.h"
#include "orb_cblas.h"

using namespace orb::blas1;

extern "C" void cblas_dcopy(const int n, const double *x, const int incx, double *y,
                            const int incy) {
    Dcopy(&n, x, &incx, y, &incy);
}

extern "C" void cblas_scopy(const int n, const float *x, const int incx, float *y,
                            const int incy) {
    Scopy(&n, x, &incx, y, &incy);
}

extern "C" void cblas_dscal(const int n, const double alpha, double *x, const int incx) {
    Dscal(&n, &alpha, x, &incx);
}

extern "C" void cblas_sscal(const int n, const float alpha, float *x, const int incx) {
    Sscal(&n, &alpha, x, &incx);
}

extern "C" int cblas_idamax(const int n, const double *x, const int incx) {
    if (n <= 0 || incx <= 0) return 0;
    return Idamax(&n, x, &incx) - 1;
}

extern "C" int cblas_isamax(const int n, const float *x, const int incx) {
    if (n <= 0 || incx <= 0) return 0;
    return Isamax(&n, x, &incx) - 1;
}
