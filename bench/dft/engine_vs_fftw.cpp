// Transform engine against FFTW3 on the same data in the same run. Prints,
// per case, the ratios FFTW time / our time (FFTW planned with MEASURE and
// with ESTIMATE; above 1 means we are faster), our plan time, and the
// relative RMS distance between our result and FFTW's. One-dimensional
// C2R cases plan FFTW with PRESERVE_INPUT, as the engine never writes a C2R
// input; FFTW has no such plan for more dimensions, so there both sides
// copy the input before every run.
// Usage: bench_dft_engine [filter-substring | name,name,... (exact names)]
#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "dft/engine/engine.h"
#include "service/serv.h"

using namespace orb::dft;

namespace {

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Repetitions that make one timing round last about 1 ms: short rounds, so
// that on a shared machine the best of many escapes preemption.
template <class F>
int Calibrate(F f) {
    f();
    int reps = 1;
    for (;;) {
        double t0 = Now();
        for (int i = 0; i < reps; ++i) f();
        if (Now() - t0 > 0.001 || reps > (1 << 24)) return reps;
        reps *= 2;
    }
}

template <class F>
double Round(F f, int reps) {
    double t0 = Now();
    for (int i = 0; i < reps; ++i) f();
    return (Now() - t0) / reps;
}

struct BenchCase {
    std::string name;
    EngineKind kind;
    bool dbl;
    std::vector<int> dims;
    int howmany = 1;
    bool in_place = false;
    bool split = false;
    int nthreads = 1;
};

template <class T>
struct Fftw;
template <>
struct Fftw<double> {
    using Plan = fftw_plan;
    static void *Malloc(size_t b) { return fftw_malloc(b); }
    static void Free(void *p) { fftw_free(p); }
    static Plan Make(const BenchCase &s, void *in, void *out, unsigned flags) {
        const int rank = int(s.dims.size());
        int total = 1, ctotal = 1;
        for (int d : s.dims) total *= d;
        ctotal = total / s.dims.back() * (s.dims.back() / 2 + 1);
        if (s.split) {
            fftw_iodim dims[7], how{s.howmany, total, total};
            int st = 1;
            for (int j = rank - 1; j >= 0; --j) dims[j] = {s.dims[j], st, st}, st *= s.dims[j];
            double *ri = static_cast<double *>(in), *ro = static_cast<double *>(out);
            size_t half = size_t(total) * s.howmany;
            return fftw_plan_guru_split_dft(rank, dims, 1, &how, ri, ri + half, ro, ro + half, flags);
        }
        if (s.kind == EngineKind::C2C)
            return fftw_plan_many_dft(rank, s.dims.data(), s.howmany, (fftw_complex *)in, nullptr, 1, total,
                                      (fftw_complex *)out, nullptr, 1, total, FFTW_FORWARD, flags);
        if (s.kind == EngineKind::C2R)
            return fftw_plan_many_dft_c2r(rank, s.dims.data(), s.howmany, (fftw_complex *)in, nullptr, 1, ctotal,
                                          (double *)out, nullptr, 1, total,
                                          flags | (rank == 1 ? FFTW_PRESERVE_INPUT : 0));
        return fftw_plan_many_dft_r2c(rank, s.dims.data(), s.howmany, (double *)in, nullptr, 1, total,
                                      (fftw_complex *)out, nullptr, 1, ctotal, flags);
    }
    static void Exec(Plan p) { fftw_execute(p); }
    // The spectrum of real data (the half-length last dimension).
    static void Spectrum(const BenchCase &s, const double *x, double *z) {
        const int rank = int(s.dims.size());
        int total = 1;
        for (int d : s.dims) total *= d;
        std::vector<double> tmp(x, x + size_t(total) * s.howmany);
        const int ctotal = total / s.dims.back() * (s.dims.back() / 2 + 1);
        fftw_plan p = fftw_plan_many_dft_r2c(rank, s.dims.data(), s.howmany, tmp.data(), nullptr, 1, total,
                                             (fftw_complex *)z, nullptr, 1, ctotal, FFTW_ESTIMATE);
        fftw_execute(p);
        fftw_destroy_plan(p);
    }
    static void Destroy(Plan p) { fftw_destroy_plan(p); }
};
template <>
struct Fftw<float> {
    using Plan = fftwf_plan;
    static void *Malloc(size_t b) { return fftwf_malloc(b); }
    static void Free(void *p) { fftwf_free(p); }
    static Plan Make(const BenchCase &s, void *in, void *out, unsigned flags) {
        const int rank = int(s.dims.size());
        int total = 1, ctotal;
        for (int d : s.dims) total *= d;
        ctotal = total / s.dims.back() * (s.dims.back() / 2 + 1);
        if (s.kind == EngineKind::C2C)
            return fftwf_plan_many_dft(rank, s.dims.data(), s.howmany, (fftwf_complex *)in, nullptr, 1, total,
                                       (fftwf_complex *)out, nullptr, 1, total, FFTW_FORWARD, flags);
        if (s.kind == EngineKind::C2R)
            return fftwf_plan_many_dft_c2r(rank, s.dims.data(), s.howmany, (fftwf_complex *)in, nullptr, 1, ctotal,
                                           (float *)out, nullptr, 1, total,
                                           flags | (rank == 1 ? FFTW_PRESERVE_INPUT : 0));
        return fftwf_plan_many_dft_r2c(rank, s.dims.data(), s.howmany, (float *)in, nullptr, 1, total,
                                       (fftwf_complex *)out, nullptr, 1, ctotal, flags);
    }
    static void Exec(Plan p) { fftwf_execute(p); }
    static void Spectrum(const BenchCase &s, const float *x, float *z) {
        const int rank = int(s.dims.size());
        int total = 1;
        for (int d : s.dims) total *= d;
        std::vector<float> tmp(x, x + size_t(total) * s.howmany);
        const int ctotal = total / s.dims.back() * (s.dims.back() / 2 + 1);
        fftwf_plan p = fftwf_plan_many_dft_r2c(rank, s.dims.data(), s.howmany, tmp.data(), nullptr, 1, total,
                                               (fftwf_complex *)z, nullptr, 1, ctotal, FFTW_ESTIMATE);
        fftwf_execute(p);
        fftwf_destroy_plan(p);
    }
    static void Destroy(Plan p) { fftwf_destroy_plan(p); }
};

template <class T>
void RunCase(const BenchCase &s) {
    const int rank = int(s.dims.size());
    int64_t total = 1;
    for (int d : s.dims) total *= d;
    const int64_t ctotal = total / s.dims.back() * (s.dims.back() / 2 + 1);
    const bool real = s.kind != EngineKind::C2C, c2r = s.kind == EngineKind::C2R;
    // Elements (reals) per side for the whole batch.
    const int64_t real_reals = total * s.howmany, ce_reals = 2 * ctotal * s.howmany;
    const int64_t in_reals = real ? (c2r ? ce_reals : real_reals) : 2 * total * s.howmany;
    const int64_t out_reals = real ? (c2r ? real_reals : ce_reals) : 2 * total * s.howmany;
    const int64_t cap = std::max(in_reals, out_reals) + 64;
    T *in = static_cast<T *>(Fftw<T>::Malloc(cap * sizeof(T)));
    T *out = static_cast<T *>(Fftw<T>::Malloc(cap * sizeof(T)));
    T *ref = static_cast<T *>(Fftw<T>::Malloc(cap * sizeof(T)));
    std::vector<T> src(in_reals);
    uint64_t x = 88172645463325252ull;
    for (auto &v : src) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        v = T(double(x >> 11) / double(1ull << 53) - 0.5);
    }
    if (c2r) {
        // A consistent conjugate-even input: the spectrum of real data.
        std::vector<T> z(src.size());
        Fftw<T>::Spectrum(s, src.data(), z.data());
        src = z;
    }
    const bool copy_each = s.in_place || (c2r && rank > 1);
    // Split storage: re block then im block.
    std::vector<T> srcs = src;
    if (s.split) {
        const int64_t m = total * s.howmany;
        for (int64_t i = 0; i < m; ++i) srcs[i] = src[2 * i], srcs[m + i] = src[2 * i + 1];
    }
    const std::vector<T> &input = s.split ? srcs : src;

