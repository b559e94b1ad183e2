// Commit: working copies of the dimension and transform tables, their
// normalisation, scales and thread count, then the ordered planner list.
#include <cstdint>
#include <initializer_list>

#include "dft/dfti_descriptor.h"

namespace orb::dft {

namespace {

int32_t CopyTable(const DftiTable &from, DftiTable *to, bool in_place) {
    if (int32_t s = DftiTableReserve(to, from.count)) return s;
    to->count = from.count;
    for (int32_t i = 0; i < from.count; ++i) {
        to->rows[i] = from.rows[i];
        // In place the output is written with the input's layout.
        if (in_place) to->rows[i].os = to->rows[i].is;
    }
    return DftiStatusNoError;
}

void EraseRow(DftiTable *t, int32_t i) {
    for (int32_t j = i + 1; j < t->count; ++j) t->rows[j - 1] = t->rows[j];
    --t->count;
}

// A length-1 dimension is the identity: drop it (one row always stays).
void DropUnitDimensions(DftiTable *dims) {
    for (int32_t i = dims->count - 1; i >= 0 && dims->count > 1; --i)
        if (dims->rows[i].n == 1) EraseRow(dims, i);
    if (dims->count == 1 && dims->rows[0].n == 1) dims->rows[0].is = dims->rows[0].os = 1;
}

// Batch rows whose outer row continues the inner one in both arrays describe
// one run of transforms: merge them. Rows of count 1 carry nothing.
void MergeBatchRows(DftiTable *t) {
    for (int32_t i = t->count - 1; i >= 0 && t->count > 1; --i)
        if (t->rows[i].n == 1) EraseRow(t, i);
    for (int32_t i = 0; i + 1 < t->count;) {
        DftiRow &a = t->rows[i], &b = t->rows[i + 1];
        // A merged count past 2^31 - 1 would not fit the row: keep both.
        const bool fits = int64_t(a.n) * b.n <= INT32_MAX;
        if (fits && int64_t(b.is) == int64_t(a.is) * a.n && int64_t(b.os) == int64_t(a.os) * a.n) {
            a.n *= b.n;
            EraseRow(t, i + 1);
        } else {
            ++i;
        }
    }
}

// A single transform has no distance.
void ClearSingleDistances(DftiTable *t) {
    if (t->count == 1 && t->rows[0].n == 1) t->rows[0].is = t->rows[0].os = 0;
}

// Default strides are 32-bit products of the lengths before them; past
// 2^31 - 1 elements they wrap and would address the wrong data. A stride
// still holding its wrapped default marks a layout the caller cannot
// describe without setting strides.
bool HasWrappedDefaultStride(const DftiTable &dims, bool in_place) {
    uint32_t wrapped = 1;  // the product modulo 2^32, as the default holds it
    bool past = false;     // the true product exceeds INT32_MAX
    for (int32_t i = 0; i < dims.count; ++i) {
        const DftiRow &r = dims.rows[i];
        if (past && (r.is == int32_t(wrapped) || (!in_place && r.os == int32_t(wrapped)))) return true;
        past = past || uint64_t(wrapped) * uint64_t(r.n) > uint64_t(INT32_MAX);
        wrapped *= uint32_t(r.n);
    }
    return false;
}

// No memory holds 2^56 elements; past that the plans' size products
// (points times element bytes, slabs times slab bytes) could pass 2^63.
constexpr int64_t kMaxPoints = int64_t(1) << 56;

bool HasTooManyPoints(const DftiTable &dims, const DftiTable &transforms) {
    int64_t points = 1;
    for (const DftiTable *t : {&dims, &transforms})
        for (int32_t i = 0; i < t->count; ++i) {
            const int64_t n = t->rows[i].n;
            if (n > 0 && points > kMaxPoints / n) return true;
            points *= n > 0 ? n : 1;
        }
    return false;
}

}  // namespace

void DftiNormaliseTables(DftiTable *dims, DftiTable *transforms) {
    DropUnitDimensions(dims);
    MergeBatchRows(transforms);
    ClearSingleDistances(transforms);
}

int32_t DftiCommitOp(DftiDescriptor *d) {
    const bool in_place = d->placement == DftiValuePlacement43 && d->domain == DftiValueComplex;
    if (HasWrappedDefaultStride(d->dims, in_place)) return DftiStatusLengthOverflow;
    if (HasTooManyPoints(d->dims, d->transforms)) return DftiStatusLengthOverflow;
    if (int32_t s = CopyTable(d->dims, &d->work_dims, in_place)) return s;
    if (int32_t s = CopyTable(d->transforms, &d->work_transforms, in_place)) return s;
    if (d->domain == DftiValueComplex) DftiNormaliseTables(&d->work_dims, &d->work_transforms);

    d->work_rank = d->work_dims.count;
    d->work_n = d->work_dims.rows[0].n;
    d->work_is = d->work_dims.rows[0].is;
    d->work_os = d->work_dims.rows[0].os;
    d->work_count = d->work_transforms.rows[0].n;
    d->work_idist = d->work_transforms.rows[0].is;
    d->work_odist = d->work_transforms.rows[0].os;
    d->work_fscale = d->fscale;
    d->work_bscale = d->bscale;
    d->work_fscale_f = float(d->fscale);
    d->work_bscale_f = float(d->bscale);

    d->threads = d->thread_limit != 0 ? d->thread_limit : d->hooks->fft_threads();
    if (d->threads < 1) d->threads = 1;
    d->hook_answer = d->hooks->max_threads();

    if (!d->planners || !d->planners[0]) return DftiStatusNoError;
    int32_t last = DftiPlannerDeclined;
    for (const DftiPlanner *const *p = d->planners; *p; ++p) {
        last = (*p)->plan(*p, d);
        if (last == DftiStatusNoError) return DftiStatusNoError;
    }
    return last == DftiPlannerDeclined ? DftiStatusInconsistentConfiguration : last;
}

int32_t DftiReleasePlan(DftiDescriptor *d) {
    if (d->chain) {
        DftiDescriptor *sub = d->chain;
        d->chain = nullptr;
        sub->free_op(sub);
    }
    int32_t status = DftiStatusNoError;
    if (d->current_planner) status = d->current_planner->release(d->current_planner, d);
    d->commit_status = DftiValueUncommitted;
    d->compute_forward = nullptr;
    d->compute_backward = nullptr;
    d->flags &= ~DftiFlagCommitted;
    return status;
}

}  // namespace orb::dft
