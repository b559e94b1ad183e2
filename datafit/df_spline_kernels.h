// Construction kernels: linear, C1 quadratic and the cubic family. One
// template per construction; the 28 members of a cubic driver's table
// (2 layouts x 2 partition kinds x 7 boundary variants) are instances.
#ifndef ORB_DATAFIT_DF_SPLINE_KERNELS_H
#define ORB_DATAFIT_DF_SPLINE_KERNELS_H

#include <cstdint>

#include "datafit/df_partition.h"
#include "datafit/df_task.h"
#include "service/serv.h"

namespace orb::df::ORB_KNS {  // one copy per instruction-set level

// Boundary variant v (0..6) is bc_type 1, 2, 12, 36, 24, 48, 64. What each
// end of a variant prescribes:
enum class End { NotAKnot, First, Second, Periodic };
constexpr End LeftEnd(int v) {
    return v == 0 ? End::NotAKnot : v == 1 ? End::Second : (v == 2 || v == 3) ? End::First
         : (v == 4 || v == 5) ? End::Second : End::Periodic;
}
constexpr End RightEnd(int v) {
    return v == 0 ? End::NotAKnot : v == 1 ? End::Second : (v == 2 || v == 4) ? End::First
         : (v == 3 || v == 5) ? End::Second : End::Periodic;
}
// Variant 1 (free end) is a zero second derivative without values.
constexpr bool EndHasValue(int v) { return v >= 2 && v <= 5; }

// Scratch of `count` doubles for `nx` points, or null when it cannot be had.
inline double *ScratchFor(int64_t nx, int count) {
    uint64_t bytes = static_cast<uint64_t>(nx) * static_cast<uint64_t>(count) * sizeof(double);
    if (bytes > 0xffffff00u) return nullptr;
    return static_cast<double *>(ServAlloc(static_cast<uint32_t>(bytes), kAlign));
}

template <class T>
T *Coeffs(const DfTask *t, int64_t i) { return static_cast<T *>(t->coeffTable[i]); }

// ---- linear ----
template <class T, int Layout, bool Uniform>
int LinearKernel(const DfTask *t) {
    const int64_t nx = t->nx, nf = FunctionCount(t);
    const T *x = static_cast<const T *>(t->x);
    const double r = Uniform ? static_cast<double>(nx - 1) /
                                   (static_cast<double>(x[1]) - static_cast<double>(x[0]))
                             : 0.0;
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        T *b = Coeffs<T>(t, i);
        for (int64_t j = 0; j + 1 < nx; ++j) {
            double d = v[j + 1] - v[j];
            b[2 * j] = static_cast<T>(v[j]);
            if constexpr (Uniform) {
                b[2 * j + 1] = static_cast<T>(d * r);
            } else {
                b[2 * j + 1] = static_cast<T>(
                    d / (static_cast<double>(x[j + 1]) - static_cast<double>(x[j])));
            }
        }
    }
    return DfStatusOk;
}

// ---- C1 quadratic through the values (spline type 0) ----
template <class T, int Layout, bool Uniform, int Variant>
int QuadraticKernel(const DfTask *t) {
    const int64_t nx = t->nx, nf = FunctionCount(t), cells = nx - 1;
    double *h = ScratchFor(nx, 4);
    if (!h) return DfStatusNoMemory;
    double *rh = h + nx, *vv = rh + nx, *s = vv + nx;
    CellWidths<T, Uniform>(t, h, rh);
    const T *bc = static_cast<const T *>(t->bc);
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        for (int64_t j = 0; j < nx; ++j) vv[j] = v[j];
        for (int64_t j = 0; j < cells; ++j) s[j] = (vv[j + 1] - vv[j]) * rh[j];
        double a;  // first derivative at the left end of the current cell
        if constexpr (Variant == 0) {
            a = nx >= 3 ? s[0] - h[0] * (s[1] - s[0]) / (h[0] + h[1]) : s[0];
        } else if constexpr (Variant == 1) {
            a = s[0];
        } else if constexpr (LeftEnd(Variant) == End::First) {
            a = static_cast<double>(bc[2 * i]);
        } else {
            a = s[0] - 0.5 * h[0] * static_cast<double>(bc[2 * i]);
        }
        T *b = Coeffs<T>(t, i);
        for (int64_t j = 0; j < cells; ++j) {
            b[3 * j] = static_cast<T>(vv[j]);
            b[3 * j + 1] = static_cast<T>(a);
            b[3 * j + 2] = static_cast<T>((s[j] - a) * rh[j]);
            a = 2.0 * s[j] - a;
        }
    }
    ServFree(h);
    return DfStatusOk;
}

