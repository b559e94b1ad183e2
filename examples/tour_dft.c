/* Tour section: Fourier transforms. A complex transform of length 8 and a
 * real transform of length 6 in the CCS format, each printed and taken
 * back to the input with a backward transform scaled by 1/n. */
#include <math.h>
#include <stdio.h>

#include "orb_dfti.h"
#include "tour.h"

static int check(const char *what, int32_t status) {
    if (status != DftiStatusNoError) printf("  %s: status %d\n", what, (int)status);
    return status == DftiStatusNoError;
}

static void complex_section(void) {
    enum { N = 8 };
    double x[2 * N], y[2 * N], back[2 * N];
    DftiHandle h = NULL;
    double err = 0.0;
    int k;
    for (k = 0; k < N; ++k) {
        x[2 * k] = (double)k;     /* real part */
        x[2 * k + 1] = 0.5 * k;   /* imaginary part */
    }
    if (!check("create", DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 1, (int32_t)N)))
        return;
    if (check("placement", DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44)) &&
        check("scale", DftiSetValue(h, DftiParamBackwardScale, 1.0 / N)) &&
        check("commit", DftiCommitDescriptor(h)) && check("forward", DftiComputeForward(h, x, y)) &&
        check("backward", DftiComputeBackward(h, y, back))) {
        printf("  complex, n = %d: x[k] = k + 0.5k i\n", N);
        for (k = 0; k < N; ++k) printf("    X[%d] = %8.4f %+8.4f i\n", k, y[2 * k], y[2 * k + 1]);
        for (k = 0; k < 2 * N; ++k) err = fmax(err, fabs(back[k] - x[k]));
        printf("  backward(forward(x)) / n: largest difference from x %.1e\n", err);
    }
    DftiFreeDescriptor(&h);
}

static void real_section(void) {
    enum { N = 6 };
    double x[N] = {1, 2, 3, 4, 5, 6}, ccs[N + 2], back[N];
    DftiHandle h = NULL;
    double err = 0.0;
    int k;
    if (!check("create", DftiCreateDescriptor_d_1d(&h, DftiValueReal, (int32_t)N))) return;
    if (check("placement", DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44)) &&
        check("format", DftiSetValue(h, DftiParamPackFormat, DftiValuePack54)) &&
        check("scale", DftiSetValue(h, DftiParamBackwardScale, 1.0 / N)) &&
        check("commit", DftiCommitDescriptor(h)) && check("forward", DftiComputeForward(h, x, ccs)) &&
        check("backward", DftiComputeBackward(h, ccs, back))) {
        printf("  real, n = %d, x = 1..6, CCS result (R0 I0 R1 I1 ... R3 I3):\n   ", N);
        for (k = 0; k < N + 2; ++k) printf(" %.4f", ccs[k]);
        printf("\n");
        for (k = 0; k < N; ++k) err = fmax(err, fabs(back[k] - x[k]));
        printf("  backward(forward(x)) / n: largest difference from x %.1e\n", err);
    }
    DftiFreeDescriptor(&h);
}

void tour_dft(void) {
    printf("\n[Fourier transforms]\n");
    complex_section();
    real_section();
}
