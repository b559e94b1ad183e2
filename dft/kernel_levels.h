// The instruction-set levels the transform kernels are built for, and the
// choice of a built level for a CPU level. A build may leave the AVX-only
// or AVX2 level out (ORB_KERNEL_LEVELS); SSE2 is always there.
#ifndef ORB_DFT_KERNEL_LEVELS_H
#define ORB_DFT_KERNEL_LEVELS_H

#include "service/built_levels.h"

#if ORB_BUILT_avx
#define ORB_DFT_IF_AVX(...) __VA_ARGS__
#else
#define ORB_DFT_IF_AVX(...)
#endif
#if ORB_BUILT_avx2
#define ORB_DFT_IF_AVX2(...) __VA_ARGS__
#else
#define ORB_DFT_IF_AVX2(...)
#endif

// X(level) for every level built.
#define ORB_DFT_KERNEL_LEVELS(X) X(sse2) ORB_DFT_IF_AVX(X(avx)) ORB_DFT_IF_AVX2(X(avx2))

// The body of a level picker: returns <prefix>avx2 for CpuLevel 7 and up,
// <prefix>avx from 6, <prefix>sse2 below (SSE2-class CPUs, levels 2-5),
// each only where built; a CPU above the highest built level takes it.
#define ORB_DFT_PICK_LEVEL(level, prefix, suffix)                 \
    (void)(level); /* unread when only SSE2 is built */           \
    ORB_DFT_IF_AVX2(if ((level) >= 7) return prefix##avx2 suffix;) \
    ORB_DFT_IF_AVX(if ((level) >= 6) return prefix##avx suffix;)   \
    return prefix##sse2 suffix

#endif
