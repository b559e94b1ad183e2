// Accuracy sweep of the root, power and arc-tangent kernels: millions of
// operands per function and precision (the test suite's generators with
// more points and other seeds) through every entry of the dispatch tables,
// checked against MPFR. Prints the maximum ulp error per function,
// precision, accuracy code and extended level as the markdown table of
// docs/accuracy.md.
//
//   vml_math_sweep [points per function and precision, default 1000000]
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vml/vml_tables.h"
#include "vml_math_inputs.h"
#include "vml_math_oracle.h"

using orb::test::ExactValue;
using orb::test::InputGen;
using orb::test::RandomRootOperands;
using orb::test::MathFn;

namespace {

// Per code (3) and level (10) maxima of one function and precision.
struct Table {
    double worst[3][10] = {};
};

template <typename T, typename K, typename Call>
Table Sweep(MathFn fn, const K *table, const std::vector<T> &a, const std::vector<T> &b,
            Call call) {
    const bool single = sizeof(T) == 4;
    std::vector<ExactValue> ref(a.size());
    for (size_t i = 0; i < a.size(); ++i) ref[i] = orb::test::Reference(fn, a[i], b[i], single);
    Table t;
    std::vector<T> y(a.size());
    for (int code = 1; code <= 3; ++code)
        for (int level = 0; level <= 9; ++level) {
            call(table[level + 10 * (code - 1)], a, b, y);
            double w = 0;
            for (size_t i = 0; i < a.size(); ++i) {
                double e = orb::test::UlpError(ref[i], y[i], single);
                if (e > w) w = e;
            }
            t.worst[code - 1][level] = w;
        }
    return t;
}

void Print(const char *name, const Table &t) {
    for (int code = 1; code <= 3; ++code) {
        std::printf("| `%s` | %d |", name, code);
        for (int level = 0; level <= 9; ++level) std::printf(" %.3f |", t.worst[code - 1][level]);
        std::printf("\n");
    }
}

template <typename T, typename K>
void RunUnary(const char *name, MathFn fn, const K *table, bool neg, uint64_t seed, size_t count) {
    auto a = RandomRootOperands<T>(seed, neg, count);
    std::vector<T> none(a.size(), T(0));
    Print(name, Sweep<T>(fn, table, a, none,
                         [](K k, const std::vector<T> &x, const std::vector<T> &, std::vector<T> &y) {
                             k(static_cast<int32_t>(x.size()), x.data(), y.data());
                         }));
}

template <typename T, typename K>
void RunPow(const char *name, const K *table, uint64_t seed, size_t count) {
    const double exps[] = {0.5, -0.5, 2, 3, -3, 1.0 / 3, 7.25, -13.5, 123.456, 1e-3,
                           1e5, -1e5, 1e15, 0.1, -1, 1023.5, -1074, 2.7, -0.75, 40.5};
    Table all;
    const size_t per = count / (sizeof exps / sizeof exps[0]);
    for (double bd : exps) {
        InputGen g(seed++);
        const T b = static_cast<T>(bd);
        const double span = (sizeof(T) == 4 ? 160.0 : 1100.0) / std::fabs((double)b);
        const bool integer = std::nearbyint(b) == b;
        std::vector<T> a;
        while (a.size() < per) {
            double x = (a.size() % 3 == 2)
                           ? 1.0 + g.uniform(-1.0, 1.0) * std::fmin(0.5, 4.0 * span)
                           : std::exp2(g.uniform(-1.0, 1.0) * std::fmin(span, sizeof(T) == 4 ? 149.0 : 1074.0));
            T t = static_cast<T>(x);
            if (t == 0 || !std::isfinite(t)) continue;
            a.push_back(integer && g.coin() ? -t : t);
        }
        std::vector<T> bs(a.size(), b);
        Table t = Sweep<T>(MathFn::Pow, table, a, bs,
                           [b](K k, const std::vector<T> &x, const std::vector<T> &, std::vector<T> &y) {
                               k(static_cast<int32_t>(x.size()), x.data(), b, y.data());
                           });
        for (int c = 0; c < 3; ++c)
            for (int l = 0; l < 10; ++l) all.worst[c][l] = std::fmax(all.worst[c][l], t.worst[c][l]);
    }
    Print(name, all);
}

template <typename T, typename K>
void RunAtan2(const char *name, const K *table, uint64_t seed, size_t count) {
    InputGen g(seed);
    const int lo = sizeof(T) == 4 ? -149 : -1074, hi = sizeof(T) == 4 ? 127 : 1023;
    std::vector<T> a, b;
    while (a.size() < count) {
        double x = g.log_uniform<double>(lo / 2, hi / 2), y;
        switch (a.size() % 6) {
        case 0: y = g.log_uniform<double>(lo, hi); x = g.log_uniform<double>(lo, hi); break;
        case 1: y = x * std::exp2(-g.uniform(0, sizeof(T) == 4 ? 60 : 200)); break;
        case 2: y = x * std::exp2(g.uniform(0, sizeof(T) == 4 ? 60 : 200)); break;
        case 3: y = x * (1.0 + g.uniform(-1e-6, 1e-6)); break;
        case 4: y = x * (0.41421356237309503 + g.uniform(-1e-3, 1e-3)); break;
        default: y = g.subnormal<T>(); break;
        }
        T ty = static_cast<T>(y), tx = static_cast<T>(x);
        if (!std::isfinite(ty) || !std::isfinite(tx)) continue;
        if (g.coin()) ty = -ty;
        if (g.coin()) tx = -tx;
        if (g.coin()) std::swap(ty, tx);
        a.push_back(ty);
        b.push_back(tx);
    }
    Print(name, Sweep<T>(MathFn::Atan2, table, a, b,
                         [](K k, const std::vector<T> &x, const std::vector<T> &z, std::vector<T> &y) {
                             k(static_cast<int32_t>(x.size()), x.data(), z.data(), y.data());
                         }));
}

}  // namespace

int main(int argc, char **argv) {
    size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    std::printf("Maximum error in ulps over %zu operands per function and precision "
                "(MPFR oracle); columns are the extended levels 0-9.\n\n", count);
    std::printf("| Function | Code | 0 | 1 | 2 | 3 | 4 | 5 | 6 | 7 | 8 | 9 |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    RunUnary<float>("vsSqrt", MathFn::Sqrt, vml_kernels_vsSqrt, false, 11, count);
    RunUnary<double>("vdSqrt", MathFn::Sqrt, vml_kernels_vdSqrt, false, 12, count);
    RunUnary<float>("vsCbrt", MathFn::Cbrt, vml_kernels_vsCbrt, true, 13, count);
    RunUnary<double>("vdCbrt", MathFn::Cbrt, vml_kernels_vdCbrt, true, 14, count);
    RunUnary<float>("vsInvCbrt", MathFn::InvCbrt, vml_kernels_vsInvCbrt, true, 15, count);
    RunUnary<double>("vdInvCbrt", MathFn::InvCbrt, vml_kernels_vdInvCbrt, true, 16, count);
    RunPow<float>("vsPowx", vml_kernels_vsPowx, 100, count);
    RunPow<double>("vdPowx", vml_kernels_vdPowx, 200, count);
    RunAtan2<float>("vsAtan2", vml_kernels_vsAtan2, 17, count);
    RunAtan2<double>("vdAtan2", vml_kernels_vdAtan2, 18, count);
    return 0;
}
