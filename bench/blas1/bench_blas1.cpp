// Throughput of cblas_?copy, cblas_?scal, cblas_i?amax and ?lasrt against
// OpenBLAS and the reference LAPACK in the same run, reported as ratios
// (ours / peer throughput; above 1 means faster). Usage:
//   bench_blas1 <label> [quick]
// The label (e.g. the thread setting and level) heads every line.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orb_cblas.h"
#include "orb_lapack.h"

namespace {

using Clock = std::chrono::steady_clock;

template <typename Fn>
struct Peer {
    Fn fn = nullptr;
};

void *OpenFirst(std::initializer_list<const char *> names) {
    for (const char *n : names)
        if (void *h = dlopen(n, RTLD_NOW | RTLD_LOCAL)) return h;
    return nullptr;
}

template <typename Fn>
Fn Symbol(void *lib, const char *name) {
    void *p = lib ? dlsym(lib, name) : nullptr;
    if (!p) {
        std::fprintf(stderr, "bench_blas1: %s not found\n", name);
        std::exit(2);
    }
    return reinterpret_cast<Fn>(p);
}

// Seconds per call of `body`: the best batch of about 50 us over `reps`
// windows of 3 ms. Short batches mostly escape preemption on a loaded
// machine, so their minimum is the time of the code, not of the queue.
template <typename Body>
double TimePerCall(Body &&body, int reps = 3) {
    auto t0 = Clock::now();
    body();  // warm-up, and the size of a batch
    const double once = std::chrono::duration<double>(Clock::now() - t0).count();
    const long batch = std::max(1L, long(50e-6 / std::max(once, 1e-9)));
    double best = 1e30;
    for (int r = 0; r < reps; ++r) {
        auto window = Clock::now();
        do {
            auto b0 = Clock::now();
            for (long i = 0; i < batch; ++i) body();
            const double t = std::chrono::duration<double>(Clock::now() - b0).count();
            best = std::min(best, t / double(batch));
        } while (std::chrono::duration<double>(Clock::now() - window).count() < 0.003);
    }
    return best;
}

volatile int g_sink;

// Peer time over ours, the two measured in alternation (best of several
// rounds each) so that load from other processes hits both alike.
template <typename A, typename B>
double Ratio(A &&mine, B &&theirs, int rounds = 11) {
    double a = 1e30, b = 1e30;
    for (int r = 0; r < rounds; ++r) {
        a = std::min(a, TimePerCall(mine, 1));
        b = std::min(b, TimePerCall(theirs, 1));
    }
    return b / a;
}

struct Row {
    std::string op;
    long n;
    int inc;
    double ratio;
};

template <typename T>
struct Ops {
    void (*copy)(int, const T *, int, T *, int);
    void (*scal)(int, T, T *, int);
    int (*iamax)(int, const T *, int);
};

template <typename T>
void RunFamily(const char *prefix, const Ops<T> &ours, const Ops<T> &peer,
               const std::vector<long> &sizes, std::vector<Row> &rows) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int inc : {1, 2}) {
        for (long n : sizes) {
            std::vector<T> x(static_cast<size_t>(n * inc)), y(static_cast<size_t>(n * inc));
            for (auto &v : x) v = T(u(rng));
            const int ni = int(n);
            auto ratio = [&](auto mine, auto theirs) { return Ratio(mine, theirs); };
            rows.push_back({std::string(prefix) + "copy", n, inc,
                            ratio([&] { ours.copy(ni, x.data(), inc, y.data(), inc); },
                                  [&] { peer.copy(ni, x.data(), inc, y.data(), inc); })});
            // Alternate a factor and its inverse so that values stay normal;
            // never 1, which a library may skip.
            bool flip = false, flip2 = false;
            rows.push_back({std::string(prefix) + "scal", n, inc,
                            ratio([&] { ours.scal(ni, (flip = !flip) ? T(0.999) : T(1 / 0.999), y.data(), inc); },
                                  [&] { peer.scal(ni, (flip2 = !flip2) ? T(0.999) : T(1 / 0.999), y.data(), inc); })});
            rows.push_back({std::string("i") + prefix + "amax", n, inc,
                            ratio([&] { g_sink = ours.iamax(ni, x.data(), inc); },
                                  [&] { g_sink = peer.iamax(ni, x.data(), inc); })});
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    const std::string label = argc > 1 ? argv[1] : "default";
    const bool quick = argc > 2 && std::strcmp(argv[2], "quick") == 0;

    void *openblas = OpenFirst({"libopenblas.so.0", "libopenblas.so"});
    void *lapack = OpenFirst({"/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3", "liblapack.so.3"});
    if (!openblas || !lapack) {
        std::fprintf(stderr, "bench_blas1: OpenBLAS or LAPACK missing (tools/deps.sh bench)\n");
        return 2;
    }
    Ops<double> od{cblas_dcopy, cblas_dscal, cblas_idamax};
    Ops<float> os{cblas_scopy, cblas_sscal, cblas_isamax};
    Ops<double> pd{Symbol<void (*)(int, const double *, int, double *, int)>(openblas, "cblas_dcopy"),
                   Symbol<void (*)(int, double, double *, int)>(openblas, "cblas_dscal"),
                   reinterpret_cast<int (*)(int, const double *, int)>(
                       Symbol<size_t (*)(int, const double *, int)>(openblas, "cblas_idamax"))};
    Ops<float> ps{Symbol<void (*)(int, const float *, int, float *, int)>(openblas, "cblas_scopy"),
                  Symbol<void (*)(int, float, float *, int)>(openblas, "cblas_sscal"),
                  reinterpret_cast<int (*)(int, const float *, int)>(
                      Symbol<size_t (*)(int, const float *, int)>(openblas, "cblas_isamax"))};
    auto ref_dlasrt = Symbol<void (*)(const char *, const int *, double *, int *, size_t)>(lapack, "dlasrt_");

    std::vector<long> sizes = {100, 1000, 10000, 100000, 1000000, 10000000};
    if (quick) sizes = {100, 10000, 1000000};
    std::vector<Row> rows;
    RunFamily<double>("d", od, pd, sizes, rows);
    RunFamily<float>("s", os, ps, sizes, rows);

    std::mt19937 rng(9);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<long> sort_sizes = {10, 100, 1000, 10000, 100000, 1000000, 10000000};
    if (quick) sort_sizes = {10, 1000, 100000};
    for (long n : sort_sizes) {
        // Many distinct inputs, cycled: sorting one array again and again
        // lets the branch predictor learn it and flatters whoever is timed.
        const long count = std::max(1L, std::min(100000L, 2000000L / n));
        std::vector<std::vector<double>> pool(static_cast<size_t>(count));
        for (auto &a : pool) {
            a.resize(static_cast<size_t>(n));
            for (auto &v : a) v = u(rng);
        }
        std::vector<double> work(static_cast<size_t>(n));
        const int ni = int(n);
        int info = 0;
        size_t next_ours = 0, next_ref = 0;
        const int rounds = n >= 1000000 ? 1 : 5;
        rows.push_back({"dlasrt", n, 1,
                        Ratio([&] { work = pool[next_ours++ % pool.size()]; dlasrt("I", &ni, work.data(), &info); },
                              [&] { work = pool[next_ref++ % pool.size()]; ref_dlasrt("I", &ni, work.data(), &info, 1); },
                              rounds)});
    }

    std::printf("%-24s %-8s %9s %4s %7s\n", "run", "op", "n", "inc", "ratio");
    for (const Row &r : rows)
        std::printf("%-24s %-8s %9ld %4d %7.2f\n", label.c_str(), r.op.c_str(), r.n, r.inc, r.ratio);
    return 0;
}
