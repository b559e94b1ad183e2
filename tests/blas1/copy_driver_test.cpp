// The copy driver: microarchitecture codes, when a copy is split, and the
// threaded path itself (every level's kernel, 1 to 3 threads, around the
// serial limit and large, every increment sign) against the reference.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "blas1/blas1.h"
#include "blas1_reference.h"
#include "service/threads.h"

using orb::blas1::CopySplits;
using orb::blas1::DecideMicroarchCode;

namespace {

TEST(CopyDriver, MicroarchCodes) {
    const struct {
        bool varel; int32_t mode, level; bool sse41, aes; int32_t ma; int32_t want;
    } cases[] = {
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
        EXPECT_EQ(DecideMicroarchCode(c.varel, c.mode, c.level, c.sse41, c.aes, c.ma), c.want)
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
        EXPECT_EQ(CopySplits(c.code, c.incx, c.incy), c.want) << c.code << " " << c.incx << " " << c.incy;
}

template <typename T, typename Slot>
void CheckThreaded(Slot &slot) {
    const int incs[] = {-2, -1, 0, 1, 3};
    for (int level : {2, 5, 7}) {
        auto kernel = slot.ForLevel(level);
        for (int n : {2000, 2001, 2002, 100003}) for (int threads : {1, 2, 3}) {
            for (int incx : incs) for (int incy : incs) {
                if (incy == 0) continue;  // never split
                if (n > 3000 && !(incx == 1 || incx == -1)) continue;
                const int64_t ex = incx ? int64_t(n - 1) * std::abs(incx) + 1 : 1;
                const int64_t ey = int64_t(n - 1) * std::abs(incy) + 1;
                std::vector<T> x(static_cast<size_t>(ex)), y(static_cast<size_t>(ey) + 8, T(-7)), want(y);
                for (int64_t i = 0; i < ex; ++i) x[size_t(i)] = T(i * 3 + 1);
                blas1_ref::Copy<T>(n, reinterpret_cast<const unsigned char *>(x.data()), incx,
                                   reinterpret_cast<unsigned char *>(want.data()), incy);
                orb::blas1::CopyThreaded<T>(kernel, n, x.data(), incx, y.data(), incy, threads);
                ASSERT_EQ(std::memcmp(y.data(), want.data(), y.size() * sizeof(T)), 0)
                    << "level " << level << " n " << n << " threads " << threads << " incx " << incx
                    << " incy " << incy;
            }
        }
    }
}

TEST(CopyDriver, ThreadedDouble) { CheckThreaded<double>(orb::blas1::DcopySlot()); }
TEST(CopyDriver, ThreadedSingle) { CheckThreaded<float>(orb::blas1::ScopySlot()); }

// Through the internal entry with a per-thread count of 3: whatever path
// the driver takes on this machine, the result is the copy.
TEST(CopyDriver, DriverWithThreads) {
    ServSetThreadLocalThreads(3);
    for (int n : {2000, 2001, 50000}) for (int incx : {1, -1, 0}) {
        const int one = 1;
        std::vector<double> x(static_cast<size_t>(n)), y(static_cast<size_t>(n), 0.0), want(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) x[size_t(i)] = i + 0.5;
        blas1_ref::Copy<double>(n, reinterpret_cast<const unsigned char *>(x.data()), incx,
                                reinterpret_cast<unsigned char *>(want.data()), 1);
        orb::blas1::Dcopy(&n, x.data(), &incx, y.data(), &one);
        ASSERT_EQ(y, want) << n << " " << incx;
    }
    ServSetThreadLocalThreads(0);
}

}  // namespace
