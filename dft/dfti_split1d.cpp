// The split-storage one-dimensional plan: kernel kind by length, blocking
// numbers, and compute entries that hand their batches to the service hook
// table's parallel loop (straight-line kind) or to the engine (general kind).
#include <initializer_list>

#include "dft/dfti_plan.h"

namespace orb::dft {

namespace {

struct SplitTask {
    const DftiSplit1DPlan *plan;
    const double *in_re, *in_im;
    double *out_re, *out_im;
    SplitKernel kernel;
    double scale;
    int32_t tasks;
};

// Transforms [lo, hi) of the batch.
inline void RunTransforms(const SplitTask &t, int64_t lo, int64_t hi) {
    const DftiSplit1DPlan &p = *t.plan;
    for (int64_t m = lo; m < hi; ++m)
        t.kernel(t.in_re + m * p.idist, t.in_im + m * p.idist, t.out_re + m * p.odist, t.out_im + m * p.odist,
                 p.is, p.os, t.scale);
}

// Task `index` of `tasks` runs its contiguous share of the transforms.
void SplitWorker(void *task_v, int32_t first, int32_t count) {
    const auto &t = *static_cast<const SplitTask *>(task_v);
    const int64_t all = t.plan->count;
    for (int32_t task = first; task < first + count; ++task)
        RunTransforms(t, all * task / t.tasks, all * (task + 1) / t.tasks);
}

int32_t RunSplit(DftiDescriptor *d, bool forward, void *in_re, void *in_im, void *out_re,
                 void *out_im, int32_t out_offset) {
    const auto *r = static_cast<const DftiPlanRecord *>(d->plan);
    if (!r) return DftiStatusInternalError;
    if (!in_re || !in_im || !out_re || !out_im) return DftiStatusInvalidConfiguration;
    const DftiSplit1DPlan &p = r->split;
    SplitTask t;
    t.plan = &p;
    t.in_re = static_cast<const double *>(in_re) + d->in_offset;
    t.in_im = static_cast<const double *>(in_im) + d->in_offset;
    t.out_re = static_cast<double *>(out_re) + out_offset;
    t.out_im = static_cast<double *>(out_im) + out_offset;
    t.kernel = forward ? p.forward : p.backward;
    t.scale = forward ? p.fscale : p.bscale;
    // The blocking's batch count bounds the tasks; every task has a transform.
    int32_t tasks = r->blocking.b < 1 ? 1 : r->blocking.b;
    if (tasks > p.count) tasks = p.count;
    t.tasks = tasks;
    // Serial: the transforms in order, with no task arithmetic.
    if (r->threads <= 1 || tasks <= 1) RunTransforms(t, 0, p.count);
    else d->hooks->parallel_loop(r->threads, tasks, SplitWorker, &t);
    return DftiStatusNoError;
}

int32_t ForwardInPlace(DftiDescriptor *d, void *a, void *b, void *, void *) {
    return RunSplit(d, true, a, b, a, b, d->in_offset);
}
int32_t BackwardInPlace(DftiDescriptor *d, void *a, void *b, void *, void *) {
    return RunSplit(d, false, a, b, a, b, d->in_offset);
}
int32_t ForwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunSplit(d, true, a, b, c, e, d->out_offset);
}
int32_t BackwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunSplit(d, false, a, b, c, e, d->out_offset);
}

}  // namespace

int32_t DftiBuildSplit1D(DftiDescriptor *d, DftiPlanRecord *r) {
    DftiSplit1DPlan &p = r->split;
    const bool in_place = d->placement == DftiValuePlacement43;
    const int32_t kind = SplitKernelKind(d->work_n, kSplitKindStart);
    r->threads = DftiLoopThreads(d, r->threads);
    // Kernel tables change only with the length or the kind.
    if (kind != p.kind || d->work_n != p.n) {
        p.kind = kind;
        p.n = d->work_n;
        if (kind == kSplitKindStraight) {
            const SplitKernelTable &table = SplitKernelsForLevel(d->level);
            p.forward = table.k[0][p.n];
            p.backward = table.k[1][p.n];
        } else {
            p.forward = p.backward = nullptr;
        }
    }
    p.count = d->work_count;
    p.is = d->work_is;
    p.os = d->work_os;
    p.idist = d->work_idist;
    p.odist = d->work_odist;
    // Kinds 1, 2 and 4 leave the scaling to what they call.
    const bool scaled_inside = kind == 1 || kind == 2 || kind == kSplitKindEngine;
    p.fscale = scaled_inside ? 1.0 : d->work_fscale;
    p.bscale = scaled_inside ? 1.0 : d->work_bscale;
    r->blocking = DftiSplit1DBlock(d->work_n, d->work_count, in_place, d->work_is, d->work_os,
                                   d->work_idist, d->work_odist);
    if (kind == kSplitKindEngine) {
        if (int32_t s = DftiBindEngine(d, r)) return s;
        DftiInstallEngineEntries(d, r);
        return DftiStatusNoError;
    }
    DftiUnbindEngine(r);
    DftiInstallSplitKernelEntries(d);
    return DftiStatusNoError;
}

void DftiInstallSplitKernelEntries(DftiDescriptor *d) {
    const bool in_place = d->placement == DftiValuePlacement43;
    d->compute_forward = in_place ? ForwardInPlace : ForwardOutOfPlace;
    d->compute_backward = in_place ? BackwardInPlace : BackwardOutOfPlace;
}

int32_t DftiLoopThreads(const DftiDescriptor *d, int32_t threads) {
    // The product stops growing at the threshold: seven lengths and their
    // batch counts could pass 2^63.
    int64_t points = 1;
    for (const DftiTable *t : {&d->work_dims, &d->work_transforms})
        for (int32_t i = 0; i < t->count && points < kDftiParallelMinPoints; ++i) points *= t->rows[i].n;
    return points < kDftiParallelMinPoints ? 1 : threads;
}

}  // namespace orb::dft
