// The entries' control-word rule on both of their paths: the kernel body
// run straight away when the caller's bits already are what the mode
// wants, the framed kernel otherwise. Inside: FTZ/DAZ as the mode's
// denormal field says, rounding to nearest; afterwards: the caller's
// control bits, with the exception flags raised inside kept.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <functional>
#include <string>
#include <vector>

#include "vml_test_util.h"

namespace {

using orb::test::Data;
using orb::test::ModeScope;
using orb::test::SameValue;

constexpr uint32_t kControl = 0xE040;  // FTZ, rounding control, DAZ
constexpr uint32_t kFlags = 0x3F;
constexpr uint32_t kInexact = 0x20;

// Operands whose results depend on every bit under test: random values
// (inexact, so the rounding direction shows), subnormal inputs (DAZ) and
// products that fall below the normal range (FTZ).
template <class T> std::vector<T> Operands(size_t n, uint32_t seed, bool tiny_products) {
    std::vector<T> v = Data<T>(n, seed);
    const T tiny = std::sqrt(std::numeric_limits<T>::min()) / T(3);
    for (size_t i = 0; i < n; i += 5) v[i] = tiny_products ? tiny : std::numeric_limits<T>::min() / T(7);
    return v;
}

// Reference element by element under the control bits the kernels must
// use (caller's other bits unchanged).
template <class T> T Ref(const std::string &op, T a, T b) {
    volatile T x = a, y = b;
    if (op == "Mul") return x * y;
    if (op == "Div") return x / y;
    if (op == "Sqr") return x * x;
    return x + y;  // Add, and the parts of the complex sum
}

struct Export {
    const char *name;
    const char *op;
    bool dbl;
    // Calls the export on n elements of parts a, b into y (complex exports
    // take n / 2 elements of interleaved parts).
    std::function<void(int, const void *, const void *, void *)> call;
};

std::vector<Export> Exports() {
    using C8 = VmlComplex8;
    using C16 = VmlComplex16;
    return {
        {"vdMul", "Mul", true, [](int n, const void *a, const void *b, void *y) {
             vdMul(n, (const double *)a, (const double *)b, (double *)y); }},
        {"vsMul", "Mul", false, [](int n, const void *a, const void *b, void *y) {
             vsMul(n, (const float *)a, (const float *)b, (float *)y); }},
        {"vsDiv", "Div", false, [](int n, const void *a, const void *b, void *y) {
             vsDiv(n, (const float *)a, (const float *)b, (float *)y); }},
        {"vdSqr", "Sqr", true, [](int n, const void *a, const void *, void *y) {
             vdSqr(n, (const double *)a, (double *)y); }},
        {"vzAdd", "Add", true, [](int n, const void *a, const void *b, void *y) {
             vzAdd(n / 2, (const C16 *)a, (const C16 *)b, (C16 *)y); }},
        {"vcAdd", "Add", false, [](int n, const void *a, const void *b, void *y) {
             vcAdd(n / 2, (const C8 *)a, (const C8 *)b, (C8 *)y); }},
    };
}

template <class T> void CheckExport(const Export &e, uint32_t caller, uint32_t denorm, int n) {
    const bool tiny_products = std::string(e.op) == "Mul" || std::string(e.op) == "Sqr";
    const std::vector<T> a = Operands<T>(n, 3, tiny_products), b = Operands<T>(n, 4, tiny_products);
    std::vector<T> y(n), want(n);
    const unsigned saved = _mm_getcsr();
    const uint32_t base = (saved & ~(kControl | kFlags));
    const uint32_t inside = denorm == 0x00280000u ? 0x8040u : 0u;  // and round to nearest
    _mm_setcsr(base | inside);
    for (int i = 0; i < n; ++i) want[i] = Ref<T>(e.op, a[i], b[i]);
    const uint32_t caller_csr = base | caller;
    _mm_setcsr(caller_csr);
    e.call(n, a.data(), b.data(), y.data());
    const unsigned after = _mm_getcsr();
    _mm_setcsr(saved);
    const std::string what = std::string(e.name) + " caller " + std::to_string(caller) + " denorm " +
                             std::to_string(denorm) + " n " + std::to_string(n);
    EXPECT_EQ(after & ~kFlags, caller_csr & ~kFlags) << what;
    EXPECT_NE(after & kInexact, 0u) << "inexact flag lost: " << what;
    for (int i = 0; i < n; ++i)
        ASSERT_TRUE(SameValue(want[i], y[i]))
            << what << " i " << i << " a=" << a[i] << " b=" << b[i] << " got " << y[i] << " want " << want[i];
}

TEST(VmlControlWord, BothEntryPathsKeepTheRule) {
    if (ServGetExtCpuLevel() == 0) GTEST_SKIP() << "level 0 runs the plain loops, which leave the control word alone";
    // Caller's bits under the mask: some equal to what a mode wants (body
    // path), the others not (framed path).
    const uint32_t callers[] = {0x0000, 0x8040, 0x6000, 0xC040, 0x0040, 0xA000};
    for (uint32_t denorm : {0u, 0x00140000u, 0x00280000u}) {
        ModeScope mode(0x0100 | 0x2 | denorm);
        for (const Export &e : Exports())
            for (uint32_t caller : callers)
                for (int n : {6, 98, 300}) {  // short, below the threading threshold, above
                    if (e.dbl) CheckExport<double>(e, caller, denorm, n);
                    else CheckExport<float>(e, caller, denorm, n);
                }
    }
}

}  // namespace
