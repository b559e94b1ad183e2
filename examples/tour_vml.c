/* Tour section: Vector mathematics. */
#include <stdio.h>

#include "orb_vml.h"
#include "tour.h"

void tour_vml(void) {
    const double a[4] = {1.0, -2.5, 3.0, 0.49};
    const double b[4] = {2.0, 4.0, 0.0, -8.0};
    double y[4];
    const VmlComplex16 za[2] = {{1.0, 2.0}, {1e300, 1e300}};
    const VmlComplex16 zb[2] = {{3.0, -4.0}, {1e300, -1e300}};
    VmlComplex16 zq[2];
    double m[2];
    int i;

    printf("\n[Vector mathematics]\n");
    vdAdd(4, a, b, y);
    printf("  vdAdd    :");
    for (i = 0; i < 4; ++i) printf(" %g", y[i]);
    printf("\n  vdDiv    :");
    vdDiv(4, a, b, y); /* 3/0 -> inf, reported as a singularity */
    for (i = 0; i < 4; ++i) printf(" %g", y[i]);
    printf("\n  vdRound  :");
    vdRound(4, a, y);
    for (i = 0; i < 4; ++i) printf(" %g", y[i]);
    vzDiv(2, za, zb, zq);
    printf("\n  vzDiv    : (%g,%g) (%g,%g)  no overflow near 1e308\n",
           zq[0].real, zq[0].imag, zq[1].real, zq[1].imag);
    vzAbs(2, za, m);
    printf("  vzAbs    : %g %g\n", m[0], m[1]);
    vdLinearFrac(4, a, b, 2.0, 1.0, 0.0, 4.0, y);
    printf("  vdLinearFrac (2a+1)/4:");
    for (i = 0; i < 4; ++i) printf(" %g", y[i]);
    printf("\n");
}
