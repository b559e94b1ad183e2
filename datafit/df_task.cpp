// Task creation, spline editing and deletion: argument checks, the owned
// pointer tables, and the partial-update rules of the editor.
#include <cstring>

#include "datafit/df_task.h"
#include "service/serv.h"

namespace orb::df {
namespace {

void **AllocTable(int64_t entries) {
    if (entries <= 0) entries = 1;
    uint64_t bytes = static_cast<uint64_t>(entries) * sizeof(void *);
    if (bytes > 0xffffffffu) return nullptr;
    void **p = static_cast<void **>(ServAlloc(static_cast<uint32_t>(bytes), kAlign));
    // Entries not filled below must read as null so the construction
    // checks see them as missing instead of following stale pointers.
    if (p) std::memset(p, 0, static_cast<size_t>(bytes));
    return p;
}

}  // namespace

template <class T>
int NewTask(DfTask **task, int64_t nx, const T *x, int64_t xhint, int64_t ny,
            const T *y, int64_t yhint, uint32_t tag) {
    if (nx < 2) return DfStatusBadPartitionSize;
    if (!x) return DfStatusNullPartition;
    if (xhint != 0 && xhint != 1 && xhint != 2 && xhint != 4) return DfStatusBadPartitionHint;
    if (ny == 0) {
        if (y) return DfStatusBadFunctionCount;
    } else if (!y) {
        return DfStatusNullFunctionValues;
    }
    if (yhint != 0 && yhint != 16 && yhint != 32 && yhint != 128) return DfStatusBadFunctionHint;

    // Without a handle the record could never be released.
    if (!task) return DfStatusNullTask;
    DfTask *t = static_cast<DfTask *>(ServAlloc(sizeof(DfTask), kAlign));
    *task = t;
    if (!t) return DfStatusNoMemory;
    std::memset(static_cast<void *>(t), 0, sizeof(DfTask));
    t->nx = nx;
    t->x = x;
    t->xhint = xhint;
    if (y) {
        int64_t entries = yhint == 32 ? 1 : ny;
        void **table = AllocTable(entries);
        if (!table) return DfStatusNoMemory;  // record kept: caller deletes it
        t->yTable = const_cast<const void **>(table);
        if (yhint == 32 || yhint == 128) {
            t->yTable[0] = y;
        } else {
            for (int64_t i = 0; i < ny; ++i) t->yTable[i] = y + i * nx;
        }
    }
    t->ny = ny;
    t->yhint = yhint;
    t->tag = tag;
    t->kind = 4;
    t->unitA = t->unitB = 1;
    return DfStatusOk;
}

template <class T>
int EditPPSpline(DfTask *task, int64_t s_order, int64_t s_type,
                 int64_t bc_type, const T *bc, int64_t ic_type, const T *ic,
                 T *scoeff, int64_t scoeffhint) {
    if (!task) return DfStatusNullTask;
    if (s_order < 0) return DfStatusBadSplineOrder;
    if (s_type < 0) return DfStatusBadSplineType;
    task->splineOrder = s_order;
    task->splineType = s_type;
    if (bc_type != 0 && bc_type != 1 && bc_type != 2 && !bc) return DfStatusNullBoundaryConditions;
    task->bcType = bc_type;
    task->bc = bc;
    if (ic_type != 0 && !ic) return DfStatusNullInternalConditions;
    if (ic_type == 0 && ic) return DfStatusBadInternalConditionType;
    task->icType = ic_type;
    task->ic = ic;
    if (scoeff) {
        if (task->ny == 0) return DfStatusBadFunctionCount;
        if (task->coeffTable) {
            ServFree(task->coeffTable);
            task->coeffTable = nullptr;
        }
        void **table = AllocTable(task->ny);
        if (!table) return DfStatusNoMemory;
        task->coeffTable = table;
        if (scoeffhint & 128) {
            table[0] = scoeff;
        } else {
            int64_t stride = s_order * task->nx - (s_type == 1 ? 0 : s_order);
            for (int64_t i = 0; i < task->ny; ++i) table[i] = scoeff + i * stride;
        }
    }
    task->coeffHint = scoeffhint;
    return DfStatusOk;
}

int DeleteTask(DfTask **task) {
    if (!task || !*task) return DfStatusNullTask;
    DfTask *t = *task;
    if (t->yTable) ServFree(const_cast<void **>(t->yTable));
    if (t->coeffTable) ServFree(t->coeffTable);
    ServFree(t);
    *task = nullptr;
    return DfStatusOk;
}

template int NewTask<double>(DfTask **, int64_t, const double *, int64_t, int64_t,
                             const double *, int64_t, uint32_t);
template int NewTask<float>(DfTask **, int64_t, const float *, int64_t, int64_t,
                            const float *, int64_t, uint32_t);
template int EditPPSpline<double>(DfTask *, int64_t, int64_t, int64_t, const double *,
                                  int64_t, const double *, double *, int64_t);
template int EditPPSpline<float>(DfTask *, int64_t, int64_t, int64_t, const float *,
                                 int64_t, const float *, float *, int64_t);

}  // namespace orb::df
