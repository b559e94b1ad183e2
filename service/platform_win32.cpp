// Windows side of the platform layer: KERNEL32 environment, TLS slots,
// private heaps, module queries, process end, companion DLLs, message
// resources and the process affinity mask.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "service/platform.h"

namespace orb::plat {

uint32_t GetEnv(const char *name, char *buf, uint32_t cap) {
    // GetEnvironmentVariableA already has the contract of this call: the
    // length copied, or the size needed with the buffer untouched.
    DWORD got = ::GetEnvironmentVariableA(name, buf, cap);
    return uint32_t(got);
}

// Slot destructors. Windows has none for TlsAlloc slots, so the image's
// TLS callback (run at every thread exit, for the DLL and for a program
// linked statically alike) runs those registered here. The DLL entry point
// also gives the service layer's record back; whichever runs first clears
// the slot, so the other finds it empty.
namespace {
constexpr int kMaxDestructors = 16;
struct SlotDestructor {
    DWORD key;
    void (*fn)(void *);
};
SlotDestructor g_destructors[kMaxDestructors];
LONG g_destructor_count = 0;
}  // namespace

bool TlsAlloc(TlsKey *key, void (*destructor)(void *)) {
    DWORD k = ::TlsAlloc();
    if (k == TLS_OUT_OF_INDEXES) return false;
    if (destructor) {
        LONG i = ::InterlockedIncrement(&g_destructor_count) - 1;
        if (i >= kMaxDestructors) {
            ::InterlockedDecrement(&g_destructor_count);
            ::TlsFree(k);
            return false;
        }
        g_destructors[i].key = k;
        g_destructors[i].fn = destructor;
    }
    *key = TlsKey(k);
    return true;
}
void *TlsGet(TlsKey key) { return ::TlsGetValue(DWORD(key)); }
bool TlsSet(TlsKey key, void *value) { return ::TlsSetValue(DWORD(key), value) != 0; }
void TlsFree(TlsKey key) {
    for (LONG i = 0; i < g_destructor_count && i < kMaxDestructors; ++i)
        if (g_destructors[i].key == DWORD(key)) g_destructors[i].fn = nullptr;
    ::TlsFree(DWORD(key));
}

namespace {
void NTAPI RunSlotDestructors(PVOID, DWORD reason, PVOID) {
    if (reason != DLL_THREAD_DETACH) return;
    for (LONG i = 0; i < g_destructor_count && i < kMaxDestructors; ++i) {
        void (*fn)(void *) = g_destructors[i].fn;
        if (!fn) continue;
        void *value = ::TlsGetValue(g_destructors[i].key);
        if (!value) continue;
        ::TlsSetValue(g_destructors[i].key, nullptr);
        fn(value);
    }
}
}  // namespace

// Registered in the image's TLS directory (the C runtime's tlssup walks
// the .CRT$XL* entries).
extern "C" __attribute__((section(".CRT$XLF"), used))
const PIMAGE_TLS_CALLBACK orb_tls_slot_destructors = RunSlotDestructors;

// Initial size 24: one thread record; the heap grows as threads arrive.
Heap HeapCreate() { return ::HeapCreate(0, 24, 0); }
void *HeapAllocZeroed(Heap heap, size_t size) {
    return ::HeapAlloc(static_cast<HANDLE>(heap), HEAP_ZERO_MEMORY, size);
}
void HeapFree(Heap heap, void *p) {
    if (p) ::HeapFree(static_cast<HANDLE>(heap), 0, p);
}
void HeapDestroy(Heap heap) {
    if (heap) ::HeapDestroy(static_cast<HANDLE>(heap));
}

int CodeInMainImage(const void *fn) {
    MEMORY_BASIC_INFORMATION info;
    if (::VirtualQuery(fn, &info, sizeof info) == 0) return -1;
    return info.AllocationBase == static_cast<void *>(::GetModuleHandleA(nullptr)) ? 1 : 0;
}

uint32_t CurrentThreadId() { return uint32_t(::GetCurrentThreadId()); }

void Terminate(int exit_code) {
    std::fflush(nullptr);
    ::TerminateProcess(::GetCurrentProcess(), UINT(exit_code));
    // TerminateProcess on the current process does not return; keep the
    // compiler's noreturn contract if it ever does.
    std::_Exit(exit_code);
}

void *LibOpen(const char *name) { return reinterpret_cast<void *>(::LoadLibraryA(name)); }
void *LibSymbol(void *lib, const char *name) {
    return reinterpret_cast<void *>(::GetProcAddress(static_cast<HMODULE>(lib), name));
}
void LibClose(void *lib) {
    if (lib) ::FreeLibrary(static_cast<HMODULE>(lib));
}

const char *MallocLibName() { return "liborbmalloc.dll"; }
const char *MessageLibName() { return "orb_msg.dll"; }
unsigned long ThreadLocale() { return static_cast<unsigned long>(::GetThreadLocale()); }

bool MessageText(void *lib, uint32_t id, uint32_t lang, char **text) {
    // The texts are printf formats: inserts must stay as written.
    char *buf = nullptr;
    DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ALLOCATE_BUFFER |
                                   FORMAT_MESSAGE_IGNORE_INSERTS,
                               lib, DWORD(id), DWORD(lang), reinterpret_cast<LPSTR>(&buf), 0,
                               nullptr);
    if (n == 0 || !buf) return false;
    *text = buf;
    return true;
}
void MessageTextFree(char *text) {
    if (text) ::LocalFree(text);
}

int ProcessorsAvailable() {
    DWORD_PTR process_mask = 0, system_mask = 0;
    if (::GetProcessAffinityMask(::GetCurrentProcess(), &process_mask, &system_mask)) {
        int n = 0;
        for (DWORD_PTR m = process_mask; m; m &= m - 1) ++n;
        if (n > 0) return n;
    }
    SYSTEM_INFO si;
    ::GetSystemInfo(&si);
    return si.dwNumberOfProcessors > 0 ? int(si.dwNumberOfProcessors) : 1;
}

}  // namespace orb::plat
