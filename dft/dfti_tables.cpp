// Row storage of the dimension and transform tables: 12-byte rows in
// 16-byte aligned blocks that grow only when more rows are needed.
#include <string.h>

#include "dft/dfti_descriptor.h"
#include "service/serv.h"

namespace orb::dft {

int32_t DftiTableReserve(DftiTable *t, int32_t rows) {
    if (rows <= t->capacity) return DftiStatusNoError;
    auto *fresh = static_cast<DftiRow *>(ServAlloc(uint32_t(rows) * sizeof(DftiRow), 16));
    if (!fresh) return DftiStatusMemoryError;
    memset(fresh, 0, size_t(rows) * sizeof(DftiRow));
    if (t->rows) {
        memcpy(fresh, t->rows, size_t(t->capacity) * sizeof(DftiRow));
        ServFree(t->rows);
    }
    t->rows = fresh;
    t->capacity = rows;
    return DftiStatusNoError;
}

void DftiTableRelease(DftiTable *t) {
    if (t->rows) ServFree(t->rows);
    t->rows = nullptr;
    t->capacity = 0;
    t->count = 0;
}

}  // namespace orb::dft