// Writes the cubic Hermite pieces of values vv, slopes s, derivatives m.
template <class T>
void StoreHermite(T *b, int64_t cells, const double *vv, const double *s,
                  const double *m, const double *rh) {
    for (int64_t j = 0; j < cells; ++j) {
        b[4 * j] = static_cast<T>(vv[j]);
        b[4 * j + 1] = static_cast<T>(m[j]);
        b[4 * j + 2] = static_cast<T>((3.0 * s[j] - 2.0 * m[j] - m[j + 1]) * rh[j]);
        b[4 * j + 3] = static_cast<T>((m[j] + m[j + 1] - 2.0 * s[j]) * rh[j] * rh[j]);
    }
}

// Tridiagonal LU without row interchanges: row k is
// lo[k] m_{k-1} + di[k] m_k + up[k] m_{k+1}. Stores the multipliers in lo
// and the reciprocal pivots in di. False on a zero pivot.
inline bool FactorTridiagonal(int64_t n, double *lo, double *di, const double *up) {
    // Multipliers by division so that an exactly singular system (the two
    // coinciding not-a-knot rows of nx = 3) meets an exact zero pivot.
    double prev = 0.0;
    for (int64_t k = 0; k < n; ++k) {
        double w = di[k];
        if (k > 0) {
            lo[k] = lo[k] / prev;
            w -= lo[k] * up[k - 1];
        }
        if (w == 0.0) return false;
        prev = w;
        di[k] = 1.0 / w;
    }
    return true;
}
inline void SolveTridiagonal(int64_t n, const double *lo, const double *di,
                             const double *up, double *b) {
    for (int64_t k = 1; k < n; ++k) b[k] -= lo[k] * b[k - 1];
    b[n - 1] *= di[n - 1];
    for (int64_t k = n - 2; k >= 0; --k) b[k] = (b[k] - up[k] * b[k + 1]) * di[k];
}

