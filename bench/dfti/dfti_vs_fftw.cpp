// Descriptor interface against FFTW3, same data, same run, one thread each.
// Prints per case the ratio FFTW time / our time (above 1: we are faster)
// with FFTW planned by MEASURE, and the relative RMS distance of the two
// results (packed formats are unpacked first).
// Usage: bench_dfti [filter-substring]
#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <string>
#include <vector>

#include "include/orb_dfti.h"

namespace {

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <class F>
double TimeIt(F f) {
    f();
    int reps = 1;
    for (;;) {
        double t0 = Now();
        for (int i = 0; i < reps; ++i) f();
        if (Now() - t0 > 0.02) break;
        reps *= 2;
    }
    double best = 1e30;
    for (int round = 0; round < 3; ++round) {
        double t0 = Now();
        for (int i = 0; i < reps; ++i) f();
        best = std::min(best, (Now() - t0) / reps);
    }
    return best;
}

using Cx = std::complex<double>;

double Distance(const std::vector<Cx> &a, const std::vector<Cx> &b) {
    double num = 0, den = 0;
    for (size_t i = 0; i < a.size(); ++i) num += std::norm(a[i] - b[i]), den += std::norm(b[i]);
    return den > 0 ? std::sqrt(num / den) : std::sqrt(num);
}

struct Case {
    std::string name;
    bool real;
    std::vector<int> dims;  // caller's order
    int count;
    int format;  // real: 54..57
};

void Run(const Case &c) {
    int n = 1;
    for (int d : c.dims) n *= d;
    const int rank = int(c.dims.size()), last = c.dims.back(), h = last / 2 + 1;
    const int ce = n / last * h;  // conjugate-even elements per transform
    std::vector<double> in(size_t(2) * n * c.count + 2), out(size_t(2) * n * c.count + 4);
    for (size_t i = 0; i < in.size(); ++i) in[i] = std::sin(0.37 * double(i)) + 0.1 * double(i % 7);

    DftiHandle d = nullptr;
    const int domain = c.real ? DftiValueReal : DftiValueComplex;
    if (rank == 1) DftiCreateDescriptor(&d, DftiValueDouble, domain, 1, c.dims[0]);
    else DftiCreateDescriptor(&d, DftiValueDouble, domain, rank, c.dims.data());
    DftiSetValue(d, DftiParamPlacement, DftiValuePlacement44);
    DftiSetValue(d, DftiParamThreadLimit, 1);
    DftiSetValue(d, DftiParamTransformCount, c.count);
    int out_dist = n;
    if (c.real) {
        if (c.format == DftiValuePack57) {
            DftiSetValue(d, DftiParamLayout10, DftiValueLayout39);
            std::vector<int> cs(rank + 1, 0);
            int st = 1;
            for (int i = rank; i >= 1; --i) cs[i] = st, st *= (i == rank ? h : c.dims[i - 1]);
            DftiSetValue(d, DftiParamOutputStrides, cs.data());
            out_dist = ce;
        } else {
            DftiSetValue(d, DftiParamPackFormat, c.format);
            out_dist = c.format == DftiValuePack54 ? 2 * h : n;
        }
    }
    DftiSetValue(d, DftiParamInputDistance, n);
    DftiSetValue(d, DftiParamOutputDistance, out_dist);
    if (int s = DftiCommitDescriptor(d)) {
        std::printf("%-28s commit status %d\n", c.name.c_str(), s);
        return;
    }
    fftw_plan p;
    std::vector<double> fin(in), fout(out.size());
    if (c.real)
        p = fftw_plan_many_dft_r2c(rank, c.dims.data(), c.count, fin.data(), nullptr, 1, n,
                                   reinterpret_cast<fftw_complex *>(fout.data()), nullptr, 1, ce,
                                   FFTW_MEASURE);
    else
        p = fftw_plan_many_dft(rank, c.dims.data(), c.count, reinterpret_cast<fftw_complex *>(fin.data()),
                               nullptr, 1, n, reinterpret_cast<fftw_complex *>(fout.data()), nullptr, 1, n,
                               FFTW_FORWARD, FFTW_MEASURE);
    fin = in;
    const double ours = TimeIt([&] { DftiComputeForward(d, in.data(), out.data()); });
    const double theirs = TimeIt([&] { fftw_execute(p); });

    // Compare the first transform's conjugate-even (or complex) values.
    std::vector<Cx> a, b;
    const int m = c.real ? ce : n;
    for (int k = 0; k < m; ++k) b.push_back(Cx(fout[2 * k], fout[2 * k + 1]));
    if (!c.real || c.format == DftiValuePack57 || c.format == DftiValuePack54) {
        for (int k = 0; k < m; ++k) a.push_back(Cx(out[2 * k], out[2 * k + 1]));
    } else {
        for (int k = 0; k < m; ++k) {
            const bool even = last % 2 == 0;
            double re, im = 0;
            if (k == 0) re = out[0];
            else if (even && k == last / 2) re = out[c.format == DftiValuePack56 ? 1 : last - 1];
            else {
                const int base = (c.format == DftiValuePack56 && even) ? 2 * k : 2 * k - 1;
                re = out[base], im = out[base + 1];
            }
            a.push_back(Cx(re, im));
        }
    }
    std::printf("%-28s fftw/orb %5.2f   distance %.1e\n", c.name.c_str(), theirs / ours, Distance(a, b));
    fftw_destroy_plan(p);
    DftiFreeDescriptor(&d);
}

}  // namespace

int main(int argc, char **argv) {
    const std::string filter = argc > 1 ? argv[1] : "";
    const Case cases[] = {
        {"c2c n=64", false, {64}, 1, 0},
        {"c2c n=1000", false, {1000}, 1, 0},
        {"c2c n=1024", false, {1024}, 1, 0},
        {"c2c n=65536", false, {65536}, 1, 0},
        {"c2c n=1048576", false, {1048576}, 1, 0},
        {"c2c n=1009 (prime)", false, {1009}, 1, 0},
        {"c2c 64 x n=1000", false, {1000}, 64, 0},
        {"c2c 256x256", false, {256, 256}, 1, 0},
        {"c2c 64x64x64", false, {64, 64, 64}, 1, 0},
        {"c2c cube 4^3", false, {4, 4, 4}, 1, 0},
        {"c2c cube 5^3", false, {5, 5, 5}, 1, 0},
        {"c2c cube 6^3", false, {6, 6, 6}, 1, 0},
        {"c2c cube 7^3", false, {7, 7, 7}, 1, 0},
        {"c2c cube 8^3", false, {8, 8, 8}, 1, 0},
        {"c2c cube 9^3", false, {9, 9, 9}, 1, 0},
        {"c2c cube 10^3", false, {10, 10, 10}, 1, 0},
        {"r2c CCS n=1024", true, {1024}, 1, 54},
        {"r2c PACK n=1024", true, {1024}, 1, 55},
        {"r2c PERM n=1024", true, {1024}, 1, 56},
        {"r2c CCE n=1024", true, {1024}, 1, 57},
        {"r2c CCS n=65536", true, {65536}, 1, 54},
        {"r2c PACK n=65536", true, {65536}, 1, 55},
        {"r2c CCE 256x256", true, {256, 256}, 1, 57},
    };
    std::printf("one thread each; ratio above 1: orb faster\n");
    for (const Case &c : cases)
        if (filter.empty() || c.name.find(filter) != std::string::npos) Run(c);
    return 0;
}
