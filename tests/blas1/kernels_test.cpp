// Every level's copy, scale and index-of-maximum variant, called directly,
// against the reference loops: sizes around every peel and block boundary,
// every element offset and byte misalignment of the pointers, every sign
// and zero of the increments. Guard bytes around the arrays must stay.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "blas1/blas1.h"
#include "blas1_reference.h"

namespace {

constexpr int kLevels[] = {2, 3, 4, 5, 6, 7};
constexpr int kIncs[] = {-3, -2, -1, 0, 1, 2, 3};
constexpr int kPad = 64;  // guard bytes on each side

// Unit stride: every size through several blocks of the widest level and
// around the index-of-maximum pass length; strided walks unroll by 4 only.
std::vector<int> Sizes(bool unit) {
    std::vector<int> s;
    for (int n = -1; n <= (unit ? 70 : 20); ++n) s.push_back(n);
    if (unit)
        for (int n : {127, 128, 129, 255, 256, 511, 512, 513, 1024, 1031, 2048 + 17}) s.push_back(n);
    else
        for (int n : {31, 32, 33, 63}) s.push_back(n);
    return s;
}

// Offsets a case uses: all pairs for short unit-stride copies, otherwise
// each pointer misplaced while the other sits on a boundary.
bool OffsetPairUsed(bool full, int ox, int oy) { return full || ox == 0 || oy == 0; }

// Equal bit for bit, except that any NaN matches any NaN (which operand's
// payload a product of two NaNs keeps is the compiler's choice).
template <typename T>
bool SameValues(const unsigned char *a, const unsigned char *b, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        T u = blas1_ref::Get<T>(a, i), v = blas1_ref::Get<T>(b, i);
        if (std::memcmp(&u, &v, sizeof u) != 0 && !(u != u && v != v)) return false;
    }
    return true;
}

// Byte offsets from a 64-byte boundary: element offsets and misalignments.
template <typename T>
std::vector<int> Offsets() {
    std::vector<int> o;
    for (int e = 0; e < 8; ++e) o.push_back(e * int(sizeof(T)));
    o.push_back(1);
    o.push_back(int(sizeof(T)) + 3);
    return o;
}

struct Buffer {
    std::vector<unsigned char> raw;
    unsigned char *data;
    size_t bytes;
    Buffer(size_t payload, int offset) : bytes(payload) {
        raw.assign(payload + 2 * kPad + 128, 0xA5);
        uintptr_t p = reinterpret_cast<uintptr_t>(raw.data()) + kPad;
        p = (p + 63) & ~uintptr_t(63);
        data = reinterpret_cast<unsigned char *>(p + uintptr_t(offset));
    }
};

template <typename T>
int64_t Extent(int n, int inc) {
    int64_t step = inc < 0 ? -int64_t(inc) : inc;
    return n <= 0 ? 1 : (int64_t(n) - 1) * step + 1;
}

template <typename T>
void FillRandom(unsigned char *p, int64_t count, std::mt19937 &rng, bool ties) {
    std::uniform_real_distribution<double> u(-100.0, 100.0);
    std::uniform_int_distribution<int> small(-6, 6);
    for (int64_t i = 0; i < count; ++i) {
        T v = ties ? T(small(rng)) : T(u(rng));
        std::memcpy(p + i * int64_t(sizeof(T)), &v, sizeof v);
    }
}

template <typename T, typename Slot>
void CheckCopy(Slot &slot) {
    std::mt19937 rng(11);
    for (int level : kLevels) {
        auto kernel = slot.ForLevel(level);
        for (int incx : kIncs) for (int incy : kIncs) for (int n : Sizes(incx == 1 && incy == 1)) {
            const bool full = incx == 1 && incy == 1 && n <= 70;
            for (int ox : Offsets<T>()) for (int oy : Offsets<T>()) {
                if (!OffsetPairUsed(full, ox, oy)) continue;
                const int64_t ex = Extent<T>(n, incx), ey = Extent<T>(n, incy);
                Buffer x(size_t(ex) * sizeof(T), ox), y(size_t(ey) * sizeof(T), oy), want(size_t(ey) * sizeof(T), oy);
                FillRandom<T>(x.data, ex, rng, false);
                std::memcpy(want.data - kPad, y.data - kPad, size_t(ey) * sizeof(T) + 2 * kPad);
                blas1_ref::Copy<T>(n, x.data, incx, want.data, incy);
                kernel(&n, reinterpret_cast<const T *>(x.data), &incx, reinterpret_cast<T *>(y.data), &incy);
                ASSERT_EQ(std::memcmp(y.data - kPad, want.data - kPad, size_t(ey) * sizeof(T) + 2 * kPad), 0)
                    << "level " << level << " n " << n << " incx " << incx << " incy " << incy
                    << " offsets " << ox << "," << oy;
            }
        }
    }
}

