// Benchmark of the root, power and arc-tangent kernels at one extended level
// (the dispatch-table entries of that level) against SLEEF's
// AVX2 functions of the same accuracy class (_u10/_u05 for code 2, _u35 for
// code 1 and as the bar of code 3) and a glibc libm loop, in the same run.
// Prints ratios peer time / our time (above 1: we are faster), n = 1000
// and 10^5, single thread, at the extended level the process gets. With
// --costs: cycles per element of every level's kernel, the unit of the
// cost rows of the dispatch tables.
#include <sleef.h>
#include <x86intrin.h>

#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "service/serv.h"
#include "vml/vml_tables.h"

namespace {

// The extended level whose table entries are timed: 9 when ORB_EXT_LEVEL
// forces the top level, else the one this machine gets by default.
int g_slot = 9;

// CPU time of the calling thread: the machine is shared, and time spent
// descheduled must not count against either side.
double ThreadSeconds() {
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec + ts.tv_nsec * 1e-9;
}

// Best thread-CPU time per element in ns over repetitions of ~10 ms each.
double TimePerElement(const std::function<void()> &run, size_t n) {
    int reps = 1;
    for (;;) {
        double t0 = ThreadSeconds();
        for (int r = 0; r < reps; ++r) run();
        if (ThreadSeconds() - t0 > 0.01) break;
        reps *= 2;
    }
    double best = 1e30;
    for (int k = 0; k < 7; ++k) {
        double t0 = ThreadSeconds();
        for (int r = 0; r < reps; ++r) run();
        best = std::min(best, (ThreadSeconds() - t0) / reps / n * 1e9);
    }
    return best;
}

double CyclesPerElement(const std::function<void()> &run, size_t n) {
    run();
    uint64_t best = ~0ull;
    for (int k = 0; k < 20; ++k) {
        uint64_t t0 = __rdtsc();
        run();
        best = std::min<uint64_t>(best, __rdtsc() - t0);
    }
    return double(best) / n;
}

// Applies a 4-wide (double) or 8-wide (float) SLEEF function over arrays.
template <typename V, typename T, typename F> void SleefUnary(F f, const T *a, T *y, size_t n) {
    constexpr size_t w = sizeof(V) / sizeof(T);
    size_t i = 0;
    for (; i + w <= n; i += w) {
        V v;
        std::memcpy(&v, a + i, sizeof v);
        v = f(v);
        std::memcpy(y + i, &v, sizeof v);
    }
    if (i < n) {
        T buf[w] = {};
        std::memcpy(buf, a + i, (n - i) * sizeof(T));
        V v;
        std::memcpy(&v, buf, sizeof v);
        v = f(v);
        std::memcpy(buf, &v, sizeof v);
        std::memcpy(y + i, buf, (n - i) * sizeof(T));
    }
}
template <typename V, typename T, typename F>
void SleefBinary(F f, const T *a, const T *b, T *y, size_t n) {
    constexpr size_t w = sizeof(V) / sizeof(T);
    size_t i = 0;
    for (; i + w <= n; i += w) {
        V u, v;
        std::memcpy(&u, a + i, sizeof u);
        std::memcpy(&v, b + i, sizeof v);
        u = f(u, v);
        std::memcpy(y + i, &u, sizeof u);
    }
    for (; i < n; ++i) y[i] = std::atan2(a[i], b[i]);  // short tail
}

struct Row {
    std::string fn;
    int code;
    size_t n;
    double ours, sleef, libm;
};
std::vector<Row> rows;

void Print() {
    std::printf("%-10s %4s %8s %10s %12s %12s\n", "function", "code", "n", "ns/elem",
                "SLEEF/ours", "libm/ours");
    for (const Row &r : rows)
        std::printf("%-10s %4d %8zu %10.3f %12.2f %12.2f\n", r.fn.c_str(), r.code, r.n, r.ours,
                    r.sleef / r.ours, r.libm / r.ours);
}

template <typename T> std::vector<T> Operands(size_t n, double lo, double hi, unsigned seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<T> v(n);
    for (auto &x : v) x = static_cast<T>(d(g));
    return v;
}

// One function and precision: our level-9 kernel of each code against
// the matching SLEEF function and libm.
template <typename T, typename K>
void BenchUnary(const char *name, const K *table, std::function<void(const T *, T *, size_t)> s10,
                std::function<void(const T *, T *, size_t)> s35, T (*libm)(T), double lo,
                double hi) {
    for (size_t n : {size_t(1000), size_t(100000)}) {
        auto a = Operands<T>(n, lo, hi, 1);
        std::vector<T> y(n);
        double tl = TimePerElement([&] { for (size_t i = 0; i < n; ++i) y[i] = libm(a[i]); }, n);
        double t10 = TimePerElement([&] { s10(a.data(), y.data(), n); }, n);
        double t35 = TimePerElement([&] { s35(a.data(), y.data(), n); }, n);
        for (int code = 1; code <= 3; ++code) {
            K k = table[g_slot + 10 * (code - 1)];
            double t = TimePerElement([&] { k((int)n, a.data(), y.data()); }, n);
            rows.push_back({name, code, n, t, code == 2 ? t10 : t35, tl});
        }
    }
}

void Bench() {
    using namespace std::placeholders;
    BenchUnary<double>("vdSqrt", vml_kernels_vdSqrt,
        [](const double *a, double *y, size_t n) { SleefUnary<__m256d>(Sleef_sqrtd4_u05avx2, a, y, n); },
        [](const double *a, double *y, size_t n) { SleefUnary<__m256d>(Sleef_sqrtd4_u35avx2, a, y, n); },
        static_cast<double (*)(double)>(std::sqrt), 0, 1e6);
    BenchUnary<float>("vsSqrt", vml_kernels_vsSqrt,
        [](const float *a, float *y, size_t n) { SleefUnary<__m256>(Sleef_sqrtf8_u05avx2, a, y, n); },
        [](const float *a, float *y, size_t n) { SleefUnary<__m256>(Sleef_sqrtf8_u35avx2, a, y, n); },
        static_cast<float (*)(float)>(std::sqrt), 0, 1e6);
    BenchUnary<double>("vdCbrt", vml_kernels_vdCbrt,
        [](const double *a, double *y, size_t n) { SleefUnary<__m256d>(Sleef_cbrtd4_u10avx2, a, y, n); },
        [](const double *a, double *y, size_t n) { SleefUnary<__m256d>(Sleef_cbrtd4_u35avx2, a, y, n); },
        static_cast<double (*)(double)>(std::cbrt), -1e6, 1e6);
    BenchUnary<float>("vsCbrt", vml_kernels_vsCbrt,
        [](const float *a, float *y, size_t n) { SleefUnary<__m256>(Sleef_cbrtf8_u10avx2, a, y, n); },
        [](const float *a, float *y, size_t n) { SleefUnary<__m256>(Sleef_cbrtf8_u35avx2, a, y, n); },
        static_cast<float (*)(float)>(std::cbrt), -1e6, 1e6);
    // SLEEF has no inverse cube root: 1/cbrt is its closest equivalent.
    BenchUnary<double>("vdInvCbrt", vml_kernels_vdInvCbrt,
        [](const double *a, double *y, size_t n) {
            SleefUnary<__m256d>([](__m256d v) { return _mm256_div_pd(_mm256_set1_pd(1.0), Sleef_cbrtd4_u10avx2(v)); }, a, y, n); },
        [](const double *a, double *y, size_t n) {
            SleefUnary<__m256d>([](__m256d v) { return _mm256_div_pd(_mm256_set1_pd(1.0), Sleef_cbrtd4_u35avx2(v)); }, a, y, n); },
        [](double x) { return 1.0 / std::cbrt(x); }, 1e-6, 1e6);
    BenchUnary<float>("vsInvCbrt", vml_kernels_vsInvCbrt,
        [](const float *a, float *y, size_t n) {
            SleefUnary<__m256>([](__m256 v) { return _mm256_div_ps(_mm256_set1_ps(1.0f), Sleef_cbrtf8_u10avx2(v)); }, a, y, n); },
        [](const float *a, float *y, size_t n) {
            SleefUnary<__m256>([](__m256 v) { return _mm256_div_ps(_mm256_set1_ps(1.0f), Sleef_cbrtf8_u35avx2(v)); }, a, y, n); },
        [](float x) { return 1.0f / std::cbrt(x); }, 1e-6, 1e6);
    // Powx: SLEEF has only the _u10 power; it is the bar of every code.
    for (size_t n : {size_t(1000), size_t(100000)}) {
        auto a = Operands<double>(n, 0.01, 100, 2);
        auto af = Operands<float>(n, 0.01, 100, 2);
        std::vector<double> y(n);
        std::vector<float> yf(n);
        const double b = 2.7;
        const float bf = 2.7f;
        double tl = TimePerElement([&] { for (size_t i = 0; i < n; ++i) y[i] = std::pow(a[i], b); }, n);
        double ts = TimePerElement([&] {
            SleefUnary<__m256d>([&](__m256d v) { return Sleef_powd4_u10avx2(v, _mm256_set1_pd(b)); }, a.data(), y.data(), n); }, n);
        double tlf = TimePerElement([&] { for (size_t i = 0; i < n; ++i) yf[i] = std::pow(af[i], bf); }, n);
        double tsf = TimePerElement([&] {
            SleefUnary<__m256>([&](__m256 v) { return Sleef_powf8_u10avx2(v, _mm256_set1_ps(bf)); }, af.data(), yf.data(), n); }, n);
        for (int code = 1; code <= 3; ++code) {
            auto kd = vml_kernels_vdPowx[g_slot + 10 * (code - 1)];
            auto ks = vml_kernels_vsPowx[g_slot + 10 * (code - 1)];
            rows.push_back({"vdPowx", code, n, TimePerElement([&] { kd((int)n, a.data(), b, y.data()); }, n), ts, tl});
            rows.push_back({"vsPowx", code, n, TimePerElement([&] { ks((int)n, af.data(), bf, yf.data()); }, n), tsf, tlf});
        }
    }
    for (size_t n : {size_t(1000), size_t(100000)}) {
        auto a = Operands<double>(n, -10, 10, 3), b = Operands<double>(n, -10, 10, 4);
        auto af = Operands<float>(n, -10, 10, 3), bf = Operands<float>(n, -10, 10, 4);
        std::vector<double> y(n);
        std::vector<float> yf(n);
        double tl = TimePerElement([&] { for (size_t i = 0; i < n; ++i) y[i] = std::atan2(a[i], b[i]); }, n);
        double t10 = TimePerElement([&] { SleefBinary<__m256d>(Sleef_atan2d4_u10avx2, a.data(), b.data(), y.data(), n); }, n);
        double t35 = TimePerElement([&] { SleefBinary<__m256d>(Sleef_atan2d4_u35avx2, a.data(), b.data(), y.data(), n); }, n);
        double tlf = TimePerElement([&] { for (size_t i = 0; i < n; ++i) yf[i] = std::atan2(af[i], bf[i]); }, n);
        double t10f = TimePerElement([&] { SleefBinary<__m256>(Sleef_atan2f8_u10avx2, af.data(), bf.data(), yf.data(), n); }, n);
        double t35f = TimePerElement([&] { SleefBinary<__m256>(Sleef_atan2f8_u35avx2, af.data(), bf.data(), yf.data(), n); }, n);
        for (int code = 1; code <= 3; ++code) {
            auto kd = vml_kernels_vdAtan2[g_slot + 10 * (code - 1)];
            auto ks = vml_kernels_vsAtan2[g_slot + 10 * (code - 1)];
            rows.push_back({"vdAtan2", code, n, TimePerElement([&] { kd((int)n, a.data(), b.data(), y.data()); }, n), code == 2 ? t10 : t35, tl});
            rows.push_back({"vsAtan2", code, n, TimePerElement([&] { ks((int)n, af.data(), bf.data(), yf.data()); }, n), code == 2 ? t10f : t35f, tlf});
        }
    }
    Print();
}

// Cycles per element of every level's kernel (code-2 block), n = 1000:
// the arguments of the cost-row macros (levels 0, 2, 3, 4, 5, 6, 7, 8).
template <typename T, typename K, typename Call>
void CostRow(const char *name, const K *table, Call call) {
    const size_t n = 1000;
    std::printf("%-10s", name);
    for (int level : {0, 2, 3, 4, 5, 6, 7, 8}) {
        K k = table[10 + level];
        std::printf(" %.2ff%s", CyclesPerElement([&] { call(k, n); }, n), level == 8 ? "\n" : ",");
    }
}

void Costs() {
    const size_t n = 1000;
    auto a = Operands<double>(n, 0.01, 100, 5), b = Operands<double>(n, -10, 10, 6);
    auto af = Operands<float>(n, 0.01, 100, 5), bf = Operands<float>(n, -10, 10, 6);
    std::vector<double> y(n);
    std::vector<float> yf(n);
    auto ud = [&](VmlUnaryKernelD k, size_t m) { k((int)m, a.data(), y.data()); };
    auto us = [&](VmlUnaryKernelS k, size_t m) { k((int)m, af.data(), yf.data()); };
    CostRow<float>("vsSqrt", vml_kernels_vsSqrt, us);
    CostRow<double>("vdSqrt", vml_kernels_vdSqrt, ud);
    CostRow<float>("vsCbrt", vml_kernels_vsCbrt, us);
    CostRow<double>("vdCbrt", vml_kernels_vdCbrt, ud);
    CostRow<float>("vsInvCbrt", vml_kernels_vsInvCbrt, us);
    CostRow<double>("vdInvCbrt", vml_kernels_vdInvCbrt, ud);
    CostRow<float>("vsPowx", vml_kernels_vsPowx, [&](VmlPowxKernelS k, size_t m) { k((int)m, af.data(), 2.7f, yf.data()); });
    CostRow<double>("vdPowx", vml_kernels_vdPowx, [&](VmlPowxKernelD k, size_t m) { k((int)m, a.data(), 2.7, y.data()); });
    CostRow<float>("vsAtan2", vml_kernels_vsAtan2, [&](VmlBinaryKernelS k, size_t m) { k((int)m, bf.data(), af.data(), yf.data()); });
    CostRow<double>("vdAtan2", vml_kernels_vdAtan2, [&](VmlBinaryKernelD k, size_t m) { k((int)m, b.data(), a.data(), y.data()); });
}

}  // namespace

int main(int argc, char **argv) {
    if (argc > 1 && std::strcmp(argv[1], "--costs") == 0) {
        Costs();
        return 0;
    }
    const char *lvl = std::getenv("ORB_EXT_LEVEL");
    g_slot = ServGetExtCpuLevel();
    std::printf("vml_math: extended level %d kernels (ORB_EXT_LEVEL=%s), single thread\n", g_slot,
                lvl ? lvl : "unset");
    Bench();
    return 0;
}
