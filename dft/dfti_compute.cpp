// Compute entries installed by the planners, the packed real formats'
// repacking, and the exported DftiCommitDescriptor / DftiCompute* fronts.
#include <stdarg.h>
#include <string.h>

#include "dft/dfti_plan.h"
#include "service/serv.h"

namespace orb::dft {

int64_t DftiPackedPosition(int32_t format, int64_t n, int64_t k, int part) {
    const bool even = n % 2 == 0;
    if (format == DftiValuePack54) return 2 * k + part;
    if (k == 0) return part == 0 ? 0 : -1;  // I0 is zero: PACK and PERM drop it
    if (even && k == n / 2) {
        if (part == 1) return -1;
        return format == DftiValuePack56 ? 1 : n - 1;
    }
    if (format == DftiValuePack56 && even) return 2 * k + part;
    return 2 * k - 1 + part;  // PACK, and PERM for odd n
}

namespace {

// Caller's packed array <-> contiguous complex scratch (h per transform).
// Between the two ends every format stores R(k), I(k) at base + 2k,
// base + 2k + 1; the ends (k = 0, and k = n/2 for even n) go through the
// position table.
template <typename T>
void Repack(const DftiPackedSide &s, T *packed, T *scratch, bool to_packed) {
    const int64_t n = s.n, last = (n - 1) / 2;  // last k with both parts stored
    const int64_t base = DftiPackedPosition(s.format, n, 1, 0) - 2, st = s.stride;
    for (int64_t t = 0; t < s.count; ++t) {
        T *arr = packed + t * s.distance;
        T *z = scratch + 2 * t * s.h;
        if (st == 1 && last > 0) {
            // Contiguous: the pairs between the ends move as one block.
            const size_t bytes = size_t(2 * last) * sizeof(T);
            if (to_packed) memcpy(arr + base + 2, z + 2, bytes);
            else memcpy(z + 2, arr + base + 2, bytes);
        } else if (to_packed) {
            for (int64_t k = 1; k <= last; ++k) {
                arr[(base + 2 * k) * st] = z[2 * k];
                arr[(base + 2 * k + 1) * st] = z[2 * k + 1];
            }
        } else {
            for (int64_t k = 1; k <= last; ++k) {
                z[2 * k] = arr[(base + 2 * k) * st];
                z[2 * k + 1] = arr[(base + 2 * k + 1) * st];
            }
        }
        const int64_t ends[2] = {0, n % 2 == 0 ? n / 2 : 0};
        for (int e = 0; e < (ends[1] ? 2 : 1); ++e)
            for (int part = 0; part < 2; ++part) {
                const int64_t k = ends[e], pos = DftiPackedPosition(s.format, n, k, part);
                if (to_packed) {
                    if (pos >= 0) arr[pos * st] = z[2 * k + part];
                } else {
                    z[2 * k + part] = pos >= 0 ? arr[pos * st] : T(0);
                }
            }
    }
}

struct Pointers {
    void *in_re, *in_im, *out_re, *out_im;
};

char *Advance(void *p, int64_t elements, int64_t element_bytes) {
    return p ? static_cast<char *>(p) + elements * element_bytes : nullptr;
}

int32_t StatusOf(int engine_status) {
    return engine_status == EngineOk         ? DftiStatusNoError
           : engine_status == EngineNoMemory ? DftiStatusMemoryError
                                             : DftiStatusInternalError;
}

constexpr size_t kStackScratchBytes = 8192;

// A direct plan leaves R0 R(n/2) R1 I1 R2 I2 ... (PERM order); PACK is
// R0 R1 I1 ... R(n/2): the pairs move down one place, R(n/2) to the end.
// A row within the first-level cache moves in 2 KiB pieces: the C library
// hands longer moves to string instructions, which take a one-element
// overlap at half the speed of its vector loop (1022 doubles: 60 ns in
// pieces, 130 ns whole; past the cache the whole move is the faster).
// Pieces go upwards, each reading the next one's first element before
// that piece is written.
constexpr size_t kPackShiftPieceBytes = 2048;
template <typename T>
void PermToPack(T *arr, int64_t n) {
    const T middle = arr[1];
    const size_t bytes = size_t(n - 2) * sizeof(T);
    const size_t piece =
        bytes > kPackShiftPieceBytes && int64_t(bytes) <= DftiCacheSize(1) ? kPackShiftPieceBytes : bytes;
    char *to = reinterpret_cast<char *>(arr + 1);
    for (size_t done = 0; done < bytes; done += piece)
        memmove(to + done, to + done + sizeof(T), bytes - done < piece ? bytes - done : piece);
    arr[n - 1] = middle;
}

template <typename T>
int32_t RunPacked(const DftiPlanRecord *r, bool forward, const Pointers &p) {
    const DftiPackedSide &s = forward ? r->packed_forward : r->packed_backward;
    if (s.direct) {
        const int status = EngineExecute(forward ? r->forward : r->backward, p.in_re, nullptr, p.out_re, nullptr);
        if (status == EngineOk && forward && s.format == DftiValuePack55)
            PermToPack(static_cast<T *>(p.out_re), s.n);
        return StatusOf(status);
    }
    const uint64_t bytes = uint64_t(s.count) * uint64_t(s.h) * 2u * sizeof(T);
    if (bytes > 0xFFFFFFF0u) return DftiStatusMemoryError;
    // Small problems stay on the stack: no allocator call per transform.
    alignas(64) unsigned char local[kStackScratchBytes];
    const bool on_stack = bytes <= sizeof local;
    T *scratch = on_stack ? reinterpret_cast<T *>(local)
                          : static_cast<T *>(ServAlloc(uint32_t(bytes), 64));
    if (!scratch) return DftiStatusMemoryError;
    int status;
    if (forward) {
        status = EngineExecute(r->forward, p.in_re, nullptr, scratch, nullptr);
        if (status == EngineOk) Repack(s, static_cast<T *>(p.out_re), scratch, true);
    } else {
        Repack(s, static_cast<T *>(p.in_re), scratch, false);
        status = EngineExecute(r->backward, scratch, nullptr, p.out_re, nullptr);
    }
    if (!on_stack) ServFree(scratch);
    return StatusOf(status);
}

// Byte size of one element of the call's input and output sides.
void SideSizes(const DftiDescriptor *d, bool forward, int64_t *in_bytes, int64_t *out_bytes) {
    const int64_t real = d->precision == DftiValueDouble ? 8 : 4;
    if (d->domain == DftiValueComplex) {
        *in_bytes = *out_bytes = d->layout8 == DftiValueLayout42 ? real : 2 * real;
        return;
    }
    const int64_t ce = d->layout10 == DftiValueLayout39 ? 2 * real : real;
    *in_bytes = forward ? real : ce;
    *out_bytes = forward ? ce : real;
}

int32_t Run(DftiDescriptor *d, bool forward, bool in_place, void *a, void *b, void *c,
            void *e) {
    const auto *r = static_cast<const DftiPlanRecord *>(d->plan);
    if (!r) return DftiStatusInternalError;
    const bool split = d->domain == DftiValueComplex && d->layout8 == DftiValueLayout42;
    Pointers p;
    if (split)
        p = in_place ? Pointers{a, b, a, b} : Pointers{a, b, c, e};
    else
        p = in_place ? Pointers{a, nullptr, a, nullptr} : Pointers{a, nullptr, b, nullptr};
    if (!p.in_re || !p.out_re || (split && (!p.in_im || !p.out_im)))
        return DftiStatusInvalidConfiguration;

    int64_t in_bytes, out_bytes;
    SideSizes(d, forward, &in_bytes, &out_bytes);
    // A complex in-place transform writes with the input's layout.
    const int64_t out_offset =
        in_place && d->domain == DftiValueComplex ? d->in_offset : d->out_offset;
    p.in_re = Advance(p.in_re, d->in_offset, in_bytes);
    p.in_im = Advance(p.in_im, d->in_offset, in_bytes);
    p.out_re = Advance(p.out_re, out_offset, out_bytes);
    p.out_im = Advance(p.out_im, out_offset, out_bytes);

    if ((forward ? r->packed_forward : r->packed_backward).format != 0)
        return d->precision == DftiValueDouble ? RunPacked<double>(r, forward, p)
                                               : RunPacked<float>(r, forward, p);
    return StatusOf(EngineExecute(forward ? r->forward : r->backward, p.in_re, p.in_im, p.out_re, p.out_im));
}

// Interleaved data and no packed format: the caller's pointers go to the
// engine as they are, moved past the offsets the commit fixed. A short
// transform is then little more than its codelet.
template <bool Forward, bool InPlace>
int32_t Plain(DftiDescriptor *d, void *a, void *b, void *, void *) {
    const auto *r = static_cast<const DftiPlanRecord *>(d->plan);
    void *out = InPlace ? a : b;
    if (!a || !out) return DftiStatusInvalidConfiguration;
    const DftiPlainSide &s = r->plain[Forward ? 0 : 1];
    return StatusOf(EngineExecute(Forward ? r->forward : r->backward, static_cast<char *>(a) + s.in_bytes, nullptr,
                                  static_cast<char *>(out) + s.out_bytes, nullptr));
}

}  // namespace

void DftiInstallEngineEntries(DftiDescriptor *d, DftiPlanRecord *r) {
    const bool in_place = d->placement == DftiValuePlacement43;
    const bool split = d->domain == DftiValueComplex && d->layout8 == DftiValueLayout42;
    const bool plain = !split && r->packed_forward.format == 0 && r->packed_backward.format == 0;
    if (!plain) {
        d->compute_forward = in_place ? DftiForwardInPlace : DftiForwardOutOfPlace;
        d->compute_backward = in_place ? DftiBackwardInPlace : DftiBackwardOutOfPlace;
        return;
    }
    for (int dir = 0; dir < 2; ++dir) {
        int64_t in_bytes, out_bytes;
        SideSizes(d, dir == 0, &in_bytes, &out_bytes);
        const int64_t out_offset = in_place && d->domain == DftiValueComplex ? d->in_offset : d->out_offset;
        r->plain[dir] = {d->in_offset * in_bytes, out_offset * out_bytes};
    }
    d->compute_forward = in_place ? Plain<true, true> : Plain<true, false>;
    d->compute_backward = in_place ? Plain<false, true> : Plain<false, false>;
}

int32_t DftiForwardInPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return Run(d, true, true, a, b, c, e);
}
int32_t DftiBackwardInPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return Run(d, false, true, a, b, c, e);
}
int32_t DftiForwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return Run(d, true, false, a, b, c, e);
}
int32_t DftiBackwardOutOfPlace(DftiDescriptor *d, void *a, void *b, void *c, void *e) {
    return Run(d, false, false, a, b, c, e);
}

}  // namespace orb::dft

