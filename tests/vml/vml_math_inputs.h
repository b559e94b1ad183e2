// Test inputs of the root, power and arc-tangent kernels: random operands
// over the whole range plus the hard regions of each function (subnormals,
// near 1, near the overflow threshold, near the axes).
#ifndef ORB_TESTS_VML_MATH_INPUTS_H
#define ORB_TESTS_VML_MATH_INPUTS_H

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace orb::test {

template <typename T> struct Bits;
template <> struct Bits<double> { using U = uint64_t; static constexpr int kExpMin = -1074, kExpMax = 1023; };
template <> struct Bits<float> { using U = uint32_t; static constexpr int kExpMin = -149, kExpMax = 127; };

class InputGen {
public:
    explicit InputGen(uint64_t seed) : rng_(seed) {}
    double uniform(double lo, double hi) {
        return std::uniform_real_distribution<double>(lo, hi)(rng_);
    }
    int integer(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
    bool coin() { return (rng_() & 1) != 0; }
    // Any finite value with a uniformly random bit pattern (sign optional).
    template <typename T> T any_finite(bool negative_too) {
        using U = typename Bits<T>::U;
        for (;;) {
            U u = static_cast<U>(rng_());
            if (!negative_too) u &= ~(U(1) << (sizeof(U) * 8 - 1));
            T v;
            std::memcpy(&v, &u, sizeof v);
            if (std::isfinite(v)) return v;
        }
    }
    // 2^e (1 + f) with e uniform in [emin, emax]: every binade equally often.
    template <typename T> T log_uniform(int emin, int emax) {
        return static_cast<T>(std::ldexp(1.0 + uniform(0.0, 1.0), integer(emin, emax)));
    }
    template <typename T> T subnormal() {
        T v;
        do v = std::ldexp(static_cast<T>(uniform(0.0, 1.0)),
                          std::numeric_limits<T>::min_exponent - 1);
        while (v == 0);
        return v;
    }

private:
    std::mt19937_64 rng_;
};

// Operands of the one-argument functions: random bit patterns, subnormals,
// the neighbourhood of 1 and every residue of the exponent modulo 3; with
// negative_too, random signs.
template <typename T> std::vector<T> RandomRootOperands(uint64_t seed, bool negative_too, size_t count) {
    InputGen g(seed);
    std::vector<T> v(count);
    for (size_t i = 0; i < count; ++i) {
        T x;
        switch (i % 4) {
        case 0: x = g.any_finite<T>(negative_too); break;
        case 1: x = g.subnormal<T>(); break;
        case 2: x = static_cast<T>(1.0 + g.uniform(-1e-3, 1e-3)); break;
        default: x = static_cast<T>(g.uniform(1.0, 8.0)); break;
        }
        v[i] = (negative_too && g.coin()) ? -x : x;
    }
    return v;
}

}  // namespace orb::test

#endif
