// Error handler the kernels call for an exceptional element: records the
// status, fills the error context, calls the user callback, sets errno,
// prints the messages, raises the floating-point flag and writes the
// (possibly changed) results back.
#include <cerrno>
#include <cfloat>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "service/serv.h"
#include "vml/vml_frame.h"

static_assert(offsetof(VmlErrorContext, code) == 0);
static_assert(offsetof(VmlErrorContext, index) == 4);
static_assert(offsetof(VmlErrorContext, arg1) == 8);
static_assert(offsetof(VmlErrorContext, arg2) == 16);
static_assert(offsetof(VmlErrorContext, res1) == 24);
static_assert(offsetof(VmlErrorContext, res2) == 32);
static_assert(offsetof(VmlErrorContext, func_name) == 40);
static_assert(offsetof(VmlErrorContext, func_name_len) == 104);
static_assert(offsetof(VmlErrorContext, arg1_im) == 112);
static_assert(offsetof(VmlErrorContext, arg2_im) == 120);
static_assert(offsetof(VmlErrorContext, res1_im) == 128);
static_assert(offsetof(VmlErrorContext, res2_im) == 136);
static_assert(sizeof(VmlErrorContext) == 144);

namespace {

template <class T> struct Parts {
    static double Re(const T &v) { return double(v); }
    static double Im(const T &) { return 0.0; }
    static void Set(T &v, double re, double) { v = T(re); }
    static constexpr bool kComplex = false;
};
template <> struct Parts<VmlComplex8> {
    static double Re(const VmlComplex8 &v) { return v.real; }
    static double Im(const VmlComplex8 &v) { return v.imag; }
    static void Set(VmlComplex8 &v, double re, double im) {
        v.real = float(re);
        v.imag = float(im);
    }
    static constexpr bool kComplex = true;
};
template <> struct Parts<VmlComplex16> {
    static double Re(const VmlComplex16 &v) { return v.real; }
    static double Im(const VmlComplex16 &v) { return v.imag; }
    static void Set(VmlComplex16 &v, double re, double im) {
        v.real = re;
        v.imag = im;
    }
    static constexpr bool kComplex = true;
};

int ErrnoFor(int32_t code) {
    switch (code) {
    case -2: return EACCES;
    case -1: return EINVAL;
    case 0: return 0;
    case 1: return EDOM;
    case 2: case 3: case 4: return ERANGE;
    default: return EFAULT;
    }
}

// Equality where a NaN is unequal to everything.
bool Same(double x, double y) { return x == y; }

void PrintReport(const VmlErrorContext &c) {
    const char *name = c.func_name;
    const int k = c.index;
    switch (c.code) {
    case -1: ServPrintMessage(0, 735, 2, name, k); return;
    case -2: ServPrintMessage(0, 736, 1, name); return;
    case 0: return;
    case 1: ServPrintMessage(0, 737, 1, name); break;
    case 2: ServPrintMessage(0, 738, 1, name); break;
    case 3: ServPrintMessage(0, 739, 1, name); break;
    case 4: ServPrintMessage(0, 740, 1, name); break;
    default: ServPrintMessage(0, 741, 1, name); break;
    }
    const bool one_result = Same(c.res1, c.res2) || Same(c.res2, 0.0);
    if (Same(c.arg1, c.arg2) || Same(c.arg2, 0.0)) {
        if (one_result) {
            ServPrintMessage(0, 742, 2, k, c.arg1);
            ServPrintMessage(0, 743, 2, k, c.res1);
        } else {
            ServPrintMessage(0, 744, 2, k, c.arg1);
            ServPrintMessage(0, 745, 2, k, c.res1);
            ServPrintMessage(0, 746, 2, k, c.res2);
        }
    } else if (one_result) {
        ServPrintMessage(0, 747, 2, k, c.arg1);
        ServPrintMessage(0, 748, 2, k, c.arg2);
        ServPrintMessage(0, 749, 2, k, c.res1);
    } else {
        ServPrintMessage(0, 750, 2, k, c.arg1);
        ServPrintMessage(0, 751, 2, k, c.arg2);
        ServPrintMessage(0, 752, 2, k, c.res1);
        ServPrintMessage(0, 753, 2, k, c.res2);
    }
}

// A deliberate operation whose only effect is the floating-point flag.
void RaiseFlag(int32_t code) {
    volatile double x, y;
    switch (code) {
    case 1: x = 0.0; y = 0.0; break;
    case 2: x = 1.0; y = 0.0; break;
    case 3: x = DBL_MAX; y = DBL_MAX; break;
    case 4: x = DBL_MIN; y = DBL_MIN; break;
    default: return;
    }
    volatile double r = (code <= 2) ? x / y : x * y;
    (void)r;
}

template <class T>
void Report(int32_t code, int32_t i, const T *a1, const T *a2, T *r1, T *r2,
            const char *name) {
    using P = Parts<T>;
    ServThreadState *st = ServThreadStateGet();
    st->vml_status = code;
    const uint32_t mode = ServVmlGetMode();
    if ((mode & VmlModeErrorMask) == VmlErrIgnore) return;

    VmlErrorContext c;
    std::memset(&c, 0, sizeof c);
    c.code = code;
    c.index = i;
    if (st->vml_argbase != nullptr) {
        const ptrdiff_t bytes = reinterpret_cast<const char *>(a1) -
                                static_cast<const char *>(st->vml_argbase);
        c.index = int32_t(i + bytes / ptrdiff_t(sizeof(T)));
    }
    size_t len = name ? std::strlen(name) : 0;
    if (len > 63) len = 63;  // the record keeps its terminator
    if (len) std::memcpy(c.func_name, name, len);
    c.func_name_len = int32_t(len);
    const bool values = code != -1 && code != -2;
    if (values) {
        c.arg1 = P::Re(a1[i]);
        c.arg2 = P::Re(a2[i]);
        c.res1 = P::Re(r1[i]);
        c.res2 = P::Re(r2[i]);
        if constexpr (P::kComplex) {
            c.arg1_im = P::Im(a1[i]);
            c.arg2_im = P::Im(a2[i]);
            c.res1_im = P::Im(r1[i]);
            c.res2_im = P::Im(r2[i]);
        }
    }

    const VmlErrorCallback cb =
        reinterpret_cast<VmlErrorCallback>(st->vml_callback);
    if ((mode & VmlErrCallbackNibble) && cb != nullptr) {
        if (cb(&c) != 0) return;
    }
    if (mode & VmlErrDefaultNibble) {
        if (mode & VmlErrSetErrno) errno = ErrnoFor(code);
        if (mode & VmlErrPrint) PrintReport(c);
        if (mode & VmlErrRaise) RaiseFlag(code);
    }
    if (values) {
        P::Set(r2[i], c.res2, c.res2_im);
        P::Set(r1[i], c.res1, c.res1_im);
    }
}

}  // namespace

extern "C" void ServVmlReportErrorS(int32_t code, int32_t i, const float *a1,
                                    const float *a2, float *r1, float *r2,
                                    const char *name) {
    Report(code, i, a1, a2, r1, r2, name);
}
extern "C" void ServVmlReportErrorD(int32_t code, int32_t i, const double *a1,
                                    const double *a2, double *r1, double *r2,
                                    const char *name) {
    Report(code, i, a1, a2, r1, r2, name);
}
extern "C" void ServVmlReportErrorC(int32_t code, int32_t i,
                                    const VmlComplex8 *a1,
                                    const VmlComplex8 *a2, VmlComplex8 *r1,
                                    VmlComplex8 *r2, const char *name) {
    Report(code, i, a1, a2, r1, r2, name);
}
extern "C" void ServVmlReportErrorZ(int32_t code, int32_t i,
                                    const VmlComplex16 *a1,
                                    const VmlComplex16 *a2, VmlComplex16 *r1,
                                    VmlComplex16 *r2, const char *name) {
    Report(code, i, a1, a2, r1, r2, name);
}