namespace {

using orb::dft::DftiDescriptor;

int32_t Compute(DftiHandle handle, bool forward, va_list ap) {
    auto *d = reinterpret_cast<DftiDescriptor *>(handle);
    if (!d) return DftiStatusBadDescriptor;
    orb::dft::DftiComputeFn entry = forward ? d->compute_forward : d->compute_backward;
    if (!entry) return DftiStatusInvalidConfiguration;
    // One to four array arguments, as many as the layout takes; unrolled,
    // since a short transform's whole call is a few dozen instructions.
    void *a = va_arg(ap, void *), *b = nullptr, *c = nullptr, *e = nullptr;
    if (d->data_args > 1) {
        b = va_arg(ap, void *);
        if (d->data_args > 2) {
            c = va_arg(ap, void *);
            if (d->data_args > 3) e = va_arg(ap, void *);
        }
    }
    return entry(d, a, b, c, e);
}

}  // namespace

extern "C" {

DFTI_EXPORT int32_t DftiCommitDescriptor(DftiHandle handle) {
    using namespace orb::dft;
    auto *d = reinterpret_cast<DftiDescriptor *>(handle);
    if (!d) return DftiStatusBadDescriptor;
    if (d->magic == DftiDescriptorMagic && d->methods && d->methods->commit)
        return d->methods->commit(d);
    return d->magic == DftiDescriptorMagic ? DftiStatusInternalError : DftiStatusBadDescriptor;
}

DFTI_EXPORT int32_t DftiComputeForward(DftiHandle handle, ...) {
    va_list ap;
    va_start(ap, handle);
    int32_t s = Compute(handle, true, ap);
    va_end(ap);
    return s;
}

DFTI_EXPORT int32_t DftiComputeBackward(DftiHandle handle, ...) {
    va_list ap;
    va_start(ap, handle);
    int32_t s = Compute(handle, false, ap);
    va_end(ap);
    return s;
}

}  // extern "C"