// ---- cubic type 2: the C2 spline, a tridiagonal system in the first
// derivatives (cyclic for the periodic variant) ----
template <class T, int Layout, bool Uniform, int Variant>
int CubicC2Kernel(const DfTask *t) {
    const int64_t nx = t->nx, nf = FunctionCount(t), cells = nx - 1;
    double *h = ScratchFor(nx, 9);
    if (!h) return DfStatusNoMemory;
    double *rh = h + nx, *vv = rh + nx, *s = vv + nx, *m = s + nx;
    double *lo = m + nx, *di = lo + nx, *up = di + nx, *z = up + nx;
    CellWidths<T, Uniform>(t, h, rh);
    const T *bc = static_cast<const T *>(t->bc);
    constexpr bool periodic = Variant == 6;
    // Unknowns: m_0..m_{n-1}, or m_0..m_{N-1} with m_{n-1} = m_0 (cyclic).
    const int64_t n = periodic ? cells : nx;
    for (int64_t k = 1; k < n; ++k) {
        if (periodic || k < n - 1) {
            double hl = h[k - 1], hr = h[k];
            lo[k] = hr;
            di[k] = 2.0 * (hl + hr);
            up[k] = hl;
        }
    }
    double alpha = 0.0, beta = 0.0, gamma = 0.0;
    if constexpr (periodic) {
        // Row 0 wraps to m_{N-1} (beta), row N-1 wraps to m_0 (alpha).
        beta = h[0];
        di[0] = 2.0 * (h[cells - 1] + h[0]);
        up[0] = h[cells - 1];
        lo[0] = 0.0;
        alpha = up[n - 1];
        if (n == 2) {
            up[0] += beta;
            lo[1] += alpha;
        } else {
            gamma = -di[0];
            di[0] -= gamma;
            di[n - 1] -= alpha * beta / gamma;
        }
        up[n - 1] = 0.0;
    } else {
        lo[0] = 0.0;
        up[n - 1] = 0.0;
        if constexpr (LeftEnd(Variant) == End::NotAKnot) {
            di[0] = h[1];
            up[0] = h[0] + h[1];
        } else if constexpr (LeftEnd(Variant) == End::First) {
            di[0] = 1.0;
            up[0] = 0.0;
        } else {
            di[0] = 2.0;
            up[0] = 1.0;
        }
        if constexpr (RightEnd(Variant) == End::NotAKnot) {
            lo[n - 1] = h[n - 2] + h[n - 3];
            di[n - 1] = h[n - 3];
        } else if constexpr (RightEnd(Variant) == End::First) {
            lo[n - 1] = 0.0;
            di[n - 1] = 1.0;
        } else {
            lo[n - 1] = 1.0;
            di[n - 1] = 2.0;
        }
    }
    // On a zero pivot the scratch area is deliberately not released: the
    // failing call returns at once and writes no coefficient.
    if (!FactorTridiagonal(n, lo, di, up)) return DfStatusSingularSystem;
    double zcorr = 0.0;
    if (periodic && n > 2) {
        for (int64_t k = 0; k < n; ++k) z[k] = 0.0;
        z[0] = gamma;
        z[n - 1] = alpha;
        SolveTridiagonal(n, lo, di, up, z);
        zcorr = 1.0 + z[0] + beta * z[n - 1] / gamma;
        if (zcorr == 0.0) return DfStatusSingularSystem;
    }
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        for (int64_t j = 0; j < nx; ++j) vv[j] = v[j];
        for (int64_t j = 0; j < cells; ++j) s[j] = (vv[j + 1] - vv[j]) * rh[j];
        for (int64_t k = 1; k < cells; ++k) m[k] = 3.0 * (h[k] * s[k - 1] + h[k - 1] * s[k]);
        if constexpr (periodic) {
            m[0] = 3.0 * (h[0] * s[cells - 1] + h[cells - 1] * s[0]);
        } else {
            double bl = EndHasValue(Variant) ? static_cast<double>(bc[2 * i]) : 0.0;
            double br = EndHasValue(Variant) ? static_cast<double>(bc[2 * i + 1]) : 0.0;
            if constexpr (LeftEnd(Variant) == End::NotAKnot) {
                double c0 = h[0] + h[1];
                m[0] = ((h[0] + 2.0 * c0) * h[1] * s[0] + h[0] * h[0] * s[1]) / c0;
            } else if constexpr (LeftEnd(Variant) == End::First) {
                m[0] = bl;
            } else {
                m[0] = 3.0 * s[0] - 0.5 * bl * h[0];
            }
            if constexpr (RightEnd(Variant) == End::NotAKnot) {
                double cn = h[nx - 2] + h[nx - 3];
                m[nx - 1] = (h[nx - 2] * h[nx - 2] * s[nx - 3] +
                             h[nx - 3] * s[nx - 2] * (h[nx - 2] + 2.0 * cn)) / cn;
            } else if constexpr (RightEnd(Variant) == End::First) {
                m[nx - 1] = br;
            } else {
                m[nx - 1] = 3.0 * s[nx - 2] + 0.5 * br * h[nx - 2];
            }
        }
        SolveTridiagonal(n, lo, di, up, m);
        if constexpr (periodic) {
            if (n > 2) {
                double f = (m[0] + beta * m[n - 1] / gamma) / zcorr;
                for (int64_t k = 0; k < n; ++k) m[k] -= f * z[k];
            }
            m[nx - 1] = m[0];
        }
        StoreHermite(Coeffs<T>(t, i), cells, vv, s, m, rh);
    }
    ServFree(h);
    return DfStatusOk;
}

