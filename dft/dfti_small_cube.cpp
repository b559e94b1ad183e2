// Compute entries of the small-cube plan: the offset-adjusted pointers go
// straight to the level's unrolled n^3 kernel.
#include "dft/dfti_plan.h"

namespace orb::dft {

namespace {

int32_t RunCube(DftiDescriptor *d, bool forward, void *in, void *out, int32_t out_offset) {
    const auto *r = static_cast<const DftiPlanRecord *>(d->plan);
    if (!r) return DftiStatusInternalError;
    if (!in || !out) return DftiStatusInvalidConfiguration;
    const int64_t element = d->precision == DftiValueDouble ? 16 : 8;
    char *src = static_cast<char *>(in) + int64_t(d->in_offset) * element;
    char *dst = static_cast<char *>(out) + int64_t(out_offset) * element;
    (forward ? r->cube_forward : r->cube_backward)(src, dst);
    return DftiStatusNoError;
}

}  // namespace

int32_t DftiCubeForwardInPlace(DftiDescriptor *d, void *a, void *, void *, void *) {
    return RunCube(d, true, a, a, d->in_offset);
}
int32_t DftiCubeBackwardInPlace(DftiDescriptor *d, void *a, void *, void *, void *) {
    return RunCube(d, false, a, a, d->in_offset);
}
int32_t DftiCubeForwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *, void *) {
    return RunCube(d, true, a, b, d->out_offset);
}
int32_t DftiCubeBackwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *, void *) {
    return RunCube(d, false, a, b, d->out_offset);
}

}  // namespace orb::dft
