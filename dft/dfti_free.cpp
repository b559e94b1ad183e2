// The free operation and the exported DftiFreeDescriptor.
#include "dft/dfti_descriptor.h"
#include "service/serv.h"

namespace orb::dft {

int32_t DftiFreeOp(DftiDescriptor *d) {
    DftiReleasePlan(d);
    DftiTableRelease(&d->dims);
    DftiTableRelease(&d->transforms);
    DftiTableRelease(&d->work_dims);
    DftiTableRelease(&d->work_transforms);
    d->magic = 0;  // a stale handle now reads as a bad descriptor
    ServFree(d);
    return DftiStatusNoError;
}

}  // namespace orb::dft

DFTI_EXPORT int32_t DftiFreeDescriptor(DftiHandle *handle) {
    using namespace orb::dft;
    if (!handle) return DftiStatusInconsistentConfiguration;
    auto *d = reinterpret_cast<DftiDescriptor *>(*handle);
    if (!d || d->magic != DftiDescriptorMagic) return DftiStatusBadDescriptor;
    if (d->free_op) d->free_op(d);
    *handle = nullptr;
    return DftiStatusNoError;
}
