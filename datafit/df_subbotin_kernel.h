// The knot-based C1 quadratic (order 3, type 1). The unknowns are the first
// derivatives d_0..d_nx at the knots: the derivative is linear on each knot
// interval, so interpolation at x_{k-1} and x_k ties d_{k-1}, d_k, d_{k+1}
// (a tridiagonal row). The two end rows may reach further (not-a-knot,
// periodic), so d_0 and d_nx are kept as parameters: the interior system is
// solved for the data and for unit end values once, and a 2x2 system then
// fixes the ends. One code path serves all seven boundary variants.
#ifndef ORB_DATAFIT_DF_SUBBOTIN_KERNEL_H
#define ORB_DATAFIT_DF_SUBBOTIN_KERNEL_H

#include <cstdint>

#include "datafit/df_spline_kernels.h"

namespace orb::df::ORB_KNS {  // one copy per instruction-set level

// An end row: sum of w[k] * d_{idx[k]} = rhs.
struct EndRow {
    int64_t idx[4];
    double w[4];
    double rhs;
};

template <class T, int Layout, bool Uniform, int Variant>
int SubbotinKernel(const DfTask *t) {
    const int64_t n = t->nx, nf = FunctionCount(t), m = n - 1;  // m interior unknowns
    // Both not-a-knot rows say "pieces 0 and 1 are one parabola": singular.
    if (Variant == 0 && n == 2) return DfStatusSingularSystem;
    double *L = ScratchFor(n + 1, 12);
    if (!L) return DfStatusNoMemory;
    double *p = L + (n + 1), *q = p + (n + 1), *xs = q + (n + 1), *lo = xs + (n + 1);
    double *di = lo + (n + 1), *up = di + (n + 1), *z0 = up + (n + 1), *zn = z0 + (n + 1);
    double *d = zn + (n + 1), *vv = d + (n + 1), *rh = vv + (n + 1);
    const T *knot = static_cast<const T *>(t->ic);
    const T *x = static_cast<const T *>(t->x);
    const double hx = Uniform ? (static_cast<double>(x[1]) - static_cast<double>(x[0])) /
                                    static_cast<double>(n - 1)
                              : 0.0;
    for (int64_t j = 0; j < n; ++j) {
        xs[j] = Uniform ? static_cast<double>(x[0]) + static_cast<double>(j) * hx
                        : static_cast<double>(x[j]);
        double tl = static_cast<double>(knot[j]), tr = static_cast<double>(knot[j + 1]);
        L[j] = tr - tl;
        rh[j] = 1.0 / L[j];
        p[j] = tr - xs[j];
        q[j] = xs[j] - tl;
    }
    // A first derivative at an end point that is also a knot of its piece
    // leaves that piece's curvature free.
    if ((LeftEnd(Variant) == End::First && Variant != 6 && !(p[0] > 0.0)) ||
        (RightEnd(Variant) == End::First && Variant != 6 && !(q[n - 1] > 0.0))) {
        ServFree(L);
        return DfStatusSingularSystem;
    }
    // Interior row k (1..n-1), stored at k-1, scaled by 2:
    // p_{k-1}^2/L_{k-1} d_{k-1} + (p_{k-1}(L_{k-1}+q_{k-1})/L_{k-1}
    //   + q_k(2L_k-q_k)/L_k) d_k + q_k^2/L_k d_{k+1} = 2(v_k - v_{k-1}).
    for (int64_t k = 1; k < n; ++k) {
        lo[k - 1] = p[k - 1] * p[k - 1] * rh[k - 1];
        di[k - 1] = p[k - 1] * (L[k - 1] + q[k - 1]) * rh[k - 1] + q[k] * (2.0 * L[k] - q[k]) * rh[k];
        up[k - 1] = q[k] * q[k] * rh[k];
    }
    const double lo_first = lo[0], up_last = up[m - 1];
    lo[0] = 0.0;
    up[m - 1] = 0.0;
    if (!FactorTridiagonal(m, lo, di, up)) {
        ServFree(L);
        return DfStatusSingularSystem;
    }
    // Interior response to d_0 = 1 and to d_n = 1.
    for (int64_t i = 0; i < m; ++i) z0[i] = zn[i] = 0.0;
    z0[0] = -lo_first;
    zn[m - 1] -= up_last;
    SolveTridiagonal(m, lo, di, up, z0);
    SolveTridiagonal(m, lo, di, up, zn);

    // End rows without their right-hand sides' data part.
    EndRow left{}, right{};
    double bl_scale = 0.0, br_scale = 0.0;  // rhs = scale * bc value
    const int64_t a = n - 2, b = n - 1;
    if constexpr (Variant == 6) {
        // Equal second derivatives, then equal first derivatives, at x_0
        // and x_{n-1}.
        left = {{0, 1, b, n}, {-rh[0], rh[0], rh[b], -rh[b]}, 0.0};
        right = {{0, 1, b, n}, {p[0] * rh[0], q[0] * rh[0], -p[b] * rh[b], -q[b] * rh[b]}, 0.0};
    } else {
        if constexpr (LeftEnd(Variant) == End::NotAKnot) {
            left = {{0, 1, 2, 0}, {-L[1], L[0] + L[1], -L[0], 0.0}, 0.0};
        } else if constexpr (LeftEnd(Variant) == End::First) {
            left = {{0, 1, 0, 0}, {p[0], q[0], 0.0, 0.0}, 0.0};
            bl_scale = L[0];
        } else {
            left = {{0, 1, 0, 0}, {-1.0, 1.0, 0.0, 0.0}, 0.0};
            bl_scale = L[0];
        }
        if constexpr (RightEnd(Variant) == End::NotAKnot) {
            right = {{a, b, n, 0}, {-L[b], L[a] + L[b], -L[a], 0.0}, 0.0};
        } else if constexpr (RightEnd(Variant) == End::First) {
            right = {{b, n, 0, 0}, {p[b], q[b], 0.0, 0.0}, 0.0};
            br_scale = L[b];
        } else {
            right = {{b, n, 0, 0}, {-1.0, 1.0, 0.0, 0.0}, 0.0};
            br_scale = L[b];
        }
        if constexpr (Variant == 1) bl_scale = br_scale = 0.0;  // free end: zero values
    }
    // d_k = zd_k + d_0 z0_k + d_n zn_k for interior k (stored at k-1).
    auto dep0 = [&](int64_t k) { return k == 0 ? 1.0 : k == n ? 0.0 : z0[k - 1]; };
    auto depn = [&](int64_t k) { return k == 0 ? 0.0 : k == n ? 1.0 : zn[k - 1]; };
    double m00 = 0, m01 = 0, m10 = 0, m11 = 0;
    for (int e = 0; e < 4; ++e) {
        m00 += left.w[e] * dep0(left.idx[e]);
        m01 += left.w[e] * depn(left.idx[e]);
        m10 += right.w[e] * dep0(right.idx[e]);
        m11 += right.w[e] * depn(right.idx[e]);
    }
    const double det = m00 * m11 - m01 * m10;
    if (!(det != 0.0)) {
        ServFree(L);
        return DfStatusSingularSystem;
    }
    const double rdet = 1.0 / det;
    const T *bc = static_cast<const T *>(t->bc);
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        for (int64_t j = 0; j < n; ++j) vv[j] = v[j];
        for (int64_t k = 1; k < n; ++k) d[k] = 2.0 * (vv[k] - vv[k - 1]);
        SolveTridiagonal(m, lo, di, up, d + 1);
        d[0] = d[n] = 0.0;  // data part of the ends
        double r0 = EndHasValue(Variant) ? bl_scale * static_cast<double>(bc[2 * i]) : 0.0;
        double r1 = EndHasValue(Variant) ? br_scale * static_cast<double>(bc[2 * i + 1]) : 0.0;
        for (int e = 0; e < 4; ++e) {
            r0 -= left.w[e] * d[left.idx[e]];
            r1 -= right.w[e] * d[right.idx[e]];
        }
        const double d0 = (r0 * m11 - m01 * r1) * rdet, dn = (m00 * r1 - m10 * r0) * rdet;
        for (int64_t k = 1; k < n; ++k) d[k] += d0 * z0[k - 1] + dn * zn[k - 1];
        d[0] = d0;
        d[n] = dn;
        T *c = Coeffs<T>(t, i);
        for (int64_t j = 0; j < n; ++j) {
            double c2 = 0.5 * (d[j + 1] - d[j]) * rh[j];
            c[3 * j] = static_cast<T>(vv[j]);
            c[3 * j + 1] = static_cast<T>(d[j] + 2.0 * c2 * q[j]);
            c[3 * j + 2] = static_cast<T>(c2);
        }
    }
    ServFree(L);
    return DfStatusOk;
}

}  // namespace orb::df::ORB_KNS

#endif
