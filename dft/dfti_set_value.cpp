// DftiSetValue: decodes the parameter's value type, uncommits on every
// integer-valued call (accepted or not), validates and stores through the
// chain of records (head only for the policy).
#include <stdarg.h>

#include "dft/dfti_descriptor.h"

namespace orb::dft {

namespace {

void Uncommit(DftiDescriptor *d) {
    d->flags &= ~DftiFlagCommitted;
    d->commit_status = DftiValueUncommitted;
    d->compute_forward = nullptr;
    d->compute_backward = nullptr;
}

template <typename F>
int32_t StoreChain(DftiDescriptor *d, F store) {
    for (DftiDescriptor *r = d; r; r = r->chain) store(r);
    return DftiStatusNoError;
}

int32_t SetInteger(DftiDescriptor *d, int32_t parameter, int32_t v) {
    Uncommit(d);
    switch (parameter) {
    case DftiParamFixed0:
    case DftiParamFixed3:
    case DftiParamFixed19:
    case DftiParamFixed22:
        return DftiStatusInconsistentConfiguration;
    case DftiParamReserved6:
    case DftiParamReserved16:
    case DftiParamReserved24:
    case DftiParamReserved25:
        return DftiStatusUnimplemented;
    case DftiParamTransformCount:
        return d->methods->set_transform_count(d, v);
    case DftiParamInputDistance:
        return d->methods->set_input_distance(d, v);
    case DftiParamOutputDistance:
        return d->methods->set_output_distance(d, v);
    case DftiParamThreadLimit:
        return d->methods->set_thread_limit(d, v);
    case DftiParamLayout8:
        if (v == DftiValueLayout39 || v == DftiValueLayout42)
            return StoreChain(d, [v](DftiDescriptor *r) { r->layout8 = v; });
        return (v == DftiValueLayout40 || v == DftiValueLayout41)
                   ? DftiStatusUnimplemented
                   : DftiStatusInconsistentConfiguration;
    case DftiParamLayout9:
        if (v == DftiValueLayout42) return StoreChain(d, [v](DftiDescriptor *r) { r->layout9 = v; });
        return v == DftiValueLayout41 ? DftiStatusUnimplemented
                                      : DftiStatusInconsistentConfiguration;
    case DftiParamLayout10:
        if (v == DftiValueLayout39)
            return StoreChain(d, [v](DftiDescriptor *r) {
                r->layout10 = v;
                r->pack_format = DftiValuePack57;
            });
        if (v == DftiValueLayout40) return StoreChain(d, [v](DftiDescriptor *r) { r->layout10 = v; });
        return (v == DftiValueLayout41 || v == DftiValueLayout42)
                   ? DftiStatusUnimplemented
                   : DftiStatusInconsistentConfiguration;
    case DftiParamPlacement:
        if (v == DftiValuePlacement43 || v == DftiValuePlacement44)
            return StoreChain(d, [v](DftiDescriptor *r) { r->placement = v; });
        return DftiStatusInconsistentConfiguration;
    case DftiParamPolicy:
        if (v != DftiValuePolicy51 && v != DftiValuePolicy52)
            return DftiStatusInconsistentConfiguration;
        d->policy = v;
        return DftiStatusNoError;
    case DftiParamOrdering:
        if (v == DftiValueOrdering48 || (v == DftiValueOrdering49 && d->domain == DftiValueComplex))
            return StoreChain(d, [v](DftiDescriptor *r) { r->ordering = v; });
        return (v == DftiValueOrdering49 || v == DftiValueOrdering50)
                   ? DftiStatusUnimplemented
                   : DftiStatusInconsistentConfiguration;
    case DftiParamPackFormat:
        if (v >= DftiValuePack54 && v <= DftiValuePack57)
            return StoreChain(d, [v](DftiDescriptor *r) { r->pack_format = v; });
        return DftiStatusInconsistentConfiguration;
    case DftiParamUserThreadCount:
        return StoreChain(d, [v](DftiDescriptor *r) { r->user_threads = v; });
    default:
        return DftiStatusInconsistentConfiguration;
    }
}

int32_t SetStrides(DftiDescriptor *d, int32_t parameter, const int32_t *user) {
    int32_t internal[DftiMaxRank + 1] = {};
    if (user) {
        internal[0] = user[0];
        for (int32_t i = 0; i < d->rank; ++i) internal[1 + i] = user[d->rank - i];
    } else {
        return DftiStatusInconsistentConfiguration;
    }
    return parameter == DftiParamInputStrides ? d->methods->set_input_strides(d, internal)
                                              : d->methods->set_output_strides(d, internal);
}

}  // namespace

}  // namespace orb::dft

DFTI_EXPORT int32_t DftiSetValue(DftiHandle handle,
                                                                      int32_t parameter, ...) {
    using namespace orb::dft;
    auto *d = reinterpret_cast<DftiDescriptor *>(handle);
    if (!d || d->magic != DftiDescriptorMagic) return DftiStatusBadDescriptor;
    // Parameters that take no value of a known type are refused unread.
    if (parameter == DftiParamFixed1 || parameter == DftiParamFixed2 ||
        parameter == DftiParamFixed23 || parameter > DftiParamThreadLimit || parameter < 0)
        return DftiStatusInconsistentConfiguration;
    va_list ap;
    va_start(ap, parameter);
    int32_t status;
    switch (parameter) {
    case DftiParamForwardScale:
    case DftiParamBackwardScale:
        status = d->methods->set_scale(d, parameter, va_arg(ap, double));
        break;
    case DftiParamInputStrides:
    case DftiParamOutputStrides:
        status = SetStrides(d, parameter, va_arg(ap, const int32_t *));
        break;
    case DftiParamName: {
        const char *name = va_arg(ap, const char *);
        uint32_t length = 0;
        if (name)
            while (name[length]) ++length;
        status = d->methods->set_name(d, name ? name : "", length);
        break;
    }
    default:
        status = SetInteger(d, parameter, va_arg(ap, int32_t));
        break;
    }
    va_end(ap);
    return status;
}
