/* The kernel namespace the vector-math tables name for each level above
 * SSE2: the level's own copy, or the next lower one the build made when
 * it left that level out (ORB_KERNEL_LEVELS). */
#ifndef ORB_VML_KERNELS_LEVEL_NAMESPACES_H
#define ORB_VML_KERNELS_LEVEL_NAMESPACES_H

#include "service/built_levels.h"

#if ORB_BUILT_sse42
#define VML_NS_SSE42 k_sse42
#else
#define VML_NS_SSE42 k_sse2
#endif
#if ORB_BUILT_avx
#define VML_NS_AVX k_avx
#else
#define VML_NS_AVX VML_NS_SSE42
#endif
#if ORB_BUILT_avx2
#define VML_NS_AVX2 k_avx2
#else
#define VML_NS_AVX2 VML_NS_AVX
#endif

#endif
