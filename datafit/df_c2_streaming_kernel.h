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
#include <type_traits>

#include "datafit/df_spline_kernels.h"

namespace orb::df::ORB_KNS {  // one copy per instruction-set level

// Keeps the minors in range: the pivots are their ratios, so scaling two
// consecutive minors (and the forward unknowns tied to them) by the same
// power of two changes nothing.
struct MinorScale {
    static constexpr double kBig = 0x1p+400, kSmall = 0x1p-400;
    static bool Out(double p) { return !(__builtin_fabs(p) <= kBig && __builtin_fabs(p) >= kSmall); }
    static double Factor(double p) { return __builtin_fabs(p) > kBig ? kSmall : kBig; }
};

// One direction of the two-ended elimination. An interior row couples the
// cells on either side of its point: the one the sweep comes from (width
// hold, slope sold) and the next one (h, s). Rows have the same shape seen
// from either end, so both directions share this step.
struct HalfSweep {
    double pm, p, y, carry, hold, sold;  // minors, eliminated right side, coupling, last cell
    double e, f;                         // m = e - f * (the next unknown towards the middle)
    bool Step(double h, double s) {
        const double pk = 2.0 * (hold + h) * p - h * carry * pm;
        const double yk = 3.0 * (h * sold + hold * s) * p - h * y;
        if (pk == 0.0) return false;
        const double rpk = 1.0 / pk;
        e = yk * rpk;
        f = hold * p * rpk;
        pm = p;
        p = pk;
        y = yk;
        carry = hold;
        if (MinorScale::Out(p)) {
            const double g = MinorScale::Factor(p);
            pm *= g;
            p *= g;
            y *= g;
        }
        hold = h;
        sold = s;
        return true;
    }
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
        // Two eliminations run side by side, rows 0..c-1 downwards on the
        // leading minors P and rows n-1..c+1 upwards on the trailing minors
        // Q, and meet at row c: their recurrences are independent, so their
        // latencies overlap. Row k: lo m_{k-1} + d m_k + up m_{k+1} = r;
        // interior rows lo = h_k, d = 2(h_{k-1}+h_k), up = h_{k-1},
        // r = 3(h_k s_{k-1} + h_{k-1} s_k).
        const int64_t c = (n - 1) / 2;
        const double bl = EndHasValue(Variant) ? bc[0] : 0.0, br = EndHasValue(Variant) ? bc[1] : 0.0;
        auto Slope = [&](int64_t j, double rh) { return (v[j + 1] - v[j]) * rh; };
        // Row 0.
        const double h0 = H(0), rh0 = Uniform ? rhu : 1.0 / h0, s0 = Slope(0, rh0);
        double di0, up0, r0;
        if constexpr (LeftEnd(Variant) == End::NotAKnot) {
            const double h1 = H(1), rh1 = Uniform ? rhu : 1.0 / h1, s1 = Slope(1, rh1), c0 = h0 + h1;
            di0 = h1;
            up0 = c0;
            r0 = ((h0 + 2.0 * c0) * h1 * s0 + h0 * h0 * s1) / c0;
        } else if constexpr (LeftEnd(Variant) == End::First) {
            di0 = 1.0;
            up0 = 0.0;
            r0 = bl;
        } else {
            di0 = 2.0;
            up0 = 1.0;
            r0 = 3.0 * s0 - 0.5 * bl * h0;
        }
        // Row n-1.
        const double hl = H(n - 2), rhl = Uniform ? rhu : 1.0 / hl, sl = Slope(n - 2, rhl);
        double lol, dl, rl;
        if constexpr (RightEnd(Variant) == End::NotAKnot) {
            const double hm = H(n - 3), rhm = Uniform ? rhu : 1.0 / hm, sm = Slope(n - 3, rhm), cn = hl + hm;
            lol = cn;
            dl = hm;
            rl = (hl * hl * sm + hm * sl * (hl + 2.0 * cn)) / cn;
        } else if constexpr (RightEnd(Variant) == End::First) {
            lol = 0.0;
            dl = 1.0;
            rl = br;
        } else {
            lol = 1.0;
            dl = 2.0;
            rl = 3.0 * sl + 0.5 * br * hl;
        }
        if (di0 == 0.0 || dl == 0.0) return DfStatusSingularSystem;
        // Block k holds e_k, f_k (m_k = e_k - f_k m_{k+1}) above row c and
        // e_k, f_k (m_k = e_k - f_k m_{k-1}) below it, then 1/h_k and s_k.
        HalfSweep top{1.0, di0, r0, up0, h0, s0, r0 / di0, up0 / di0};
        HalfSweep bottom{1.0, dl, rl, lol, hl, sl, rl / dl, lol / dl};
        b[0] = top.e;
        b[1] = top.f;
        b[2] = rh0;
        b[3] = s0;
        double rhn = rhl;  // 1/h of the cell below the next bottom row
        const int64_t down = n - 1 - c;  // rows eliminated from the bottom: n-1..c+1
        for (int64_t i = 1; i < down; ++i) {
            if (i < c) {
                const int64_t k = i;
                const double h = H(k), rh = Uniform ? rhu : 1.0 / h, s = Slope(k, rh);
                if (!top.Step(h, s)) return DfStatusSingularSystem;
                b[4 * k] = top.e;
                b[4 * k + 1] = top.f;
                b[4 * k + 2] = rh;
                b[4 * k + 3] = s;
            }
            const int64_t k = n - 1 - i;  // interior row; its lower cell k is known
            const double sn = bottom.sold;
            const double h = H(k - 1), rh = Uniform ? rhu : 1.0 / h, s = Slope(k - 1, rh);
            if (!bottom.Step(h, s)) return DfStatusSingularSystem;
            b[4 * k] = bottom.e;
            b[4 * k + 1] = bottom.f;
            b[4 * k + 2] = rhn;
            b[4 * k + 3] = sn;
            rhn = rh;
        }
        // Row c: the top side left h_{c-1}, s_{c-1}; the bottom side h_c, s_c.
        {
            const double hp = top.hold, hn = bottom.hold, sn = bottom.sold;
            const double lo = hn, d = 2.0 * (hp + hn), up = hp, r = 3.0 * (hn * top.sold + hp * sn);
            const double den = d - lo * top.f - up * bottom.f;
            if (den == 0.0) return DfStatusSingularSystem;
            b[4 * c + 2] = rhn;
            b[4 * c + 3] = sn;
            double mc = (r - lo * top.e - up * bottom.e) / den;
            // Substitution outwards from row c, both directions side by side;
            // cell k gets m_k and m_{k+1}.
            auto Cell = [&](int64_t k, double m, double mnext) {
                const double rh = b[4 * k + 2], s = b[4 * k + 3];
                b[4 * k] = v[k];
                b[4 * k + 1] = m;
                b[4 * k + 2] = (3.0 * s - 2.0 * m - mnext) * rh;
                b[4 * k + 3] = (m + mnext - 2.0 * s) * rh * rh;
            };
            double mt = mc, mb = mc;
            for (int64_t j = 1; j <= down; ++j) {
                if (j <= c) {
                    const int64_t k = c - j;
                    const double m = b[4 * k] - b[4 * k + 1] * mt;
                    Cell(k, m, mt);
                    mt = m;
                }
                const int64_t k = c + j;
                const double e = k == n - 1 ? rl / dl : b[4 * k], g = k == n - 1 ? lol / dl : b[4 * k + 1];
                const double m = e - g * mb;
                Cell(k - 1, mb, m);
                mb = m;
            }
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

}  // namespace orb::df::ORB_KNS

#endif
