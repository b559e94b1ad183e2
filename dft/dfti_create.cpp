// Descriptor creation: the exported front ends, the per-level builders
// reached through dispatch slots, the record's defaults and the shared
// service hook table.
#include <stdarg.h>
#include <string.h>

#include <omp.h>

#include "dft/dfti_descriptor.h"
#include "service/dispatch_slot.h"
#include "service/serv.h"

namespace orb::dft {

namespace {

int32_t HookMaxThreads() { return omp_get_max_threads(); }
int32_t HookInParallel() { return omp_in_parallel(); }
int32_t HookFftThreads() { return ServDomainThreads(ServDomainFft); }
int32_t HookThreadNum() { return omp_get_thread_num(); }
int32_t HookNumThreads() { return omp_get_num_threads(); }
int32_t HookNumProcs() { return omp_get_num_procs(); }
int32_t HookAllThreads() { return ServDomainThreads(ServDomainAll); }
int32_t HookZero() { return 0; }

// Each team member runs a contiguous share of [0, tasks). Out of line: a
// function holding a parallel region asks the OpenMP runtime for the
// thread's id on entry, which cost a serial short transform a tenth of
// its time.
__attribute__((noinline)) void ParallelLoop(int32_t threads, int32_t tasks, DftiWorker worker, void *task) {
#pragma omp parallel num_threads(threads)
    {
        int32_t t = omp_get_thread_num(), nt = omp_get_num_threads();
        int32_t lo = int32_t(int64_t(tasks) * t / nt);
        int32_t hi = int32_t(int64_t(tasks) * (t + 1) / nt);
        if (hi > lo) worker(task, lo, hi - lo);
    }
}

void HookParallelLoop(int32_t threads, int32_t tasks, DftiWorker worker, void *task) {
    if (threads <= 1 || tasks <= 1) {
        worker(task, 0, tasks);
        return;
    }
    ParallelLoop(threads > tasks ? tasks : threads, tasks, worker, task);
}

}  // namespace

DftiServiceHooks g_dfti_hooks = {};

void DftiFillServiceHooks() {
    if (g_dfti_hooks.max_threads) return;
    ServLock();
    if (!g_dfti_hooks.max_threads) {
        DftiServiceHooks h = {};
        h.in_parallel = HookInParallel;
        h.fft_threads = HookFftThreads;
        h.thread_num = HookThreadNum;
        h.num_threads = HookNumThreads;
        h.parallel_loop = HookParallelLoop;
        h.num_procs = HookNumProcs;
        h.all_threads = HookAllThreads;
        h.zero_query = HookZero;
        h.max_threads = HookMaxThreads;  // the first slot marks the table filled
        g_dfti_hooks = h;
    }
    ServUnlock();
}

namespace {

int32_t SetInputStrides(DftiDescriptor *d, const int32_t *s);
int32_t SetOutputStrides(DftiDescriptor *d, const int32_t *s);
int32_t SetName(DftiDescriptor *d, const char *name, uint32_t length);
int32_t SetScale(DftiDescriptor *d, int32_t parameter, double value);
int32_t SetInputDistance(DftiDescriptor *d, int32_t v);
int32_t SetOutputDistance(DftiDescriptor *d, int32_t v);
int32_t SetTransformCount(DftiDescriptor *d, int32_t v);
int32_t SetThreadLimit(DftiDescriptor *d, int32_t v);

const DftiMethods kMethods = {
    DftiCommitOp, nullptr, nullptr, nullptr, SetInputStrides, SetOutputStrides,
    nullptr, nullptr, SetName, nullptr, SetScale, nullptr, nullptr, nullptr, nullptr,
    SetInputDistance, SetOutputDistance, SetTransformCount, nullptr, SetThreadLimit};

// Strides arrive in internal order: element 0 the offset, 1..rank row 0..
int32_t SetStrides(DftiDescriptor *d, const int32_t *s, bool input) {
    DftiReleasePlan(d);
    for (DftiDescriptor *r = d; r; r = r->chain) {
        (input ? r->in_offset : r->out_offset) = s[0];
        for (int32_t i = 0; i < r->rank && i < r->dims.count; ++i)
            (input ? r->dims.rows[i].is : r->dims.rows[i].os) = s[1 + i];
    }
    return DftiStatusNoError;
}
int32_t SetInputStrides(DftiDescriptor *d, const int32_t *s) { return SetStrides(d, s, true); }
int32_t SetOutputStrides(DftiDescriptor *d, const int32_t *s) { return SetStrides(d, s, false); }

int32_t SetName(DftiDescriptor *d, const char *name, uint32_t length) {
    if (length > sizeof d->name) length = sizeof d->name;
    memset(d->name, 0, sizeof d->name);
    memcpy(d->name, name, length);
    return DftiStatusNoError;
}

int32_t SetScale(DftiDescriptor *d, int32_t parameter, double value) {
    double &slot = parameter == DftiParamForwardScale ? d->fscale : d->bscale;
    if (slot != value) DftiReleasePlan(d);
    for (DftiDescriptor *r = d; r; r = r->chain)
        (parameter == DftiParamForwardScale ? r->fscale : r->bscale) = value;
    return DftiStatusNoError;
}

int32_t SetInputDistance(DftiDescriptor *d, int32_t v) {
    for (DftiDescriptor *r = d; r; r = r->chain) {
        r->transforms.rows[0].is = v;
        r->in_distance = v;
    }
    return DftiStatusNoError;
}
int32_t SetOutputDistance(DftiDescriptor *d, int32_t v) {
    for (DftiDescriptor *r = d; r; r = r->chain) {
        r->transforms.rows[0].os = v;
        r->out_distance = v;
    }
    return DftiStatusNoError;
}
int32_t SetTransformCount(DftiDescriptor *d, int32_t v) {
    for (DftiDescriptor *r = d; r; r = r->chain) {
        r->transforms.rows[0].n = v;
        r->transform_count = v;
    }
    return DftiStatusNoError;
}
int32_t SetThreadLimit(DftiDescriptor *d, int32_t v) {
    if (v < 0) return DftiStatusInconsistentConfiguration;
    int32_t stored = d->hooks->zero_query() ? 1 : v;
    for (DftiDescriptor *r = d; r; r = r->chain) r->thread_limit = stored;
    return DftiStatusNoError;
}

}  // namespace

int32_t DftiBuildDescriptor(DftiDescriptor **out, int32_t precision, int32_t domain,
                            int32_t rank, const int32_t *lengths, int level) {
    if (!out) return DftiStatusInconsistentConfiguration;
    if (rank <= 0) return DftiStatusInvalidConfiguration;
    for (int32_t i = 0; i < rank; ++i)
        if (lengths[i] <= 0) return DftiStatusInvalidConfiguration;
    auto *d = static_cast<DftiDescriptor *>(ServAlloc(sizeof(DftiDescriptor), 16));
    if (!d) return DftiStatusMemoryError;
    memset(static_cast<void *>(d), 0, sizeof *d);
    d->magic = DftiDescriptorMagic;
    d->commit_status = DftiValueUncommitted;
    d->rank = rank;
    d->release_plan = DftiReleasePlan;
    d->free_op = DftiFreeOp;
    d->methods = &kMethods;
    d->hooks = &g_dfti_hooks;
    d->domain = domain;
    d->precision = precision;
    d->transform_count = 1;
    d->layout8 = DftiValueLayout39;
    d->layout9 = DftiValueLayout42;
    d->layout10 = DftiValueLayout40;
    d->placement = DftiValuePlacement43;
    d->pack_format = DftiValuePack54;
    d->policy = DftiValuePolicy51;
    d->ordering = DftiValueOrdering48;
    d->fixed = DftiValueFixed53;
    d->fscale = d->bscale = 1.0;
    d->user_threads = 1;
    if (DftiTableReserve(&d->dims, rank) || DftiTableReserve(&d->transforms, 1) ||
        DftiTableReserve(&d->work_dims, rank) || DftiTableReserve(&d->work_transforms, 1)) {
        d->free_op(d);
        return DftiStatusMemoryError;
    }
    d->dims.count = rank;
    int32_t stride = 1;
    for (int32_t i = 0; i < rank; ++i) {
        d->dims.rows[i] = {lengths[i], DftiStrideUnset, DftiStrideUnset};
    }
    for (int32_t i = 0; i < rank; ++i) {
        d->dims.rows[i].is = stride;
        d->dims.rows[i].os = stride;
        stride = int32_t(int64_t(stride) * lengths[i]);
    }
    d->transforms.count = 1;
    d->transforms.rows[0] = {1, 0, 0};
    d->level = level;
    d->planners = DftiPlannerList(precision, domain, level);
    *out = d;
    return DftiStatusNoError;
}

namespace {

using Builder = int32_t (*)(DftiDescriptor **, int32_t, const int32_t *);

template <int32_t Precision, int32_t Domain, int Level>
int32_t BuildAt(DftiDescriptor **out, int32_t rank, const int32_t *lengths) {
    return DftiBuildDescriptor(out, Precision, Domain, rank, lengths, Level);
}

template <int32_t P, int32_t D>
constexpr DispatchSlot<Builder>::Table kBuilders = {BuildAt<P, D, 2>, BuildAt<P, D, 3>,
                                                    BuildAt<P, D, 4>, BuildAt<P, D, 5>,
                                                    BuildAt<P, D, 6>, BuildAt<P, D, 7>};

DispatchSlot<Builder> g_build_cd(kBuilders<DftiValueDouble, DftiValueComplex>);
DispatchSlot<Builder> g_build_rd(kBuilders<DftiValueDouble, DftiValueReal>);
DispatchSlot<Builder> g_build_cs(kBuilders<DftiValueSingle, DftiValueComplex>);
DispatchSlot<Builder> g_build_rs(kBuilders<DftiValueSingle, DftiValueReal>);

DispatchSlot<Builder> *SlotFor(int32_t precision, int32_t domain) {
    if (precision == DftiValueDouble)
        return domain == DftiValueComplex ? &g_build_cd : domain == DftiValueReal ? &g_build_rd : nullptr;
    if (precision == DftiValueSingle)
        return domain == DftiValueComplex ? &g_build_cs : domain == DftiValueReal ? &g_build_rs : nullptr;
    return nullptr;
}

bool RankInRange(int32_t rank) { return uint64_t(int64_t(rank) - 1) <= 6u; }

// Steps shared by every front end once the lengths are in a local array
// in the caller's order.
int32_t Create(DftiDescriptor **handle, int32_t precision, int32_t domain, int32_t rank,
               int32_t *lengths) {
    for (int32_t i = 0, j = rank - 1; i < j; ++i, --j) {
        int32_t t = lengths[i];
        lengths[i] = lengths[j];
        lengths[j] = t;
    }
    DispatchSlot<Builder> *slot = SlotFor(precision, domain);
    if (!slot) return DftiStatusInvalidConfiguration;
    int32_t status = (*slot)(handle, rank, lengths);
    if (status == DftiStatusNoError) DftiFillServiceHooks();
    return status;
}

int32_t CreateMd(DftiDescriptor **handle, int32_t precision, int32_t domain, int32_t rank,
                 const int32_t *lengths) {
    if (!handle) return DftiStatusInconsistentConfiguration;
    *handle = nullptr;
    if (!RankInRange(rank)) return DftiStatusInvalidConfiguration;
    if (!lengths) return DftiStatusInvalidConfiguration;
    int32_t local[DftiMaxRank];
    for (int32_t i = 0; i < rank; ++i) local[i] = lengths[i];
    return Create(handle, precision, domain, rank, local);
}

int32_t Create1d(DftiDescriptor **handle, int32_t precision, int32_t domain, int32_t n) {
    if (!handle) return DftiStatusInconsistentConfiguration;
    *handle = nullptr;
    if (n <= 0) return DftiStatusInvalidConfiguration;
    int32_t local[1] = {n};
    return Create(handle, precision, domain, 1, local);
}

}  // namespace

}  // namespace orb::dft

