// Split-storage plans built from rank-1 sub-descriptors: the
// multi-dimensional plan runs one sub-descriptor per working dimension, the
// batch plan loops its outer transform row over one sub-descriptor that
// carries the inner rows. Sub-descriptors are committed like any descriptor,
// so they find their own planners (split batch again, split 1-D, general).
#include <atomic>

#include "dft/dfti_plan.h"

namespace orb::dft {

namespace {

// What a sub-descriptor is asked to compute: one dimension, the batch rows
// around it (innermost first), placement, scales and threads.
struct SubShape {
    DftiRow dim;
    DftiRow batch[DftiMaxRank + 1];
    int32_t batch_count = 0;
    bool in_place = true;
    bool engine = false;  // compute through the general planner's engine plan
    double fscale = 1.0, bscale = 1.0;
    int32_t thread_limit = 1;
};

// Batch rows the engine takes in one plan: a sub-descriptor whose rows
// normalise to at most this many runs them all in one engine call instead
// of looping one transform at a time.
constexpr int32_t kEngineBatchRows = 2;

bool EngineTakesRows(const DftiDescriptor *parent, const SubShape &shape) {
    if (shape.batch_count == 0) return false;
    // Short double lengths have straight-line kernels: the split batch
    // planner runs them over the rows instead.
    if (parent->precision == DftiValueDouble &&
        SplitKernelKind(shape.dim.n, kSplitKindStart) == kSplitKindStraight)
        return false;
    DftiRow dim = shape.dim, rows[DftiMaxRank + 1];
    for (int32_t i = 0; i < shape.batch_count; ++i) rows[i] = shape.batch[i];
    DftiTable dims{1, 1, &dim}, batch{shape.batch_count, shape.batch_count, rows};
    DftiNormaliseTables(&dims, &batch);
    return batch.count <= kEngineBatchRows && batch.rows[0].n > 1;
}

// Builds *slot (or reuses it when its length still fits), configures it
// from the shape and commits it.
int32_t CommitSub(const DftiDescriptor *parent, DftiDescriptor **slot, const SubShape &shape) {
    if (*slot && (*slot)->dims.rows[0].n != shape.dim.n) {
        (*slot)->free_op(*slot);
        *slot = nullptr;
    }
    if (!*slot) {
        if (int32_t s = DftiBuildDescriptor(slot, parent->precision, DftiValueComplex, 1,
                                            &shape.dim.n, parent->level))
            return s;
    }
    DftiDescriptor *sub = *slot;
    sub->dims.rows[0] = shape.dim;
    const int32_t rows = shape.batch_count > 0 ? shape.batch_count : 1;
    if (int32_t s = DftiTableReserve(&sub->transforms, rows)) return s;
    sub->transforms.count = rows;
    if (shape.batch_count == 0) sub->transforms.rows[0] = {1, 0, 0};
    for (int32_t i = 0; i < shape.batch_count; ++i) sub->transforms.rows[i] = shape.batch[i];
    sub->transform_count = sub->transforms.rows[0].n;
    sub->in_distance = sub->transforms.rows[0].is;
    sub->out_distance = sub->transforms.rows[0].os;
    sub->in_offset = sub->out_offset = 0;  // the parent's drivers add the offsets
    sub->layout8 = DftiValueLayout42;
    sub->placement = shape.in_place ? DftiValuePlacement43 : DftiValuePlacement44;
    sub->fscale = shape.fscale;
    sub->bscale = shape.bscale;
    sub->user_threads = parent->user_threads;
    sub->thread_limit = shape.thread_limit;
    sub->level = parent->level;
    sub->flags = shape.engine ? (sub->flags | DftiFlagNoSplitPlanners)
                             : (sub->flags & ~DftiFlagNoSplitPlanners);
    return sub->methods->commit(sub);
}

int64_t RealBytes(const DftiDescriptor *d) { return d->precision == DftiValueDouble ? 8 : 4; }

char *At(void *p, int64_t elements, int64_t bytes) { return static_cast<char *>(p) + elements * bytes; }

// Runs a committed sub-descriptor; in-place subs take two pointers.
int32_t RunSub(DftiDescriptor *sub, bool forward, char *in_re, char *in_im, char *out_re,
               char *out_im) {
    DftiComputeFn fn = forward ? sub->compute_forward : sub->compute_backward;
    if (!fn) return DftiStatusInternalError;
    if (sub->placement == DftiValuePlacement43) return fn(sub, in_re, in_im, nullptr, nullptr);
    return fn(sub, in_re, in_im, out_re, out_im);
}

// Pointers of a call with the descriptor's offsets applied; in place the
// output is the input.
struct SplitCall {
    char *in_re, *in_im, *out_re, *out_im;
};

int32_t MakeCall(const DftiDescriptor *d, void *a, void *b, void *c, void *e, SplitCall *call) {
    const bool in_place = d->placement == DftiValuePlacement43;
    if (!a || !b || (!in_place && (!c || !e))) return DftiStatusInvalidConfiguration;
    const int64_t bytes = RealBytes(d);
    call->in_re = At(a, d->in_offset, bytes);
    call->in_im = At(b, d->in_offset, bytes);
    call->out_re = in_place ? call->in_re : At(c, d->out_offset, bytes);
    call->out_im = in_place ? call->in_im : At(e, d->out_offset, bytes);
    return DftiStatusNoError;
}

// Multi-dimensional: dimension 0 moves the data from input to output, the
// others transform the output in place.
int32_t RunMultiDim(DftiDescriptor *d, bool forward, void *a, void *b, void *c, void *e) {
    const auto *r = static_cast<const DftiPlanRecord *>(d->plan);
    if (!r || r->sub_count < 1) return DftiStatusInternalError;
    SplitCall call;
    if (int32_t s = MakeCall(d, a, b, c, e, &call)) return s;
    if (int32_t s = RunSub(r->subs[0], forward, call.in_re, call.in_im, call.out_re, call.out_im))
        return s;
    for (int32_t k = 1; k < r->sub_count; ++k)
        if (int32_t s = RunSub(r->subs[k], forward, call.out_re, call.out_im, nullptr, nullptr))
            return s;
    return DftiStatusNoError;
}

int32_t MultiDimForward(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunMultiDim(d, true, a, b, c, e);
}
int32_t MultiDimBackward(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunMultiDim(d, false, a, b, c, e);
}

struct BatchTask {
    DftiDescriptor *sub;
    bool forward;
    SplitCall call;
    int64_t in_step, out_step;  // bytes between transforms of the outer row
    std::atomic<int32_t> status{DftiStatusNoError};
};

void BatchWorker(void *task_v, int32_t first, int32_t count) {
    auto &t = *static_cast<BatchTask *>(task_v);
    for (int64_t m = first; m < int64_t(first) + count; ++m) {
        const int64_t i = m * t.in_step, o = m * t.out_step;
        int32_t s = RunSub(t.sub, t.forward, t.call.in_re + i, t.call.in_im + i, t.call.out_re + o,
                           t.call.out_im + o);
        if (s != DftiStatusNoError) {
            int32_t ok = DftiStatusNoError;
            t.status.compare_exchange_strong(ok, s);
            return;
        }
    }
}

// Batch: the outer row's transforms go through the hook table's parallel loop.
int32_t RunBatch(DftiDescriptor *d, bool forward, void *a, void *b, void *c, void *e) {
    auto *r = static_cast<DftiPlanRecord *>(d->plan);
    if (!r || r->sub_count < 1) return DftiStatusInternalError;
    BatchTask t;
    if (int32_t s = MakeCall(d, a, b, c, e, &t.call)) return s;
    t.sub = r->subs[0];
    t.forward = forward;
    const int64_t bytes = RealBytes(d);
    t.in_step = int64_t(r->outer.is) * bytes;
    t.out_step = int64_t(d->placement == DftiValuePlacement43 ? r->outer.is : r->outer.os) * bytes;
    d->hooks->parallel_loop(r->threads, r->outer.n, BatchWorker, &t);
    return t.status.load();
}

int32_t BatchForward(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunBatch(d, true, a, b, c, e);
}
int32_t BatchBackward(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return RunBatch(d, false, a, b, c, e);
}

}  // namespace

void DftiFreeSubDescriptors(DftiPlanRecord *r, int32_t keep) {
    for (int32_t k = keep; k < DftiMaxRank; ++k)
        if (r->subs[k]) {
            r->subs[k]->free_op(r->subs[k]);
            r->subs[k] = nullptr;
        }
    if (r->sub_count > keep) r->sub_count = keep;
}

int32_t DftiBuildSplitMultiDim(DftiDescriptor *d, DftiPlanRecord *r) {
    DftiUnbindEngine(r);
    const int32_t rank = d->work_rank;
    DftiFreeSubDescriptors(r, rank);
    const bool in_place = d->placement == DftiValuePlacement43;
    const DftiRow *dims = d->work_dims.rows;
    for (int32_t k = 0; k < rank; ++k) {
        // Only dimension 0 of an out-of-place plan reads the input; every
        // later pass works on the output in place.
        const bool moves = k == 0 && !in_place;
        auto layout = [moves](DftiRow row) {
            if (!moves) row.is = row.os;
            return row;
        };
        SubShape shape;
        shape.dim = layout(dims[k]);
        for (int32_t j = 0; j < rank; ++j)
            if (j != k) shape.batch[shape.batch_count++] = layout(dims[j]);
        for (int32_t j = 0; j < d->work_transforms.count; ++j)
            shape.batch[shape.batch_count++] = layout(d->work_transforms.rows[j]);
        shape.in_place = !moves;
        if (k == 0) {
            shape.fscale = d->work_fscale;
            shape.bscale = d->work_bscale;
        }
        shape.thread_limit = r->threads;
        shape.engine = EngineTakesRows(d, shape);
        r->sub_count = k + 1;
        if (int32_t s = CommitSub(d, &r->subs[k], shape)) return s;
    }
    d->compute_forward = MultiDimForward;
    d->compute_backward = MultiDimBackward;
    return DftiStatusNoError;
}

int32_t DftiBuildSplitBatch(DftiDescriptor *d, DftiPlanRecord *r) {
    DftiUnbindEngine(r);
    const DftiTable &t = d->work_transforms;
    r->outer = t.rows[t.count - 1];
    const bool in_place = d->placement == DftiValuePlacement43;
    // Lengths without straight-line kernels: one engine plan takes every
    // row, so its codelets run several rows per vector and its joins move
    // blocks of rows; a descriptor call per row cost half the speed at
    // 1000 x 64.
    const bool straight = d->precision == DftiValueDouble &&
                          SplitKernelKind(d->work_n, kSplitKindStart) == kSplitKindStraight;
    if (!straight) {
        r->threads = DftiLoopThreads(d, r->threads);
        const int32_t s = DftiBindEngine(d, r);
        if (s == DftiStatusNoError) {
            DftiFreeSubDescriptors(r, 0);
            DftiInstallEngineEntries(d, r);
            return s;
        }
        if (s != DftiPlannerDeclined) return s;
    }
    DftiFreeSubDescriptors(r, 1);
    SubShape shape;
    shape.dim = d->work_dims.rows[0];
    for (int32_t j = 0; j + 1 < t.count; ++j) shape.batch[shape.batch_count++] = t.rows[j];
    shape.in_place = in_place;
    shape.fscale = d->work_fscale;
    shape.bscale = d->work_bscale;
    // Threads go to the outer loop when it has work for all of them.
    r->threads = DftiLoopThreads(d, r->threads);
    const bool outer_parallel = r->outer.n >= r->threads;
    shape.thread_limit = outer_parallel ? 1 : r->threads;
    if (!outer_parallel) r->threads = 1;
    shape.engine = EngineTakesRows(d, shape);
    r->sub_count = 1;
    if (int32_t s = CommitSub(d, &r->subs[0], shape)) return s;
    // A straight-line kernel under the outer row runs over it directly,
    // without a descriptor call per transform.
    const DftiDescriptor *sub = r->subs[0];
    const auto *leaf = static_cast<const DftiPlanRecord *>(sub->plan);
    if (sub->current_planner == &DftiPlannerSplit1D && leaf->split.kind == kSplitKindStraight) {
        r->split = leaf->split;
        r->split.count = r->outer.n;
        r->split.idist = r->outer.is;
        r->split.odist = r->outer.os;
        r->blocking = DftiSplit1DBlock(r->split.n, r->outer.n, in_place, r->split.is, r->split.os,
                                       r->outer.is, r->outer.os);
        r->threads = DftiLoopThreads(d, d->threads);
        DftiInstallSplitKernelEntries(d);
        return DftiStatusNoError;
    }
    d->compute_forward = BatchForward;
    d->compute_backward = BatchBackward;
    return DftiStatusNoError;
}

}  // namespace orb::dft
