/* orb_custom public interface: CBLAS level-1 subset.
 * Compiles as C99 and as C++.
 *
 * A vector is (n, pointer, inc): element i (from 0) sits at
 * pointer[i * inc] when inc >= 0 and at pointer[(n - 1 - i) * |inc|] when
 * inc < 0. n <= 0 is empty work: nothing happens and nothing is reported.
 */
#ifndef ORB_CBLAS_H
#define ORB_CBLAS_H

#ifdef __cplusplus
extern "C" {
#endif

/* y := x. A zero increment is a legal stride: incx = 0 copies x[0] into
 * every element of y; incy = 0 leaves the last source element in y[0].
 * Copies of more than 2000 elements may be split among the BLAS domain's
 * threads (see "ORB_NUM_THREADS" / "ORB_DOMAIN_NUM_THREADS"). */
void cblas_dcopy(const int n, const double *x, const int incx, double *y, const int incy);
void cblas_scopy(const int n, const float *x, const int incx, float *y, const int incy);

/* x := alpha * x. A negative increment counts as its absolute value and
 * the walk still starts at x[0]; incx = 0 multiplies x[0] by alpha n times.
 * alpha is never special-cased (alpha = 0 turns infinities and NaNs into
 * NaN). Always single-threaded. */
void cblas_dscal(const int n, const double alpha, double *x, const int incx);
void cblas_sscal(const int n, const float alpha, float *x, const int incx);

/* 0-based index of the first element of largest magnitude. Returns 0 for
 * n <= 0 or incx <= 0 (as it does when the first element is the largest).
 * A NaN in the first element gives 0; NaNs elsewhere give an unspecified
 * index. */
int cblas_idamax(const int n, const double *x, const int incx);
int cblas_isamax(const int n, const float *x, const int incx);

#ifdef __cplusplus
}
#endif

#endif