// Akima's weighted derivative from the slopes left2, left, right, right2.
inline double AkimaDerivative(double sm2, double sm1, double s0, double sp1) {
    const double w1 = __builtin_fabs(sp1 - s0), w2 = __builtin_fabs(sm1 - sm2), den = w1 + w2;
    return den == 0.0 ? 0.5 * (sm1 + s0) : (w1 * sm1 + w2 * s0) / den;
}

// ---- cubic types 3, 4, 5: local derivatives, then Hermite pieces ----
template <class T, int Type, int Variant>
void LocalDerivatives(const DfTask *t, int64_t i, const double *h, const double *s,
                      double *m) {
    const int64_t nx = t->nx, cells = nx - 1;
    if constexpr (Type == 5) {
        // Akima: slopes extended linearly by two on each side.
        auto slope = [&](int64_t j) {
            if (j >= 0 && j < cells) return s[j];
            if (j < 0) {
                double sm1 = 2.0 * s[0] - s[cells > 1 ? 1 : 0];
                return j == -1 ? sm1 : 2.0 * sm1 - s[0];
            }
            double sp1 = 2.0 * s[cells - 1] - s[cells > 1 ? cells - 2 : 0];
            return j == cells ? sp1 : 2.0 * sp1 - s[cells - 1];
        };
        for (int64_t k = 0; k < nx; ++k) m[k] = AkimaDerivative(slope(k - 2), slope(k - 1), slope(k), slope(k + 1));
        return;
    }
    if constexpr (Type == 3) {
        const T *ic = static_cast<const T *>(t->ic) + i * (nx - 2);
        for (int64_t k = 1; k < cells; ++k) m[k] = static_cast<double>(ic[k - 1]);
    } else {
        for (int64_t k = 1; k < cells; ++k)
            m[k] = (h[k] * s[k - 1] + h[k - 1] * s[k]) / (h[k - 1] + h[k]);
    }
    const T *bc = static_cast<const T *>(t->bc);
    if constexpr (Variant == 6) {
        double e = Type == 3 ? static_cast<double>(bc[2 * i])
                             : (h[0] * s[cells - 1] + h[cells - 1] * s[0]) / (h[cells - 1] + h[0]);
        m[0] = m[nx - 1] = e;
        return;
    }
    if constexpr (Variant == 0) {
        // The end cell continues its neighbour's cubic term; with only two
        // cells there is no neighbour of known shape and the term is zero.
        double c3l = 0.0, c3r = 0.0;
        if (nx > 3) {
            c3l = (m[1] + m[2] - 2.0 * s[1]) / (h[1] * h[1]);
            c3r = (m[nx - 3] + m[nx - 2] - 2.0 * s[nx - 3]) / (h[nx - 3] * h[nx - 3]);
        }
        m[0] = c3l * h[0] * h[0] - m[1] + 2.0 * s[0];
        m[nx - 1] = c3r * h[nx - 2] * h[nx - 2] - m[nx - 2] + 2.0 * s[nx - 2];
        return;
    }
    double bl = EndHasValue(Variant) ? static_cast<double>(bc[2 * i]) : 0.0;
    double br = EndHasValue(Variant) ? static_cast<double>(bc[2 * i + 1]) : 0.0;
    if constexpr (LeftEnd(Variant) == End::First) m[0] = bl;
    else m[0] = 0.5 * (3.0 * s[0] - 0.5 * bl * h[0] - m[1]);
    if constexpr (RightEnd(Variant) == End::First) m[nx - 1] = br;
    else m[nx - 1] = 0.5 * (3.0 * s[nx - 2] + 0.5 * br * h[nx - 2] - m[nx - 2]);
}

template <class T, int Layout, bool Uniform, int Variant, int Type>
int CubicLocalKernel(const DfTask *t) {
    const int64_t nx = t->nx, nf = FunctionCount(t), cells = nx - 1;
    double *h = ScratchFor(nx, 5);
    if (!h) return DfStatusNoMemory;
    double *rh = h + nx, *vv = rh + nx, *s = vv + nx, *m = s + nx;
    CellWidths<T, Uniform>(t, h, rh);
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        for (int64_t j = 0; j < nx; ++j) vv[j] = v[j];
        for (int64_t j = 0; j < cells; ++j) s[j] = (vv[j + 1] - vv[j]) * rh[j];
        LocalDerivatives<T, Type, Variant>(t, i, h, s, m);
        StoreHermite(Coeffs<T>(t, i), cells, vv, s, m, rh);
    }
    ServFree(h);
    return DfStatusOk;
}

