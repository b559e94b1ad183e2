// Vector-math benchmark. Every figure is a ratio measured in the same run:
//   speed = peer time / orb time  (>= 1: the library is at least as fast)
// 1. arithmetic exports vs plain compiler-vectorized loops, n = 1e2..1e7;
// 2. complex Mul/MulByConj/Add/Div/Abs vs std::complex loops;
// 3. threaded speed-up (2 threads vs 1) for n = 1e5..1e7;
// 4. ("costs" argument) the time of every level of each export relative
//    to its level 9, printed as the VML_COST_RATIOS rows of the tables.
// Timings alternate library and peer and keep the best of several rounds,
// so that load from other processes hits both alike.
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

// Best of `rounds` timings of `reps` calls, in seconds per call.
double Time(const std::function<void()> &f, int reps, int rounds = 3) {
    double best = 1e30;
    for (int t = 0; t < rounds; ++t) {
        const auto t0 = Clock::now();
        for (int r = 0; r < reps; ++r) f();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count() / reps);
    }
    return best;
}
int RepsFor(long n) { return int(std::max(1L, 2000000L / n)); }

// peer time / library time, the two measured alternately.
double Ratio(const std::function<void()> &peer, const std::function<void()> &orb, long n) {
    const int reps = RepsFor(n);
    double tp = 1e30, to = 1e30;
    for (int round = 0; round < 5; ++round) {
        tp = std::min(tp, Time(peer, reps, 1));
        to = std::min(to, Time(orb, reps, 1));
    }
    return tp / to;
}

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
            std::printf(" %9.2f", Ratio([&] { r.peer(int(n), a.data(), b.data(), y.data()); },
                                        [&] { r.orb(int(n), a.data(), b.data(), y.data()); }, n));
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
    std::printf("\n%s complex: std::complex loop time / library time\n%-8s", prefix, "n");
    for (long n : kSizes) std::printf(" %9ld", n);
    std::printf("\n");
    using Bin = void (*)(int, const C *, const C *, C *);
    auto lib = [](auto zf, auto cf) {
        if constexpr (sizeof(R) == 8) return static_cast<Bin>(zf);
        else return static_cast<Bin>(cf);
    };
    const struct { const char *name; Bin orb, peer; } rows[] = {
        {"Mul", lib(vzMul, vcMul), peer::CMul<C>},
        {"MulConj", lib(vzMulByConj, vcMulByConj), peer::CMulByConj<C>},
        {"Add", lib(vzAdd, vcAdd), peer::CAdd<C>},
        {"Div", lib(vzDiv, vcDiv), peer::CDiv<C>},
    };
    for (const auto &r : rows) {
        std::printf("%s%-7s", prefix, r.name);
        for (long n : kSizes)
            std::printf(" %9.2f", Ratio([&] { r.peer(int(n), a.data(), b.data(), y.data()); },
                                        [&] { r.orb(int(n), a.data(), b.data(), y.data()); }, n));
        std::printf("\n");
    }
    std::printf("%s%-7s", prefix, "Abs");
    for (long n : kSizes) {
        const auto orb = [&] {
            if constexpr (sizeof(R) == 8) vzAbs(int(n), (const VmlComplex16 *)a.data(), (double *)m.data());
            else vcAbs(int(n), (const VmlComplex8 *)a.data(), (float *)m.data());
        };
        std::printf(" %9.2f", Ratio([&] { peer::CAbs<C, R>(int(n), a.data(), m.data()); }, orb, n));
    }
    std::printf("\n");
}

void Threaded() {
    std::printf("\nthreaded speed-up (time with 1 thread / time with 2 threads)\n%-8s", "n");
    const long nmax = 10000000;
    const std::vector<double> a = Random<double>(2 * nmax, 5), b = Random<double>(2 * nmax, 6);
    std::vector<double> y(2 * nmax);
    const VmlComplex16 *za = (const VmlComplex16 *)a.data(), *zb = (const VmlComplex16 *)b.data();
    VmlComplex16 *zy = (VmlComplex16 *)y.data();
    for (long n : {100000L, 1000000L, 10000000L}) std::printf(" %9ld", n);
    std::printf("\n");
    ServSetDynamic(0);
    const std::pair<const char *, std::function<void(int)>> fns[] = {
        {"vdAdd", [&](int n) { vdAdd(n, a.data(), b.data(), y.data()); }},
        {"vdDiv", [&](int n) { vdDiv(n, a.data(), b.data(), y.data()); }},
        {"vzMul", [&](int n) { vzMul(n, za, zb, zy); }},
        {"vzDiv", [&](int n) { vzDiv(n, za, zb, zy); }},
        {"vzAbs", [&](int n) { vzAbs(n, za, y.data()); }}};
    for (const auto &row : fns) {
        const auto &fn = row.second;
        std::printf("%-8s", row.first);
        for (long n : {100000L, 1000000L, 10000000L}) {
            const int reps = int(std::max(1L, 20000000L / n));
            double t[2] = {1e30, 1e30};
            for (int round = 0; round < 3; ++round)
                for (int k = 0; k < 2; ++k) {
                    ServSetDomainValue(ServDomainVml, k + 1);
                    t[k] = std::min(t[k], Time([&] { fn(int(n)); }, reps, 1));
                }
            std::printf(" %9.2f", t[0] / t[1]);
        }
        std::printf("\n");
    }
    ServSetDynamic(1);
    ServSetDomainValue(ServDomainVml, 1);
}