TEST(Blas1Kernels, CopyDouble) { CheckCopy<double>(orb::blas1::DcopySlot()); }
TEST(Blas1Kernels, CopySingle) { CheckCopy<float>(orb::blas1::ScopySlot()); }

template <typename T, typename Slot>
void CheckScal(Slot &slot) {
    std::mt19937 rng(12);
    const T specials[] = {T(2.5), T(0), T(1), T(-1), std::numeric_limits<T>::quiet_NaN()};
    for (int level : kLevels) {
        auto kernel = slot.ForLevel(level);
        for (int inc : kIncs) for (int n : Sizes(inc == 1)) for (int off : Offsets<T>()) for (T alpha : specials) {
            if (inc != 1 && !(alpha == specials[0])) continue;
            const int64_t ex = Extent<T>(n, inc);
            Buffer x(size_t(ex) * sizeof(T), off), want(size_t(ex) * sizeof(T), off);
            FillRandom<T>(x.data, ex, rng, false);
            if (ex > 3) {  // an infinity and a NaN among the data
                blas1_ref::Put<T>(x.data, ex / 2, std::numeric_limits<T>::infinity());
                blas1_ref::Put<T>(x.data, ex - 1, -std::numeric_limits<T>::quiet_NaN());
            }
            std::memcpy(want.data - kPad, x.data - kPad, size_t(ex) * sizeof(T) + 2 * kPad);
            blas1_ref::Scal<T>(n, alpha, want.data, inc);
            kernel(&n, &alpha, reinterpret_cast<T *>(x.data), &inc);
            ASSERT_EQ(std::memcmp(x.data - kPad, want.data - kPad, kPad), 0);
            ASSERT_EQ(std::memcmp(x.data + ex * int64_t(sizeof(T)), want.data + ex * int64_t(sizeof(T)), kPad), 0);
            ASSERT_TRUE(SameValues<T>(x.data, want.data, ex))
                << "level " << level << " n " << n << " inc " << inc << " offset " << off << " alpha " << alpha;
        }
    }
}

TEST(Blas1Kernels, ScalDouble) { CheckScal<double>(orb::blas1::DscalSlot()); }
TEST(Blas1Kernels, ScalSingle) { CheckScal<float>(orb::blas1::SscalSlot()); }

template <typename T, typename Slot>
void CheckIamax(Slot &slot) {
    std::mt19937 rng(13);
    for (int level : kLevels) {
        auto kernel = slot.ForLevel(level);
        for (int inc : kIncs) for (int n : Sizes(inc == 1)) for (int off : Offsets<T>()) for (int ties = 0; ties < 2; ++ties) {
            const int64_t ex = Extent<T>(n, inc);
            Buffer x(size_t(ex) * sizeof(T), off);
            FillRandom<T>(x.data, ex, rng, ties != 0);
            ASSERT_EQ(kernel(&n, reinterpret_cast<const T *>(x.data), &inc),
                      blas1_ref::Iamax<T>(n, x.data, inc))
                << "level " << level << " n " << n << " inc " << inc << " offset " << off;
            if (n >= 1 && inc >= 1) {  // a NaN first always gives 1
                blas1_ref::Put<T>(x.data, 0, std::numeric_limits<T>::quiet_NaN());
                ASSERT_EQ(kernel(&n, reinterpret_cast<const T *>(x.data), &inc), 1) << "level " << level << " n " << n;
            }
        }
    }
}

TEST(Blas1Kernels, IamaxDouble) { CheckIamax<double>(orb::blas1::IdamaxSlot()); }
TEST(Blas1Kernels, IamaxSingle) { CheckIamax<float>(orb::blas1::IsamaxSlot()); }

// Growing magnitudes make every block beat the running maximum; the
// largest value placed in each possible block position tests the search.
// Gaps between strided elements hold huge values that must not be seen.
TEST(Blas1Kernels, IamaxMaximumEverywhere) {
    for (int level : kLevels) {
        auto kernel = orb::blas1::IdamaxSlot().ForLevel(level);
        for (int inc : {1, 2, 3}) {
            const int n = 1100;
            std::vector<double> x(static_cast<size_t>(n * inc), 1e300);
            for (int i = 0; i < n; ++i) x[size_t(i * inc)] = i % 2 ? -double(i) : double(i);
            ASSERT_EQ(kernel(&n, x.data(), &inc), n) << "level " << level << " inc " << inc;
            for (int at = 0; at < n; at += 7) {
                std::vector<double> y(static_cast<size_t>(n * inc), 1e300);
                for (int i = 0; i < n; ++i) y[size_t(i * inc)] = 1.0;
                y[size_t(at * inc)] = -5.0;
                if (at + 3 < n) y[size_t((at + 3) * inc)] = 5.0;  // equal magnitude later: the first wins
                ASSERT_EQ(kernel(&n, y.data(), &inc), at + 1) << "level " << level << " at " << at << " inc " << inc;
            }
        }
    }
}

}  // namespace
