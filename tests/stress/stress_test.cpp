// Cross-family stress: more threads than cores call every family at once for
// a bounded time. Each thread has its own vector-math mode, callback and
// status; Fourier descriptors and spline tasks are made and freed per call,
// one committed Fourier descriptor is shared by all threads, and short-lived
// threads make memory pools whose buffers other threads release. Every
// result must equal the single-threaded run of the same job, and the memory
// manager must hold nothing more afterwards than before.
//
// Time budget: STRESS_SECONDS if set, else 10 s (3 s under a sanitizer).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "datafit/df_test_data.h"
#include "include/orb_df.h"
#include "include/orb_dfti.h"
#include "include/orb_vml.h"
#include "service/memory.h"
#include "service/serv.h"
#include "vml/vml_frame.h"

namespace orb::stress {
namespace {

double BudgetSeconds() {
    if (const char *v = std::getenv("STRESS_SECONDS")) return std::atof(v);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 3;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return 3;
#endif
#endif
    return 10;
}

// One job's result: empty error when every call returned success, and its
// values in a fixed order.
struct Outcome {
    std::string error;
    std::vector<double> values;
};

// Inputs come from a generator seeded per job, so the reference run and the
// concurrent runs see the same data.
struct Gen {
    uint32_t s;
    double Next() {  // in [-1, 1)
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return (s % 65536) / 32768.0 - 1.0;
    }
};

std::string Fail(const char *what, long code) { return std::string(what) + ": status " + std::to_string(code); }

// ---- Fourier: a descriptor created, committed, computed both ways, freed ----

struct FourierShape {
    int32_t precision, domain, rank, len[2], count;
    bool in_place;
};
constexpr FourierShape kShapes[] = {
    {DftiValueDouble, DftiValueComplex, 1, {64, 0}, 1, false},
    {DftiValueDouble, DftiValueReal, 1, {30, 0}, 1, false},  // CCS: 32 reals out
    {DftiValueDouble, DftiValueComplex, 2, {8, 6}, 1, true},
    {DftiValueSingle, DftiValueComplex, 1, {17, 0}, 3, true},
};

template <typename T>
Outcome RunFourier(const FourierShape &f, uint32_t seed) {
    DftiHandle h = nullptr;
    int32_t s = f.rank == 1 ? DftiCreateDescriptor(&h, f.precision, f.domain, 1, f.len[0])
                            : DftiCreateDescriptor(&h, f.precision, f.domain, f.rank, f.len);
    if (s) return {Fail("create", s), {}};
    const int n = f.len[0] * (f.rank == 2 ? f.len[1] : 1);
    const bool real = f.domain == DftiValueReal;
    const int in_reals = (real ? n : 2 * n) * f.count, out_reals = (real ? n + 2 : 2 * n) * f.count;
    if (f.count > 1) {
        s = DftiSetValue(h, DftiParamTransformCount, f.count);
        if (!s) s = DftiSetValue(h, DftiParamInputDistance, n);
        if (!s) s = DftiSetValue(h, DftiParamOutputDistance, n);
    }
    if (!s && !f.in_place) s = DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44);
    if (!s) s = DftiSetValue(h, DftiParamBackwardScale, 1.0 / n);
    if (!s) s = DftiCommitDescriptor(h);
    if (s) {
        DftiFreeDescriptor(&h);
        return {Fail("configure/commit", s), {}};
    }
    Gen g{seed * 2654435761u + 7u};
    std::vector<T> a(size_t(std::max(in_reals, out_reals))), b(a.size());
    for (int i = 0; i < in_reals; ++i) a[i] = T(g.Next());
    // Forward, then backward from the forward result.
    Outcome o;
    T *fout = f.in_place ? a.data() : b.data();
    s = f.in_place ? DftiComputeForward(h, a.data()) : DftiComputeForward(h, a.data(), fout);
    if (!s) {
        o.values.assign(fout, fout + out_reals);
        s = f.in_place ? DftiComputeBackward(h, fout) : DftiComputeBackward(h, fout, a.data());
        o.values.insert(o.values.end(), a.begin(), a.begin() + in_reals);
    }
    if (s) o.error = Fail("compute", s);
    const int32_t fs = DftiFreeDescriptor(&h);
    if (fs || h) o.error = Fail("free", fs);
    return o;
}

// Forward transform with a descriptor shared by all threads.
constexpr int kSharedN = 128;
Outcome SharedFourierJob(DftiHandle shared, uint32_t seed) {
    Gen g{seed * 1664525u + 5u};
    std::vector<double> in(2 * kSharedN), out(in.size());
    for (double &v : in) v = g.Next();
    const int32_t s = DftiComputeForward(shared, in.data(), out.data());
    return {s ? Fail("shared compute", s) : std::string(), out};
}

// ---- Data fitting: a task created, constructed, evaluated and deleted ----

struct SplineShape {
    bool dbl;
    int32_t nx, ny, order, type, bc, sitehint;
};
constexpr SplineShape kSplines[] = {
    {true, 40, 2, DfCubic, DfTypeNatural, DfBcFreeEnd, DfSitesNoHint},
    {false, 25, 1, DfCubic, DfTypeAkima, DfBcFreeEnd, DfSitesNoHint},
    {true, 30, 3, DfQuadratic, DfTypeDefault, DfBcNotAKnot, DfSitesSorted},
};

template <typename T>
Outcome RunSpline(const SplineShape &k, uint32_t seed) {
    using A = orb::test::Df<T>;
    Gen g{seed * 40503u + 11u};
    std::vector<T> x(size_t(k.nx)), y(size_t(k.nx * k.ny));
    double at = g.Next();
    for (T &v : x) v = T(at += 0.25 + 0.5 * std::fabs(g.Next()));
    for (T &v : y) v = T(g.Next());
    std::vector<T> coeff(size_t(k.order * (k.nx - 1) * k.ny));
    const int nsite = 64;
    std::vector<T> site(nsite), r(size_t(nsite * k.ny * 2));
    for (T &v : site) v = T(x[0] + (x[k.nx - 1] - x[0]) * (0.55 * g.Next() + 0.5));
    if (k.sitehint == DfSitesSorted) std::sort(site.begin(), site.end());
    const int32_t dorder[2] = {1, 1};
    std::vector<int32_t> cell(nsite);
    DfTask *task = nullptr;
    int s = A::New(&task, k.nx, x.data(), DfNonUniform, k.ny, y.data(), DfValuesPerFunction);
    if (s) return {Fail("new task", s), {}};
    s = A::Edit(task, k.order, k.type, k.bc, nullptr, 0, nullptr, coeff.data(), 0);
    if (!s) s = A::Construct(task, 0, 0);
    if (!s)
        s = A::Interpolate(task, DfInterpolate | DfCellSearch, DfMethodPP, nsite, site.data(), k.sitehint, 2,
                           dorder, nullptr, r.data(), DfResultFuncsSitesDerivs, cell.data());
    Outcome o;
    if (s) o.error = Fail("edit/construct/interpolate", s);
    const int d = dfDeleteTask(&task);
    if (d || task) o.error = Fail("delete", d);
    o.values.assign(coeff.begin(), coeff.end());
    o.values.insert(o.values.end(), r.begin(), r.end());
    o.values.insert(o.values.end(), cell.begin(), cell.end());
    return o;
}

// ---- Vector math under the calling thread's own mode and callback ----
// `lane` selects the mode, the callback and which elements divide by zero.

constexpr int kLanes = 12;
std::atomic<int64_t> g_callbacks[kLanes];

template <int L>
int LaneCallback(VmlErrorContext *) {
    g_callbacks[L].fetch_add(1, std::memory_order_relaxed);
    return 1;  // handled: keep the computed result
}
template <size_t... L>
constexpr std::array<VmlErrorCallback, kLanes> MakeCallbacks(std::index_sequence<L...>) {
    return {&LaneCallback<int(L)>...};
}
constexpr auto kCallbacks = MakeCallbacks(std::make_index_sequence<kLanes>());

constexpr int kVectorN = 300;  // large enough to be split among threads
bool CallsBack(int lane) { return lane % 2 == 0; }
bool ZeroAt(int lane, int i) { return i % (5 + lane) == 0; }

Outcome VectorJob(int lane, uint32_t seed) {
    const uint32_t mode = uint32_t(1 + lane % 3) | (lane % 4 < 2 ? VmlModeDenormFlush : VmlModeDenormKeep) |
                          (CallsBack(lane) ? VmlErrCallback : VmlErrIgnore);
    ServVmlSetMode(mode);
    const VmlErrorCallback cb = CallsBack(lane) ? kCallbacks[lane] : nullptr;
    ServVmlSetCallback(cb);
    Gen g{seed * 69069u + 3u};
    std::vector<double> a(kVectorN), b(kVectorN), y(kVectorN), tiny(kVectorN), z(kVectorN);
    std::vector<float> fa(kVectorN), fy(kVectorN);
    for (int i = 0; i < kVectorN; ++i) {
        a[i] = g.Next() * 8;
        b[i] = ZeroAt(lane, i) ? 0.0 : g.Next();
        tiny[i] = i % 3 ? 1e-300 * (1 + g.Next()) : g.Next();  // subnormal products
        fa[i] = float(tiny[i] * 1e262);                         // float subnormals too
    }
    ServVmlSetStatus(0);
    vdDiv(kVectorN, a.data(), b.data(), y.data());
    const int after_div = ServVmlGetStatus();
    vdMul(kVectorN, tiny.data(), b.data(), z.data());
    vsSqr(kVectorN, fa.data(), fy.data());
    Outcome o;
    if (after_div != VmlStatusSing) o.error = Fail("vdDiv with zero divisors", after_div);
    if (ServVmlGetMode() != mode) o.error = Fail("mode word changed by another thread", ServVmlGetMode());
    if (ServVmlGetCallback() != cb) o.error = "callback changed by another thread";
    o.values = y;
    o.values.insert(o.values.end(), z.begin(), z.end());
    o.values.insert(o.values.end(), fy.begin(), fy.end());
    ServVmlSetCallback(nullptr);
    return o;
}

// ---- Memory: buffers allocated in a short-lived thread of its own pool,
// filled, half released there and half by the caller ----

Outcome MemoryJob(uint32_t seed) {
    struct Block { unsigned char *p; uint32_t size; unsigned char fill; };
    static const uint32_t kSizes[] = {24, 1000, 70000, 1 << 20};
    std::vector<Block> handed;
    std::string error;
    // Its first request makes a pool, which the manager keeps registered.
    std::thread child([&] {
        for (int k = 0; k < 8; ++k) {
            const uint32_t size = kSizes[k % 4];
            const int32_t align = k % 2 ? 128 : 64;
            auto *p = static_cast<unsigned char *>(ServAlloc(size, align));
            if (!p || uintptr_t(p) % uint32_t(align)) {
                error = "ServAlloc failed or misaligned";
                if (p) ServFree(p);
                continue;
            }
            const auto fill = static_cast<unsigned char>(seed + k);
            std::memset(p, fill, size);
            if (k % 2) handed.push_back({p, size, fill});
            else ServFree(p);
        }
    });
    child.join();
    for (const Block &b : handed) {
        for (uint32_t i = 0; i < b.size; i += 61)
            if (b.p[i] != b.fill) error = "buffer contents changed";
        ServFree(b.p);
    }
    return {error, {}};
}

// An error text when the outcomes differ beyond `rel` (relative to the
// largest finite magnitude of the reference; 0 asks for identical bits).
std::string Compare(const Outcome &ref, const Outcome &got, double rel) {
    if (!got.error.empty()) return got.error;
    if (ref.values.size() != got.values.size()) return "result count differs";
    double scale = 0;
    for (double v : ref.values)
        if (std::isfinite(v)) scale = std::max(scale, std::fabs(v));
    for (size_t i = 0; i < ref.values.size(); ++i) {
        const double r = ref.values[i], v = got.values[i];
        const bool same = rel == 0 ? std::memcmp(&r, &v, sizeof r) == 0 || (std::isnan(r) && std::isnan(v))
                                   : std::fabs(r - v) <= rel * scale;
        if (!same) {
            char buf[128];
            std::snprintf(buf, sizeof buf, "value %zu: %.17g instead of %.17g", i, v, r);
            return buf;
        }
    }
    return {};
}

constexpr int kThreads = kLanes;  // 12 threads on a 2-core machine
constexpr int kSeeds = 3;
enum Job { kFourier, kShared, kSpline, kVector, kMemory, kJobs };

Outcome RunJob(Job job, int kind, int seed, DftiHandle shared) {
    const uint32_t s = uint32_t(seed);
    switch (job) {
        case kFourier: {
            const FourierShape &f = kShapes[kind % std::size(kShapes)];
            return f.precision == DftiValueDouble ? RunFourier<double>(f, s) : RunFourier<float>(f, s);
        }
        case kShared: return SharedFourierJob(shared, s);
        case kSpline: {
            const SplineShape &k = kSplines[kind % std::size(kSplines)];
            return k.dbl ? RunSpline<double>(k, s) : RunSpline<float>(k, s);
        }
        case kVector: return VectorJob(kind, s);
        default: return MemoryJob(s);
    }
}

TEST(Stress, EveryFamilyFromManyThreadsMatchesTheSingleThreadedRun) {
    DftiHandle shared = nullptr;
    int32_t s = DftiCreateDescriptor(&shared, DftiValueDouble, DftiValueComplex, 1, kSharedN);
    if (!s) s = DftiSetValue(shared, DftiParamPlacement, DftiValuePlacement44);
    if (!s) s = DftiSetValue(shared, DftiParamUserThreadCount, kThreads + 1);
    if (!s) s = DftiCommitDescriptor(shared);
    ASSERT_EQ(s, 0);

    // Results of the single-threaded run, by (job, kind or lane, seed).
    std::map<std::tuple<int, int, int>, Outcome> ref;
    for (int job = 0; job < kJobs; ++job)
        for (int kind = 0; kind < kLanes; ++kind)
            for (int seed = 0; seed < kSeeds; ++seed) {
                Outcome o = RunJob(Job(job), kind, seed, shared);
                ASSERT_EQ(o.error, "") << "job " << job << " kind " << kind;
                ref[{job, kind, seed}] = o;
            }
    int64_t callbacks_before[kLanes];
    for (int l = 0; l < kLanes; ++l) callbacks_before[l] = g_callbacks[l].load();
    const mem::PoolCensus census0 = mem::TakeCensus();
    const mem::Statistics stats0 = mem::ReadStatistics();

    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(int64_t(BudgetSeconds() * 1000));
    std::mutex mu;
    std::vector<std::string> failures;
    std::vector<int64_t> vector_jobs(kThreads, 0), total_jobs(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            // Every job at least twice, then until the deadline.
            for (int i = 0; i < 2 * kJobs || std::chrono::steady_clock::now() < deadline; ++i) {
                const Job job = Job((t + i) % kJobs);
                const int kind = job == kVector ? t : (i / kJobs + t) % kLanes;
                const int seed = (i * 7 + t) % kSeeds;
                // Fourier plans may split work differently across runs;
                // everything else must reproduce the same bits.
                const double rel = job == kFourier || job == kShared ? 1e-12 : 0;
                const std::string e = Compare(ref.at({job, kind, seed}), RunJob(job, kind, seed, shared), rel);
                ++total_jobs[t];
                vector_jobs[t] += job == kVector;
                if (!e.empty()) {
                    std::lock_guard<std::mutex> lock(mu);
                    failures.push_back("thread " + std::to_string(t) + " job " + std::to_string(job) + " kind " +
                                       std::to_string(kind) + ": " + e);
                }
            }
        });
    for (std::thread &th : threads) th.join();

    for (const std::string &f : failures) ADD_FAILURE() << f;
    int64_t jobs = 0;
    for (int t = 0; t < kThreads; ++t) {
        jobs += total_jobs[t];
        // Each lane's callback saw exactly its own thread's zero divisors.
        int zeros = 0;
        for (int i = 0; i < kVectorN; ++i) zeros += ZeroAt(t, i);
        const int64_t want = CallsBack(t) ? vector_jobs[t] * zeros : 0;
        EXPECT_EQ(g_callbacks[t].load() - callbacks_before[t], want) << "lane " << t;
    }
    std::printf("%lld jobs in %d threads\n", static_cast<long long>(jobs), kThreads);

    // Every buffer handed out during the run came back.
    const mem::PoolCensus census1 = mem::TakeCensus();
    const mem::Statistics stats1 = mem::ReadStatistics();
    EXPECT_EQ(census1.slots_in_use, census0.slots_in_use);
    EXPECT_EQ(stats1.blocks_outstanding, stats0.blocks_outstanding);
    EXPECT_EQ(stats1.bytes_outstanding, stats0.bytes_outstanding);
    EXPECT_EQ(DftiFreeDescriptor(&shared), 0);
}

}  // namespace
}  // namespace orb::stress
