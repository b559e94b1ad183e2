// Plan and scratch memory of the transform engine, all from ServAlloc.
#ifndef ORB_DFT_ENGINE_MEMORY_H
#define ORB_DFT_ENGINE_MEMORY_H

#include <stdint.h>

#include <new>

#include "service/serv.h"

namespace orb::dft {

constexpr int32_t kEngineAlign = 64;

// Null when the size does not fit the allocator or memory is exhausted.
inline void *MemRaw(int64_t bytes) {
    if (bytes <= 0) bytes = 1;
    if (bytes > int64_t(0xFFFFFFFFu) - kEngineAlign) return nullptr;
    return ServAlloc(uint32_t(bytes), kEngineAlign);
}

template <class X>
X *MemArray(int64_t count) {
    if (count < 0 || count > (int64_t(1) << 40) / int64_t(sizeof(X))) return nullptr;
    return static_cast<X *>(MemRaw(count * int64_t(sizeof(X))));
}

inline void MemFree(void *p) {
    if (p) ServFree(p);
}

template <class X>
X *MemNew() {
    void *p = MemRaw(sizeof(X));
    return p ? new (p) X() : nullptr;
}

template <class X>
void MemDelete(X *x) {
    if (!x) return;
    x->~X();
    ServFree(x);
}

}  // namespace orb::dft

#endif
