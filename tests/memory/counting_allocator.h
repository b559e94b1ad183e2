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
        return {mallocs - o.mallocs, failures - o.failures, callocs - o.callocs,
                reallocs - o.reallocs, frees - o.frees};
    }
};

class CountingAllocator {
public:
    // Null when the library is not loaded in this process.
    static void *Handle() {
#if defined(_WIN32)
        static void *handle = reinterpret_cast<void *>(GetModuleHandleA("liborbmalloc.dll"));
#else
        static void *handle = dlopen("liborbmalloc.so", RTLD_NOW | RTLD_NOLOAD);
#endif
        return handle;
    }
    static bool Loaded() { return Symbol("orbmalloc_read_counts") != nullptr; }

    static AllocatorCounts Read() {
        AllocatorCounts c;
        if (auto fn = reinterpret_cast<void (*)(long *)>(Symbol("orbmalloc_read_counts"))) {
            long v[5];
            fn(v);
            c = {v[0], v[1], v[2], v[3], v[4]};
        }
        return c;
    }

    static void FailNext(long n) {
        if (auto fn = reinterpret_cast<void (*)(long)>(Symbol("orbmalloc_fail_next"))) fn(n);
    }

    // The function pointer held by one of the four exported variables.
    static void *VariableValue(const char *name) {
        void *variable = Symbol(name);
        return variable ? *static_cast<void **>(variable) : nullptr;
    }

private:
    static void *Symbol(const char *name) {
        void *h = Handle();
#if defined(_WIN32)
        return h ? reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(h), name)) : nullptr;
#else
        return h ? dlsym(h, name) : nullptr;
#endif
    }
};

}  // namespace orb::test

#endif
