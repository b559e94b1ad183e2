// CBLAS level-1. Every level's copy, scale and index-of-maximum variant,
// called directly, against plain reference loops: sizes around every peel
// and block boundary, every element offset and byte misalignment of the
// pointers, every sign and zero of the increments; guard bytes around the
// arrays must stay. Then the copy driver's decisions and threaded path, the
// exported shims on their edge cases, and the process-wide settings.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "blas1/blas1.h"
#include "orb_cblas.h"
#include "service/threads.h"
#include "support/process_harness.h"

namespace {

// Reference loops, written from the definition of a strided vector, with
// byte-wise element access so that misaligned pointers are fine too.
namespace ref {

// Position (in elements) of element i of a vector of n with increment inc.
int64_t Pos(int64_t i, int64_t n, int64_t inc) { return inc >= 0 ? i * inc : (n - 1 - i) * -inc; }

template <typename T> T Get(const void *base, int64_t pos) {
    T v;
    std::memcpy(&v, static_cast<const unsigned char *>(base) + pos * int64_t(sizeof(T)), sizeof v);
    return v;
}
template <typename T> void Put(void *base, int64_t pos, T v) {
    std::memcpy(static_cast<unsigned char *>(base) + pos * int64_t(sizeof(T)), &v, sizeof v);
}

template <typename T> void Copy(int n, const void *x, int incx, void *y, int incy) {
    for (int64_t i = 0; i < n; ++i) Put<T>(y, Pos(i, n, incy), Get<T>(x, Pos(i, n, incx)));
}

template <typename T> void Scal(int n, T alpha, void *x, int incx) {
    const int64_t step = incx < 0 ? -int64_t(incx) : incx;
    for (int64_t i = 0; i < n; ++i) Put<T>(x, i * step, T(alpha * Get<T>(x, i * step)));
}

// 1-based index of the first element of largest magnitude; 0 when empty.
template <typename T> int Iamax(int n, const void *x, int incx) {
    if (n <= 0 || incx <= 0) return 0;
    int best = 0;
    T m = std::fabs(Get<T>(x, 0));
    for (int64_t i = 1; i < n; ++i) {
        T v = std::fabs(Get<T>(x, i * incx));
        if (v > m) { m = v; best = int(i); }
    }
    return best + 1;
}

}  // namespace ref

constexpr int kLevels[] = {2, 3, 4, 5, 6, 7};
constexpr int kPad = 64;  // guard bytes on each side

// Unit stride: every size through several blocks of the widest level and
// around the index-of-maximum pass length; strided walks unroll by 4 only.
std::vector<int> Sizes(bool unit) {
    std::vector<int> s;
    for (int n = -1; n <= (unit ? 70 : 20); ++n) s.push_back(n);
    if (unit) s.insert(s.end(), {127, 128, 129, 255, 256, 511, 512, 513, 1024, 1031, 2048 + 17});
    else s.insert(s.end(), {31, 32, 33, 63});
    return s;
}

// Byte offsets from a 64-byte boundary: element offsets and misalignments.
template <typename T> std::vector<int> Offsets() {
    std::vector<int> o;
    for (int e = 0; e < 8; ++e) o.push_back(e * int(sizeof(T)));
    o.insert(o.end(), {1, int(sizeof(T)) + 3});
    return o;
}

// Every case of a one- or two-vector kernel: increments, sizes, offsets
// (all pairs for short unit-stride copies, otherwise each pointer misplaced
// while the other sits on a boundary).
template <typename T, typename F> void Sweep(bool two, F f) {
    const std::vector<int> incs = {-3, -2, -1, 0, 1, 2, 3}, one = {1}, zero = {0};
    for (int level : kLevels) for (int incx : incs) for (int incy : two ? incs : one) {
        for (int n : Sizes(incx == 1 && incy == 1)) {
            const bool full = two && incx == 1 && incy == 1 && n <= 70;
            for (int ox : Offsets<T>()) for (int oy : two ? Offsets<T>() : zero)
                if ((full || ox == 0 || oy == 0) && !::testing::Test::HasFatalFailure())
                    f(level, n, incx, incy, ox, oy);
        }
    }
}

// Equal bit for bit, except that any NaN matches any NaN (which operand's
// payload a product of two NaNs keeps is the compiler's choice).
template <typename T> bool SameValues(const void *a, const void *b, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        T u = ref::Get<T>(a, i), v = ref::Get<T>(b, i);
        if (std::memcmp(&u, &v, sizeof u) != 0 && !(u != u && v != v)) return false;
    }
    return true;
}

