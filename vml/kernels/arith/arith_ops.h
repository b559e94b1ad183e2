// Elementwise bodies of the real arithmetic functions, shared by every level.
#ifndef ORB_VML_ARITH_OPS_H
#define ORB_VML_ARITH_OPS_H

#include <stdint.h>
#include <string.h>

#include "vml/kernels/arith/simd.h"
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
    static constexpr float kHalfBelow = 0.49999997f;  // 0.5 - 2^-25
    static constexpr const char *kDivName = "vsDiv";
};
template <> struct FloatBits<double> {
    using U = uint64_t;
    static constexpr U kSign = 0x8000000000000000ull,
                       kExp = 0x7FF0000000000000ull;
    static constexpr double kTwoToMant = 4503599627370496.0;  // 2^52
    static constexpr double kHalfBelow = 0.49999999999999994;  // 0.5 - 2^-54
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
// ---- one spelling for scalars and vectors ----
// Lane traits: element type and same-size unsigned bits of a scalar or of a
// level's vector type.
template <class X> struct Lanes;
template <> struct Lanes<float> { using T = float; using U = uint32_t; };
template <> struct Lanes<double> { using T = double; using U = uint64_t; };
template <> struct Lanes<VecF> { using T = float; using U = VecFU; };
template <> struct Lanes<VecD> { using T = double; using U = VecDU; };

template <class X> inline typename Lanes<X>::U ToBits(X x) {
    if constexpr (sizeof(X) == sizeof(typename Lanes<X>::T)) return Bits(x);
    else return BitCast<typename Lanes<X>::U>(x);
}
template <class X> inline X FromBitsAs(typename Lanes<X>::U u) {
    if constexpr (sizeof(X) == sizeof(typename Lanes<X>::T)) return FromBits<X>(u);
    else return BitCast<X>(u);
}
// v in every lane (lane by lane: adding v to a zero vector would turn -0
// into +0).
template <class X> inline X Splat(typename Lanes<X>::T v) {
    if constexpr (sizeof(X) == sizeof(v)) {
        return v;
    } else {
        X r;
        for (size_t k = 0; k < sizeof(X) / sizeof(v); ++k) r[k] = v;
        return r;
    }
}
inline float Pick(bool m, float x, float y) { return m ? x : y; }
inline double Pick(bool m, double x, double y) { return m ? x : y; }
template <class M, class X> inline X Pick(M m, X x, X y) {
    return Select(BitCast<typename Lanes<X>::U>(m), x, y);
}

struct OpAdd { static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X b) { return a + b; } };
struct OpSub { static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X b) { return a - b; } };
struct OpMul { static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X b) { return a * b; } };

// Division; a zero divisor with a finite dividend (0/0 included) reports
// status 2. Operands with an all-ones exponent are divided unchecked.
struct OpDiv {
    static constexpr bool kReports = true;
    template <class X> static X Apply(X a, X b) { return a / b; }
    // Lanes that may need a report (cheap vector test, exact test per lane).
    template <class X> static auto Suspect(X b) { return b == typename Lanes<X>::T(0); }
    template <class T> static bool Flag(T a, T b) {
        // Exponent bits decide finiteness without raising "invalid".
        return (b == T(0)) & ((Bits(a) & FloatBits<T>::kExp) != FloatBits<T>::kExp);
    }
    template <class T>
    static void Report(int32_t i, const T *a, const T *b, T *y) {
        ServVmlReportError(VmlStatusSing, i, a, b, y, y,
                           FloatBits<T>::kDivName);
    }
};

// One-input bodies take a second, ignored operand (the loop passes the
// input twice) so that one loop driver serves both shapes.
struct OpSqr { static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X) { return a * a; } };

// |a| as the sign bit cleared from a + 0: the addition (which the compiler
// cannot drop, it turns -0 into +0) makes a subnormal input flush like any
// arithmetic result under DAZ, and a NaN passes through. Two cheap
// operations a vector; a multiply by +-1 of its own sign cost a blend more.
struct OpAbs {
    static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X) {
        using T = typename Lanes<X>::T;
        const X s = a + Splat<X>(T(0));
        return FromBitsAs<X>(ToBits(s) & ~ToBits(Splat<X>(T(-0.0))));
    }
};

// Nearest integer, halfway cases away from zero. Works under round to
// nearest (which the control rule guarantees): adding and removing 2^52
// (2^23) rounds |a| to an integer, corrected down to the truncation, then
// the halves bit decides the step up.
struct OpRound {
    static constexpr bool kReports = false;
    template <class X> static X Apply(X a, X) {
        using T = typename Lanes<X>::T;
        if constexpr (kHasTrunc) {
            // Truncation of a + (0.5 - ulp/2) with a's sign: exact, and
            // equal to the form below for every input.
            const X half = FromBitsAs<X>((ToBits(a) & ToBits(Splat<X>(T(-0.0)))) |
                                         ToBits(Splat<X>(FloatBits<T>::kHalfBelow)));
            return Trunc(a + half);
        }
        const T big = FloatBits<T>::kTwoToMant;
        const X one = Splat<X>(T(1)), zero = Splat<X>(T(0));
        const auto sign = ToBits(a) & ToBits(Splat<X>(T(-0.0)));
        const X ax = FromBitsAs<X>(ToBits(a) ^ sign);
        X r = (ax + big) - big;
        r = r - Pick(r > ax, one, zero);
        r = r + Pick((ax - r) >= T(0.5), one, zero);
        const X signed_r = FromBitsAs<X>(ToBits(r) | sign);
        return Pick(ax < big, signed_r, a * T(1));
    }
};

}  // namespace vml
}  // namespace ORB_KNS

#endif
