// The planners and their ordered lists. Every planner checks that the
// configuration is its own, takes over the descriptor (releasing another
// planner's plan), builds its plan record and installs the compute entries.
// The split multi-dimensional and batch planners run rank-1 sub-descriptors,
// the split 1-D and small-cube planners their straight-line kernels, and the
// general planner the transform engine.
#include <new>

#include "dft/dfti_plan.h"
#include "service/serv.h"

namespace orb::dft {

namespace {

bool SplitLayout(const DftiDescriptor *d) {
    return d->domain == DftiValueComplex && d->layout8 == DftiValueLayout42 &&
           !(d->flags & DftiFlagNoSplitPlanners);
}

bool AcceptSplitMultiDim(const DftiDescriptor *d) { return SplitLayout(d) && d->work_rank != 1; }
bool AcceptSplitBatch(const DftiDescriptor *d) {
    return SplitLayout(d) && d->work_rank == 1 && d->work_count >= 2;
}
bool AcceptSplit1D(const DftiDescriptor *d) {
    return d->precision == DftiValueDouble && SplitLayout(d) && d->work_rank == 1 &&
           d->work_count == 1;
}
// Either precision: each precision's list has its own cube kernels.
bool AcceptSmallCube(const DftiDescriptor *d) {
    if (d->domain != DftiValueComplex ||
        d->layout8 != DftiValueLayout39 || d->work_count != 1 || d->work_fscale != 1.0 ||
        d->work_bscale != 1.0 || d->work_rank != 3)
        return false;
    const DftiRow *r = d->work_dims.rows;
    const int32_t n = r[0].n;
    if (n > 10 || r[1].n != n || r[2].n != n) return false;
    return r[0].is == 1 && r[0].os == 1 && r[1].is == n && r[1].os == n && r[2].is == n * n &&
           r[2].os == n * n;
}
bool AcceptAll(const DftiDescriptor *) { return true; }

int32_t DataArgs(const DftiDescriptor *d) {
    const bool split = d->domain == DftiValueComplex && d->layout8 == DftiValueLayout42;
    const bool in_place = d->placement == DftiValuePlacement43;
    return split ? (in_place ? 2 : 4) : (in_place ? 1 : 2);
}

void DestroyRecord(DftiDescriptor *d) {
    auto *r = static_cast<DftiPlanRecord *>(d->plan);
    if (!r) return;
    DftiFreeSubDescriptors(r, 0);
    DftiUnbindEngine(r);
    r->~DftiPlanRecord();
    ServFree(r);
    d->plan = nullptr;
}

int32_t Release(const DftiPlanner *self, DftiDescriptor *d) {
    if (d->current_planner != self) return DftiStatusInternalError;
    d->compute_forward = d->compute_backward = nullptr;
    d->commit_status = DftiValueUncommitted;
    DestroyRecord(d);
    d->current_planner = nullptr;
    return DftiStatusNoError;
}

using AcceptFn = bool (*)(const DftiDescriptor *);
using BuildFn = int32_t (*)(const DftiPlanner *, DftiDescriptor *, DftiPlanRecord *);

// Plans that compute through the engine; the general planner also records
// the out-of-cache answer for the kernels.
int32_t BuildEngine(const DftiPlanner *self, DftiDescriptor *d, DftiPlanRecord *r) {
    r->cube_n = 0;
    if (int32_t s = DftiBindEngine(d, r)) return s;
    if (self == &DftiPlannerGeneral) {
        bool large = DftiIsLargeProblem(d, DftiCacheSize(1), DftiCacheSize(0));
        d->flags = large ? (d->flags | DftiFlagLargeProblem) : (d->flags & ~DftiFlagLargeProblem);
    }
    DftiInstallEngineEntries(d, r);
    return DftiStatusNoError;
}

int32_t BuildSplit1D(const DftiPlanner *, DftiDescriptor *d, DftiPlanRecord *r) {
    r->cube_n = 0;
    return DftiBuildSplit1D(d, r);
}

int32_t BuildSplitMultiDim(const DftiPlanner *, DftiDescriptor *d, DftiPlanRecord *r) {
    r->cube_n = 0;
    return DftiBuildSplitMultiDim(d, r);
}

int32_t BuildSplitBatch(const DftiPlanner *, DftiDescriptor *d, DftiPlanRecord *r) {
    r->cube_n = 0;
    return DftiBuildSplitBatch(d, r);
}

// n^3 cubes: the unrolled kernels of the descriptor's level, no engine plan.
int32_t BuildCube(const DftiPlanner *, DftiDescriptor *d, DftiPlanRecord *r) {
    DftiUnbindEngine(r);
    const bool single = d->precision == DftiValueSingle;
    r->cube_n = d->work_n;
    r->cube_forward = CubeKernelFor(d->level, single, false, r->cube_n);
    r->cube_backward = CubeKernelFor(d->level, single, true, r->cube_n);
    if (!r->cube_forward || !r->cube_backward) return DftiPlannerDeclined;
    const bool in_place = d->placement == DftiValuePlacement43;
    d->compute_forward = in_place ? DftiCubeForwardInPlace : DftiCubeForwardOutOfPlace;
    d->compute_backward = in_place ? DftiCubeBackwardInPlace : DftiCubeBackwardOutOfPlace;
    return DftiStatusNoError;
}

// The common steps: take the descriptor over, keep (or make) the plan
// record, build, install. DropFirst planners always start from no plan.
template <AcceptFn Accept, BuildFn Build, bool DropFirst>
int32_t Plan(const DftiPlanner *self, DftiDescriptor *d) {
    if (!Accept(d)) return DftiPlannerDeclined;
    if (d->current_planner && (DropFirst || d->current_planner != self)) d->release_plan(d);
    d->current_planner = self;
    if (!d->plan) {
        void *mem = ServAlloc(sizeof(DftiPlanRecord), 64);
        if (!mem) return DftiStatusMemoryError;
        d->plan = new (mem) DftiPlanRecord();
    }
    auto *r = static_cast<DftiPlanRecord *>(d->plan);
    // Several caller threads on one descriptor: each call stays on its thread.
    if (d->user_threads > 1) d->threads = 1;
    r->threads = d->threads;
    if (int32_t s = Build(self, d, r)) {
        d->compute_forward = d->compute_backward = nullptr;
        return s;
    }
    d->data_args = DataArgs(d);
    d->commit_status = DftiValueCommitted;
    d->flags |= DftiFlagCommitted;
    return DftiStatusNoError;
}

template <int Level>
struct Lists {
    static constexpr const DftiPlanner *kList[] = {&DftiPlannerSplitMultiDim, &DftiPlannerSplitBatch,
                                                   &DftiPlannerSplit1D, &DftiPlannerSmallCube,
                                                   &DftiPlannerGeneral, nullptr};
};

}  // namespace

const DftiPlanner DftiPlannerSplitMultiDim = {Plan<AcceptSplitMultiDim, BuildSplitMultiDim, false>,
                                               Release};
const DftiPlanner DftiPlannerSplitBatch = {Plan<AcceptSplitBatch, BuildSplitBatch, false>, Release};
const DftiPlanner DftiPlannerSplit1D = {Plan<AcceptSplit1D, BuildSplit1D, false>, Release};
const DftiPlanner DftiPlannerSmallCube = {Plan<AcceptSmallCube, BuildCube, false>, Release};
const DftiPlanner DftiPlannerGeneral = {Plan<AcceptAll, BuildEngine, true>, Release};

// The lists share one shape; the engine picks the instruction set of its
// kernels by level, so every level's list names the same planners.
const DftiPlanner *const *DftiPlannerList(int32_t, int32_t, int level) {
    switch (level) {
    case 2: return Lists<2>::kList;
    case 3: return Lists<3>::kList;
    case 4: return Lists<4>::kList;
    case 5: return Lists<5>::kList;
    case 6: return Lists<6>::kList;
    default: return Lists<7>::kList;
    }
}

DftiSplit1DBlocking DftiSplit1DBlock(int32_t n, int32_t count, bool in_place, int32_t is,
                                     int32_t os, int32_t idist, int32_t odist) {
    auto q = [](int32_t dist) {
        int32_t a = dist < 0 ? -dist : dist;
        int32_t v = 8 / (a > 1 ? a : 1);
        return v > 1 ? v : 1;
    };
    auto padded = [n]() {
        int32_t p = ((n - 1) / 8) * 8 + 8;
        return (p / 8) % 2 == 0 ? ((n - 1) / 8) * 8 + 16 : p;
    };
    const int32_t small_b = n < 33 ? int32_t(int64_t(n) * count / 32) : count;
    auto batched = [count](int32_t v) { return count / v > 1 ? count / v : 1; };
    DftiSplit1DBlocking k;
    if (in_place) {
        if (is == 1) return {1, 1, small_b};
        k.v = q(idist);
        return {k.v, padded(), batched(k.v)};
    }
    if (is == 1 && os == 1) return {1, 1, small_b};
    if (is == 1) {
        k.v = q(odist);
        return {k.v, padded(), batched(k.v)};
    }
    if (os == 1) return {q(idist), 1, small_b};
    k.v = q(idist) > q(odist) ? q(idist) : q(odist);
    return {k.v, padded(), batched(k.v)};
}

}  // namespace orb::dft
