// Topology from the processors' x2APIC identifiers: the pure count, the
// CPUID reads, and the Windows walk over the affinity mask.
#include "service/topology_apic.h"

#include <cpuid.h>

#include <algorithm>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace orb {

ApicShifts ReadApicShifts() {
    ApicShifts s;
    unsigned a, b, c, d;
    if (!__get_cpuid(0, &a, &b, &c, &d) || a < 0xB) return s;
    for (unsigned sub = 0; sub < 8; ++sub) {
        __cpuid_count(0xB, sub, a, b, c, d);
        const unsigned type = (c >> 8) & 0xFF;
        if (type == 0) break;
        if (type == 1) s.smt_shift = int32_t(a & 31u);
        if (type == 2) s.core_shift = int32_t(a & 31u);
    }
    if (s.smt_shift < 0 && s.core_shift >= 0) s.smt_shift = 0;  // no SMT level
    return s;
}

uint32_t ReadApicId() {
    unsigned a, b, c, d;
    __cpuid_count(0xB, 0, a, b, c, d);
    return d;
}

void CountApicTopology(const uint32_t *ids, int32_t n, ApicShifts shifts,
                       int32_t *packages, int32_t *cores) {
    *packages = 0;
    *cores = 0;
    if (n <= 0 || shifts.smt_shift < 0 || shifts.core_shift < shifts.smt_shift ||
        shifts.core_shift > 31)
        return;
    std::vector<uint32_t> p(ids, ids + n), k(ids, ids + n);
    for (auto &v : p) v >>= shifts.core_shift;
    for (auto &v : k) v >>= shifts.smt_shift;
    for (auto *v : {&p, &k}) {
        std::sort(v->begin(), v->end());
        v->erase(std::unique(v->begin(), v->end()), v->end());
    }
    // Two processors with one identifier: the answers are placeholders.
    std::vector<uint32_t> all(ids, ids + n);
    std::sort(all.begin(), all.end());
    if (std::adjacent_find(all.begin(), all.end()) != all.end()) return;
    *packages = int32_t(p.size());
    *cores = int32_t(k.size());
}

bool WalkProcessorTopology(int32_t *packages, int32_t *cores) {
    *packages = 0;
    *cores = 0;
#if defined(_WIN32)
    const ApicShifts shifts = ReadApicShifts();
    if (shifts.core_shift < 0) return false;
    DWORD_PTR process_mask = 0, system_mask = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &process_mask, &system_mask)) return false;
    if (process_mask == 0 || process_mask != system_mask) return false;
    HANDLE self = GetCurrentThread();
    std::vector<uint32_t> ids;
    DWORD_PTR previous = 0;
    bool ok = true;
    for (DWORD_PTR rest = process_mask; rest && ok; rest &= rest - 1) {
        const DWORD_PTR one = rest & (~rest + 1);
        const DWORD_PTR before = SetThreadAffinityMask(self, one);
        if (before == 0) ok = false;
        else {
            if (ids.empty()) previous = before;
            Sleep(0);  // give up the processor so that the scheduler moves us
            ids.push_back(ReadApicId());
        }
    }
    if (!ids.empty()) SetThreadAffinityMask(self, previous);
    if (!ok) return false;
    CountApicTopology(ids.data(), int32_t(ids.size()), shifts, packages, cores);
    return *cores > 0;
#else
    return false;
#endif
}

}  // namespace orb
