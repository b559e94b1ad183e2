// Test oracle for spline construction: the full set of linear conditions
// that defines each spline (interpolation, continuity, end conditions),
// assembled in long double from the data, with a dense solver for small
// partitions and a residual check of computed coefficients for any size.
#ifndef ORB_TESTS_DATAFIT_DF_ORACLE_H
#define ORB_TESTS_DATAFIT_DF_ORACLE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace orb::test {

using LD = long double;

struct Condition {
    std::vector<std::pair<int64_t, LD>> terms;  // (unknown, coefficient)
    LD rhs = 0;
};

// One function's problem: partition, values, and the spline's parameters.
struct SplineProblem {
    int order = 4, type = 2, bc = 1;
    std::vector<LD> x, v;
    LD bcl = 0, bcr = 0;       // boundary values (left, right)
    std::vector<LD> ic;        // interior conditions (nx-2 values; nx+1 knots)
    bool Knots() const { return order == 3 && type == 1; }
    int64_t Pieces() const { return static_cast<int64_t>(x.size()) - (Knots() ? 0 : 1); }
    // Width of piece j: a cell, or a knot interval.
    LD Width(int64_t j) const { return Knots() ? ic[j + 1] - ic[j] : x[j + 1] - x[j]; }
};

class Conditions {
public:
    explicit Conditions(const SplineProblem &p) : p_(p), n_(static_cast<int64_t>(p.x.size())) { Build(); }
    const std::vector<Condition> &rows() const { return rows_; }
    int64_t unknowns() const { return p_.order * p_.Pieces(); }

    // Largest scaled residual of the given coefficients.
    LD MaxResidual(const std::vector<LD> &c) const {
        // A row's scale: its terms at the largest coefficient of each degree,
        // so that a condition "c = 0" met up to rounding counts as met.
        std::vector<LD> big(static_cast<size_t>(p_.order), 0);
        for (size_t k = 0; k < c.size(); ++k)
            big[k % p_.order] = std::max(big[k % p_.order], std::fabs(c[k]));
        LD vmax = 0, hbar = (p_.x.back() - p_.x.front()) / (n_ - 1), hq = 1;
        for (LD v : p_.v) vmax = std::max(vmax, std::fabs(v));
        for (int q = 0; q < p_.order; ++q, hq *= hbar) big[q] = std::max(big[q], vmax / hq);
        LD worst = 0;
        for (const Condition &r : rows_) {
            LD sum = -r.rhs, mag = std::fabs(r.rhs);
            for (auto &[k, a] : r.terms) { sum += a * c[k]; mag += std::fabs(a) * big[k % p_.order]; }
            LD rel = std::fabs(sum) / (mag > 0 ? mag : 1);
            if (rel > worst) worst = rel;
        }
        return worst;
    }

