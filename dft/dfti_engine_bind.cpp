// Maps a committed descriptor onto engine problems: working rows reversed
// into the engine's outermost-first order, the transform row as a batch
// loop, split storage, real sides (CCE directly, CCS/PACK/PERM through a
// contiguous conjugate-even scratch), scales and threads.
#include "dft/dfti_plan.h"

namespace orb::dft {

namespace {

void FillDims(const DftiDescriptor *d, EngineProblem *p) {
    const DftiTable &t = d->work_dims;
    p->rank = t.count;
    for (int32_t i = 0; i < t.count; ++i) {
        const DftiRow &row = t.rows[i];
        p->dims[t.count - 1 - i] = {row.n, row.is, row.os};
    }
    // Batch rows, outermost first; rows of one transform carry nothing.
    const DftiTable &b = d->work_transforms;
    p->howmany_rank = 0;
    for (int32_t i = b.count - 1; i >= 0; --i)
        if (b.rows[i].n > 1) p->howmany[p->howmany_rank++] = {b.rows[i].n, b.rows[i].is, b.rows[i].os};
}

int32_t Make(const EngineProblem &p, EnginePlan **out) {
    int status = EngineOk;
    *out = EnginePlanCreate(p, &status);
    if (*out) return DftiStatusNoError;
    return status == EngineNoMemory ? DftiStatusMemoryError : DftiStatusInconsistentConfiguration;
}

// CCS with a unit stride and an even distance is the engine's own complex
// layout (R0 I0 R1 I1 ... are h interleaved elements): no repacking.
bool CcsIsComplex(const DftiDescriptor *d, int32_t stride, int32_t distance) {
    return d->pack_format == DftiValuePack54 && stride == 1 &&
           (d->work_count == 1 || distance % 2 == 0);
}

// One contiguous row of even length in PERM order, or PACK's forward
// output (PERM order shifted by one real afterwards): the engine works on
// the caller's array itself, X[n/2].re beside X[0].re, with no scratch and
// no repacking pass. Null when the engine has no such plan for the row
// (short rows on a codelet).
EnginePlan *DirectPackedPlan(const DftiDescriptor *d, EngineProblem p, int32_t packed_stride, bool forward) {
    const bool format = d->pack_format == DftiValuePack56 || (forward && d->pack_format == DftiValuePack55);
    if (!format || d->work_count != 1 || d->work_n % 2 != 0 || packed_stride != 1) return nullptr;
    p.packed_ends = true;
    int status;
    return EnginePlanCreate(p, &status);
}

// Packed real formats, rank 1: the engine writes (forward) or reads
// (backward) a contiguous conjugate-even scratch unless CCS maps directly
// or the direct PERM-order form applies.
int32_t BindPacked(const DftiDescriptor *d, EngineProblem base, DftiPlanRecord *r) {
    const int64_t n = d->work_n, h = n / 2 + 1, T = d->work_count;
    DftiPackedSide side;
    side.format = d->pack_format;
    side.n = n;
    side.h = h;
    side.count = T;

    EngineProblem f = base;
    f.kind = EngineKind::R2C;
    f.sign = -1;
    f.scale = d->work_fscale;
    if (CcsIsComplex(d, d->work_os, d->work_odist)) {
        f.dims[0] = {n, d->work_is, 1};
        if (T > 1) f.howmany[0] = {T, d->work_idist, d->work_odist / 2};
    } else {
        f.dims[0] = {n, d->work_is, 1};
        if (T > 1) f.howmany[0] = {T, d->work_idist, h};
        r->packed_forward = side;
        r->packed_forward.stride = d->work_os;
        r->packed_forward.distance = d->work_odist;
        r->forward = DirectPackedPlan(d, f, d->work_os, true);
        r->packed_forward.direct = r->forward != nullptr;
    }

    EngineProblem b = base;
    b.kind = EngineKind::C2R;
    b.sign = +1;
    b.scale = d->work_bscale;
    if (CcsIsComplex(d, d->work_is, d->work_idist)) {
        b.dims[0] = {n, 1, d->work_os};
        if (T > 1) b.howmany[0] = {T, d->work_idist / 2, d->work_odist};
    } else {
        b.dims[0] = {n, 1, d->work_os};
        if (T > 1) b.howmany[0] = {T, h, d->work_odist};
        r->packed_backward = side;
        r->packed_backward.stride = d->work_is;
        r->packed_backward.distance = d->work_idist;
        r->backward = DirectPackedPlan(d, b, d->work_is, false);
        r->packed_backward.direct = r->backward != nullptr;
    }

    if (!r->forward)
        if (int32_t s = Make(f, &r->forward)) return s;
    return r->backward ? DftiStatusNoError : Make(b, &r->backward);
}

}  // namespace

void DftiUnbindEngine(DftiPlanRecord *r) {
    if (r->forward) EnginePlanDestroy(r->forward);
    if (r->backward) EnginePlanDestroy(r->backward);
    r->forward = r->backward = nullptr;
    r->packed_forward = DftiPackedSide{};
    r->packed_backward = DftiPackedSide{};
}

int32_t DftiBindEngine(DftiDescriptor *d, DftiPlanRecord *r) {
    DftiUnbindEngine(r);
    if (d->work_count < 1) return DftiPlannerDeclined;
    if (d->work_transforms.count > 2) return DftiPlannerDeclined;  // the engine loops two batch rows
    EngineProblem base;
    base.is_double = d->precision == DftiValueDouble;
    base.nthreads = r->threads;
    FillDims(d, &base);

    if (d->domain == DftiValueComplex) {
        base.kind = EngineKind::C2C;
        base.split_in = base.split_out = d->layout8 == DftiValueLayout42;
        EngineProblem f = base, b = base;
        f.sign = -1;
        f.scale = d->work_fscale;
        b.sign = +1;
        b.scale = d->work_bscale;
        if (int32_t s = Make(f, &r->forward)) return s;
        return Make(b, &r->backward);
    }

    // Real domain: the storage of the conjugate-even side and the packed
    // format must agree; real packed arrays exist for rank 1 only.
    const bool complex_side = d->layout10 == DftiValueLayout39;
    if (complex_side != (d->pack_format == DftiValuePack57))
        return DftiStatusInconsistentConfiguration;
    if (!complex_side && d->work_rank > 1) return DftiStatusUnimplemented;
    if (!complex_side) return BindPacked(d, base, r);

    EngineProblem f = base, b = base;
    f.kind = EngineKind::R2C;
    f.sign = -1;
    f.scale = d->work_fscale;
    b.kind = EngineKind::C2R;
    b.sign = +1;
    b.scale = d->work_bscale;
    if (int32_t s = Make(f, &r->forward)) return s;
    return Make(b, &r->backward);
}

}  // namespace orb::dft
