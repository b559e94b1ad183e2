// Access from the tests to the counting replacement allocator that the
// library picked up at load: the library is looked up among the objects
// already loaded, never loaded here.
#ifndef ORB_TESTS_MEMORY_COUNTING_ALLOCATOR_H
#define ORB_TESTS_MEMORY_COUNTING_ALLOCATOR_H

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace orb::test {

struct AllocatorCounts {
    long mallocs = 0, failures = 0, callocs = 0, reallocs = 0, frees = 0;
    // Blocks obtained from the primitive and not yet released.
    long Live() const { return mallocs - failures - frees; }
    AllocatorCounts operator-(const AllocatorCounts &o) const {
        return {mallocs - o.mallocs, failures - o.failures, callocs - o.callocs, reallocs - o.reallocs,
                frees - o.frees};
    }
};

struct CountingAllocator {
    // Null when the library is not loaded in this process.
    static void *Symbol(const char *name) {
#if defined(_WIN32)
        static HMODULE h = GetModuleHandleA("liborbmalloc.dll");
        return h ? reinterpret_cast<void *>(GetProcAddress(h, name)) : nullptr;
#else
        static void *h = dlopen("liborbmalloc.so", RTLD_NOW | RTLD_NOLOAD);
        return h ? dlsym(h, name) : nullptr;
#endif
    }
    static bool Loaded() { return Symbol("orbmalloc_read_counts") != nullptr; }

    static AllocatorCounts Read() {
        long v[5] = {};
        if (auto fn = reinterpret_cast<void (*)(long *)>(Symbol("orbmalloc_read_counts"))) fn(v);
        return {v[0], v[1], v[2], v[3], v[4]};
    }

    static void FailNext(long n) {
        if (auto fn = reinterpret_cast<void (*)(long)>(Symbol("orbmalloc_fail_next"))) fn(n);
    }

    // The function pointer held by one of the four exported variables.
    static void *VariableValue(const char *name) {
        void *variable = Symbol(name);
        return variable ? *static_cast<void **>(variable) : nullptr;
    }
};

}  // namespace orb::test

#endif
