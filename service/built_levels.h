// Which optional instruction-set levels this build compiled kernel copies
// for: ORB_BUILT_<level> is 1 or 0 (set by the build from ORB_KERNEL_LEVELS;
// all of them when unset). The generic and SSE2 copies always exist, and a
// family's table names its next lower copy for a level left out.
#ifndef ORB_SERVICE_BUILT_LEVELS_H
#define ORB_SERVICE_BUILT_LEVELS_H

#ifndef ORB_BUILT_sse42
#define ORB_BUILT_sse42 1
#endif
#ifndef ORB_BUILT_avx
#define ORB_BUILT_avx 1
#endif
#ifndef ORB_BUILT_avx2
#define ORB_BUILT_avx2 1
#endif

#endif
