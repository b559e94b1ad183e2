// Oracle of the root, power and arc-tangent tests: the exact value of
// a function as a double-double, and the error of a computed result in
// units of the last place of the element type.
#ifndef ORB_TESTS_VML_MATH_ORACLE_H
#define ORB_TESTS_VML_MATH_ORACLE_H

namespace orb::test {

enum class MathFn { Sqrt, Cbrt, InvCbrt, Pow, Atan2 };

struct ExactValue {
    double hi, lo;    // exact = (hi + lo) 2^scale to about 2^-106, hi in [1, 2)
                      // (hi carries the special values, with scale 0)
    int scale;
    double rounded;   // exact rounded to the element type, widened
};

// a and b are element values (b: exponent of Pow, x of Atan2).
ExactValue Reference(MathFn fn, double a, double b, bool single);

// |got - exact| in ulps of the element type; 0 for a matching special
// value (NaN, signed zero, infinity or correct overflow), 1e300 otherwise.
double UlpError(const ExactValue &x, double got, bool single);

}  // namespace orb::test

#endif