// Elements of a vector of n with increment inc, guarded by kPad bytes.
template <typename T> struct Buffer {
    std::vector<unsigned char> raw;
    unsigned char *data;
    int64_t count;
    Buffer(int n, int inc, int offset) : count(n <= 0 ? 1 : (int64_t(n) - 1) * std::abs(inc) + 1) {
        raw.assign(size_t(count) * sizeof(T) + 2 * kPad + 128, 0xA5);
        uintptr_t p = (reinterpret_cast<uintptr_t>(raw.data()) + kPad + 63) & ~uintptr_t(63);
        data = reinterpret_cast<unsigned char *>(p + uintptr_t(offset));
    }
    T *ptr() const { return reinterpret_cast<T *>(data); }
    void Fill(std::mt19937 &rng, bool ties) {
        std::uniform_real_distribution<double> u(-100.0, 100.0);
        std::uniform_int_distribution<int> small(-6, 6);
        for (int64_t i = 0; i < count; ++i) ref::Put<T>(data, i, ties ? T(small(rng)) : T(u(rng)));
    }
    void CopyFrom(const Buffer &o) { std::memcpy(data - kPad, o.data - kPad, size_t(count) * sizeof(T) + 2 * kPad); }
    bool SameGuardsAs(const Buffer &o) const {
        const int64_t end = count * int64_t(sizeof(T));
        return std::memcmp(data - kPad, o.data - kPad, kPad) == 0 && std::memcmp(data + end, o.data + end, kPad) == 0;
    }
};

template <typename T, typename Slot> void CheckCopy(Slot &slot) {
    std::mt19937 rng(11);
    Sweep<T>(true, [&](int level, int n, int incx, int incy, int ox, int oy) {
        Buffer<T> x(n, incx, ox), y(n, incy, oy), want(n, incy, oy);
        x.Fill(rng, false);
        want.CopyFrom(y);
        ref::Copy<T>(n, x.data, incx, want.data, incy);
        slot.ForLevel(level)(&n, x.ptr(), &incx, y.ptr(), &incy);
        ASSERT_TRUE(y.SameGuardsAs(want) && std::memcmp(y.data, want.data, size_t(y.count) * sizeof(T)) == 0)
            << "level " << level << " n " << n << " incx " << incx << " incy " << incy << " offsets " << ox << "," << oy;
    });
}

template <typename T, typename Slot> void CheckScal(Slot &slot) {
    std::mt19937 rng(12);
    const T specials[] = {T(2.5), T(0), T(1), T(-1), std::numeric_limits<T>::quiet_NaN()};
    Sweep<T>(false, [&](int level, int n, int inc, int, int off, int) {
        for (T alpha : specials) {
            if (inc != 1 && !(alpha == specials[0])) continue;
            Buffer<T> x(n, inc, off), want(n, inc, off);
            x.Fill(rng, false);
            if (x.count > 3) {  // an infinity and a NaN among the data
                ref::Put<T>(x.data, x.count / 2, std::numeric_limits<T>::infinity());
                ref::Put<T>(x.data, x.count - 1, -std::numeric_limits<T>::quiet_NaN());
            }
            want.CopyFrom(x);
            ref::Scal<T>(n, alpha, want.data, inc);
            slot.ForLevel(level)(&n, &alpha, x.ptr(), &inc);
            ASSERT_TRUE(x.SameGuardsAs(want) && SameValues<T>(x.data, want.data, x.count))
                << "level " << level << " n " << n << " inc " << inc << " offset " << off << " alpha " << alpha;
        }
    });
}

