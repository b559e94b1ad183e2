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

static atomic_long g_mallocs, g_failures, g_callocs, g_reallocs, g_frees, g_fail_next;

static int TakeFailure(void) {
    long n = atomic_load(&g_fail_next);
    while (n > 0)
        if (atomic_compare_exchange_weak(&g_fail_next, &n, n - 1)) return 1;
    return 0;
}

static void *CountingMalloc(size_t n) {
    atomic_fetch_add(&g_mallocs, 1);
    if (TakeFailure()) {
        atomic_fetch_add(&g_failures, 1);
        return NULL;
    }
    return malloc(n);
}
static void *CountingCalloc(size_t n, size_t s) {
    atomic_fetch_add(&g_callocs, 1);
    return calloc(n, s);
}
static void *CountingRealloc(void *p, size_t n) {
    atomic_fetch_add(&g_reallocs, 1);
    return realloc(p, n);
}
#ifndef ORBMALLOC_WITHOUT_FREE
static void CountingFree(void *p) {
    atomic_fetch_add(&g_frees, 1);
    free(p);
}
#endif

EXPORT void *(*orb_malloc_dll)(size_t) = CountingMalloc;
EXPORT void *(*orb_calloc_dll)(size_t, size_t) = CountingCalloc;
EXPORT void *(*orb_realloc_dll)(void *, size_t) = CountingRealloc;
#ifdef ORBMALLOC_WITHOUT_FREE
EXPORT void (*orb_free_dll)(void *) = NULL;
#else
EXPORT void (*orb_free_dll)(void *) = CountingFree;
#endif

/* out: mallocs, failed mallocs, callocs, reallocs, frees. */
EXPORT void orbmalloc_read_counts(long out[5]) {
    out[0] = atomic_load(&g_mallocs);
    out[1] = atomic_load(&g_failures);
    out[2] = atomic_load(&g_callocs);
    out[3] = atomic_load(&g_reallocs);
    out[4] = atomic_load(&g_frees);
}

EXPORT void orbmalloc_fail_next(long n) { atomic_store(&g_fail_next, n); }