// ---- cubic type 0: second derivatives at the interior points given ----
template <class T, int Layout, bool Uniform, int Variant>
int CubicType0Kernel(const DfTask *t) {
    const int64_t nx = t->nx, nf = FunctionCount(t), cells = nx - 1;
    double *h = ScratchFor(nx, 4);
    if (!h) return DfStatusNoMemory;
    double *rh = h + nx, *vv = rh + nx, *s = vv + nx;
    CellWidths<T, Uniform>(t, h, rh);
    const T *bc = static_cast<const T *>(t->bc);
    constexpr double sixth = 1.0 / 6.0, third = 1.0 / 3.0;
    for (int64_t i = 0; i < nf; ++i) {
        FunctionValues<T, Layout> v(t, i);
        for (int64_t j = 0; j < nx; ++j) vv[j] = v[j];
        for (int64_t j = 0; j < cells; ++j) s[j] = (vv[j + 1] - vv[j]) * rh[j];
        const T *ic = static_cast<const T *>(t->ic) + i * (nx - 2);
        auto M = [&](int64_t k) { return static_cast<double>(ic[k - 1]); };
        T *b = Coeffs<T>(t, i);
        auto c3of = [&](int64_t k) { return (M(k + 1) - M(k)) * sixth * rh[k]; };
        for (int64_t k = 1; k + 2 < nx; ++k) {
            b[4 * k] = static_cast<T>(vv[k]);
            b[4 * k + 1] = static_cast<T>(s[k] - (M(k + 1) * sixth + M(k) * third) * h[k]);
            b[4 * k + 2] = static_cast<T>(M(k) * 0.5);
            b[4 * k + 3] = static_cast<T>(c3of(k));
        }
        double bl = Variant >= 2 ? static_cast<double>(bc[2 * i]) : 0.0;
        double br = Variant == 6 ? bl : (Variant >= 2 ? static_cast<double>(bc[2 * i + 1]) : 0.0);
        // Left cell: interpolates v_0, v_1, has M_1 at x_1; its cubic term:
        double c3l, c3r;
        const double h0 = h[0], hn = h[nx - 2], sn = s[nx - 2], mn = M(nx - 2);
        if constexpr (LeftEnd(Variant) == End::NotAKnot) c3l = nx > 3 ? c3of(1) : 0.0;
        else if constexpr (LeftEnd(Variant) == End::First)
            c3l = (M(1) - 2.0 * (s[0] - bl) * rh[0]) * 0.25 * rh[0];
        else c3l = (M(1) - bl) * sixth * rh[0];
        if constexpr (RightEnd(Variant) == End::NotAKnot) c3r = nx > 3 ? c3of(nx - 3) : 0.0;
        else if constexpr (RightEnd(Variant) == End::First)
            c3r = (br - sn - 0.5 * mn * hn) * 0.5 * rh[nx - 2] * rh[nx - 2];
        else c3r = (br - mn) * sixth * rh[nx - 2];
        double c2l = M(1) * 0.5 - 3.0 * h0 * c3l;
        b[0] = static_cast<T>(vv[0]);
        b[1] = static_cast<T>(s[0] - h0 * (c2l + c3l * h0));
        b[2] = static_cast<T>(c2l);
        b[3] = static_cast<T>(c3l);
        const int64_t e = 4 * (nx - 2);
        double c2r = mn * 0.5;
        b[e] = static_cast<T>(vv[nx - 2]);
        b[e + 1] = static_cast<T>(sn - hn * (c3r * hn + c2r));
        b[e + 2] = static_cast<T>(c2r);
        b[e + 3] = static_cast<T>(c3r);
    }
    ServFree(h);
    return DfStatusOk;
}

}  // namespace orb::df::ORB_KNS

#endif
