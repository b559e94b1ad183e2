// Thread-count control: the per-domain values read once from the
// environment, the per-thread count, the dynamic switch and
// ServDomainThreads, which combines them with the processor topology.
#include <omp.h>

#include <atomic>

#include "service/platform.h"
#include "service/threads.h"

namespace orb {

// Process-wide words, relaxed atomics: written once under ServLock (or by
// the setters) and read without it afterwards.
std::atomic<int32_t> g_need_read{1};
std::atomic<int32_t> g_dynamic{-1};

namespace {

constexpr uint32_t kEnvBuffer = 256;

std::atomic<int32_t> g_domain[kThreadDomains] = {{-1}, {-1}, {-1}, {-1}, {-1}};
std::atomic<int32_t> g_omp_threads{-1};
std::atomic<int32_t> g_topology_done{0};
ThreadTopology g_topology;

thread_local int32_t t_thread_count = 0;

// Reads a variable by the buffer rule: absent, empty or 256 characters and
// more all count as not set. Returns the length, 0 when not set.
uint32_t ReadVariable(const char *name, char (&buf)[kEnvBuffer]) {
    uint32_t n = plat::GetEnv(name, buf, kEnvBuffer);
    return n >= kEnvBuffer ? 0 : n;
}

void ReadEnvironmentLocked() {
    char buf[kEnvBuffer];
    int32_t values[kThreadDomains];
    for (int d = 0; d < kThreadDomains; ++d)
        values[d] = g_domain[d].load(std::memory_order_relaxed);

    if (uint32_t n = ReadVariable("ORB_NUM_THREADS", buf)) {
        int32_t v = ParseThreadCountText(buf, int32_t(n));
        if (v >= 1 && values[ServDomainAll] < 1) values[ServDomainAll] = v;
    }
    if (ReadVariable("ORB_DOMAIN_NUM_THREADS", buf)) ParseDomainThreadList(buf, values);
    for (int d = 0; d < kThreadDomains; ++d)
        g_domain[d].store(values[d] >= 1 ? values[d] : -1, std::memory_order_relaxed);

    if (g_dynamic.load(std::memory_order_relaxed) == -1) {
        uint32_t n = ReadVariable("ORB_DYNAMIC", buf);
        g_dynamic.store(ParseDynamicText(n ? buf : nullptr), std::memory_order_relaxed);
    }
    if (uint32_t n = ReadVariable("OMP_NUM_THREADS", buf)) {
        int32_t v = ParseThreadCountText(buf, int32_t(n));
        if (v >= 1) g_omp_threads.store(v, std::memory_order_relaxed);
    }
}

void EnsureTopologyLocked() {
    if (g_topology_done.load(std::memory_order_relaxed)) return;
    g_topology = DetectTopology();
    g_topology_done.store(1, std::memory_order_release);
}

__attribute__((noinline)) void ReadOnce() {
    ServLock();
    if (g_need_read.load(std::memory_order_relaxed)) {
        ReadEnvironmentLocked();
        EnsureTopologyLocked();
        g_need_read.store(0, std::memory_order_release);
    }
    ServUnlock();
}

// Called on every threaded-size vector call: the test stays inline.
inline void EnsureRead() {
    if (g_need_read.load(std::memory_order_acquire)) [[unlikely]] ReadOnce();
}

const ThreadTopology &Topology() {
    if (!g_topology_done.load(std::memory_order_acquire)) {
        ServLock();
        EnsureTopologyLocked();
        ServUnlock();
    }
    return g_topology;
}

}  // namespace

void ResetThreadControlForTests() {
    ServLock();
    for (auto &d : g_domain) d.store(-1, std::memory_order_relaxed);
    g_dynamic.store(-1, std::memory_order_relaxed);
    g_omp_threads.store(-1, std::memory_order_relaxed);
    g_topology_done.store(0, std::memory_order_relaxed);
    g_need_read.store(1, std::memory_order_release);
    ServUnlock();
    t_thread_count = 0;
}

}  // namespace orb

using namespace orb;

extern "C" int32_t ServDomainThreads(int32_t domain) {
    if (t_thread_count > 0) return t_thread_count;
    EnsureRead();
    const int32_t dynamic = g_dynamic.load(std::memory_order_relaxed);
    if (dynamic == 1 && omp_in_parallel()) return 1;

    int32_t n = -1;
    if (domain >= 1 && domain < kThreadDomains)
        n = g_domain[domain].load(std::memory_order_relaxed);
    if (n < 1) n = g_domain[ServDomainAll].load(std::memory_order_relaxed);
    const bool explicit_count = n >= 1;
    if (!explicit_count) n = omp_get_max_threads();
    if (n < 1) n = 1;
    if (dynamic != 1) return n;
    return ApplyDynamicRule(n, explicit_count,
                            g_omp_threads.load(std::memory_order_relaxed) >= 1, g_topology);
}

extern "C" int32_t ServGetDynamic(void) {
    EnsureRead();
    return g_dynamic.load(std::memory_order_relaxed);
}

extern "C" void ServSetDynamic(int32_t on) {
    g_dynamic.store(on != 0 ? 1 : 0, std::memory_order_relaxed);
}

extern "C" void ServSetThreadLocalThreads(int32_t n) { t_thread_count = n > 0 ? n : 0; }

extern "C" int32_t ServGetThreadLocalThreads(void) { return t_thread_count; }

extern "C" int32_t ServSetDomainValue(int32_t domain, int32_t n) {
    if (domain < 0 || domain >= kThreadDomains) return -1;
    g_domain[domain].store(n >= 1 ? n : -1, std::memory_order_relaxed);
    return 0;
}

extern "C" int32_t ServGetDomainValue(int32_t domain) {
    if (domain < 0 || domain >= kThreadDomains) return -1;
    EnsureRead();
    return g_domain[domain].load(std::memory_order_relaxed);
}

extern "C" int32_t ServOmpNumThreads(void) {
    EnsureRead();
    return g_omp_threads.load(std::memory_order_relaxed);
}

extern "C" void ServTopologyCounts(int32_t *packages, int32_t *cores_per_package,
                                   int32_t *threads_per_core_minus_one) {
    const ThreadTopology &t = Topology();
    if (packages) *packages = t.packages;
    if (cores_per_package) *cores_per_package = t.cores_per_package;
    if (threads_per_core_minus_one) *threads_per_core_minus_one = t.threads_per_core - 1;
}

extern "C" int32_t ServProcessorCount(void) { return Topology().processors; }
