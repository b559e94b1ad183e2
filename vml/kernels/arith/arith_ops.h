// Elementwise bodies of the real arithmetic functions, shared by every level.
#ifndef ORB_VML_ARITH_OPS_H
#define ORB_VML_ARITH_OPS_H

#include <stdint.h>
#include <string.h>

#include "vml/vml_frame.h"

// Inside the level namespace: every level keeps its own copy of these
// inline templates (one shared copy would run one level's code for all).
namespace ORB_KNS {
namespace vml {

template <class T> struct FloatBits;
template <> struct FloatBits<float> {
    using U = uint32_t;
    static constexpr U kSign = 0x80000000u, kExp = 0x7F800000u;
    static constexpr float kTwoToMant = 8388608.0f;  // 2^23
    static constexpr const char *kDivName = "vsDiv";
};
template <> struct FloatBits<double> {
    using U = uint64_t;
    static constexpr U kSign = 0x8000000000000000ull,
                       kExp = 0x7FF0000000000000ull;
    static constexpr double kTwoToMant = 4503599627370496.0;  // 2^52
    static constexpr const char *kDivName = "vdDiv";
};

template <class T> inline typename FloatBits<T>::U Bits(T x) {
    typename FloatBits<T>::U u;
    memcpy(&u, &x, sizeof u);
    return u;
}
template <class T> inline T FromBits(typename FloatBits<T>::U u) {
    T x;
    memcpy(&x, &u, sizeof x);
    return x;
}
// +-1.0 with the sign of x.
template <class T> inline T SignOne(T x) {
    return FromBits<T>((Bits(x) & FloatBits<T>::kSign) | Bits(T(1)));
}

struct OpAdd { static constexpr bool kReports = false;
    template <class T> static T Apply(T a, T b) { return a + b; } };
struct OpSub { static constexpr bool kReports = false;
    template <class T> static T Apply(T a, T b) { return a - b; } };
struct OpMul { static constexpr bool kReports = false;
    template <class T> static T Apply(T a, T b) { return a * b; } };

// Division; a zero divisor with a finite dividend (0/0 included) reports
// status 2. Operands with an all-ones exponent are divided unchecked.
struct OpDiv {
    static constexpr bool kReports = true;
    template <class T> static T Apply(T a, T b) { return a / b; }
    template <class T> static bool Flag(T a, T b) {
        // a - a is 0 exactly for finite a, NaN for infinities and NaNs.
        return (b == T(0)) & (a - a == T(0));
    }
    template <class T>
    static void Report(int32_t i, const T *a, const T *b, T *y) {
        ServVmlReportError(VmlStatusSing, i, a, b, y, y,
                           FloatBits<T>::kDivName);
    }
};

struct OpSqr { template <class T> static T Apply(T a) { return a * a; } };

// |a| as a times +-1 of its own sign: a NaN passes through the multiply.
struct OpAbs { template <class T> static T Apply(T a) { return a * SignOne(a); } };

// Nearest integer, halfway cases away from zero. Works under round to
// nearest (which the control rule guarantees): adding and removing 2^52
// (2^23) rounds |a| to an integer, corrected down to the truncation, then
// the halves bit decides the step up.
struct OpRound {
    template <class T> static T Apply(T a) {
        const T big = FloatBits<T>::kTwoToMant;
        const T ax = FromBits<T>(Bits(a) & ~FloatBits<T>::kSign);
        T r = (ax + big) - big;
        r = r > ax ? r - T(1) : r;
        r = (ax - r) >= T(0.5) ? r + T(1) : r;
        const T signed_r =
            FromBits<T>(Bits(r) | (Bits(a) & FloatBits<T>::kSign));
        return ax < big ? signed_r : a * T(1);
    }
};

// Level-0 absolute value: clear the sign bit.
struct OpAbsPlain {
    template <class T> static T Apply(T a) {
        return FromBits<T>(Bits(a) & ~FloatBits<T>::kSign);
    }
};

}  // namespace vml
}  // namespace ORB_KNS

#endif
