// Plain reference loops for the BLAS-1 tests, written from the definition
// of a strided vector, with byte-wise element access so that pointers that
// are not element-aligned are fine too.
#ifndef ORB_TESTS_BLAS1_REFERENCE_H
#define ORB_TESTS_BLAS1_REFERENCE_H

#include <cmath>
#include <cstdint>
#include <cstring>

namespace blas1_ref {

// Position (in elements) of element i of a vector of n with increment inc.
inline int64_t Pos(int64_t i, int64_t n, int64_t inc) {
    return inc >= 0 ? i * inc : (n - 1 - i) * -inc;
}

template <typename T> T Get(const unsigned char *base, int64_t pos) {
    T v;
    std::memcpy(&v, base + pos * int64_t(sizeof(T)), sizeof v);
    return v;
}
template <typename T> void Put(unsigned char *base, int64_t pos, T v) {
    std::memcpy(base + pos * int64_t(sizeof(T)), &v, sizeof v);
}

template <typename T>
void Copy(int n, const unsigned char *x, int incx, unsigned char *y, int incy) {
    for (int64_t i = 0; i < n; ++i) Put<T>(y, Pos(i, n, incy), Get<T>(x, Pos(i, n, incx)));
}

template <typename T>
void Scal(int n, T alpha, unsigned char *x, int incx) {
    const int64_t step = incx < 0 ? -int64_t(incx) : incx;
    for (int64_t i = 0; i < n; ++i) Put<T>(x, i * step, T(alpha * Get<T>(x, i * step)));
}

// 1-based index of the first element of largest magnitude; 0 when empty.
template <typename T>
int Iamax(int n, const unsigned char *x, int incx) {
    if (n <= 0 || incx <= 0) return 0;
    int best = 0;
    T m = std::fabs(Get<T>(x, 0));
    for (int64_t i = 1; i < n; ++i) {
        T v = std::fabs(Get<T>(x, i * incx));
        if (v > m) { m = v; best = int(i); }
    }
    return best + 1;
}

}  // namespace blas1_ref

#endif
