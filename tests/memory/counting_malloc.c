/* Replacement allocator used by the memory tests: the C runtime's functions
 * behind the four variables the library looks for, counting every call, with
 * a switch that makes the next allocations fail. Never unloaded (-z nodelete;
 * on Windows it pins itself when loaded) so that the pointers the library
 * keeps stay valid after it closes its handle.
 * Built a second time without a release function, which must make the
 * library ignore it. */
#include <stdatomic.h>
#include <stdlib.h>

#if defined(_WIN32)
#include <windows.h>
#define EXPORT __declspec(dllexport)

BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID reserved) {
    (void)reserved;
    HMODULE pinned;
    if (reason == DLL_PROCESS_ATTACH)
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           (LPCSTR)self, &pinned);
    return TRUE;
}
#else
#define EXPORT __attribute__((visibility("default")))
#endif

/* Calls counted: mallocs, failed mallocs, callocs, reallocs, frees. */
enum { kMalloc, kFailure, kCalloc, kRealloc, kFree, kCounts };
static atomic_long g_counts[kCounts], g_fail_next;

static void *CountingMalloc(size_t n) {
    atomic_fetch_add(&g_counts[kMalloc], 1);
    long left = atomic_load(&g_fail_next);
    while (left > 0)
        if (atomic_compare_exchange_weak(&g_fail_next, &left, left - 1)) {
            atomic_fetch_add(&g_counts[kFailure], 1);
            return NULL;
        }
    return malloc(n);
}
static void *CountingCalloc(size_t n, size_t s) {
    atomic_fetch_add(&g_counts[kCalloc], 1);
    return calloc(n, s);
}
static void *CountingRealloc(void *p, size_t n) {
    atomic_fetch_add(&g_counts[kRealloc], 1);
    return realloc(p, n);
}

EXPORT void *(*orb_malloc_dll)(size_t) = CountingMalloc;
EXPORT void *(*orb_calloc_dll)(size_t, size_t) = CountingCalloc;
EXPORT void *(*orb_realloc_dll)(void *, size_t) = CountingRealloc;
#ifdef ORBMALLOC_WITHOUT_FREE
EXPORT void (*orb_free_dll)(void *) = NULL;
#else
static void CountingFree(void *p) {
    atomic_fetch_add(&g_counts[kFree], 1);
    free(p);
}
EXPORT void (*orb_free_dll)(void *) = CountingFree;
#endif

EXPORT void orbmalloc_read_counts(long out[5]) {
    for (int i = 0; i < kCounts; ++i) out[i] = atomic_load(&g_counts[i]);
}

EXPORT void orbmalloc_fail_next(long n) { atomic_store(&g_fail_next, n); }
