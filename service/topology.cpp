// Processor topology: packages, cores per package, hardware threads per
// core and the logical processors this process may use, from the CPUID
// topology leaves and the operating system's processor and affinity
// queries. Every query that fails leaves a safe default.
#include <cpuid.h>

#include "service/platform.h"
#include "service/threads.h"
#include "service/topology_apic.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>

#include <cstdio>
#include <set>
#include <utility>
#endif

namespace orb {
namespace {

int32_t OnlineProcessors() {
#if defined(_WIN32)
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return int32_t(info.dwNumberOfProcessors);
#else
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? int32_t(n) : 0;
#endif
}

int32_t AffinityProcessors() {
#if defined(_WIN32)
    DWORD_PTR process_mask = 0, system_mask = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &process_mask, &system_mask)) return 0;
    int32_t n = 0;
    for (; process_mask; process_mask &= process_mask - 1) ++n;
    return n;
#else
    return int32_t(plat::ProcessorsAvailable());
#endif
}

// Linux: the package and core of every online processor from sysfs.
// Windows: the processors' own identifiers, visited one by one.
void ReadOsTopology(TopologyInputs &in) {
#if defined(_WIN32)
    WalkProcessorTopology(&in.os_packages, &in.os_cores);
#elif defined(__linux__)
    std::set<int> packages;
    std::set<std::pair<int, int>> cores;
    for (int cpu = 0; cpu < in.online_processors; ++cpu) {
        int ids[2];
        const char *names[2] = {"physical_package_id", "core_id"};
        for (int k = 0; k < 2; ++k) {
            char path[96];
            std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu%d/topology/%s", cpu, names[k]);
            FILE *f = std::fopen(path, "r");
            if (!f) return;
            int ok = std::fscanf(f, "%d", &ids[k]);
            std::fclose(f);
            if (ok != 1) return;
        }
        packages.insert(ids[0]);
        cores.insert({ids[0], ids[1]});
    }
    in.os_packages = int32_t(packages.size());
    in.os_cores = int32_t(cores.size());
#else
    (void)in;
#endif
}

void ReadCpuidTopology(TopologyInputs &in) {
    unsigned a, b, c, d;
    if (!__get_cpuid(0, &a, &b, &c, &d)) return;
    const unsigned max_leaf = a;
    if (max_leaf >= 1) {
        __cpuid(1, a, b, c, d);
        in.leaf1_htt = (d >> 28) & 1;
        in.leaf1_logical = int32_t((b >> 16) & 0xFF);
    }
    if (max_leaf >= 0xB) {
        // Walk the levels: type 1 is SMT, type 2 the core level.
        for (unsigned sub = 0; sub < 8; ++sub) {
            __cpuid_count(0xB, sub, a, b, c, d);
            unsigned type = (c >> 8) & 0xFF;
            if (type == 0) break;
            if (type == 1) in.leafb_smt = int32_t(b & 0xFFFF);
            if (type == 2) in.leafb_core = int32_t(b & 0xFFFF);
        }
    }
    unsigned max_ext = __get_cpuid_max(0x80000000u, nullptr);
    if (max_ext >= 0x80000008u) {
        __cpuid(0x80000008u, a, b, c, d);
        in.amd_threads_per_package = int32_t((c & 0xFF) + 1);
    }
    if (max_ext >= 0x8000001Eu) {
        __cpuid(0x80000001u, a, b, c, d);
        if ((c >> 22) & 1) {  // topology extensions
            __cpuid(0x8000001Eu, a, b, c, d);
            in.amd_threads_per_core = int32_t(((b >> 8) & 0xFF) + 1);
        }
    }
}

}  // namespace

ThreadTopology DecideTopology(const TopologyInputs &in) {
    ThreadTopology t;
    t.processors = in.affinity_processors > 0 ? in.affinity_processors
                   : in.online_processors > 0 ? in.online_processors
                                              : 1;
    const int32_t machine = in.online_processors > 0 ? in.online_processors : t.processors;

    if (in.os_packages > 0 && in.os_cores >= in.os_packages && machine >= in.os_cores) {
        t.packages = in.os_packages;
        t.cores_per_package = in.os_cores / in.os_packages;
        t.threads_per_core = machine / in.os_cores;
        t.divisor = t.threads_per_core;
        t.flag = 1;
        return t;
    }

    bool known = true;
    int32_t per_core = 1;
    if (in.leafb_smt > 0) per_core = in.leafb_smt;
    else if (in.amd_threads_per_core > 0) per_core = in.amd_threads_per_core;
    else known = false;

    int32_t per_package = machine;
    if (in.leafb_core > 0) per_package = in.leafb_core;
    else if (in.amd_threads_per_package > 0) per_package = in.amd_threads_per_package;
    else if (in.leaf1_htt && in.leaf1_logical > 0) per_package = in.leaf1_logical;

    // Virtual machines often report a package larger than the machine they
    // give us: never count more logical processors than the OS has.
    if (per_package > machine) per_package = machine;
    if (per_package < 1) per_package = 1;
    if (per_core > per_package) per_core = per_package;
    if (per_core < 1) per_core = 1;

    t.packages = machine / per_package > 0 ? machine / per_package : 1;
    t.cores_per_package = per_package / per_core > 0 ? per_package / per_core : 1;
    t.threads_per_core = per_core;
    t.hybrid_switch = -1;
    t.divisor = known ? per_core : -1;
    t.flag = known ? 1 : 0;
    return t;
}

ThreadTopology DetectTopology() {
    TopologyInputs in;
    in.online_processors = OnlineProcessors();
    in.affinity_processors = AffinityProcessors();
    ReadOsTopology(in);
    ReadCpuidTopology(in);
    return DecideTopology(in);
}

}  // namespace orb