template <typename T, typename Slot> void CheckIamax(Slot &slot) {
    std::mt19937 rng(13);
    Sweep<T>(false, [&](int level, int n, int inc, int, int off, int) {
        auto kernel = slot.ForLevel(level);
        for (bool ties : {false, true}) {
            Buffer<T> x(n, inc, off);
            x.Fill(rng, ties);
            ASSERT_EQ(kernel(&n, x.ptr(), &inc), ref::Iamax<T>(n, x.data, inc))
                << "level " << level << " n " << n << " inc " << inc << " offset " << off;
            if (n >= 1 && inc >= 1) {  // a NaN first always gives 1
                ref::Put<T>(x.data, 0, std::numeric_limits<T>::quiet_NaN());
                ASSERT_EQ(kernel(&n, x.ptr(), &inc), 1) << "level " << level << " n " << n;
            }
        }
    });
}

TEST(Blas1Kernels, Copy) {
    CheckCopy<double>(orb::blas1::DcopySlot());
    CheckCopy<float>(orb::blas1::ScopySlot());
}
TEST(Blas1Kernels, Scal) {
    CheckScal<double>(orb::blas1::DscalSlot());
    CheckScal<float>(orb::blas1::SscalSlot());
}
TEST(Blas1Kernels, Iamax) {
    CheckIamax<double>(orb::blas1::IdamaxSlot());
    CheckIamax<float>(orb::blas1::IsamaxSlot());
}

// Growing magnitudes make every block beat the running maximum; the
// largest value placed in each possible block position tests the search.
// Gaps between strided elements hold huge values that must not be seen.
TEST(Blas1Kernels, IamaxMaximumEverywhere) {
    const int n = 1100;
    for (int level : kLevels) {
        auto kernel = orb::blas1::IdamaxSlot().ForLevel(level);
        for (int inc : {1, 2, 3}) {
            std::vector<double> x(static_cast<size_t>(n * inc), 1e300);
            for (int i = 0; i < n; ++i) x[size_t(i * inc)] = i % 2 ? -double(i) : double(i);
            ASSERT_EQ(kernel(&n, x.data(), &inc), n) << "level " << level << " inc " << inc;
            for (int at = 0; at < n; at += 7) {
                for (int i = 0; i < n; ++i) x[size_t(i * inc)] = 1.0;
                x[size_t(at * inc)] = -5.0;
                if (at + 3 < n) x[size_t((at + 3) * inc)] = 5.0;  // equal magnitude later: the first wins
                ASSERT_EQ(kernel(&n, x.data(), &inc), at + 1) << "level " << level << " at " << at << " inc " << inc;
            }
        }
    }
}

