// Cache sizes for the planners: argument 1 the first-level data cache,
// 2 the second-level cache, 0 the largest cache, in bytes; and the ways of
// the first-level data cache. Read once from the processor's deterministic
// cache leaves, with the operating system's figures as the fallback, and
// kept for the process.
#include <atomic>

#include "dft/dfti_descriptor.h"
#include "service/serv.h"

#if defined(__i386__) || defined(__x86_64__)
#include <cpuid.h>
#endif
#if defined(__unix__)
#include <unistd.h>
#endif
#if defined(_WIN32)
#include <windows.h>

#include <vector>
#endif

namespace orb::dft {

namespace {

struct CacheSizes {
    int64_t l1d = 0, l2 = 0, largest = 0, l1d_ways = 0;
};

#if defined(__i386__) || defined(__x86_64__)
// Leaf 4 (and the 0x8000001D mirror): one sub-leaf per cache, type in
// EAX[4:0] (1 data, 3 unified), level in EAX[7:5].
void FromCpuidLeaf(unsigned leaf, CacheSizes *c) {
    unsigned max = __get_cpuid_max(leaf & 0x80000000u, nullptr);
    if (max < leaf) return;
    for (unsigned sub = 0; sub < 16; ++sub) {
        unsigned a, b, cx, d;
        __cpuid_count(leaf, sub, a, b, cx, d);
        unsigned type = a & 31u;
        if (type == 0) break;
        unsigned level = (a >> 5) & 7u;
        int64_t ways = ((b >> 22) & 0x3FFu) + 1, parts = ((b >> 12) & 0x3FFu) + 1;
        int64_t line = (b & 0xFFFu) + 1, sets = int64_t(cx) + 1;
        int64_t size = ways * parts * line * sets;
        if (level == 1 && type == 1) c->l1d = size, c->l1d_ways = ways;
        if (level == 2 && type != 2) c->l2 = size;
        if (type != 2 && size > c->largest) c->largest = size;
    }
}

// The older AMD leaves, where the deterministic ones read as zeros (as in
// some virtual machines): 0x80000005 ECX[31:24] the L1 data cache in KiB
// and ECX[23:16] its ways (0xFF fully associative), 0x80000006 ECX[31:16]
// the L2 in KiB and EDX[31:18] the L3 in 512 KiB.
void FromAmdLegacyLeaves(CacheSizes *c) {
    const unsigned max = __get_cpuid_max(0x80000000u, nullptr);
    unsigned a, b, cx, d;
    if (max >= 0x80000005u && c->l1d <= 0) {
        __cpuid(0x80000005u, a, b, cx, d);
        c->l1d = int64_t(cx >> 24) * 1024;
        c->l1d_ways = int64_t(cx >> 16 & 0xFFu);
    }
    if (max >= 0x80000006u && (c->largest <= 0 || c->l2 <= 0)) {
        __cpuid(0x80000006u, a, b, cx, d);
        const int64_t l2 = int64_t(cx >> 16) * 1024, l3 = int64_t(d >> 18) * 512 * 1024;
        if (c->largest <= 0) c->largest = l3 > l2 ? l3 : l2;
        if (c->l2 <= 0) c->l2 = l2;
    }
}
#endif

#if defined(_WIN32)
// The system's cache descriptors: one record per cache and processor group.
void FromWindows(CacheSizes *c) {
    DWORD bytes = 0;
    GetLogicalProcessorInformation(nullptr, &bytes);
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || bytes == 0) return;
    std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> info(bytes / sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION));
    if (!GetLogicalProcessorInformation(info.data(), &bytes)) return;
    for (const auto &r : info) {
        if (r.Relationship != RelationCache) continue;
        const CACHE_DESCRIPTOR &cd = r.Cache;
        const int64_t size = int64_t(cd.Size);
        if (cd.Level == 1 && cd.Type != CacheInstruction && (cd.Type == CacheData || c->l1d <= 0))
            c->l1d = size, c->l1d_ways = cd.Associativity;
        if (cd.Level == 2 && cd.Type != CacheInstruction) c->l2 = size;
        if (cd.Type != CacheInstruction && size > c->largest) c->largest = size;
    }
}
#endif

CacheSizes Detect() {
    CacheSizes c;
#if defined(__i386__) || defined(__x86_64__)
    unsigned a, b, cx, d;
    if (__get_cpuid(0, &a, &b, &cx, &d)) {
        const bool amd = b == 0x68747541u;  // "Auth"
        FromCpuidLeaf(amd ? 0x8000001Du : 4u, &c);
        if (!c.l1d && !amd) FromCpuidLeaf(0x8000001Du, &c);
        if (amd) FromAmdLegacyLeaves(&c);
    }
#endif
#if defined(__unix__) && defined(_SC_LEVEL1_DCACHE_SIZE)
    if (c.l1d <= 0) c.l1d = sysconf(_SC_LEVEL1_DCACHE_SIZE);
    if (c.l1d_ways <= 0) c.l1d_ways = sysconf(_SC_LEVEL1_DCACHE_ASSOC);
    if (c.l2 <= 0) c.l2 = sysconf(_SC_LEVEL2_CACHE_SIZE);
    if (c.largest <= 0) {
        const int names[] = {_SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE};
        for (int name : names) {
            long v = sysconf(name);
            if (v > c.largest) c.largest = v;
        }
    }
#endif
#if defined(_WIN32)
    if (c.l1d <= 0 || c.l2 <= 0 || c.largest <= 0 || c.l1d_ways <= 0) {
        CacheSizes os;
        FromWindows(&os);
        if (c.l1d <= 0) c.l1d = os.l1d;
        if (c.l1d_ways <= 0) c.l1d_ways = os.l1d_ways;
        if (c.l2 <= 0) c.l2 = os.l2;
        if (c.largest <= 0) c.largest = os.largest;
    }
#endif
    if (c.l1d < 0) c.l1d = 0;
    // 0xFF: fully associative, as many ways as lines.
    if (c.l1d_ways == 0xFF && c.l1d > 0) c.l1d_ways = c.l1d / 64;
    if (c.l1d_ways < 0) c.l1d_ways = 0;
    if (c.l2 < 0) c.l2 = 0;
    if (c.largest < c.l1d) c.largest = c.l1d;
    return c;
}

std::atomic<int64_t> g_l1d{-1};
std::atomic<int64_t> g_l2{-1};
std::atomic<int64_t> g_largest{-1};
std::atomic<int64_t> g_l1d_ways{-1};

// The detected value of one slot, detecting all on the first call.
int64_t Detected(std::atomic<int64_t> &slot) {
    int64_t v = slot.load(std::memory_order_acquire);
    if (v >= 0) return v;
    ServLock();
    if (g_l1d.load(std::memory_order_relaxed) < 0) {
        CacheSizes c = Detect();
        g_largest.store(c.largest, std::memory_order_relaxed);
        g_l2.store(c.l2, std::memory_order_relaxed);
        g_l1d_ways.store(c.l1d_ways, std::memory_order_relaxed);
        g_l1d.store(c.l1d, std::memory_order_release);
    }
    ServUnlock();
    return slot.load(std::memory_order_acquire);
}

}  // namespace

int64_t DftiCacheSize(int level) { return Detected(level == 1 ? g_l1d : level == 2 ? g_l2 : g_largest); }

int64_t DftiFirstLevelWays() { return Detected(g_l1d_ways); }

}  // namespace orb::dft
