/* Tour section: CBLAS level 1, with the thread counts the BLAS domain gets
 * (read from the service layer's objects linked into the tour). */
#include <stdio.h>

#include "orb_cblas.h"
#include "service/threads.h"
#include "tour.h"

static void print_vector(const char *label, const double *v, int n) {
    int i;
    printf("  %-28s", label);
    for (i = 0; i < n; ++i) printf(" %6.2f", v[i]);
    printf("\n");
}

void tour_blas1(void) {
    double x[5] = {1.0, -4.5, 2.0, 4.5, -0.5};
    double y[5] = {0, 0, 0, 0, 0};
    int packages = 0, cores = 0, smt = 0;

    printf("\n[CBLAS level 1]\n");
    print_vector("x", x, 5);
    cblas_dcopy(5, x, -1, y, 1);
    print_vector("dcopy(x, incx=-1) -> y", y, 5);
    cblas_dscal(3, 2.0, y, 2);
    print_vector("dscal(3, 2.0, y, incy=2)", y, 5);
    printf("  idamax(x)                    %d (first of |-4.5| and |4.5|)\n", cblas_idamax(5, x, 1));
    printf("  idamax(n=0) / idamax(inc=-1) %d / %d\n", cblas_idamax(0, x, 1), cblas_idamax(5, x, -1));

    ServTopologyCounts(&packages, &cores, &smt);
    printf("  topology                     %d package(s) x %d core(s) x %d thread(s)\n", packages,
           cores, smt + 1);
    printf("  BLAS domain threads          %d (dynamic %s)\n", ServDomainThreads(ServDomainBlas),
           ServGetDynamic() ? "on" : "off");
}
