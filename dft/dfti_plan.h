// The plan record shared by the planners: the engine plans of both
// directions plus what the compute entries need for the packed real
// formats, and each planner's own numbers.
#ifndef ORB_DFT_DFTI_PLAN_H
#define ORB_DFT_DFTI_PLAN_H

#include "dft/dfti_descriptor.h"
#include "dft/engine/engine.h"
#include "dft/smallcube/cube_kernels.h"
#include "dft/split1d/split1d_kernels.h"

namespace orb::dft {

// Packed real path: the engine works on a contiguous conjugate-even
// scratch of h = n/2+1 complex elements per transform; the compute entry
// repacks between it and the caller's real array.
struct DftiPackedSide {
    int32_t format = 0;  // 0: none, else 54/55/56
    int64_t n = 0, h = 0, count = 1;
    int64_t stride = 1, distance = 0;  // caller's packed array, real elements
    // The engine reads or writes the caller's array in PERM order (one
    // contiguous even row); a PACK result is shifted into place after.
    bool direct = false;
};

struct DftiSplit1DBlocking {
    int32_t v = 0, p = 0, b = 0;
};

// Split 1-D plan: kernel kind and table, the layout and scales it runs with.
struct DftiSplit1DPlan {
    int32_t kind = 0, n = 0;
    SplitKernel forward = nullptr, backward = nullptr;
    int32_t count = 1, is = 1, os = 1, idist = 0, odist = 0;
    double fscale = 1.0, bscale = 1.0;
};

// Byte offsets of the first element on each side of an unpacked
// interleaved call (the descriptor's offsets, fixed at commit).
struct DftiPlainSide {
    int64_t in_bytes = 0, out_bytes = 0;
};

struct DftiPlanRecord {
    EnginePlan *forward = nullptr;
    EnginePlan *backward = nullptr;
    DftiPlainSide plain[2];          // forward, backward
    DftiPackedSide packed_forward;   // forward output side
    DftiPackedSide packed_backward;  // backward input side
    int32_t threads = 1;
    int32_t cube_n = 0;                // small-cube planner
    CubeKernel cube_forward = nullptr, cube_backward = nullptr;
    DftiSplit1DBlocking blocking;      // split 1-D planner
    DftiSplit1DPlan split;
    // Split multi-dimensional and batch planners: rank-1 sub-descriptors
    // (one per working dimension, or one under the outer batch row).
    int32_t sub_count = 0;
    DftiDescriptor *subs[DftiMaxRank] = {};
    DftiRow outer = {1, 0, 0};         // split batch: the last working transform row
};

// Threads for a planner's parallel loop: 1 when the whole problem has
// fewer points than a parallel region is worth (opening one costs about as
// much as transforming this many points), else `threads`.
constexpr int64_t kDftiParallelMinPoints = int64_t(1) << 15;
int32_t DftiLoopThreads(const DftiDescriptor *d, int32_t threads);

// Builds both engine plans for the committed working tables. Returns 0,
// DftiPlannerDeclined for a configuration no plan fits, or a status.
int32_t DftiBindEngine(DftiDescriptor *d, DftiPlanRecord *r);
void DftiUnbindEngine(DftiPlanRecord *r);

// Compute entries (dfti_compute.cpp): in place and out of place pairs.
// DftiInstallEngineEntries picks the pair for an engine-bound record (a
// direct one for unpacked interleaved data).
void DftiInstallEngineEntries(DftiDescriptor *d, DftiPlanRecord *r);
int32_t DftiForwardInPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiBackwardInPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiForwardOutOfPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiBackwardOutOfPlace(DftiDescriptor *, void *, void *, void *, void *);

// Builds the split 1-D plan and installs its compute entries (dfti_split1d.cpp).
int32_t DftiBuildSplit1D(DftiDescriptor *d, DftiPlanRecord *r);
// Installs the compute entries that run the record's straight-line split
// kernel over its transforms (r->split, r->blocking).
void DftiInstallSplitKernelEntries(DftiDescriptor *d);

// Split multi-dimensional and split batch plans over rank-1 sub-descriptors
// (dfti_split_chain.cpp); both install their compute entries.
int32_t DftiBuildSplitMultiDim(DftiDescriptor *d, DftiPlanRecord *r);
int32_t DftiBuildSplitBatch(DftiDescriptor *d, DftiPlanRecord *r);
// Frees the record's sub-descriptors from index `keep` on.
void DftiFreeSubDescriptors(DftiPlanRecord *r, int32_t keep);

// Small-cube compute entries (dfti_small_cube.cpp).
int32_t DftiCubeForwardInPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiCubeBackwardInPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiCubeForwardOutOfPlace(DftiDescriptor *, void *, void *, void *, void *);
int32_t DftiCubeBackwardOutOfPlace(DftiDescriptor *, void *, void *, void *, void *);

// Position of R(k) (part 0) or I(k) (part 1) in a packed real array of
// length-n transforms, or -1 when the format does not store it.
int64_t DftiPackedPosition(int32_t format, int64_t n, int64_t k, int part);

// Split 1-D blocking numbers for length n, T transforms and the strides.
DftiSplit1DBlocking DftiSplit1DBlock(int32_t n, int32_t count, bool in_place, int32_t is,
                                     int32_t os, int32_t idist, int32_t odist);

}  // namespace orb::dft

#endif