static DftiDescriptor **Internal(DftiHandle *h) { return h; }

extern "C" {

DFTI_EXPORT int32_t DftiCreateDescriptor(DftiHandle *handle,
                                                                    int32_t precision,
                                                                    int32_t domain,
                                                                    int32_t rank, ...) {
    if (!handle) return DftiStatusInconsistentConfiguration;
    *handle = nullptr;
    if (!orb::dft::RankInRange(rank)) return DftiStatusInvalidConfiguration;
    va_list ap;
    va_start(ap, rank);
    int32_t status;
    if (rank == 1) {
        int32_t n = va_arg(ap, int32_t);
        status = orb::dft::Create1d(Internal(handle), precision, domain, n);
    } else {
        const int32_t *lengths = va_arg(ap, const int32_t *);
        status = orb::dft::CreateMd(Internal(handle), precision, domain, rank, lengths);
    }
    va_end(ap);
    return status;
}

DFTI_EXPORT int32_t DftiCreateDescriptor_d_1d(DftiHandle *handle,
                                                                         int32_t domain,
                                                                         int32_t length) {
    return orb::dft::Create1d(Internal(handle), DftiValueDouble, domain, length);
}
DFTI_EXPORT int32_t DftiCreateDescriptor_s_1d(DftiHandle *handle,
                                                                         int32_t domain,
                                                                         int32_t length) {
    return orb::dft::Create1d(Internal(handle), DftiValueSingle, domain, length);
}
DFTI_EXPORT int32_t DftiCreateDescriptor_d_md(
    DftiHandle *handle, int32_t domain, int32_t rank, const int32_t *lengths) {
    return orb::dft::CreateMd(Internal(handle), DftiValueDouble, domain, rank, lengths);
}
DFTI_EXPORT int32_t DftiCreateDescriptor_s_md(
    DftiHandle *handle, int32_t domain, int32_t rank, const int32_t *lengths) {
    return orb::dft::CreateMd(Internal(handle), DftiValueSingle, domain, rank, lengths);
}

}  // extern "C"
