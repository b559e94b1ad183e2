// Platform layer: the operating-system services the library uses, with a
// Windows implementation (KERNEL32) and a POSIX counterpart. Service code
// calls only these.
#ifndef ORB_SERVICE_PLATFORM_H
#define ORB_SERVICE_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

// Thread-local variables of the library that are read on every call take
// the initial-exec model on ELF: one load off the thread pointer instead of
// a call to the dynamic linker's lookup (a few bytes of the static TLS
// surplus, which a loaded library may use).
#if defined(__ELF__)
#define ORB_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define ORB_INITIAL_EXEC
#endif

// Variables the vector-math entries read on every call, which no other
// module may replace: hidden on ELF, so position-independent code loads
// them directly instead of through the global offset table.
#if defined(__ELF__)
#define ORB_HIDDEN __attribute__((visibility("hidden")))
#else
#define ORB_HIDDEN
#endif

namespace orb::plat {

// Environment, with the semantics of GetEnvironmentVariableA: 0 when the
// variable is absent or empty; its length when it fits in buf (cap bytes
// including the terminator, copied and terminated); otherwise the size
// needed including the terminator, with buf left untouched.
uint32_t GetEnv(const char *name, char *buf, uint32_t cap);

// Thread-local slots. Alloc returns false when no slot can be taken.
// The destructor (may be null) runs at thread exit for a non-null value on
// POSIX; on Windows the DLL entry point does the equivalent.
using TlsKey = uintptr_t;
bool TlsAlloc(TlsKey *key, void (*destructor)(void *));
void *TlsGet(TlsKey key);
bool TlsSet(TlsKey key, void *value);
void TlsFree(TlsKey key);

// Private heaps: zeroed blocks.
using Heap = void *;
Heap HeapCreate();
void *HeapAllocZeroed(Heap heap, size_t size);
void HeapFree(Heap heap, void *p);
void HeapDestroy(Heap heap);

// 1 when the code at fn lies in the main executable's image, 0 when it lies
// in a separately loaded library, -1 when the query fails.
int CodeInMainImage(const void *fn);

uint32_t CurrentThreadId();

// Flushes all output streams and ends the process at once.
[[noreturn]] void Terminate(int exit_code);

// Dynamic libraries.
void *LibOpen(const char *name);
void *LibSymbol(void *lib, const char *name);
void LibClose(void *lib);

// Companion library names on this platform.
const char *MallocLibName();   // "liborbmalloc.dll" / "liborbmalloc.so"
const char *MessageLibName();  // "orb_msg.dll" / "liborb_msg.so"
unsigned long ThreadLocale();  // Windows LCID; 1033 on POSIX

// Localised text of message id (bit 31 set) in language lang from a loaded
// message library; false when it has none. *text is released with
// MessageTextFree.
bool MessageText(void *lib, uint32_t id, uint32_t lang, char **text);
void MessageTextFree(char *text);

// Logical processors the process may run on (at least 1).
int ProcessorsAvailable();

}  // namespace orb::plat

#endif