// Time per element of levels 0, 2..8 of each export relative to its level
// 9 (n = 4096, in cache), printed as the table rows.
void Costs() {
    ServSetDomainValue(ServDomainVml, 1);
    const int n = 4096;
    const std::vector<double> a = Random<double>(2 * n, 7), b = Random<double>(2 * n, 8);
    std::vector<double> y(2 * n);
    const float *fa = (const float *)a.data(), *fb = (const float *)b.data();
    float *fy = (float *)y.data();
    const VmlComplex16 *za = (const VmlComplex16 *)a.data(), *zb = (const VmlComplex16 *)b.data();
    VmlComplex16 *zy = (VmlComplex16 *)y.data();
    const VmlComplex8 *ca = (const VmlComplex8 *)a.data(), *cb = (const VmlComplex8 *)b.data();
    VmlComplex8 *cy = (VmlComplex8 *)y.data();
    const int m = n / 2;  // complex elements
    const std::pair<const char *, std::function<void(int)>> rows[] = {
#define REAL2(N, A, B, Y) {#N, [&](int s) { vml_kernels_##N[s](n, A, B, Y); }},
#define REAL1(N, A, Y) {#N, [&](int s) { vml_kernels_##N[s](n, A, Y); }},
        REAL2(vsAdd, fa, fb, fy) REAL2(vdAdd, a.data(), b.data(), y.data())
        REAL2(vsSub, fa, fb, fy) REAL2(vdSub, a.data(), b.data(), y.data())
        REAL2(vsMul, fa, fb, fy) REAL2(vdMul, a.data(), b.data(), y.data())
        REAL2(vsDiv, fa, fb, fy) REAL2(vdDiv, a.data(), b.data(), y.data())
        REAL1(vsSqr, fa, fy) REAL1(vdSqr, a.data(), y.data())
        REAL1(vsAbs, fa, fy) REAL1(vdAbs, a.data(), y.data())
        REAL1(vsRound, fa, fy) REAL1(vdRound, a.data(), y.data())
#define CPLX2(N, A, B, Y) {#N, [&](int s) { vml_kernels_##N[s](m, A, B, Y); }},
        CPLX2(vcAdd, ca, cb, cy) CPLX2(vzAdd, za, zb, zy)
        CPLX2(vcMul, ca, cb, cy) CPLX2(vzMul, za, zb, zy)
        CPLX2(vcMulByConj, ca, cb, cy) CPLX2(vzMulByConj, za, zb, zy)
        CPLX2(vcDiv, ca, cb, cy) CPLX2(vzDiv, za, zb, zy)
        {"vcAbs", [&](int s) { vml_kernels_vcAbs[s](m, ca, fy); }},
        {"vzAbs", [&](int s) { vml_kernels_vzAbs[s](m, za, y.data()); }},
        {"vsLinearFrac", [&](int s) { vml_kernels_vsLinearFrac[s](n, fa, fb, 2, 1, 3, 1, fy); }},
        {"vdLinearFrac", [&](int s) { vml_kernels_vdLinearFrac[s](n, a.data(), b.data(), 2, 1, 3, 1, y.data()); }},
    };
    std::printf("\ncost ratios t(level)/t(level 9), levels 0 2 3 4 5 6 7 8 (n = %d)\n", n);
    for (const auto &row : rows) {
        const char *name = row.first;
        const auto &fn = row.second;
        double t[10];
        for (int level = 0; level < 10; ++level)
            t[level] = level == 1 ? 0.0 : Time([&, level = level] { fn(level); }, 200, 5);
        std::printf("%-14s VML_COST_RATIOS(", name);
        for (int level : {0, 2, 3, 4, 5, 6, 7, 8})
            std::printf("%.2ff%s", t[level] / t[9], level == 8 ? ")\n" : ", ");
    }
}

}  // namespace

int main(int argc, char **argv) {
    ServVmlSetMode(0x0100);  // errors only recorded: no side effects in timing
    std::printf("vector math benchmark: CpuLevel %d, ExtCpuLevel %d\n",
                int(ServGetCpuLevel()), int(ServGetExtCpuLevel()));
    const std::string what = argc > 1 ? argv[1] : "ratios";
    ServSetDomainValue(ServDomainVml, 1);
    if (what == "costs") {
        Costs();
        return 0;
    }
    Arithmetic<double>("vd");
    Arithmetic<float>("vs");
    Complex<VmlComplex16, double>("vz");
    Complex<VmlComplex8, float>("vc");
    if (what == "ratios") Threaded();
    return 0;
}
