/* Tour section: Data fitting. A natural cubic spline through samples of
 * sin, evaluated with its first derivative between the samples, and the
 * cells of a few sites. */
#include <math.h>
#include <stdio.h>

#include "orb_df.h"
#include "tour.h"

void tour_datafit(void) {
    enum { NX = 9, NS = 4 };
    double x[NX], y[NX], coeff[4 * (NX - 1)];
    for (int j = 0; j < NX; ++j) {
        x[j] = j * 0.25 * M_PI;
        y[j] = sin(x[j]);
    }
    DfTask *task = NULL;
    printf("\n[Data fitting]\n");
    int st = dfdNewTask1D(&task, NX, x, DfNonUniform, 1, y, DfValuesPerFunction);
    if (st == 0)
        st = dfdEditPPSpline1D(task, DfCubic, DfTypeNatural, DfBcFreeEnd, NULL, 0, NULL, coeff, 0);
    if (st == 0) st = dfdConstruct1D(task, 0, 0);
    if (st != 0) {
        printf("  construction failed: %d\n", st);
        dfDeleteTask(&task);
        return;
    }
    double site[NS] = {0.3, 1.1, 2.0, 5.5}, r[2 * NS];
    int32_t dorder[2] = {1, 1}, cell[NS];
    st = dfdInterpolate1D(task, DfInterpolate | DfCellSearch, DfMethodPP, NS, site, DfSitesSorted,
                          2, dorder, NULL, r, DfResultFuncsSitesDerivs, cell);
    printf("  natural cubic spline through sin at %d points (status %d)\n", NX, st);
    printf("  %6s %5s %12s %12s %12s %12s\n", "t", "cell", "S(t)", "sin t", "S'(t)", "cos t");
    for (int k = 0; k < NS; ++k)
        printf("  %6.2f %5d %12.8f %12.8f %12.8f %12.8f\n", site[k], (int)cell[k], r[2 * k], sin(site[k]),
               r[2 * k + 1], cos(site[k]));

    /* Subbotin's quadratic on the same task: knots midway between the
     * points, zero second derivative at both ends. */
    double knots[NX + 1], qcoeff[3 * NX];
    knots[0] = x[0];
    knots[NX] = x[NX - 1];
    for (int j = 1; j < NX; ++j) knots[j] = 0.5 * (x[j - 1] + x[j]);
    st = dfdEditPPSpline1D(task, DfQuadratic, DfTypeSubbotin, DfBcFreeEnd, NULL, DfIcKnots, knots, qcoeff, 0);
    if (st == 0) st = dfdConstruct1D(task, 0, 0);
    if (st == 0)
        st = dfdInterpolate1D(task, DfInterpolate, DfMethodPP, NS, site, DfSitesSorted, 0, NULL, NULL, r,
                              DfResultFuncsSitesDerivs, NULL);
    printf("  Subbotin quadratic, knots midway (status %d):", st);
    for (int k = 0; k < NS && st == 0; ++k) printf(" Q(%.2f) = %.6f", site[k], r[k]);
    printf("\n");
    dfDeleteTask(&task);
}
