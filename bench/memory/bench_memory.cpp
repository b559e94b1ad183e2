// Cost of one allocate/release pair of one size, repeated in one thread:
// the pooled ServAlloc/ServFree against malloc/free, posix_memalign/free
// (the aligned peer) and the manager's direct path, all in the same run.
// Prints ns per pair for reference and the ratios that matter.
// posix_memalign is the aligned peer; glibc serves it far off its fast path.
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "service/memory.h"
#include "service/serv.h"

namespace {

constexpr int kPairs = 50000;
constexpr int kRepeats = 15;

// Keeps the compiler from pairing up and removing allocation and release.
inline void Escape(void *p) { asm volatile("" : : "r"(p) : "memory"); }

struct Pooled {
    static void *Get(uint32_t n) { return ServAlloc(n, 64); }
    static void Put(void *p) { ServFree(p); }
};
struct Direct {
    static void *Get(uint32_t n) { return orb::mem::DirectAlloc(n, 64); }
    static void Put(void *p) { orb::mem::DirectFree(p); }
};
struct CMalloc {
    static void *Get(uint32_t n) { return malloc(n); }
    static void Put(void *p) { free(p); }
};
struct CMemalign {
    static void *Get(uint32_t n) {
        void *p = nullptr;
        return posix_memalign(&p, 64, n) == 0 ? p : nullptr;
    }
    static void Put(void *p) { free(p); }
};

// ns per pair of one timed run.
template <class Allocator>
double TimedRun(uint32_t size) {
    auto t0 = std::chrono::steady_clock::now();
    for (int i = 0; i < kPairs; ++i) {
        void *p = Allocator::Get(size);
        Escape(p);
        Allocator::Put(p);
    }
    auto t1 = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::nano>(t1 - t0).count() / kPairs;
}

}  // namespace

int main() {
    std::printf("memory: allocate/release pair of one size, one thread, %d pairs, best of %d "
                "interleaved runs\n",
                kPairs, kRepeats);
    std::printf("%9s %9s %9s %9s %9s   %13s %14s %13s\n", "size", "pooled", "malloc", "memalign",
                "direct", "pooled/malloc", "pooled/memalign", "pooled/direct");
    for (uint32_t size : {64u, 1024u, 16384u, 262144u, 4194304u}) {
        // The contenders take turns, so a busy machine slows them alike.
        double pooled = 1e30, crt = 1e30, aligned = 1e30, direct = 1e30;
        for (int r = 0; r < kRepeats; ++r) {
            pooled = std::min(pooled, TimedRun<Pooled>(size));
            crt = std::min(crt, TimedRun<CMalloc>(size));
            aligned = std::min(aligned, TimedRun<CMemalign>(size));
            direct = std::min(direct, TimedRun<Direct>(size));
        }
        std::printf("%9u %8.1fns %8.1fns %8.1fns %8.1fns   %13.2f %14.2f %13.2f\n", size, pooled, crt,
                    aligned, direct, pooled / crt, pooled / aligned, pooled / direct);
    }
    return 0;
}
