// The Fourier descriptor record, its tables, the planner record and the
// operation tables shared by the descriptor code (create, set, commit,
// planners, compute, free).
#ifndef ORB_DFT_DFTI_DESCRIPTOR_H
#define ORB_DFT_DFTI_DESCRIPTOR_H

#include <stdint.h>

#include "include/orb_dfti.h"

// Exported entry points: the version script / .def file choose what leaves
// the library; this keeps them visible under -fvisibility=hidden too.
#if defined(__GNUC__) || defined(__clang__)
#define DFTI_EXPORT extern "C" __attribute__((visibility("default")))
#else
#define DFTI_EXPORT extern "C"
#endif

struct DftiDescriptor;

namespace orb::dft {

using ::DftiDescriptor;

constexpr uint32_t DftiDescriptorMagic = 0x544644u;
constexpr int32_t DftiPlannerDeclined = 100;
constexpr int32_t DftiStrideUnset = int32_t(0x80000000u);
constexpr int DftiMaxRank = 7;

// Flags word bits.
constexpr uint32_t DftiFlagCommitted = 1u << 0;
constexpr uint32_t DftiFlagLargeProblem = 1u << 1;  // DftiIsLargeProblem's answer
constexpr uint32_t DftiFlagNoSplitPlanners = 1u << 3;

// One row: {length, input stride, output stride} for the dimension table,
// {count, input distance, output distance} for the transform table.
struct DftiRow {
    int32_t n;
    int32_t is;
    int32_t os;
};
static_assert(sizeof(DftiRow) == 12, "rows are 12 bytes");

struct DftiTable {
    int32_t count = 0;
    int32_t capacity = 0;  // rows allocated
    DftiRow *rows = nullptr;
};

struct DftiPlanner;

using DftiComputeFn = int32_t (*)(DftiDescriptor *, void *, void *, void *, void *);
using DftiDescFn = int32_t (*)(DftiDescriptor *);

struct DftiPlanner {
    int32_t (*plan)(const DftiPlanner *, DftiDescriptor *);
    int32_t (*release)(const DftiPlanner *, DftiDescriptor *);
};

// Per-implementation operations, in slot order; unused slots stay null.
struct DftiMethods {
    DftiDescFn commit;
    void *slot1, *slot2, *slot3;
    int32_t (*set_input_strides)(DftiDescriptor *, const int32_t *);
    int32_t (*set_output_strides)(DftiDescriptor *, const int32_t *);
    void *slot6, *slot7;
    int32_t (*set_name)(DftiDescriptor *, const char *, uint32_t);
    void *slot9;
    int32_t (*set_scale)(DftiDescriptor *, int32_t parameter, double);
    void *slot11, *slot12, *slot13, *slot14;
    int32_t (*set_input_distance)(DftiDescriptor *, int32_t);
    int32_t (*set_output_distance)(DftiDescriptor *, int32_t);
    int32_t (*set_transform_count)(DftiDescriptor *, int32_t);
    void *slot18;
    int32_t (*set_thread_limit)(DftiDescriptor *, int32_t);
};

// Service operations shared by all descriptors, filled once.
using DftiWorker = void (*)(void *task, int32_t index, int32_t count);
struct DftiServiceHooks {
    int32_t (*max_threads)();
    int32_t (*in_parallel)();
    int32_t (*fft_threads)();
    int32_t (*thread_num)();
    int32_t (*num_threads)();
    void *slot5;
    void (*parallel_loop)(int32_t threads, int32_t tasks, DftiWorker, void *task);
    int32_t (*num_procs)();
    int32_t (*all_threads)();
    void *slot9;
    int32_t (*zero_query)();
};


}  // namespace orb::dft

// The record behind a DftiHandle (global, so the public handle type names it).
struct DftiDescriptor {
    orb::dft::DftiComputeFn compute_forward;
    orb::dft::DftiComputeFn compute_backward;
    const orb::dft::DftiPlanner *current_planner;
    void *plan;
    const orb::dft::DftiPlanner *const *planners;
    int32_t data_args;
    uint32_t flags;
    uint32_t magic;
    int32_t commit_status;
    orb::dft::DftiTable dims;        // user dimension table, row 0 = caller's last dimension
    orb::dft::DftiTable transforms;  // user transform table: one row {T, idist, odist}
    int32_t rank;
    int32_t work_rank;
    orb::dft::DftiTable work_dims;
    orb::dft::DftiTable work_transforms;
    orb::dft::DftiDescFn release_plan;
    orb::dft::DftiDescFn free_op;
    const orb::dft::DftiMethods *methods;
    const orb::dft::DftiServiceHooks *hooks;
    char name[10];
    int32_t domain;
    int32_t precision;
    int32_t transform_count;
    int32_t layout8, layout9, layout10, placement, pack_format;
    int32_t work_is, work_os, work_n;  // first working row
    int32_t policy, ordering, fixed;
    double work_fscale, work_bscale;
    float work_fscale_f, work_bscale_f;
    double fscale, bscale;
    int32_t in_offset, out_offset;
    int32_t in_distance, out_distance;
    DftiDescriptor *chain;
    int32_t user_threads;
    int32_t threads;
    int32_t thread_limit;
    int32_t hook_answer;
    int32_t work_count, work_idist, work_odist;  // working transform row
    int32_t level;                               // CpuLevel of the builder that made it
};

namespace orb::dft {

using ::DftiDescriptor;

// Shared hook table (filled by the creation front ends).
extern DftiServiceHooks g_dfti_hooks;
void DftiFillServiceHooks();

// Table helpers (dfti_tables.cpp).
int32_t DftiTableReserve(DftiTable *t, int32_t rows);
void DftiTableRelease(DftiTable *t);

// Creation with an explicit level (dfti_create.cpp); lengths in internal
// order. Returns a status; the descriptor is stored in *out on success.
int32_t DftiBuildDescriptor(DftiDescriptor **out, int32_t precision, int32_t domain,
                            int32_t rank, const int32_t *lengths, int level);

// Commit (dfti_commit.cpp): working tables, scales, threads, planners.
int32_t DftiCommitOp(DftiDescriptor *d);
// Row normalisation of a complex descriptor's working tables.
void DftiNormaliseTables(DftiTable *dims, DftiTable *transforms);

// Release of the present plan (dfti_plan_release.cpp).
int32_t DftiReleasePlan(DftiDescriptor *d);
int32_t DftiFreeOp(DftiDescriptor *d);

// Planner list for precision, domain and level (dfti_planners.cpp).
const DftiPlanner *const *DftiPlannerList(int32_t precision, int32_t domain, int level);

extern const DftiPlanner DftiPlannerSplitMultiDim;
extern const DftiPlanner DftiPlannerSplitBatch;
extern const DftiPlanner DftiPlannerSplit1D;
extern const DftiPlanner DftiPlannerSmallCube;
extern const DftiPlanner DftiPlannerGeneral;

// Out-of-cache test recorded by the general planner (dfti_large_problem.cpp);
// c1/c2 are the cache sizes in bytes (before the minimums are applied).
bool DftiIsLargeProblem(const DftiDescriptor *d, int64_t c1, int64_t c2);
// Cache size in bytes: level 1 = first-level data cache, 2 = the
// second-level cache (0 when unknown), 0 = the largest.
int64_t DftiCacheSize(int level);
// Ways of the first-level data cache (0 when unknown).
int64_t DftiFirstLevelWays();

// Status text and class (dfti_status.cpp).
const char *DftiStatusText(int32_t status);
int DftiStatusClass(int32_t status);

}  // namespace orb::dft

#endif
