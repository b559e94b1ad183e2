/* Tour section: LAPACK auxiliaries. */
#include <stdio.h>

#include "orb_lapack.h"
#include "tour.h"

void tour_lapack(void) {
    double d[8] = {3.5, -1.0, 7.25, 0.0, 2.0, -8.5, 2.0, 1.0};
    float s[4] = {0.5f, -2.0f, 9.0f, 1.0f};
    double nan_value = 0.0 / 0.0 * 0.0, one = 1.0;
    int n = 8, ns = 4, info = 0, bad_n = -1, i;

    printf("\n[LAPACK auxiliaries]\n");
    dlasrt("I", &n, d, &info);
    printf("  dlasrt('I')  info=%d:", info);
    for (i = 0; i < n; ++i) printf(" %g", d[i]);
    printf("\n");
    slasrt("d", &ns, s, &info);
    printf("  slasrt('d')  info=%d:", info);
    for (i = 0; i < ns; ++i) printf(" %g", s[i]);
    printf("\n");
    printf("  disnan(NaN)=%d disnan(1)=%d\n", disnan(&nan_value) != 0, disnan(&one) != 0);
    printf("  dlasrt with n=-1 reports:");
    fflush(stdout);
    dlasrt("I", &bad_n, d, &info);
    printf("  info=%d\n", info);
}
