// Row builders of the 32-entry kernel and cost tables: which level
// namespace serves which extended level.
//   0 plain loop, 1-2 generic, 3-6 SSE2, 7 SSE4.2, 8 AVX, 9 AVX2 set.
#ifndef ORB_VML_TABLE_ROWS_H
#define ORB_VML_TABLE_ROWS_H

#include "vml/kernels/level_namespaces.h"
#include "vml/vml_tables.h"

#define VML_LEVEL_ROW(N)                                                    \
    k_generic::N##_plain, k_generic::N, k_generic::N, k_sse2::N, k_sse2::N, \
        k_sse2::N, k_sse2::N, VML_NS_SSE42::N, VML_NS_AVX::N, VML_NS_AVX2::N

// The same kernels in all three accuracy blocks.
#define VML_KERNEL_TABLE(N) \
    { VML_LEVEL_ROW(N), VML_LEVEL_ROW(N), VML_LEVEL_ROW(N), nullptr, nullptr }

// The kernels without their control-word frame; the plain loop has none.
#define VML_BODY_ROW(N)                                                      \
    k_generic::N##_plain, k_generic::N##_body, k_generic::N##_body,          \
        k_sse2::N##_body, k_sse2::N##_body, k_sse2::N##_body, k_sse2::N##_body, \
        VML_NS_SSE42::N##_body, VML_NS_AVX::N##_body, VML_NS_AVX2::N##_body
#define VML_BODY_TABLE(N) \
    { VML_BODY_ROW(N), VML_BODY_ROW(N), VML_BODY_ROW(N), nullptr, nullptr }

// Cost rows of levels 0, 2-8 per block; levels 1 and 9 take the fixed
// values (3.0 and 2.0 / 3.0 / 1.0).
#define VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, c9) \
    c0, 3.0f, c2, c3, c4, c5, c6, c7, c8, c9
#define VML_COST_ROW(c0, c2, c3, c4, c5, c6, c7, c8)               \
    { VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 2.0f),       \
      VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 3.0f),       \
      VML_COST_BLOCK(c0, c2, c3, c4, c5, c6, c7, c8, 1.0f), 0.0f, 0.0f }

// Cost row from measured time ratios r_L = t(level L) / t(level 9) of the
// same kernel (bench/vml, "costs" mode): each block scales its fixed
// level-9 value by the ratio; level 1 keeps its fixed value.
#define VML_COST_RATIO_BLOCK(r0, r2, r3, r4, r5, r6, r7, r8, k9)            \
    (r0) * (k9), 3.0f, (r2) * (k9), (r3) * (k9), (r4) * (k9), (r5) * (k9), \
        (r6) * (k9), (r7) * (k9), (r8) * (k9), k9
#define VML_COST_RATIOS(r0, r2, r3, r4, r5, r6, r7, r8)                    \
    { VML_COST_RATIO_BLOCK(r0, r2, r3, r4, r5, r6, r7, r8, 2.0f),          \
      VML_COST_RATIO_BLOCK(r0, r2, r3, r4, r5, r6, r7, r8, 3.0f),          \
      VML_COST_RATIO_BLOCK(r0, r2, r3, r4, r5, r6, r7, r8, 1.0f), 0.0f, 0.0f }

#endif
