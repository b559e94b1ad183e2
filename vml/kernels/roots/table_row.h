/* Builds a 32-entry kernel row of the dispatch tables from the level
 * namespaces: extended level 0 -> the plain loop (k_ref), 1-2 -> generic,
 * 3-6 -> SSE2, 7 -> SSE4.2, 8 -> AVX, 9 -> AVX2 set; one block per accuracy
 * code, each naming the kernel flavour of that code. And the cost row from
 * ten measured values per block, with the fixed values at levels 1 and 9. */
#ifndef ORB_VML_KERNELS_TABLE_ROW_H
#define ORB_VML_KERNELS_TABLE_ROW_H

#include "vml/kernels/level_namespaces.h"

#define ORB_VML_ROW_BLOCK(fn)                                                  \
    k_ref::fn, k_generic::fn, k_generic::fn, k_sse2::fn, k_sse2::fn,           \
        k_sse2::fn, k_sse2::fn, VML_NS_SSE42::fn, VML_NS_AVX::fn, VML_NS_AVX2::fn

#define ORB_VML_KERNEL_ROW(code1, code2, code3)                                \
    {ORB_VML_ROW_BLOCK(code1), ORB_VML_ROW_BLOCK(code2),                       \
     ORB_VML_ROW_BLOCK(code3), nullptr, nullptr}

/* c0, c2..c8 are the measured costs of levels 0 and 2..8 (the same in the
 * three blocks when the kernels are). */
#define ORB_VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, c9)                 \
    c0, 3.0f, c2, c3, c4, c5, c6, c7, c8, c9
#define ORB_VML_COST_ROW(c0, c2, c3, c4, c5, c6, c7, c8)                       \
    {ORB_VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 2.0f),                 \
     ORB_VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 3.0f),                 \
     ORB_VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 1.0f), 0.0f, 0.0f}

#endif