    // FFTW: MEASURE (with a time limit so planning stays bounded) and ESTIMATE.
    T *fo = s.in_place ? in : ref;
    typename Fftw<T>::Plan fp[2];
    for (int k = 0; k < 2; ++k) {
        fp[k] = Fftw<T>::Make(s, in, fo, k == 0 ? FFTW_MEASURE : FFTW_ESTIMATE);
        if (!fp[k]) {
            printf("%-34s fftw plan failed\n", s.name.c_str());
            return;
        }
    }
    memcpy(in, input.data(), in_reals * sizeof(T));
    Fftw<T>::Exec(fp[0]);
    if (s.in_place) memcpy(ref, in, out_reals * sizeof(T));

    // Ours.
    EngineProblem pb;
    pb.kind = s.kind, pb.is_double = s.dbl, pb.sign = c2r ? 1 : -1, pb.rank = rank, pb.nthreads = s.nthreads;
    int64_t st_in = 1, st_out = 1;
    for (int j = rank - 1; j >= 0; --j) {
        const int64_t nce = (real && j == rank - 1) ? s.dims[j] / 2 + 1 : s.dims[j];
        pb.dims[j] = {s.dims[j], st_in, st_out};
        st_in *= c2r ? nce : s.dims[j], st_out *= c2r ? s.dims[j] : nce;
    }
    if (s.howmany > 1) pb.howmany_rank = 1, pb.howmany[0] = {s.howmany, st_in, st_out};
    pb.split_in = pb.split_out = s.split;
    double t0 = Now();
    int status;
    EnginePlan *plan = EnginePlanCreate(pb, &status);
    const double plan_ms = (Now() - t0) * 1e3;
    if (!plan) {
        printf("%-34s engine plan failed (%d)\n", s.name.c_str(), status);
        return;
    }
    const int64_t half = total * s.howmany;
    T *o = s.in_place ? in : out;
    auto exec = [&] {
        if (s.split) EngineExecute(plan, in, in + half, o, o + half);
        else EngineExecute(plan, in, nullptr, o, nullptr);
    };
    memcpy(in, input.data(), in_reals * sizeof(T));
    exec();
    // Distance to FFTW's result.
    long double num = 0, den = 0;
    for (int64_t i = 0; i < out_reals; ++i) {
        long double d = (long double)o[i] - ref[i];
        num += d * d, den += (long double)ref[i] * ref[i];
    }
    const double dist = den > 0 ? double(sqrtl(num / den)) : 0.0;
    // In place, every run starts from the same input (copy timed on both sides).
    auto run_fftw = [&](int k) {
        return [&, k] {
            if (copy_each) memcpy(in, input.data(), in_reals * sizeof(T));
            Fftw<T>::Exec(fp[k]);
        };
    };
    auto run_ours = [&] {
        if (copy_each) memcpy(in, input.data(), in_reals * sizeof(T));
        exec();
    };
    // Rounds alternate between the three contenders so that a busy machine
    // slows them alike; the best round of each counts.
    const int rf0 = Calibrate(run_fftw(0)), rf1 = Calibrate(run_fftw(1)), ro = Calibrate(run_ours);
    double best[3] = {1e30, 1e30, 1e30};
    // At least 5 rounds each, more (up to 60) while under 0.3 s per contender.
    const double start = Now();
    for (int round = 0; round < 60 && (round < 5 || Now() - start < 0.9); ++round) {
        best[0] = std::min(best[0], Round(run_fftw(0), rf0));
        best[1] = std::min(best[1], Round(run_fftw(1), rf1));
        best[2] = std::min(best[2], Round(run_ours, ro));
    }
    const double tf[2] = {best[0], best[1]}, to = best[2];
    Fftw<T>::Destroy(fp[0]);
    Fftw<T>::Destroy(fp[1]);
    EnginePlanDestroy(plan);
    printf("%-34s measure %6.2f  estimate %6.2f  plan %8.2f ms  diff %.1e\n", s.name.c_str(), tf[0] / to,
           tf[1] / to, plan_ms, dist);
    fflush(stdout);
    Fftw<T>::Free(in), Fftw<T>::Free(out), Fftw<T>::Free(ref);
}

