// The table of underlying memory primitives, filled once at load: the four
// variables of the replacement allocator library when it provides them all,
// else the C runtime's functions.
#include <atomic>
#include <cstdlib>

#include "service/memory.h"
#include "service/platform.h"
#include "service/serv.h"

namespace orb::mem {
namespace {

Primitives g_storage;
std::atomic<const Primitives *> g_table{nullptr};

// The value of an exported variable that holds a function pointer, or null.
template <class Fn>
Fn ReadVariable(void *lib, const char *name) {
    void *variable = plat::LibSymbol(lib, name);
    return variable ? *static_cast<Fn *>(variable) : nullptr;
}

Primitives Discover() {
    Primitives table{std::malloc, std::calloc, std::realloc, std::free};
    void *lib = plat::LibOpen(plat::MallocLibName());
    if (!lib) return table;
    Primitives found{
        ReadVariable<decltype(Primitives::allocate)>(lib, "orb_malloc_dll"),
        ReadVariable<decltype(Primitives::allocate_zeroed)>(lib, "orb_calloc_dll"),
        ReadVariable<decltype(Primitives::reallocate)>(lib, "orb_realloc_dll"),
        ReadVariable<decltype(Primitives::release)>(lib, "orb_free_dll")};
    if (found.allocate && found.allocate_zeroed && found.reallocate && found.release)
        table = found;
    // The pointers stay usable only while something else keeps the library
    // loaded (the application links it, or it is marked not unloadable).
    plat::LibClose(lib);
    return table;
}

const Primitives &Fill() {
    // Discovery runs outside the lock: opening a library may take a while
    // and racing fills compute the same table.
    Primitives table = Discover();
    ServLock();
    if (!g_table.load(std::memory_order_relaxed)) {
        g_storage = table;
        g_table.store(&g_storage, std::memory_order_release);
    }
    ServUnlock();
    return *g_table.load(std::memory_order_acquire);
}

}  // namespace

// Normally filled by the load-time constructor below; the check covers a
// request from another constructor that ran first.
const Primitives &GetPrimitives() {
    const Primitives *table = g_table.load(std::memory_order_acquire);
    return table ? *table : Fill();
}

}  // namespace orb::mem

#if defined(__GNUC__) || defined(__clang__)
__attribute__((constructor(101))) static void OrbMemoryPrimitivesAtLoad() {
    orb::mem::GetPrimitives();
}
#else
static const bool g_primitives_at_load = (orb::mem::GetPrimitives(), true);
#endif
