// Akima's cubic of one double-precision function in a single sweep: the
// derivative at a point needs the four surrounding slopes only, so a
// sliding window of slopes produces each cell's coefficients as soon as
// its right-hand derivative is known, with no scratch at all.
#ifndef ORB_DATAFIT_DF_AKIMA_STREAMING_KERNEL_H
#define ORB_DATAFIT_DF_AKIMA_STREAMING_KERNEL_H

#include <cstdint>

#include "datafit/df_spline_kernels.h"

namespace orb::df {

template <int Layout, bool Uniform>
int AkimaStreaming(const DfTask *t) {
    const int64_t n = t->nx, cells = n - 1;  // at least two cells
    const double *x = static_cast<const double *>(t->x);
    const double rhu = Uniform ? static_cast<double>(cells) / (x[1] - x[0]) : 0.0;
    auto RH = [&](int64_t j) { return Uniform ? rhu : 1.0 / (x[j + 1] - x[j]); };
    FunctionValues<double, Layout> v(t, 0);
    double *b = Coeffs<double>(t, 0);
    // Slopes extended linearly by two on each side (Akima's end rule).
    const double s0 = (v[1] - v[0]) * RH(0), s1 = (v[2] - v[1]) * RH(1);
    const double sl = (v[cells] - v[cells - 1]) * RH(cells - 1);
    const double sl1 = (v[cells - 1] - v[cells - 2]) * RH(cells - 2);
    const double sr1 = 2.0 * sl - sl1, sr2 = 2.0 * sr1 - sl;
    double sm1 = 2.0 * s0 - s1, sm2 = 2.0 * sm1 - s0;  // s_{k-1}, s_{k-2} at k = 0
    double sk = s0, rhk = RH(0), sp1 = s1, rhp1 = RH(1);
    double m_prev = 0.0, v_prev = 0.0, s_prev = 0.0, rh_prev = 0.0;
    for (int64_t k = 0; k < n; ++k) {
        // Two independent divisions per point (1/den here, a reciprocal
        // width in the slide below): joining them would chain each point's
        // division to the previous one's.
        const double m = AkimaDerivative(sm2, sm1, sk, sp1);
        if (k > 0) {  // cell k-1 is complete
            double *c = b + 4 * (k - 1);
            c[0] = v_prev;
            c[1] = m_prev;
            c[2] = (3.0 * s_prev - 2.0 * m_prev - m) * rh_prev;
            c[3] = (m_prev + m - 2.0 * s_prev) * rh_prev * rh_prev;
        }
        m_prev = m;
        v_prev = v[k];
        s_prev = sk;
        rh_prev = rhk;
        // Slide: slope k+2 comes from the data or the right extension.
        double snext, rhnext = 0.0;
        if (k + 2 < cells) {
            rhnext = RH(k + 2);
            snext = (v[k + 3] - v[k + 2]) * rhnext;
        } else {
            snext = k + 2 == cells ? sr1 : sr2;
        }
        sm2 = sm1;
        sm1 = sk;
        sk = sp1;
        rhk = rhp1;
        sp1 = snext;
        rhp1 = rhnext;
    }
    return DfStatusOk;
}

}  // namespace orb::df

#endif
