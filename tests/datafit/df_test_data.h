// Random fitting problems for the data-fitting tests, in either precision
// and either value layout, with the oracle's view of each function.
#ifndef ORB_TESTS_DATAFIT_DF_TEST_DATA_H
#define ORB_TESTS_DATAFIT_DF_TEST_DATA_H

#include <random>
#include <vector>

#include "datafit/df_oracle.h"
#include "orb_df.h"

namespace orb::test {

// The public entry points of one precision.
template <class T> struct Df;
template <> struct Df<double> {
    static constexpr auto New = dfdNewTask1D;
    static constexpr auto Edit = dfdEditPPSpline1D;
    static constexpr auto Construct = dfdConstruct1D;
    static constexpr auto Interpolate = dfdInterpolate1D;
};
template <> struct Df<float> {
    static constexpr auto New = dfsNewTask1D;
    static constexpr auto Edit = dfsEditPPSpline1D;
    static constexpr auto Construct = dfsConstruct1D;
    static constexpr auto Interpolate = dfsInterpolate1D;
};

struct Spline {
    int order, type, bc;
};

template <class T>
struct Problem {
    int64_t nx, ny;
    bool uniform;
    int yhint;
    Spline spline;
    std::vector<T> x;        // as handed to the library (two ends if uniform)
    std::vector<LD> xfull;   // every partition point
    std::vector<T> y;        // in the layout of yhint
    std::vector<T> bc, ic;   // per function: 2 and nx-2 values
    std::vector<T> coeff;

    LD Value(int64_t i, int64_t j) const {
        return static_cast<LD>(yhint == 32 ? y[j * ny + i] : y[i * nx + j]);
    }

    // The oracle problem of function i.
    SplineProblem Oracle(int64_t i) const {
        SplineProblem p;
        p.order = spline.order;
        p.type = spline.type;
        p.bc = spline.bc;
        p.x = xfull;
        for (int64_t j = 0; j < nx; ++j) p.v.push_back(Value(i, j));
        p.bcl = bc[2 * i];
        p.bcr = bc[2 * i + 1];
        if (spline.order == 4 && (spline.type == 0 || spline.type == 3))
            for (int64_t k = 0; k + 2 < nx; ++k) p.ic.push_back(ic[i * (nx - 2) + k]);
        if (p.Knots()) p.ic.assign(ic.begin(), ic.end());
        if (spline.order == 4 && spline.type == 4) {
            p.type = 3;
            p.ic = BesselDerivatives(p.x, p.v);
            if (p.bc == 64) {
                LD h0 = p.x[1] - p.x[0], hn = p.x[nx - 1] - p.x[nx - 2];
                LD s0 = (p.v[1] - p.v[0]) / h0, sn = (p.v[nx - 1] - p.v[nx - 2]) / hn;
                p.bcl = (h0 * sn + hn * s0) / (h0 + hn);
            }
        }
        if (spline.order == 4 && spline.type == 5) {
            std::vector<LD> m = AkimaDerivatives(p.x, p.v);
            p.type = 3;
            p.bc = 12;
            p.ic.assign(m.begin() + 1, m.end() - 1);
            p.bcl = m.front();
            p.bcr = m.back();
        }
        return p;
    }
};

template <class T>
Problem<T> MakeProblem(int64_t nx, int64_t ny, bool uniform, int yhint, Spline s, unsigned seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0), w(0.3, 1.7);
    Problem<T> p{nx, ny, uniform, yhint, s, {}, {}, {}, {}, {}, {}};
    double a = u(rng);
    if (uniform) {
        double b = a + static_cast<double>(nx - 1) * w(rng);
        p.x = {static_cast<T>(a), static_cast<T>(b)};
        LD x0 = p.x[0], x1 = p.x[1];
        for (int64_t j = 0; j < nx; ++j) p.xfull.push_back(x0 + j * (x1 - x0) / (nx - 1));
    } else {
        double xv = a;
        for (int64_t j = 0; j < nx; ++j) {
            p.x.push_back(static_cast<T>(xv));
            p.xfull.push_back(static_cast<LD>(p.x.back()));
            xv += w(rng);
        }
    }
    std::vector<T> vals(static_cast<size_t>(nx * ny));
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t j = 0; j < nx; ++j) vals[i * nx + j] = static_cast<T>(u(rng));
        if (s.bc == 64) vals[i * nx + nx - 1] = vals[i * nx];
    }
    p.y.resize(vals.size());
    for (int64_t i = 0; i < ny; ++i)
        for (int64_t j = 0; j < nx; ++j)
            (yhint == 32 ? p.y[j * ny + i] : p.y[i * nx + j]) = vals[i * nx + j];
    for (int64_t i = 0; i < 2 * ny; ++i) p.bc.push_back(static_cast<T>(u(rng)));
    const bool knots = s.order == 3 && s.type == 1;
    if (knots) {
        // Knots t_0 <= x_0 <= t_1 <= ... <= x_{nx-1} <= t_nx: ends outside
        // or on the partition, interior ones anywhere in their gap (the
        // gap's ends included).
        std::uniform_int_distribution<int> pick(0, 5);
        auto at = [&](int64_t j) { return static_cast<double>(p.xfull[j]); };
        p.ic.push_back(static_cast<T>(pick(rng) == 0 ? at(0) : at(0) - 0.5 * (w(rng) - 0.3)));
        bool on_right = p.ic.back() == static_cast<T>(at(0));
        for (int64_t j = 1; j < nx; ++j) {
            int c = pick(rng);
            if (on_right && c == 0) c = 2;  // knots stay strictly increasing
            // An end derivative needs room between the end point and its
            // nearest interior knot.
            if ((j == 1 && c == 0) || (j == nx - 1 && c == 1)) c = 2;
            on_right = c == 1;
            double f = c == 0 ? 0.0 : c == 1 ? 1.0 : 0.5 * (u(rng) + 1.0);
            p.ic.push_back(static_cast<T>(at(j - 1) + f * (at(j) - at(j - 1))));
        }
        p.ic.push_back(static_cast<T>(pick(rng) == 0 ? at(nx - 1) : at(nx - 1) + 0.5 * (w(rng) - 0.3)));
    } else {
        for (int64_t i = 0; i < ny * (nx > 2 ? nx - 2 : 1); ++i) p.ic.push_back(static_cast<T>(u(rng)));
    }
    p.coeff.assign(static_cast<size_t>(s.order * (nx - (knots ? 0 : 1)) * ny), T(0));
    return p;
}

// Creates, edits and constructs; returns the construction status (or the
// first failing status before it).
template <class T>
int Build(Problem<T> &p, DfTask **task) {
    int st = Df<T>::New(task, static_cast<int32_t>(p.nx), p.x.data(), p.uniform ? DfUniform : DfNonUniform,
                        static_cast<int32_t>(p.ny), p.y.data(), p.yhint);
    if (st) return st;
    const bool knots = p.spline.order == 3 && p.spline.type == 1;
    bool need_ic = knots || (p.spline.order == 4 && (p.spline.type == 0 || p.spline.type == 3));
    int ict = !need_ic ? 0 : knots ? DfIcKnots : p.spline.type == 0 ? DfIcSecondDerivatives : DfIcFirstDerivatives;
    st = Df<T>::Edit(*task, p.spline.order, p.spline.type, p.spline.bc, p.bc.data(), ict,
                     need_ic ? p.ic.data() : nullptr, p.coeff.data(), 0);
    if (st) return st;
    return Df<T>::Construct(*task, 0, 0);
}

}  // namespace orb::test

#endif
