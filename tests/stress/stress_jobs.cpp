// The jobs of the cross-family stress test (see stress_jobs.h). Inputs come
// from a small generator seeded by the caller, so the reference run and the
// concurrent runs see the same data.
#include "stress/stress_jobs.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "datafit/df_test_data.h"
#include "include/orb_df.h"
#include "include/orb_vml.h"
#include "service/serv.h"
#include "vml/vml_frame.h"

namespace orb::stress {
namespace {

struct Gen {
    uint32_t s;
    double Next() {  // in [-1, 1)
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return (s % 65536) / 32768.0 - 1.0;
    }
};

std::string Fail(const char *what, long code) {
    char buf[96];
    std::snprintf(buf, sizeof buf, "%s: status %ld", what, code);
    return buf;
}

// ---- Fourier ----

struct FourierShape {
    int32_t precision, domain, rank, len[2], count;
    bool in_place;
};
constexpr FourierShape kShapes[kFourierKinds] = {
    {DftiValueDouble, DftiValueComplex, 1, {64, 0}, 1, false},
    {DftiValueDouble, DftiValueReal, 1, {30, 0}, 1, false},  // CCS: 32 reals out
    {DftiValueDouble, DftiValueComplex, 2, {8, 6}, 1, true},
    {DftiValueSingle, DftiValueComplex, 1, {17, 0}, 3, true},
};

template <typename T>
Outcome RunFourier(const FourierShape &f, uint32_t seed) {
    Outcome o;
    DftiHandle h = nullptr;
    int32_t s = f.rank == 1 ? DftiCreateDescriptor(&h, f.precision, f.domain, 1, f.len[0])
                            : DftiCreateDescriptor(&h, f.precision, f.domain, f.rank, f.len);
    if (s) return {Fail("create", s), {}};
    const int n = f.len[0] * (f.rank == 2 ? f.len[1] : 1);
    const bool real = f.domain == DftiValueReal;
    const int in_reals = (real ? n : 2 * n) * f.count;
    const int out_reals = (real ? n + 2 : 2 * n) * f.count;
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
    T *fin = a.data(), *fout = f.in_place ? a.data() : b.data();
    s = f.in_place ? DftiComputeForward(h, fin) : DftiComputeForward(h, fin, fout);
    if (!s) {
        for (int i = 0; i < out_reals; ++i) o.values.push_back(fout[i]);
        s = f.in_place ? DftiComputeBackward(h, fout) : DftiComputeBackward(h, fout, a.data());
        for (int i = 0; i < in_reals; ++i) o.values.push_back(a[i]);
    }
    if (s) o.error = Fail("compute", s);
    int32_t fs = DftiFreeDescriptor(&h);
    if (fs || h) o.error = Fail("free", fs);
    return o;
}

// ---- Data fitting ----

struct SplineShape {
    bool dbl;
    int32_t nx, ny, order, type, bc, sitehint;
};
constexpr SplineShape kSplines[kSplineKinds] = {
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
    std::vector<T> site(nsite);
    for (T &v : site) v = T(x[0] + (x[k.nx - 1] - x[0]) * (0.55 * g.Next() + 0.5));
    if (k.sitehint == DfSitesSorted) std::sort(site.begin(), site.end());
    const int32_t dorder[2] = {1, 1};
    std::vector<T> r(size_t(nsite * k.ny * 2));
    std::vector<int32_t> cell(nsite);

    DfTask *task = nullptr;
    int s = A::New(&task, k.nx, x.data(), DfNonUniform, k.ny, y.data(), DfValuesPerFunction);
    if (s) return {Fail("new task", s), {}};
    s = A::Edit(task, k.order, k.type, k.bc, nullptr, 0, nullptr, coeff.data(), 0);
    if (!s) s = A::Construct(task, 0, 0);
    if (!s)
        s = A::Interpolate(task, DfInterpolate | DfCellSearch, DfMethodPP, nsite, site.data(),
                           k.sitehint, 2, dorder, nullptr, r.data(), DfResultFuncsSitesDerivs,
                           cell.data());
    Outcome o;
    if (s) o.error = Fail("edit/construct/interpolate", s);
    int d = dfDeleteTask(&task);
    if (d || task) o.error = Fail("delete", d);
    for (T v : coeff) o.values.push_back(v);
    for (T v : r) o.values.push_back(v);
    for (int32_t c : cell) o.values.push_back(c);
    return o;
}

// ---- Vector math ----

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
uint32_t LaneMode(int lane) {
    const uint32_t accuracy = uint32_t(1 + lane % 3);
    const uint32_t denormal = lane % 4 < 2 ? VmlModeDenormFlush : VmlModeDenormKeep;
    return accuracy | denormal | (CallsBack(lane) ? VmlErrCallback : VmlErrIgnore);
}
bool ZeroAt(int lane, int i) { return i % (5 + lane) == 0; }

}  // namespace

int ZeroDivisors(int lane) {
    int z = 0;
    for (int i = 0; i < kVectorN; ++i) z += ZeroAt(lane, i);
    return z;
}

int64_t CallbackCount(int lane) { return g_callbacks[lane].load(); }

Outcome VectorJob(int lane, uint32_t seed) {
    Outcome o;
    const uint32_t mode = LaneMode(lane);
    ServVmlSetMode(mode);
    const VmlErrorCallback cb = CallsBack(lane) ? kCallbacks[lane] : nullptr;
    ServVmlSetCallback(cb);
    Gen g{seed * 69069u + 3u};
    std::vector<double> a(kVectorN), b(kVectorN), y(kVectorN), tiny(kVectorN), z(kVectorN);
    for (int i = 0; i < kVectorN; ++i) {
        a[i] = g.Next() * 8;
        b[i] = ZeroAt(lane, i) ? 0.0 : g.Next();
        tiny[i] = i % 3 ? 1e-300 * (1 + g.Next()) : g.Next();  // subnormal products
    }
    ServVmlSetStatus(0);
    vdDiv(kVectorN, a.data(), b.data(), y.data());
    const int after_div = ServVmlGetStatus();
    vdMul(kVectorN, tiny.data(), b.data(), z.data());
    std::vector<float> fa(kVectorN), fy(kVectorN);
    for (int i = 0; i < kVectorN; ++i) fa[i] = float(tiny[i] * 1e262);  // float subnormals too
    vsSqr(kVectorN, fa.data(), fy.data());
    if (after_div != VmlStatusSing) o.error = Fail("vdDiv with zero divisors", after_div);
    if (ServVmlGetMode() != mode) o.error = Fail("mode word changed by another thread", ServVmlGetMode());
    if (ServVmlGetCallback() != cb) o.error = "callback changed by another thread";
    o.values.insert(o.values.end(), y.begin(), y.end());
    o.values.insert(o.values.end(), z.begin(), z.end());
    o.values.insert(o.values.end(), fy.begin(), fy.end());
    ServVmlSetCallback(nullptr);
    return o;
}

Outcome FourierJob(int kind, uint32_t seed) {
    const FourierShape &f = kShapes[kind];
    return f.precision == DftiValueDouble ? RunFourier<double>(f, seed) : RunFourier<float>(f, seed);
}

DftiHandle MakeSharedDescriptor(int n, int users, int32_t *status) {
    DftiHandle h = nullptr;
    int32_t s = DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 1, n);
    if (!s) s = DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44);
    if (!s) s = DftiSetValue(h, DftiParamUserThreadCount, users);
    if (!s) s = DftiCommitDescriptor(h);
    *status = s;
    if (s && h) DftiFreeDescriptor(&h);
    return h;
}

Outcome SharedFourierJob(DftiHandle shared, int n, uint32_t seed) {
    Gen g{seed * 1664525u + 5u};
    std::vector<double> in(2 * size_t(n)), out(in.size());
    for (double &v : in) v = g.Next();
    int32_t s = DftiComputeForward(shared, in.data(), out.data());
    return {s ? Fail("shared compute", s) : std::string(), out};
}

Outcome SplineJob(int kind, uint32_t seed) {
    const SplineShape &k = kSplines[kind];
    return k.dbl ? RunSpline<double>(k, seed) : RunSpline<float>(k, seed);
}

Outcome MemoryJob(uint32_t seed) {
    struct Block { unsigned char *p; uint32_t size; unsigned char fill; };
    static const uint32_t kSizes[] = {24, 1000, 70000, 1 << 20};
    std::vector<Block> handed;
    std::string error;
    // A thread of its own: its first request makes a pool, which the
    // manager keeps registered; half its buffers are released by us.
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
            const unsigned char fill = static_cast<unsigned char>(seed + k);
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

}  // namespace orb::stress
