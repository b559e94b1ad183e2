/* Thread-count control and processor topology: the internal setters and
 * queries beside ServDomainThreads (declared in serv.h). Nothing here is
 * exported from the shared library. */
#ifndef ORB_SERVICE_THREADS_H
#define ORB_SERVICE_THREADS_H

#include <stdint.h>

#include "service/serv.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The dynamic switch: 1 lets the library use fewer threads than asked.
 * The getter reads the environment first if nothing has set the switch;
 * the setter stores 1 for any nonzero argument, else 0, and a value set
 * before the first reading wins over "ORB_DYNAMIC". */
int32_t ServGetDynamic(void);
void ServSetDynamic(int32_t on);

/* Per-thread count for the calling thread: a positive value overrides every
 * domain for this thread; 0 (or any value below 1) clears it. */
void ServSetThreadLocalThreads(int32_t n);
int32_t ServGetThreadLocalThreads(void);

/* Process-wide value of a domain (0 all, 1 BLAS, 2 FFT, 3 VML, 4 PARDISO).
 * A positive n sets it, anything below 1 clears it to "not set" (-1). A
 * value set before the environment is read is kept: the environment only
 * fills domains still unset. Returns 0, or -1 for an unknown domain. */
int32_t ServSetDomainValue(int32_t domain, int32_t n);
/* The stored value of a domain after the environment has been read: a
 * positive count, or -1 when not set (also for an unknown domain). */
int32_t ServGetDomainValue(int32_t domain);

/* Positive value of "OMP_NUM_THREADS", or -1 when unset or not positive. */
int32_t ServOmpNumThreads(void);

/* Processor topology, detected once (CPUID topology leaves and the OS's
 * processor and affinity queries; safe defaults where a query fails):
 * processor packages, cores per package and hardware threads per core
 * minus one (0 without simultaneous multithreading). Every count >= 1
 * except the last, which is >= 0. Null pointers are skipped. */
void ServTopologyCounts(int32_t *packages, int32_t *cores_per_package,
                        int32_t *threads_per_core_minus_one);

/* Logical processors this process may run on (>= 1). */
int32_t ServProcessorCount(void);

#ifdef __cplusplus
}

#include <atomic>

namespace orb {

/* ServGetDynamic with its fast path inline (the vector-math entries ask on
 * every call of a threadable size); the first call reads the environment. */
extern std::atomic<int32_t> g_need_read;
extern std::atomic<int32_t> g_dynamic ORB_HIDDEN;
inline int32_t Dynamic() {
    if (g_need_read.load(std::memory_order_acquire)) [[unlikely]]
        return ServGetDynamic();
    return g_dynamic.load(std::memory_order_relaxed);
}

/* Pure parsers of the thread-count variables, for the tests and fuzzers. */
constexpr int kThreadDomains = 5;

/* Digit rule: all decimal digits -> atoi of the text, any other character
 * -> 1 (so "4x" gives 1); an empty text gives 1. */
int32_t ParseThreadCountText(const char *text, int32_t length);

/* "ORB_DOMAIN_NUM_THREADS": fills values[d] for domains still at -1 (first
 * value wins; values below 1 ignored). */
void ParseDomainThreadList(const char *text, int32_t values[kThreadDomains]);

/* "ORB_DYNAMIC" text (null when unset) -> 0 or 1. */
int32_t ParseDynamicText(const char *text);

/* The processor-topology words behind the dynamic rule. */
struct ThreadTopology {
    int32_t processors = 1;       /* P: logical processors, an upper bound */
    int32_t hybrid_switch = -1;   /* H: -1 unknown */
    int32_t divisor = -1;         /* T: hardware threads per core, -1 unknown */
    int32_t flag = 0;             /* F: positive when cores share threads */
    int32_t packages = 1;
    int32_t cores_per_package = 1;
    int32_t threads_per_core = 1;
};

/* Counts from raw CPUID answers and OS counts (no hardware access), so
 * that every fallback can be exercised. */
struct TopologyInputs {
    int32_t online_processors = 0;   /* whole machine; <= 0 when unknown */
    int32_t affinity_processors = 0; /* this process's affinity; <= 0 unknown */
    /* CPUID leaf 0xB (or 0x1F): logical processors at the SMT level and at
     * the core level; 0 when the leaf is absent. */
    int32_t leafb_smt = 0;
    int32_t leafb_core = 0;
    /* AMD leaf 0x8000001E EBX[15:8] + 1 (0 when absent) and 0x80000008
     * ECX[7:0] + 1 (0 when absent). */
    int32_t amd_threads_per_core = 0;
    int32_t amd_threads_per_package = 0;
    /* Leaf 1: HTT flag and EBX[23:16]. */
    int32_t leaf1_htt = 0;
    int32_t leaf1_logical = 0;
    /* The OS's own topology (Linux sysfs): distinct packages and distinct
     * cores over the whole machine; 0 when unknown. Preferred to CPUID,
     * which virtual machines often fill with placeholders. */
    int32_t os_packages = 0;
    int32_t os_cores = 0;
};
ThreadTopology DecideTopology(const TopologyInputs &in);

/* Reads this machine's topology now. */
ThreadTopology DetectTopology();

/* The dynamic rule's last step: n the count so far, explicit whether a
 * domain value gave it, omp_set whether "OMP_NUM_THREADS" gave a value. */
int32_t ApplyDynamicRule(int32_t n, bool explicit_count, bool omp_set,
                         const ThreadTopology &topo);

/* Test hook: forget everything read from the environment and detected so
 * that the next query reads it again. Not safe while other threads query. */
void ResetThreadControlForTests();

}  /* namespace orb */
#endif

#endif
