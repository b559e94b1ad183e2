// Every arithmetic kernel of every table slot against the scalar IEEE
// operation, bit for bit: random data with specials, n = 0..40 and large n,
// every 4-byte alignment of each array, in place on either input (short
// and large n), overlapping arrays, FTZ/DAZ on and off, the caller's MXCSR
// kept.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <string>

#include "service/serv.h"
#include "vml_test_util.h"

namespace {

using orb::test::Data;
using orb::test::ModeScope;
using orb::test::SameValue;
using orb::test::Shifted;
using orb::test::SlotRunnable;

constexpr uint32_t kQuiet = 0x0100 | 0x2;  // ignore errors, accuracy 2

// Halfway away from zero from trunc alone: some C runtimes' round() adds
// one half first and rounds the largest value below one half up.
template <class T> T RoundHalfAway(T x) {
    const T t = std::trunc(x);
    return std::fabs(x - t) >= T(0.5) ? t + std::copysign(T(1), x) : t;
}

// Reference under the caller's MXCSR as set by the test.
template <class T> T RefOp(const std::string &op, T a, T b) {
    volatile T x = a, y = b;
    if (op == "Add") return x + y;
    if (op == "Sub") return x - y;
    if (op == "Mul") return x * y;
    if (op == "Div") return x / y;
    if (op == "Sqr") return x * x;
    volatile T one = 1;
    if (op == "Abs") return std::fabs(x) * one;  // a flushed input gives +0
    if (op == "Round") return RoundHalfAway<T>(x);
    ADD_FAILURE() << op;
    return 0;
}

struct Fn {
    const char *op;
    bool unary;
    const void *table;  // VmlBinaryKernel* or VmlUnaryKernel* [32]
};

// The framed kernels, or with bodies the same kernels without the
// control-word frame (what the entries run when the bits need no change).
#define ORB_FN(op, unary)                                                               \
    {#op, unary,                                                                        \
     sizeof(T) == 4 ? (bodies ? (const void *)vml_bodies_vs##op : (const void *)vml_kernels_vs##op) \
                    : (bodies ? (const void *)vml_bodies_vd##op : (const void *)vml_kernels_vd##op)}
template <class T> std::vector<Fn> Functions(bool bodies = false) {
    return {ORB_FN(Add, false), ORB_FN(Sub, false), ORB_FN(Mul, false), ORB_FN(Div, false),
            ORB_FN(Sqr, true),  ORB_FN(Abs, true),  ORB_FN(Round, true)};
}
#undef ORB_FN

template <class T>
using Bin = void (*)(int32_t, const T *, const T *, T *);
template <class T> using Un = void (*)(int32_t, const T *, T *);

template <class T>
void Call(const Fn &f, int slot, int32_t n, const T *a, const T *b, T *y) {
    if (f.unary)
        static_cast<const Un<T> *>(f.table)[slot](n, a, y);
    else
        static_cast<const Bin<T> *>(f.table)[slot](n, a, b, y);
}

// Checks y against the reference for the given inputs (copies taken
// before the call, so in-place calls compare against the original data).
template <class T>
void Expect(const Fn &f, int slot, int32_t n, const T *a, const T *b,
            const T *y, const char *what, int detail = 0) {
    for (int32_t i = 0; i < n; ++i) {
        const T want = RefOp<T>(f.op, a[i], b[i]);
        if (!SameValue(want, y[i])) {
            ADD_FAILURE() << f.op << " slot " << slot << " n " << n << " i " << i
                          << " " << what << " " << detail << ": a=" << a[i] << " b=" << b[i]
                          << " got " << y[i] << " want " << want;
            return;
        }
    }
}

template <class T> void RunAllSlots(uint32_t seed, bool bodies) {
    ModeScope mode(kQuiet);
    const std::vector<T> a0 = Data<T>(4200, seed), b0 = Data<T>(4200, seed + 1);
    for (const Fn &f : Functions<T>(bodies)) {
        for (int slot = 0; slot < 30; ++slot) {
            if (!SlotRunnable(slot)) continue;
            // Sizes 0..40 at every alignment triple of 0/4/8/12 bytes.
            for (int oa = 0; oa < 16; oa += 4)
                for (int ob = 0; ob < 16; ob += 4)
                    for (int oy = 0; oy < 16; oy += 4) {
                        Shifted<T> A(41, oa), B(41, ob), Y(41, oy);
                        for (int32_t n = 0; n <= 40; ++n) {
                            std::memcpy(A.get(), a0.data() + n, n * sizeof(T));
                            std::memcpy(B.get(), b0.data() + n, n * sizeof(T));
                            Call(f, slot, n, A.get(), B.get(), Y.get());
                            Expect(f, slot, n, A.get(), B.get(), Y.get(), "offsets",
                                   oa * 100 + ob * 10 + oy);
                        }
                    }
            // Sizes 0..40 in place on either input, at every 4-byte alignment:
            // the vectors that repeat elements must see the original inputs.
            for (int oy = 0; oy < 16; oy += 4)
                for (bool on_b : {false, true}) {
                    if (on_b && f.unary) continue;
                    Shifted<T> A(41, oy), B(41, oy);
                    for (int32_t n = 0; n <= 40; ++n) {
                        std::memcpy(A.get(), a0.data() + n, n * sizeof(T));
                        std::memcpy(B.get(), b0.data() + n, n * sizeof(T));
                        T *y = on_b ? B.get() : A.get();
                        Call(f, slot, n, A.get(), B.get(), y);
                        Expect(f, slot, n, a0.data() + n, b0.data() + n, y,
                               on_b ? "y == b" : "y == a", oy);
                    }
                }
            // Large n, separate and in place on either input.
            for (int32_t n : {1000, 4099}) {
                std::vector<T> a = a0, b = b0, y(n);
                Call(f, slot, n, a.data(), b.data(), y.data());
                Expect(f, slot, n, a0.data(), b0.data(), y.data(), "separate");
                Call(f, slot, n, a.data(), b.data(), a.data());
                Expect(f, slot, n, a0.data(), b0.data(), a.data(), "y == a");
                if (!f.unary) {
                    a = a0;
                    Call(f, slot, n, a.data(), b.data(), b.data());
                    Expect(f, slot, n, a0.data(), b0.data(), b.data(), "y == b");
                }
            }
            // Overlap: y starts inside a (by 3 elements, either direction).
            for (int shift : {3, -3}) {
                const int32_t n = 500;
                std::vector<T> buf(n + 8), b = b0;
                std::copy(a0.begin(), a0.begin() + n + 8, buf.begin());
                T *a = buf.data() + 4;
                T *y = a + shift;
                // Reference: sequential semantics element by element.
                std::vector<T> ref = buf;
                for (int32_t i = 0; i < n; ++i)
                    ref[4 + shift + i] = RefOp<T>(f.op, ref[4 + i], b[i]);
                Call(f, slot, n, a, b.data(), y);
                for (size_t i = 0; i < buf.size(); ++i)
                    ASSERT_TRUE(SameValue(ref[i], buf[i]))
                        << f.op << " overlap " << shift << " slot " << slot << " i " << i;
            }
        }
    }
}

TEST(VmlArithKernels, EverySlotMatchesIeee) {
    for (bool bodies : {false, true}) {
        RunAllSlots<double>(11, bodies);
        RunAllSlots<float>(23, bodies);
    }
}

// Flush-to-zero / denormals-are-zero by mode, round to nearest forced
// inside, the caller's control bits restored.
template <class T> void FlushAndControl() {
    const std::vector<T> a0 = Data<T>(300, 5), b0 = Data<T>(300, 6);
    const uint32_t caller_csr = (_mm_getcsr() & ~0xE040u) | 0x6000u;  // round toward zero
    for (uint32_t denorm : {0u, 0x00140000u, 0x00280000u}) {
        ModeScope mode(kQuiet | denorm);
        const bool flush = denorm == 0x00280000u;
        for (const Fn &f : Functions<T>()) {
            for (int slot = 1; slot < 30; ++slot) {
                if (!SlotRunnable(slot) || slot % 10 == 0) continue;
                std::vector<T> y(300), want(300);
                const unsigned saved = _mm_getcsr();
                _mm_setcsr((saved & ~0xE040u) | (flush ? 0x8040u : 0u));
                for (int i = 0; i < 300; ++i) want[i] = RefOp<T>(f.op, a0[i], b0[i]);
                _mm_setcsr(caller_csr);
                Call(f, slot, 300, a0.data(), b0.data(), y.data());
                const unsigned after = _mm_getcsr();
                _mm_setcsr(saved);
                EXPECT_EQ(after & 0xE040u, caller_csr & 0xE040u) << f.op << " slot " << slot;
                for (int i = 0; i < 300; ++i)
                    ASSERT_TRUE(SameValue(want[i], y[i]))
                        << f.op << " slot " << slot << " flush " << flush << " i " << i
                        << " a=" << a0[i] << " b=" << b0[i] << " got " << y[i];
            }
        }
    }
}
TEST(VmlArithKernels, FlushModesAndControlWord) {
    FlushAndControl<double>();
    FlushAndControl<float>();
    // Through the export too: the flush field decides a subnormal product.
    const double a = 1e-160;
    for (uint32_t denorm : {0x00280000u, 0u}) {
        ModeScope mode(kQuiet | denorm);
        double y;
        vdMul(1, &a, &a, &y);
        EXPECT_EQ(y, denorm ? 0.0 : 1e-160 * 1e-160);
        EXPECT_EQ(y > 0.0, denorm == 0);
    }
}

// Halfway and near-halfway values, repeated so that every case also runs
// through the vector loop of each slot.
TEST(VmlArithKernels, RoundCases) {
    struct Case { double in, out; };
    const Case cases[] = {{2.5, 3.0}, {-2.5, -3.0}, {0.49, 0.0}, {-0.3, -0.0},
                          {0.5, 1.0}, {-0.5, -1.0}, {0.99, 1.0}, {1.5, 2.0},
                          {0.49999999999999994, 0.0}, {-0.49999999999999994, -0.0},
                          {4503599627370495.5, 4503599627370496.0},
                          {9007199254740993.0, 9007199254740993.0}};
    constexpr int kCases = sizeof cases / sizeof cases[0], n = 4 * kCases;
    double in[n], out[n];
    for (int i = 0; i < n; ++i) in[i] = cases[i % kCases].in;
    ModeScope mode(kQuiet);
    for (int slot = 0; slot < 30; ++slot) {
        if (!SlotRunnable(slot)) continue;
        vml_kernels_vdRound[slot](n, in, out);
        for (int i = 0; i < n; ++i)
            EXPECT_TRUE(SameValue(out[i], cases[i % kCases].out)) << in[i] << " slot " << slot;
    }
}

}  // namespace