TEST(CopyDriver, MicroarchCodes) {
    const struct { bool varel; int32_t mode, level; bool sse41, aes; int32_t ma, want; } cases[] = {
        {false, CbwrUnset, 5, true, true, 0, 0},     // another vendor
        {false, CbwrAuto, 7, true, true, 0, 0},
        {false, CbwrSse42, 2, true, true, 0, 0},     // reproducible branch: level 2
        {false, CbwrSse42, 5, true, true, 0, 64},
        {true, CbwrCompatible, 5, true, true, 0, 0},
        {true, CbwrUnset, 4, false, false, 0, 32},
        {true, CbwrUnset, 4, true, false, 0, 33},
        {true, CbwrAuto, 4, true, false, 0, 33},
        {true, CbwrSsse3, 4, true, false, 0, 32},
        {true, CbwrSse41, 4, false, false, 0, 33},
        {true, CbwrAvx2, 4, false, false, 0, 33},
        {true, CbwrUnset, 5, true, false, 0, 64},
        {true, CbwrUnset, 5, true, true, 0, 66},
        {true, CbwrAuto, 5, true, true, 0, 64},      // AES counts only with the mode unset
        {true, CbwrUnset, 5, true, true, 64, 64},
        {true, CbwrUnset, 5, true, false, 66, 66},
        {true, CbwrUnset, 5, true, true, 65, 66},    // other values are ignored
        {true, CbwrUnset, 6, true, true, 66, 128},   // the variable acts on level 5 only
        {true, CbwrUnset, 7, true, true, 0, 0},
        {true, CbwrUnset, 2, false, false, 0, 0},
        {true, CbwrUnset, 3, false, false, 0, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::blas1::DecideMicroarchCode(c.varel, c.mode, c.level, c.sse41, c.aes, c.ma), c.want)
            << c.varel << " mode " << c.mode << " level " << c.level;
}

TEST(CopyDriver, WhenCopiesSplit) {
    const struct { int32_t code, incx, incy; bool want; } cases[] = {
        {0, 1, 1, false}, {7, 1, 1, false},
        {32, 1, 1, true}, {33, -2, 3, true}, {32, 0, 1, true},
        {64, 1, 1, true}, {66, -1, 2, true}, {128, 3, -3, true},
        {64, 0, 1, false}, {128, 0, 1, false},
        {32, 1, 0, false}, {128, 1, 0, false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::blas1::CopySplits(c.code, c.incx, c.incy), c.want) << c.code << " " << c.incx << " " << c.incy;
}

// The threaded path itself: every level's kernel, 1 to 3 threads, around
// the serial limit and large, every increment sign (a zero incy never splits).
template <typename T, typename Slot> void CheckThreaded(Slot &slot) {
    const int incs[] = {-2, -1, 0, 1, 3};
    for (int level : {2, 5, 7}) for (int n : {2000, 2001, 2002, 100003}) for (int threads : {1, 2, 3}) {
        for (int incx : incs) for (int incy : incs) {
            if (incy == 0 || (n > 3000 && std::abs(incx) != 1)) continue;
            std::vector<T> x(size_t(incx ? int64_t(n - 1) * std::abs(incx) + 1 : 1));
            std::vector<T> y(size_t(int64_t(n - 1) * std::abs(incy) + 9), T(-7)), want(y);
            for (size_t i = 0; i < x.size(); ++i) x[i] = T(i * 3 + 1);
            ref::Copy<T>(n, x.data(), incx, want.data(), incy);
            orb::blas1::CopyThreaded<T>(slot.ForLevel(level), n, x.data(), incx, y.data(), incy, threads);
            ASSERT_EQ(std::memcmp(y.data(), want.data(), y.size() * sizeof(T)), 0)
                << "level " << level << " n " << n << " threads " << threads << " incx " << incx << " incy " << incy;
        }
    }
}

TEST(CopyDriver, Threaded) {
    CheckThreaded<double>(orb::blas1::DcopySlot());
    CheckThreaded<float>(orb::blas1::ScopySlot());
}

// Through the internal entry with a per-thread count of 3: whatever path
// the driver takes on this machine, the result is the copy.
TEST(CopyDriver, DriverWithThreads) {
    ServSetThreadLocalThreads(3);
    for (int n : {2000, 2001, 50000}) for (int incx : {1, -1, 0}) {
        const int one = 1;
        std::vector<double> x(static_cast<size_t>(n)), y(x.size(), 0.0), want(x.size());
        for (int i = 0; i < n; ++i) x[size_t(i)] = i + 0.5;
        ref::Copy<double>(n, x.data(), incx, want.data(), 1);
        orb::blas1::Dcopy(&n, x.data(), &incx, y.data(), &one);
        ASSERT_EQ(y, want) << n << " " << incx;
    }
    ServSetThreadLocalThreads(0);
}

// The exported shims on the edge cases users rely on: empty and negative
// sizes, zero and negative increments, zero times infinity.
TEST(CblasEdges, IamaxIndices) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct { std::vector<double> x; int n, inc, want; } cases[] = {
        {{1, 2, 3}, 0, 1, 0}, {{1, 2, 3, 4, 5}, 5, 0, 0}, {{1, 2, 3, 4, 5}, 5, -1, 0},
        {{1, -3, 3}, 3, 1, 1}, {{nan, 1, 2}, 3, 1, 0}, {{7}, 1, 1, 0},
        {{1, 0, 2, 0, -9, 0}, 3, 2, 2}, {{-2, 2, 2, 2}, 4, 1, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(cblas_idamax(c.n, c.x.data(), c.inc), c.want);
        std::vector<float> f(c.x.begin(), c.x.end());
        EXPECT_EQ(cblas_isamax(c.n, f.data(), c.inc), c.want);
    }
}

TEST(CblasEdges, ScaleAndCopy) {
    const struct { int n, incx, incy; } cases[] = {{3, -1, 1}, {3, 0, 1}, {3, 1, 0}, {0, 1, 1}, {-4, 1, 1},
                                                   {4, 1, -2}, {3, 2, 1}, {20, 1, 1}};
    for (const auto &c : cases) {
        std::vector<double> x(64), y(64, 9.0), want_y(y), want_x;
        for (size_t i = 0; i < x.size(); ++i) x[i] = double(i) - 4;
        const double inf = std::numeric_limits<double>::infinity();
        x[9] = inf;
        std::vector<float> fx(x.begin(), x.end()), fy(y.begin(), y.end()), fwant_y(fy);
        ref::Copy<double>(c.n, x.data(), c.incx, want_y.data(), c.incy);
        ref::Copy<float>(c.n, fx.data(), c.incx, fwant_y.data(), c.incy);
        cblas_dcopy(c.n, x.data(), c.incx, y.data(), c.incy);
        cblas_scopy(c.n, fx.data(), c.incx, fy.data(), c.incy);
        EXPECT_EQ(y, want_y) << c.n << " " << c.incx << " " << c.incy;
        EXPECT_EQ(fy, fwant_y) << c.n << " " << c.incx << " " << c.incy;
        for (double alpha : {2.0, 0.0, inf, -inf, std::nan("")}) {
            std::vector<double> dx = x, want = x;
            std::vector<float> sx = fx, fwant = fx;
            ref::Scal<double>(c.n, alpha, want.data(), c.incx);
            ref::Scal<float>(c.n, float(alpha), fwant.data(), c.incx);
            cblas_dscal(c.n, alpha, dx.data(), c.incx);
            cblas_sscal(c.n, float(alpha), sx.data(), c.incx);
            EXPECT_TRUE(SameValues<double>(dx.data(), want.data(), 64)) << c.n << " " << c.incx << " " << alpha;
            EXPECT_TRUE(SameValues<float>(sx.data(), fwant.data(), 64)) << c.n << " " << c.incx << " " << alpha;
        }
    }
}

// Process-wide: the microarchitecture code under "ORB_DEBUG_CPU_MA" and
// the reproducibility mode, and large copies under different thread settings.
TEST(Blas1Process, MicroarchCode) {
    const struct { const char *cpu; orb::test::EnvList env; const char *want; } cases[] = {
        {"real", {}, "code=0\n"},  // this machine's vendor is not the tuned one
        {"varel5", {{"ORB_DEBUG_CPU_MA", "64"}}, "code=64\n"},
        {"varel5", {{"ORB_DEBUG_CPU_MA", "66"}, {"ORB_CBWR", "AUTO"}}, "code=66\n"},
        {"varel5", {{"ORB_CBWR", "AUTO"}}, "code=64\n"},
        {"varel5", {{"ORB_CBWR", "COMPATIBLE"}, {"ORB_DEBUG_CPU_MA", "64"}}, "code=0\n"},
        {"varel5", {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_DEBUG_CPU_MA", "64"}}, "code=128\n"},  // level 5 only
    };
    for (const auto &c : cases) orb::test::ExpectProbe(0, c.want, "blas1_microarch", c.env, {c.cpu});
}

TEST(Blas1Process, LargeCopyUnderThreadSettings) {
    for (const char *threads : {"1", "2", "3"})
        orb::test::ExpectProbe(0, "bad=0\n", "blas1_large_copy",
                               {{"ORB_DOMAIN_NUM_THREADS", std::string("ORB_BLAS=") + threads}, {"ORB_DYNAMIC", "FALSE"}});
}

}  // namespace
