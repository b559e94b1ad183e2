// Helpers of the vector-math tests: mode scoping, data with specials,
// bit-exact comparison, and which kernel-table slots this host can run.
#ifndef ORB_TESTS_VML_TEST_UTIL_H
#define ORB_TESTS_VML_TEST_UTIL_H

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "service/serv.h"
#include "vml/vml_frame.h"
#include "vml/vml_tables.h"

namespace orb::test {

// Sets the thread's mode word and status for a scope, restoring both.
class ModeScope {
public:
    explicit ModeScope(uint32_t mode) {
        old_mode_ = ServVmlGetMode();
        old_cb_ = ServVmlGetCallback();
        ServThreadStateGet()->vml_mode = mode;
    }
    ~ModeScope() {
        ServVmlSetCallback(old_cb_);
        ServThreadStateGet()->vml_mode = old_mode_;
    }

private:
    uint32_t old_mode_;
    VmlErrorCallback old_cb_;
};

// Slot s of a kernel table holds level s % 10: level 9 needs AVX2 and FMA,
// 8 AVX, 7 SSE4.2, the rest SSE2.
inline bool SlotRunnable(int slot) {
    const int level = slot % 10;
    if (level == 9) return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (level == 8) return __builtin_cpu_supports("avx");
    if (level == 7) return __builtin_cpu_supports("sse4.2");
    return true;
}

template <class T> std::vector<T> Specials() {
    using L = std::numeric_limits<T>;
    return {T(0), -T(0), T(1), -T(1), T(0.5), -T(0.5), T(2.5), -T(2.5),
            T(1.5), T(0.49999997), L::denorm_min(), -L::denorm_min(),
            L::min() / T(3), -L::min() * T(0.75), L::min(), L::max(),
            -L::max(), L::infinity(), -L::infinity(), L::quiet_NaN(),
            -L::quiet_NaN(), T(1e-30), T(3.0e30), T(123456.5), T(-7.5)};
}

// Random values over the whole exponent range, mixed with specials.
template <class T> std::vector<T> Data(size_t n, uint32_t seed) {
    std::mt19937_64 rng(seed);
    const std::vector<T> sp = Specials<T>();
    std::vector<T> v(n);
    std::uniform_real_distribution<double> unit(-4.0, 4.0);
    std::uniform_int_distribution<int> expo(-60, 60);
    for (size_t i = 0; i < n; ++i) {
        const unsigned r = unsigned(rng() % 8);
        if (r == 0) v[i] = sp[rng() % sp.size()];
        else if (r == 1) v[i] = T(std::ldexp(unit(rng), expo(rng) * 2));
        else if (r == 2) v[i] = T(std::round(unit(rng) * 8) / 2);  // halves
        else v[i] = T(unit(rng) * 100);
    }
    return v;
}

// Same bits, or both NaN.
template <class T> bool SameValue(T x, T y) {
    if (std::isnan(x) && std::isnan(y)) return true;
    return std::memcmp(&x, &y, sizeof x) == 0;
}

// Buffer with a chosen byte offset from a 64-byte boundary.
template <class T> class Shifted {
public:
    Shifted(size_t n, size_t offset) : raw_(n * sizeof(T) + 128) {
        uintptr_t p = uintptr_t(raw_.data());
        p = (p + 63) & ~uintptr_t(63);
        ptr_ = reinterpret_cast<T *>(p + offset);
    }
    T *get() { return ptr_; }

private:
    std::vector<unsigned char> raw_;
    T *ptr_;
};

}  // namespace orb::test

#endif