std::vector<BenchCase> Cases() {
    std::vector<BenchCase> v;
    std::vector<int> lengths;
    for (int k = 1; k <= 22; ++k) lengths.push_back(1 << k);
    for (int n : {12, 60, 100, 1000, 1536, 10000, 100000, 1024 * 243, 1009, 4099, 65537}) lengths.push_back(n);
    // Bluestein: a prime with wrapped outputs, an even length (half 4099)
    // and the prime above 65537.
    for (int n : {1367, 2 * 4099, 65539}) lengths.push_back(n);
    for (int n : lengths) {
        for (bool dbl : {true, false})
            for (bool ip : {false, true}) {
                v.push_back({std::string(dbl ? "z" : "c") + "1d_" + (ip ? "inplace_" : "") + std::to_string(n),
                             EngineKind::C2C, dbl, {n}, 1, ip});
            }
        v.push_back({"d_r2c_" + std::to_string(n), EngineKind::R2C, true, {n}});
        v.push_back({"d_c2r_" + std::to_string(n), EngineKind::C2R, true, {n}});
    }
    for (int n : {6, 10, 20, 24, 28}) {
        v.push_back({"d_r2c_" + std::to_string(n), EngineKind::R2C, true, {n}});
        v.push_back({"d_c2r_" + std::to_string(n), EngineKind::C2R, true, {n}});
    }
    for (int n : {4, 8, 16, 32, 64}) {
        v.push_back({"s_r2c_" + std::to_string(n), EngineKind::R2C, false, {n}});
        v.push_back({"s_c2r_" + std::to_string(n), EngineKind::C2R, false, {n}});
    }
    v.push_back({"d_r2c_batch_1000x16", EngineKind::R2C, true, {16}, 1000});
    v.push_back({"d_c2r_batch_1000x16", EngineKind::C2R, true, {16}, 1000});
    v.push_back({"d_r2c_batch_1000x32", EngineKind::R2C, true, {32}, 1000});
    v.push_back({"d_c2r_batch_1000x32", EngineKind::C2R, true, {32}, 1000});
    for (auto dims : std::vector<std::vector<int>>{{64, 64}, {256, 256}, {1024, 1024}, {8, 8, 8}, {64, 64, 64}, {128, 128, 128}}) {
        std::string nm;
        for (int d : dims) nm += (nm.empty() ? "" : "x") + std::to_string(d);
        v.push_back({"z_" + nm, EngineKind::C2C, true, dims});
        v.push_back({"d_r2c_" + nm, EngineKind::R2C, true, dims});
        v.push_back({"d_c2r_" + nm, EngineKind::C2R, true, dims});
    }
    v.push_back({"z_batch_1000x64", EngineKind::C2C, true, {64}, 1000});
    v.push_back({"z_batch_100x4096", EngineKind::C2C, true, {4096}, 100});
    v.push_back({"z_split_1d_4096", EngineKind::C2C, true, {4096}, 1, false, true});
    v.push_back({"z_split_2d_256x256", EngineKind::C2C, true, {256, 256}, 1, false, true});
    v.push_back({"z1d_2threads_1048576", EngineKind::C2C, true, {1 << 20}, 1, false, false, 2});
    v.push_back({"z_2threads_1024x1024", EngineKind::C2C, true, {1024, 1024}, 1, false, false, 2});
    return v;
}

}  // namespace

int main(int argc, char **argv) {
    const char *filter = argc > 1 ? argv[1] : "";
    // Long enough for FFTW's search to finish at the largest sizes (2^20,
    // 1024 x 1024), so that those ratios hold against its best plan.
    fftw_set_timelimit(5.0);
    fftwf_set_timelimit(5.0);
    printf("CpuLevel %d; ratios are FFTW time / engine time (FFTW single-threaded)\n", ServGetCpuLevel());
    for (const BenchCase &s : Cases()) {
        if (strchr(filter, ',')) {
            // A list picks exact names, so "z1d_1024," is not also z1d_1024000.
            const std::string list = std::string(",") + filter + ",";
            if (list.find("," + s.name + ",") == std::string::npos) continue;
        } else if (!strstr(s.name.c_str(), filter)) {
            continue;
        }
        if (s.dbl) RunCase<double>(s);
        else RunCase<float>(s);
    }
    return 0;
}
