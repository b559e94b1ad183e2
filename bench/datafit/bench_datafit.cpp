// Spline construction and evaluation against GSL in the same run: linear,
// natural cubic, periodic cubic and Akima; construction at nx = 1e3 and
// 1e6, evaluation of value and first derivative at 1e6 random and sorted
// sites. Prints time ratios GSL / orb (above 1: orb faster).
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include <gsl/gsl_errno.h>
#include <gsl/gsl_interp.h>
#include <gsl/gsl_spline.h>

#include "orb_df.h"

namespace {

double Seconds(const std::function<void()> &f, int reps) {
    double best = 1e30;
    for (int r = 0; r < reps; ++r) {
        auto t0 = std::chrono::steady_clock::now();
        f();
        auto t1 = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
    }
    return best;
}

struct Kind {
    const char *name;
    int order, type, bc;
    const gsl_interp_type *gsl;
};

}  // namespace

int main() {
    gsl_set_error_handler_off();
    const Kind kinds[] = {
        {"linear", 2, 0, 0, gsl_interp_linear},
        {"natural cubic", 4, 2, 2, gsl_interp_cspline},
        {"periodic cubic", 4, 2, 64, gsl_interp_cspline_periodic},
        {"akima", 4, 5, 1, gsl_interp_akima},
    };
    const char *lvl = std::getenv("ORB_EXT_LEVEL");
    const char *thr = std::getenv("ORB_NUM_THREADS");
    std::printf("ORB_EXT_LEVEL=%s ORB_NUM_THREADS=%s (ratio = GSL time / orb time)\n",
                lvl ? lvl : "unset", thr ? thr : "unset");
    std::printf("%-15s %-28s %10s\n", "spline", "operation", "ratio");
    std::mt19937_64 rng(1);
    for (const Kind &k : kinds) {
        for (int64_t nx : {int64_t(1000), int64_t(1000000)}) {
            std::vector<double> x(nx), y(nx), coeff(static_cast<size_t>(k.order * (nx - 1)));
            std::uniform_real_distribution<double> w(0.5, 1.5), u(-1, 1);
            double xv = 0;
            for (int64_t j = 0; j < nx; ++j) { x[j] = xv; xv += w(rng); y[j] = u(rng); }
            y[nx - 1] = y[0];
            DfTask *task = nullptr;
            dfdNewTask1D(&task, static_cast<int32_t>(nx), x.data(), DfNonUniform, 1, y.data(), DfValuesPerFunction);
            double bc[2] = {0, 0};  // periodic code: the editor wants an array
            dfdEditPPSpline1D(task, k.order, k.type, k.bc, bc, 0, nullptr, coeff.data(), 0);
            gsl_spline *sp = gsl_spline_alloc(k.gsl, static_cast<size_t>(nx));
            int reps = nx > 1000 ? 7 : 300;
            double t_orb = Seconds([&] { dfdConstruct1D(task, 0, 0); }, reps);
            double t_gsl = Seconds([&] { gsl_spline_init(sp, x.data(), y.data(), static_cast<size_t>(nx)); }, reps);
            char op[64];
            std::snprintf(op, sizeof op, "construct nx=%lld", static_cast<long long>(nx));
            std::printf("%-15s %-28s %10.2f\n", k.name, op, t_gsl / t_orb);
            if (nx == 1000) {
                const int64_t ns = 1000000;
                std::uniform_real_distribution<double> s(x[0], x[nx - 1]);
                std::vector<double> sites(ns), r(2 * ns), g(2 * ns);
                for (double &v : sites) v = s(rng);
                for (int sorted = 0; sorted < 2; ++sorted) {
                    if (sorted) std::sort(sites.begin(), sites.end());
                    int32_t dorder[2] = {1, 1};
                    double o = Seconds([&] {
                        dfdInterpolate1D(task, DfInterpolate, DfMethodPP, static_cast<int32_t>(ns), sites.data(),
                                         sorted ? DfSitesSorted : 0, 2, dorder, nullptr, r.data(),
                                         DfResultSitesFuncsDerivs, nullptr);
                    }, 5);
                    gsl_interp_accel *acc = gsl_interp_accel_alloc();
                    double gt = Seconds([&] {
                        for (int64_t i = 0; i < ns; ++i) {
                            g[2 * i] = gsl_spline_eval(sp, sites[i], acc);
                            g[2 * i + 1] = gsl_spline_eval_deriv(sp, sites[i], acc);
                        }
                    }, 5);
                    gsl_interp_accel_free(acc);
                    double err = 0;
                    for (int64_t i = 0; i < ns; ++i) err = std::max(err, std::fabs(r[2 * i] - g[2 * i]));
                    std::snprintf(op, sizeof op, "eval 1e6 %s sites", sorted ? "sorted" : "random");
                    std::printf("%-15s %-28s %10.2f   (max |orb-GSL| value %.1e)\n", k.name, op, gt / o, err);
                }
            }
            gsl_spline_free(sp);
            dfDeleteTask(&task);
        }
    }
    return 0;
}
