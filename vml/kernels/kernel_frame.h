// Shared frame of the vector-math kernels of level 1 and up: the
// floating-point control rule (FTZ/DAZ from the mode word, round to nearest,
// restore only when changed), overlap tests, and the loop drivers (simple
// loop, peel to 16-byte output alignment, blocked main loop, tail).
// Included by kernel sources compiled once per instruction-set level.
#ifndef ORB_VML_KERNEL_FRAME_H
#define ORB_VML_KERNEL_FRAME_H

#include <stdint.h>
#include <xmmintrin.h>

#include "vml/vml_frame.h"

// Inside the level namespace: every level keeps its own copy of these
// inline templates (one shared copy would run one level's code for all).
namespace ORB_KNS {
namespace vml {

using orb::vml::kCsrMask;
using orb::vml::WantedCsrBits;

// The rare call that must change the control bits, out of line so that
// the usual one saves no registers.
template <class Body>
__attribute__((noinline)) void SwitchedControl(uint32_t saved, uint32_t wanted, Body body) {
    _mm_setcsr((saved & ~kCsrMask) | wanted);
    body();
    _mm_setcsr((_mm_getcsr() & ~kCsrMask) | (saved & kCsrMask));
}

// Runs body() under the control bits the mode asks for; puts the caller's
// bits back on exit only if they were changed. Exception flags raised
// inside are kept. The usual call finds the bits set already and ends in a
// tail call of the body: no frame of its own, no second control-word read.
template <class Body> __attribute__((always_inline)) inline void UnderControl(Body body) {
    const uint32_t wanted = WantedCsrBits(orb::vml::ThreadMode());
    const uint32_t saved = _mm_getcsr();
    if ((saved & kCsrMask) == wanted) [[likely]] return body();
    SwitchedControl(saved, wanted, body);
}

// A framed kernel: Body (out of line, also in the bodies table) under the
// control bits.
template <auto Body, class... A> inline void Framed(A... args) {
    UnderControl([=] { Body(args...); });
}

// True when the output [y, y+ybytes) and an input [x, x+xbytes) overlap
// without starting at the same address. The extents differ for complex
// magnitudes (a real per complex): a single extent either misses an output
// inside the input's upper part or sends disjoint arrays to the ordered
// element loop.
inline bool PartialOverlap(const void *y, size_t ybytes, const void *x, size_t xbytes) {
    const uintptr_t py = uintptr_t(y), px = uintptr_t(x);
    return py != px && py < px + xbytes && px < py + ybytes;
}
inline bool PartialOverlap(const void *y, const void *x, size_t bytes) {
    return PartialOverlap(y, bytes, x, bytes);
}

// Elements to peel so that y becomes 16-byte aligned, or -1 when y is not
// even element-aligned (then the tail loop does everything).
template <class T> inline int32_t PeelFor(const T *y) {
    const uintptr_t off = uintptr_t(y) & 15u;
    if (off % sizeof(T) != 0) return -1;
    return off == 0 ? 0 : int32_t((16u - off) / sizeof(T));
}

// Ops with a scalar repair pass for elements the fast formula gets wrong.
template <class Op> constexpr bool kHasFix = requires { Op::kFixes; };
// Complex ops that offer Parts(ar, ai, br, bi, &x, &y) on split real and
// imaginary parts, which the compiler vectorizes across elements.
template <class Op> constexpr bool kHasParts = requires { Op::kParts; };

// Drives a two-input elementwise body over n elements.
//   Op::Apply(a, b) -> result (pure)
//   Op::kReports: when true, Op::Flag(a, b) marks elements that
//   Op::Report(i, a, b, y) must report after the result is stored.
// Inputs of a block are loaded before its stores, so y may equal a or b.
template <class T, class Op>
inline void DriveBinary(int32_t n, const T *a, const T *b, T *y) {
    constexpr int32_t B = int32_t(64 / sizeof(T)) < 8 ? 8 : int32_t(64 / sizeof(T));
    auto one = [&](int32_t i) {
        const T x = a[i], z = b[i];
        T r = Op::Apply(x, z);
        if constexpr (kHasFix<Op>)
            if (Op::Bad(x, z, r)) r = Op::Fix(x, z);
        y[i] = r;
        if constexpr (Op::kReports)
            if (Op::Flag(x, z)) Op::Report(i, a, b, y);
    };
    const size_t bytes = size_t(n) * sizeof(T);
    if (n <= 6 || PartialOverlap(y, a, bytes) || PartialOverlap(y, b, bytes)) {
        int32_t i = 0;
        for (; i + 1 < n; i += 2) {
            one(i);
            one(i + 1);
        }
        if (i < n) one(i);
        return;
    }
    int32_t i = 0;
    const int32_t peel = PeelFor(y);
    if (peel >= 0 && n >= peel + B) {
        for (; i < peel; ++i) one(i);
        for (; i + B <= n; i += B) {
            T va[B], vb[B], vy[B];
            for (int32_t j = 0; j < B; ++j) {
                va[j] = a[i + j];
                vb[j] = b[i + j];
            }
            if constexpr (kHasParts<Op>) {
                using R = decltype(a->real);
                R ar[B], ai[B], br[B], bi[B], xr[B], xi[B];
                for (int32_t j = 0; j < B; ++j) {
                    ar[j] = va[j].real;
                    ai[j] = va[j].imag;
                    br[j] = vb[j].real;
                    bi[j] = vb[j].imag;
                }
                for (int32_t j = 0; j < B; ++j)
                    Op::Parts(ar[j], ai[j], br[j], bi[j], &xr[j], &xi[j]);
                for (int32_t j = 0; j < B; ++j) vy[j] = {xr[j], xi[j]};
            } else {
                for (int32_t j = 0; j < B; ++j) vy[j] = Op::Apply(va[j], vb[j]);
            }
            if constexpr (kHasFix<Op>) {
                int bad = 0;
                for (int32_t j = 0; j < B; ++j) bad |= int(Op::Bad(va[j], vb[j], vy[j]));
                if (bad)
                    for (int32_t j = 0; j < B; ++j)
                        if (Op::Bad(va[j], vb[j], vy[j])) vy[j] = Op::Fix(va[j], vb[j]);
            }
            int any = 0;
            if constexpr (Op::kReports)
                for (int32_t j = 0; j < B; ++j) any |= int(Op::Flag(va[j], vb[j]));
            for (int32_t j = 0; j < B; ++j) y[i + j] = vy[j];
            if constexpr (Op::kReports) {
                if (any) {
                    for (int32_t j = 0; j < B; ++j)
                        if (Op::Flag(va[j], vb[j])) Op::Report(i + j, a, b, y);
                }
            }
        }
    }
    for (; i < n; ++i) one(i);
}

// One-input form: Op::Apply(a) -> result; never reports.
template <class T, class R, class Op>
inline void DriveUnary(int32_t n, const T *a, R *y) {
    constexpr int32_t B = int32_t(64 / sizeof(T));
    if (n <= 6 || PartialOverlap(y, size_t(n) * sizeof(R), a, size_t(n) * sizeof(T))) {
        for (int32_t i = 0; i < n; ++i) y[i] = Op::Apply(a[i]);
        return;
    }
    int32_t i = 0;
    const int32_t peel = PeelFor(y);
    if (peel >= 0 && n >= peel + B) {
        for (; i < peel; ++i) y[i] = Op::Apply(a[i]);
        for (; i + B <= n; i += B) {
            T va[B];
            R vy[B];
            for (int32_t j = 0; j < B; ++j) va[j] = a[i + j];
            for (int32_t j = 0; j < B; ++j) vy[j] = Op::Apply(va[j]);
            for (int32_t j = 0; j < B; ++j) y[i + j] = vy[j];
        }
    }
    for (; i < n; ++i) y[i] = Op::Apply(a[i]);
}

}  // namespace vml
}  // namespace ORB_KNS

#endif
