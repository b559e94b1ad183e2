// Vector-math benchmark. Every figure is a ratio measured in the same run:
//   speed = peer time / orb time  (>= 1: the library is at least as fast)
// 1. arithmetic exports vs plain compiler-vectorized loops, n = 1e2..1e7;
// 2. complex Mul/Div/Abs vs std::complex loops;
// 3. threaded speed-up (2 threads vs 1) for n >= 1e6;
// 4. relative cost per element of each table slot, in units anchored on
//    the vdAdd AVX row (0.76), for the cost tables.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/vml/plain_loops.h"
#include "service/serv.h"
#include "service/threads.h"
#include "vml/vml_tables.h"

namespace {

using Clock = std::chrono::steady_clock;

// Best of three timings of `reps` calls, in seconds per call.
double Time(const std::function<void()> &f, int reps) {
    double best = 1e30;
    for (int t = 0; t < 3; ++t) {
        const auto t0 = Clock::now();
        for (int r = 0; r < reps; ++r) f();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count() / reps);
    }
    return best;
}
int RepsFor(long n) { return int(std::max(1L, 3000000L / n)); }

template <class T> std::vector<T> Random(long n, unsigned seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<double> u(0.5, 2.0);
    std::vector<T> v(n);
    for (auto &x : v) x = T(u(g));
    return v;
}

const long kSizes[] = {100, 1000, 10000, 100000, 1000000, 10000000};

