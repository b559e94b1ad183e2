// The C2 cubic of one double-precision function in two sweeps and no
// scratch: the forward sweep eliminates the tridiagonal system in the first
// derivatives and parks its per-row results in the caller's coefficient
// block, the backward sweep substitutes and overwrites them with the
// coefficients. The elimination runs on the leading minors P_k of the
// matrix (P_k = di_k P_{k-1} - lo_k up_{k-1} P_{k-2}, pivot w_k =
// P_k/P_{k-1}), so no division sits on the recurrence; the reciprocals are
// independent work. The periodic variant carries a second right-hand side
// for the Sherman-Morrison correction of its cyclic corners.
#ifndef ORB_DATAFIT_DF_C2_STREAMING_KERNEL_H
#define ORB_DATAFIT_DF_C2_STREAMING_KERNEL_H

#include <cstdint>

#include "datafit/df_spline_kernels.h"

namespace orb::df {

// Keeps the minors in range: the pivots are their ratios, so scaling two
// consecutive minors (and the forward unknowns tied to them) by the same
// power of two changes nothing.
struct MinorScale {
    static constexpr double kBig = 0x1p+400, kSmall = 0x1p-400;
    static bool Out(double p) { return !(__builtin_fabs(p) <= kBig && __builtin_fabs(p) >= kSmall); }
    static double Factor(double p) { return __builtin_fabs(p) > kBig ? kSmall : kBig; }
};

template <int Layout, bool Uniform, int Variant>
int CubicC2Streaming(const DfTask *t) {
    const int64_t n = t->nx, cells = n - 1;
    const double *x = static_cast<const double *>(t->x);
    const double hu = Uniform ? (x[1] - x[0]) / static_cast<double>(cells) : 0.0;
    const double rhu = Uniform ? static_cast<double>(cells) / (x[1] - x[0]) : 0.0;
    auto H = [&](int64_t j) { return Uniform ? hu : x[j + 1] - x[j]; };
    const double *bc = static_cast<const double *>(t->bc);
    constexpr bool periodic = Variant == 6;
    FunctionValues<double, Layout> v(t, 0);
    double *b = Coeffs<double>(t, 0);
    // Slots of block k during the sweeps: e_k, f_k (m_k = e_k - f_k m_{k+1}),
    // the reciprocal width and, periodic: the correction's e_k.
    if constexpr (!periodic) {
        if (Variant == 0 && n == 3) return DfStatusSingularSystem;  // coinciding rows
        const double h0 = H(0), h1 = H(1), rh0 = Uniform ? rhu : 1.0 / h0;
        const double bl = EndHasValue(Variant) ? bc[0] : 0.0, br = EndHasValue(Variant) ? bc[1] : 0.0;
        double s0 = (v[1] - v[0]) * rh0;
        double di, up, rhs;
        if constexpr (LeftEnd(Variant) == End::NotAKnot) {
            double rh1 = Uniform ? rhu : 1.0 / h1, s1 = (v[2] - v[1]) * rh1, c0 = h0 + h1;
            di = h1;
            up = c0;
            rhs = ((h0 + 2.0 * c0) * h1 * s0 + h0 * h0 * s1) / c0;
        } else if constexpr (LeftEnd(Variant) == End::First) {
            di = 1.0;
            up = 0.0;
            rhs = bl;
        } else {
            di = 2.0;
            up = 1.0;
            rhs = 3.0 * s0 - 0.5 * bl * h0;
        }
        // Row 0: P_{-1} = 1, P_0 = di, Y_0 = rhs.
        double pm = 1.0, p = di, y = rhs, up_prev = up;
        if (p == 0.0) return DfStatusSingularSystem;
        double rp = 1.0 / p;
        b[0] = y * rp;
        b[1] = up * pm * rp;
        b[2] = rh0;
        b[3] = s0;
        double hprev = h0, sprev = s0;
        for (int64_t k = 1; k < cells; ++k) {
            const double h = H(k), rh = Uniform ? rhu : 1.0 / h, s = (v[k + 1] - v[k]) * rh;
            const double lo = h, dk = 2.0 * (hprev + h), uk = hprev;
            const double rk = 3.0 * (h * sprev + hprev * s);
            const double pk = dk * p - lo * up_prev * pm;
            const double yk = rk * p - lo * y;
            if (pk == 0.0) return DfStatusSingularSystem;
            const double rpk = 1.0 / pk;
            b[4 * k] = yk * rpk;
            b[4 * k + 1] = uk * p * rpk;
            b[4 * k + 2] = rh;
            b[4 * k + 3] = s;
            pm = p;
            p = pk;
            y = yk;
            up_prev = uk;
            if (MinorScale::Out(p)) {
                const double f = MinorScale::Factor(p);
                pm *= f;
                p *= f;
                y *= f;
            }
            hprev = h;
            sprev = s;
        }
        // Last row n-1, kept in registers.
        double lo, dl, rl;
        const double hn = H(n - 2), sn = sprev;
        if constexpr (RightEnd(Variant) == End::NotAKnot) {
            const double hm = H(n - 3), cn = hn + hm;
            const double sm = b[4 * (n - 3) + 3];
            lo = cn;
            dl = hm;
            rl = (hn * hn * sm + hm * sn * (hn + 2.0 * cn)) / cn;
        } else if constexpr (RightEnd(Variant) == End::First) {
            lo = 0.0;
            dl = 1.0;
            rl = br;
        } else {
            lo = 1.0;
            dl = 2.0;
            rl = 3.0 * sn + 0.5 * br * hn;
        }
        const double pl = dl * p - lo * up_prev * pm, yl = rl * p - lo * y;
        if (pl == 0.0) return DfStatusSingularSystem;
        double mnext = yl / pl;  // m_{n-1}
        for (int64_t k = cells - 1; k >= 0; --k) {
            const double m = b[4 * k] - b[4 * k + 1] * mnext;
            const double rh = b[4 * k + 2], s = b[4 * k + 3];
            b[4 * k] = v[k];
            b[4 * k + 1] = m;
            b[4 * k + 2] = (3.0 * s - 2.0 * m - mnext) * rh;
            b[4 * k + 3] = (m + mnext - 2.0 * s) * rh * rh;
            mnext = m;
        }
        return DfStatusOk;
    } else {
        // Unknowns m_0..m_{N-1}, N = cells; row k: h_k m_{k-1} + 2(h_{k-1}+h_k) m_k
        // + h_{k-1} m_{k+1} with indices mod N. Corners: beta = h_0 (row 0,
        // column N-1), alpha = h_{N-2} (row N-1, column 0). Cyclic solve as
        // A' y = r, A' z = u, u = (gamma, 0.., alpha), A = A' + u (1, 0.., beta/gamma)^T.
        const int64_t N = cells;  // at least 3: smaller cycles take the general kernel
        const double hl = H(N - 1), h0 = H(0);
        const double rh0 = Uniform ? rhu : 1.0 / h0, rhl = Uniform ? rhu : 1.0 / hl;
        const double s0 = (v[1] - v[0]) * rh0, sl = (v[N] - v[N - 1]) * rhl;
        const double beta = h0, alpha = H(N - 2), gamma = -2.0 * (hl + h0);
        double pm = 1.0, p = 2.0 * (hl + h0) - gamma, up_prev = hl;
        double y = 3.0 * (h0 * sl + hl * s0), z = gamma;
        if (p == 0.0) return DfStatusSingularSystem;
        double rp = 1.0 / p;
        b[0] = y * rp;
        b[1] = up_prev * pm * rp;
        b[2] = rh0;
        b[3] = z * rp;
        double hprev = h0, sprev = s0;
        for (int64_t k = 1; k < N; ++k) {
            const double h = H(k), rh = Uniform ? rhu : 1.0 / h, s = (v[k + 1] - v[k]) * rh;
            const double lo = h, uk = hprev;
            double dk = 2.0 * (hprev + h);
            if (k == N - 1) dk -= alpha * beta / gamma;
            const double rk = 3.0 * (h * sprev + hprev * s), uz = k == N - 1 ? alpha : 0.0;
            const double pk = dk * p - lo * up_prev * pm;
            const double yk = rk * p - lo * y, zk = uz * p - lo * z;
            if (pk == 0.0) return DfStatusSingularSystem;
            const double rpk = 1.0 / pk;
            b[4 * k] = yk * rpk;
            b[4 * k + 1] = (k == N - 1 ? 0.0 : uk) * p * rpk;
            b[4 * k + 2] = rh;
            b[4 * k + 3] = zk * rpk;
            pm = p;
            p = pk;
            y = yk;
            z = zk;
            up_prev = uk;
            if (MinorScale::Out(p)) {
                const double f = MinorScale::Factor(p);
                pm *= f;
                p *= f;
                y *= f;
                z *= f;
            }
            hprev = h;
            sprev = s;
        }
        // Backward: y and z in place of e and the correction's e.
        double ynext = 0.0, znext = 0.0;
        for (int64_t k = N - 1; k >= 0; --k) {
            const double f = b[4 * k + 1];
            const double yk = b[4 * k] - f * ynext, zk = b[4 * k + 3] - f * znext;
            b[4 * k] = yk;
            b[4 * k + 3] = zk;
            ynext = yk;
            znext = zk;
        }
        const double den = 1.0 + b[3] + beta * b[4 * (N - 1) + 3] / gamma;
        if (den == 0.0) return DfStatusSingularSystem;
        const double corr = (b[0] + beta * b[4 * (N - 1)] / gamma) / den;
        const double m0 = b[0] - corr * b[3];
        double m = m0;
        for (int64_t k = 0; k < N; ++k) {
            const double mnext = k + 1 < N ? b[4 * (k + 1)] - corr * b[4 * (k + 1) + 3] : m0;
            const double rh = b[4 * k + 2], s = (v[k + 1] - v[k]) * rh;
            b[4 * k] = v[k];
            b[4 * k + 1] = m;
            b[4 * k + 2] = (3.0 * s - 2.0 * m - mnext) * rh;
            b[4 * k + 3] = (m + mnext - 2.0 * s) * rh * rh;
            m = mnext;
        }
        return DfStatusOk;
    }
}

}  // namespace orb::df

#endif