    // Dense Gaussian elimination with partial pivoting; empty if singular
    // or the condition count does not match the unknowns.
    std::vector<LD> Solve() const {
        const int64_t n = unknowns(), w = n + 1;
        if (static_cast<int64_t>(rows_.size()) != n) return {};
        std::vector<LD> a(static_cast<size_t>(n * w), 0), x(static_cast<size_t>(n));
        auto at = [&](int64_t i, int64_t j) -> LD & { return a[static_cast<size_t>(i * w + j)]; };
        for (int64_t i = 0; i < n; ++i) {
            for (auto &[k, v] : rows_[i].terms) at(i, k) += v;
            at(i, n) = rows_[i].rhs;
        }
        for (int64_t k = 0; k < n; ++k) {
            int64_t piv = k;
            for (int64_t i = k + 1; i < n; ++i)
                if (std::fabs(at(i, k)) > std::fabs(at(piv, k))) piv = i;
            if (at(piv, k) == 0) return {};
            for (int64_t j = 0; piv != k && j <= n; ++j) std::swap(at(k, j), at(piv, j));
            for (int64_t i = k + 1; i < n; ++i) {
                const LD f = at(i, k) / at(k, k);
                for (int64_t j = k; f != 0 && j <= n; ++j) at(i, j) -= f * at(k, j);
            }
        }
        for (int64_t i = n - 1; i >= 0; --i) {
            LD s = at(i, n);
            for (int64_t j = i + 1; j < n; ++j) s -= at(i, j) * x[j];
            x[i] = s / at(i, i);
        }
        return x;
    }

private:
    LD H(int64_t j) const { return p_.x[j + 1] - p_.x[j]; }
    // Terms of the d-th derivative of cell j's piece at offset u.
    std::vector<std::pair<int64_t, LD>> Deriv(int64_t j, int d, LD u) const {
        std::vector<std::pair<int64_t, LD>> t;
        for (int q = d; q < p_.order; ++q) {
            LD f = 1;
            for (int k = 0; k < d; ++k) f *= q - k;
            t.push_back({p_.order * j + q, f * std::pow(u, static_cast<LD>(q - d))});
        }
        return t;
    }
    void Add(std::vector<std::pair<int64_t, LD>> t, LD rhs) { rows_.push_back({std::move(t), rhs}); }
    void AddDiff(std::vector<std::pair<int64_t, LD>> a, const std::vector<std::pair<int64_t, LD>> &b, LD rhs) {
        for (auto [k, v] : b) a.push_back({k, -v});
        Add(std::move(a), rhs);
    }
    // Coefficient q of cell j (alone).
    std::vector<std::pair<int64_t, LD>> Coef(int64_t j, int q) const { return {{p_.order * j + q, 1}}; }

    void Build() {
        const int64_t cells = n_ - 1, last = cells - 1;
        if (p_.Knots()) return BuildKnots();
        for (int64_t j = 0; j < cells; ++j) {
            Add(Deriv(j, 0, 0), p_.v[j]);
            Add(Deriv(j, 0, H(j)), p_.v[j + 1]);
        }
        if (p_.order == 2) return;
        const int bc = p_.bc;
        const bool first_l = bc & 4, first_r = bc & 8;  // else second derivatives (16, 32)
        if (p_.order == 3) {
            for (int64_t k = 1; k < cells; ++k) AddDiff(Deriv(k - 1, 1, H(k - 1)), Deriv(k, 1, 0), 0);
            if (bc == 1) {
                if (n_ >= 3) AddDiff(Coef(0, 2), Coef(1, 2), 0);
                else Add(Coef(0, 2), 0);
            } else if (bc == 2) Add(Coef(0, 2), 0);
            else if (first_l) Add(Deriv(0, 1, 0), p_.bcl);
            else Add(Deriv(0, 2, 0), p_.bcl);
            return;
        }
        // Interior conditions by type.
        for (int64_t k = 1; k < cells; ++k) {
            if (p_.type == 2) {
                AddDiff(Deriv(k - 1, 1, H(k - 1)), Deriv(k, 1, 0), 0);
                AddDiff(Deriv(k - 1, 2, H(k - 1)), Deriv(k, 2, 0), 0);
            } else {
                int d = p_.type == 0 ? 2 : 1;
                Add(Deriv(k - 1, d, H(k - 1)), p_.ic[k - 1]);
                Add(Deriv(k, d, 0), p_.ic[k - 1]);
            }
        }
        // End conditions.
        if (bc == 1) {
            // On three points with type 2 both rows are the same: singular.
            if (n_ > 3 || p_.type == 2) {
                AddDiff(Coef(0, 3), Coef(1, 3), 0);
                AddDiff(Coef(last, 3), Coef(last - 1, 3), 0);
            } else {
                Add(Coef(0, 3), 0);
                Add(Coef(last, 3), 0);
            }
            return;
        }
        if (bc == 64) {
            if (p_.type == 2) {
                AddDiff(Deriv(0, 1, 0), Deriv(last, 1, H(last)), 0);
                AddDiff(Deriv(0, 2, 0), Deriv(last, 2, H(last)), 0);
            } else {
                int d = p_.type == 0 ? 2 : 1;
                Add(Deriv(0, d, 0), p_.bcl);
                Add(Deriv(last, d, H(last)), p_.bcl);
            }
            return;
        }
        LD l = bc == 2 ? 0 : p_.bcl, r = bc == 2 ? 0 : p_.bcr;
        Add(Deriv(0, first_l ? 1 : 2, 0), l);
        Add(Deriv(last, first_r ? 1 : 2, H(last)), r);
    }