template <class T> void Arithmetic(const char *prefix) {
    struct Row {
        const char *name;
        std::function<void(int, const T *, const T *, T *)> orb, peer;
    };
    std::vector<Row> rows;
    if constexpr (sizeof(T) == 8) {
        rows = {{"Add", vdAdd, peer::Add<T>}, {"Sub", vdSub, peer::Sub<T>},
                {"Mul", vdMul, peer::Mul<T>}, {"Div", vdDiv, peer::Div<T>},
                {"Sqr", [](int n, const T *a, const T *, T *y) { vdSqr(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Sqr<T>(n, a, y); }},
                {"Abs", [](int n, const T *a, const T *, T *y) { vdAbs(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Abs<T>(n, a, y); }},
                {"Round", [](int n, const T *a, const T *, T *y) { vdRound(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Round<T>(n, a, y); }}};
    } else {
        rows = {{"Add", vsAdd, peer::Add<T>}, {"Sub", vsSub, peer::Sub<T>},
                {"Mul", vsMul, peer::Mul<T>}, {"Div", vsDiv, peer::Div<T>},
                {"Sqr", [](int n, const T *a, const T *, T *y) { vsSqr(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Sqr<T>(n, a, y); }},
                {"Abs", [](int n, const T *a, const T *, T *y) { vsAbs(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Abs<T>(n, a, y); }},
                {"Round", [](int n, const T *a, const T *, T *y) { vsRound(n, a, y); },
                 [](int n, const T *a, const T *, T *y) { peer::Round<T>(n, a, y); }}};
    }
    std::printf("\n%s arithmetic: plain loop time / library time\n%-8s", prefix, "n");
    for (long n : kSizes) std::printf(" %9ld", n);
    std::printf("\n");
    const std::vector<T> a = Random<T>(kSizes[5], 1), b = Random<T>(kSizes[5], 2);
    std::vector<T> y(kSizes[5]);
    for (const Row &r : rows) {
        std::printf("%s%-7s", prefix, r.name);
        for (long n : kSizes) {
            const int reps = RepsFor(n);
            const double to = Time([&] { r.orb(int(n), a.data(), b.data(), y.data()); }, reps);
            const double tp = Time([&] { r.peer(int(n), a.data(), b.data(), y.data()); }, reps);
            std::printf(" %9.2f", tp / to);
        }
        std::printf("\n");
    }
}

template <class C, class R> void Complex(const char *prefix) {
    const long nmax = kSizes[5];
    std::vector<C> a(nmax), b(nmax), y(nmax);
    std::vector<R> m(nmax);
    const std::vector<R> ra = Random<R>(2 * nmax, 3), rb = Random<R>(2 * nmax, 4);
    for (long i = 0; i < nmax; ++i) {
        a[i] = {ra[2 * i], ra[2 * i + 1]};
        b[i] = {rb[2 * i], rb[2 * i + 1]};
    }
    const bool dbl = sizeof(R) == 8;
    std::printf("\n%s complex: std::complex loop time / library time\n%-8s", prefix, "n");
    for (long n : kSizes) std::printf(" %9ld", n);
    std::printf("\n");
    for (int op = 0; op < 3; ++op) {
        std::printf("%s%-7s", prefix, op == 0 ? "Mul" : op == 1 ? "Div" : "Abs");
        for (long n : kSizes) {
            const int reps = RepsFor(n);
            std::function<void()> orb, peer;
            if (op == 0) {
                orb = [&] { if (dbl) vzMul(int(n), (const VmlComplex16 *)a.data(), (const VmlComplex16 *)b.data(), (VmlComplex16 *)y.data());
                            else vcMul(int(n), (const VmlComplex8 *)a.data(), (const VmlComplex8 *)b.data(), (VmlComplex8 *)y.data()); };
                peer = [&] { peer::CMul<C>(int(n), a.data(), b.data(), y.data()); };
            } else if (op == 1) {
                orb = [&] { if (dbl) vzDiv(int(n), (const VmlComplex16 *)a.data(), (const VmlComplex16 *)b.data(), (VmlComplex16 *)y.data());
                            else vcDiv(int(n), (const VmlComplex8 *)a.data(), (const VmlComplex8 *)b.data(), (VmlComplex8 *)y.data()); };
                peer = [&] { peer::CDiv<C>(int(n), a.data(), b.data(), y.data()); };
            } else {
                orb = [&] { if (dbl) vzAbs(int(n), (const VmlComplex16 *)a.data(), (double *)m.data());
                            else vcAbs(int(n), (const VmlComplex8 *)a.data(), (float *)m.data()); };
                peer = [&] { peer::CAbs<C, R>(int(n), a.data(), m.data()); };
            }
            std::printf(" %9.2f", Time(peer, reps) / Time(orb, reps));
        }
        std::printf("\n");
    }
}

void Threaded() {
    std::printf("\nthreaded speed-up (time with 1 thread / time with 2 threads)\n");
    const long nmax = 10000000;
    const std::vector<double> a = Random<double>(2 * nmax, 5), b = Random<double>(2 * nmax, 6);
    std::vector<double> y(2 * nmax);
    ServSetDynamic(0);
    for (long n : {1000000L, 10000000L}) {
        auto add = [&] { vdAdd(int(n), a.data(), b.data(), y.data()); };
        auto div = [&] { vzDiv(int(n), (const VmlComplex16 *)a.data(), (const VmlComplex16 *)b.data(), (VmlComplex16 *)y.data()); };
        double t[2][2];
        for (int k = 0; k < 2; ++k) {
            ServSetDomainValue(ServDomainVml, k + 1);
            t[k][0] = Time(add, 3);
            t[k][1] = Time(div, 3);
        }
        std::printf("n=%-9ld vdAdd %.2f  vzDiv %.2f\n", n, t[0][0] / t[1][0], t[0][1] / t[1][1]);
    }
    ServSetDomainValue(ServDomainVml, 1);
}

// Per-element cost of every level of one export at n = 4096 (in cache),
// relative to vdAdd at level 8 = 0.76.
void Costs() {
    ServSetDomainValue(ServDomainVml, 1);
    const int n = 4096;
    const std::vector<double> a = Random<double>(2 * n, 7), b = Random<double>(2 * n, 8);
    std::vector<double> y(2 * n);
    const double anchor = Time([&] { vml_kernels_vdAdd[8](n, a.data(), b.data(), y.data()); }, 2000);
    auto row = [&](const char *name, const std::function<void(int)> &call) {
        std::printf("%-14s", name);
        for (int slot = 0; slot < 30; ++slot) {
            if (slot % 10 == 1 || slot % 10 == 9) { std::printf(" %6s", "fix"); continue; }
            std::printf(" %6.2f", Time([&] { call(slot); }, 300) / anchor * 0.76);
            if (slot % 10 == 9) std::printf(" |");
        }
        std::printf("\n");
    };
    std::printf("\nrelative cost per element by slot (levels 0-9 x accuracy 1-3; levels 1 and 9 fixed)\n");
    const VmlComplex16 *za = (const VmlComplex16 *)a.data(), *zb = (const VmlComplex16 *)b.data();
    VmlComplex16 *zy = (VmlComplex16 *)y.data();
    row("vdAdd", [&](int s) { vml_kernels_vdAdd[s](n, a.data(), b.data(), y.data()); });
    row("vdMul", [&](int s) { vml_kernels_vdMul[s](n, a.data(), b.data(), y.data()); });
    row("vdDiv", [&](int s) { vml_kernels_vdDiv[s](n, a.data(), b.data(), y.data()); });
    row("vdSqr", [&](int s) { vml_kernels_vdSqr[s](n, a.data(), y.data()); });
    row("vdAbs", [&](int s) { vml_kernels_vdAbs[s](n, a.data(), y.data()); });
    row("vdRound", [&](int s) { vml_kernels_vdRound[s](n, a.data(), y.data()); });
    row("vzAdd", [&](int s) { vml_kernels_vzAdd[s](n / 2, za, zb, zy); });
    row("vzMul", [&](int s) { vml_kernels_vzMul[s](n / 2, za, zb, zy); });
    row("vzDiv", [&](int s) { vml_kernels_vzDiv[s](n / 2, za, zb, zy); });
    row("vzAbs", [&](int s) { vml_kernels_vzAbs[s](n / 2, za, y.data()); });
    row("vdLinearFrac", [&](int s) { vml_kernels_vdLinearFrac[s](n, a.data(), b.data(), 2, 1, 3, 1, y.data()); });
}

}  // namespace

int main(int argc, char **argv) {
    ServVmlSetMode(0x0100);  // errors only recorded: no side effects in timing
    std::printf("vector math benchmark: CpuLevel %d, ExtCpuLevel %d\n",
                int(ServGetCpuLevel()), int(ServGetExtCpuLevel()));
    const bool quick = argc > 1 && std::string(argv[1]) == "quick";
    ServSetDomainValue(ServDomainVml, 1);
    Arithmetic<double>("vd");
    Arithmetic<float>("vs");
    Complex<VmlComplex16, double>("vz");
    Complex<VmlComplex8, float>("vc");
    Threaded();
    if (!quick) Costs();
    return 0;
}
