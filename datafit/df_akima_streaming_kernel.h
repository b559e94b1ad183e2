// Akima's cubic of one double-precision function in a single sweep over
// blocks of cells: the derivative at a point needs the four surrounding
// slopes only, so each block computes its slopes (with a halo of two on
// each side), its derivatives and its coefficients on the stack, with no
// scratch allocation.
#ifndef ORB_DATAFIT_DF_AKIMA_STREAMING_KERNEL_H
#define ORB_DATAFIT_DF_AKIMA_STREAMING_KERNEL_H

#include <cstdint>

#include "datafit/df_spline_kernels.h"

namespace orb::df::ORB_KNS {  // one copy per instruction-set level

template <int Layout, bool Uniform>
int AkimaStreaming(const DfTask *t) {
    const int64_t n = t->nx, cells = n - 1;  // at least two cells
    const double *x = static_cast<const double *>(t->x);
    const double rhu = Uniform ? static_cast<double>(cells) / (x[1] - x[0]) : 0.0;
    FunctionValues<double, Layout> v(t, 0);
    double *b = Coeffs<double>(t, 0);
    auto Slope = [&](int64_t j) {
        return (v[j + 1] - v[j]) * (Uniform ? rhu : 1.0 / (x[j + 1] - x[j]));
    };
    // Slopes extended linearly by two on each side (Akima's end rule).
    const double s0 = Slope(0), s1 = Slope(1), sl = Slope(cells - 1), sl1 = Slope(cells - 2);
    const double ext[4] = {2.0 * (2.0 * s0 - s1) - s0, 2.0 * s0 - s1, 2.0 * sl - sl1,
                           2.0 * (2.0 * sl - sl1) - sl};
    // Blocks of cells: the divisions of a block (reciprocal widths, then
    // derivative weights) are independent and run two or four at a time.
    constexpr int64_t kB = 64;
    double R[kB + 4], S[kB + 4], M[kB + 1];
    for (int64_t j0 = 0; j0 < cells; j0 += kB) {
        const int64_t nb = cells - j0 < kB ? cells - j0 : kB;
        // S[i] is the slope of cell j0-2+i, i < nb+4.
        const int64_t first = j0 - 2 < 0 ? 2 - j0 : 0;
        const int64_t last = j0 + nb + 2 > cells ? cells - (j0 - 2) : nb + 4;
        if constexpr (Uniform) {
            for (int64_t i = first; i < last; ++i) R[i] = rhu;
        } else {
            const double *xb = x + (j0 - 2);
            for (int64_t i = first; i < last; ++i) R[i] = 1.0 / (xb[i + 1] - xb[i]);
        }
        for (int64_t i = first; i < last; ++i) S[i] = (v[j0 - 2 + i + 1] - v[j0 - 2 + i]) * R[i];
        for (int64_t i = 0; i < first; ++i) S[i] = ext[2 - (first - i)];
        for (int64_t i = last; i < nb + 4; ++i) S[i] = ext[2 + (i - last)];
        for (int64_t i = 0; i <= nb; ++i) {
            const double w1 = __builtin_fabs(S[i + 3] - S[i + 2]), w2 = __builtin_fabs(S[i + 1] - S[i]);
            const double den = w1 + w2, q = (w1 * S[i + 1] + w2 * S[i + 2]) / den;
            M[i] = den == 0.0 ? 0.5 * (S[i + 1] + S[i + 2]) : q;
        }
        for (int64_t i = 0; i < nb; ++i) {
            double *c = b + 4 * (j0 + i);
            const double m = M[i], mn = M[i + 1], sc = S[i + 2], rh = R[i + 2];
            c[0] = v[j0 + i];
            c[1] = m;
            c[2] = (3.0 * sc - 2.0 * m - mn) * rh;
            c[3] = (m + mn - 2.0 * sc) * rh * rh;
        }
    }
    return DfStatusOk;
}

}  // namespace orb::df::ORB_KNS

#endif
