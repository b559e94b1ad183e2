/* orb_custom public interface: LAPACK auxiliaries.
 * Fortran convention: every argument is passed by address.
 * Compiles as C99 and as C++. */
#ifndef ORB_LAPACK_H
#define ORB_LAPACK_H

#ifdef __cplusplus
extern "C" {
#endif

/* Sorts d[0..*n-1] in place: *id 'I'/'i' increasing, 'D'/'d' decreasing.
 * Median-of-three quicksort (parts of more than 21 elements are
 * partitioned, shorter ones insertion-sorted); not stable. NaNs are not
 * detected and end in unspecified, but reproducible, places.
 * *info = 0 on success; -1 for a bad *id, -2 for *n < 0: then d is left
 * untouched and a blank line plus
 *   "ORB ERROR: Parameter 1 was incorrect on entry to DLASRT."
 * (resp. 2, "SLASRT") is printed on standard output, through the reporter
 * hook if one was installed first. */
void dlasrt(const char *id, const int *n, double *d, int *info);
void slasrt(const char *id, const int *n, float *d, int *info);

/* Nonzero when *x is a NaN, 0 otherwise. */
int disnan(const double *x);
int sisnan(const float *x);

#ifdef __cplusplus
}
#endif

#endif