    // Knot-based quadratic: piece j (about x_j) lives between knots t_j and
    // t_{j+1}; values at x_j, C1 at the interior knots, two end conditions.
    void BuildKnots() {
        const int64_t last = n_ - 1;
        const std::vector<LD> &t = p_.ic;
        for (int64_t j = 0; j < n_; ++j) Add(Deriv(j, 0, 0), p_.v[j]);
        for (int64_t k = 1; k < n_; ++k)
            for (int d = 0; d < 2; ++d)
                AddDiff(Deriv(k - 1, d, t[k] - p_.x[k - 1]), Deriv(k, d, t[k] - p_.x[k]), 0);
        const int bc = p_.bc;
        if (bc == 1) {
            AddDiff(Coef(0, 2), Coef(1, 2), 0);
            AddDiff(Coef(last, 2), Coef(last - 1, 2), 0);
        } else if (bc == 64) {
            AddDiff(Deriv(0, 1, 0), Deriv(last, 1, 0), 0);
            AddDiff(Deriv(0, 2, 0), Deriv(last, 2, 0), 0);
        } else {
            LD l = bc == 2 ? 0 : p_.bcl, r = bc == 2 ? 0 : p_.bcr;
            Add(Deriv(0, (bc & 4) ? 1 : 2, 0), l);
            Add(Deriv(last, (bc & 8) ? 1 : 2, 0), r);
        }
    }

    const SplineProblem &p_;
    int64_t n_;
    std::vector<Condition> rows_;
};

// Interior first derivatives of the local constructions (Bessel, Akima),
// so that their splines are Hermite problems for the condition set above.
inline std::vector<LD> BesselDerivatives(const std::vector<LD> &x, const std::vector<LD> &v) {
    size_t n = x.size();
    std::vector<LD> m;
    for (size_t k = 1; k + 1 < n; ++k) {
        LD h0 = x[k] - x[k - 1], h1 = x[k + 1] - x[k];
        LD s0 = (v[k] - v[k - 1]) / h0, s1 = (v[k + 1] - v[k]) / h1;
        m.push_back((h1 * s0 + h0 * s1) / (h0 + h1));
    }
    return m;
}

inline std::vector<LD> AkimaDerivatives(const std::vector<LD> &x, const std::vector<LD> &v) {
    size_t n = x.size();
    std::vector<LD> s(n + 3);  // s[j+2] = slope of cell j, two extra each side
    for (size_t j = 0; j + 1 < n; ++j) s[j + 2] = (v[j + 1] - v[j]) / (x[j + 1] - x[j]);
    s[1] = 2 * s[2] - s[3];
    s[0] = 2 * s[1] - s[2];
    s[n + 1] = 2 * s[n] - s[n - 1];
    s[n + 2] = 2 * s[n + 1] - s[n];
    std::vector<LD> m(n);
    for (size_t k = 0; k < n; ++k) {
        LD w1 = std::fabs(s[k + 3] - s[k + 2]), w2 = std::fabs(s[k + 1] - s[k]);
        m[k] = w1 + w2 == 0 ? (s[k + 1] + s[k + 2]) / 2 : (w1 * s[k + 1] + w2 * s[k + 2]) / (w1 + w2);
    }
    return m;
}

}  // namespace orb::test

#endif
