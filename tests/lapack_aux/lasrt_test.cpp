// dlasrt/slasrt against the reference LAPACK's dlasrt_/slasrt_: the same
// output array, bit for bit, for many sizes around the insertion-sort
// threshold, many kinds of content (duplicates, signed zeros, NaNs
// anywhere) and both directions. Targets without a reference LAPACK
// compare NaN-free content with std::sort instead (by value: the order of
// signed zeros is the reference's own).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "orb_lapack.h"

#if ORB_HAVE_REFERENCE_LAPACK
extern "C" {
void dlasrt_(const char *id, const int *n, double *d, int *info, size_t id_len);
void slasrt_(const char *id, const int *n, float *d, int *info, size_t id_len);
}
#endif

namespace {

enum class Fill { kUniform, kFewValues, kSorted, kReversed, kEqual, kOrganPipe,
                  kSignedZeros, kSomeNans, kNanEnds, kInfinities, kSawtooth };

const Fill kFills[] = {Fill::kUniform, Fill::kFewValues, Fill::kSorted, Fill::kReversed,
                       Fill::kEqual, Fill::kOrganPipe, Fill::kSignedZeros, Fill::kSomeNans,
                       Fill::kNanEnds, Fill::kInfinities, Fill::kSawtooth};

template <typename T>
std::vector<T> Make(Fill fill, int n, std::mt19937 &rng) {
    std::vector<T> v(static_cast<size_t>(n));
    std::uniform_real_distribution<double> u(-1000.0, 1000.0);
    std::uniform_int_distribution<int> few(0, 3);
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T inf = std::numeric_limits<T>::infinity();
    for (int i = 0; i < n; ++i) {
        switch (fill) {
            case Fill::kUniform: v[i] = T(u(rng)); break;
            case Fill::kFewValues: v[i] = T(few(rng)); break;
            case Fill::kSorted: v[i] = T(i); break;
            case Fill::kReversed: v[i] = T(n - i); break;
            case Fill::kEqual: v[i] = T(7); break;
            case Fill::kOrganPipe: v[i] = T(i < n / 2 ? i : n - i); break;
            case Fill::kSignedZeros: v[i] = few(rng) < 2 ? T(0.0) : T(-0.0); break;
            case Fill::kSomeNans: v[i] = few(rng) == 0 && (rng() & 1) ? nan : T(u(rng)); break;
            case Fill::kNanEnds: v[i] = T(u(rng)); break;
            case Fill::kInfinities: v[i] = few(rng) == 0 ? (rng() & 1 ? inf : -inf) : T(few(rng)); break;
            case Fill::kSawtooth: v[i] = T(i % 5); break;
        }
    }
    if (fill == Fill::kNanEnds && n > 0) {
        v[0] = nan;
        v[size_t(n - 1)] = -nan;
        v[size_t(n / 2)] = nan;
    }
    return v;
}

template <typename T>
void Ours(const char *id, const int *n, T *d, int *info) {
    if constexpr (sizeof(T) == 8) dlasrt(id, n, d, info);
    else slasrt(id, n, d, info);
}

bool HasNans(Fill fill) { return fill == Fill::kSomeNans || fill == Fill::kNanEnds; }

#if ORB_HAVE_REFERENCE_LAPACK
constexpr bool kBitExact = true;
template <typename T>
void Reference(const char *id, const int *n, T *d, int *info) {
    if constexpr (sizeof(T) == 8) dlasrt_(id, n, d, info, 1);
    else slasrt_(id, n, d, info, 1);
}
#else
constexpr bool kBitExact = false;
template <typename T>
void Reference(const char *id, const int *n, T *d, int *info) {
    if ((id[0] | 0x20) == 'i') std::sort(d, d + *n);
    else std::sort(d, d + *n, [](T a, T b) { return a > b; });
    *info = 0;
}
#endif

template <typename T>
void CompareWithReference() {
    std::mt19937 rng(20240611);
    std::vector<int> sizes;
    for (int n = 0; n <= 70; ++n) sizes.push_back(n);  // every size around 20/21/22 and a few levels
    for (int n : {99, 100, 101, 127, 128, 129, 255, 1000, 1023, 4097, 65536, 100003})
        sizes.push_back(n);
    for (const char *id : {"I", "i", "D", "d"}) {
        for (int n : sizes) {
            for (Fill fill : kFills) {
                if (!kBitExact && HasNans(fill)) continue;
                std::vector<T> ours = Make<T>(fill, n, rng);
                std::vector<T> ref = ours;
                int info_ours = 99, info_ref = 99;
                Ours(id, &n, ours.data(), &info_ours);
                Reference(id, &n, ref.data(), &info_ref);
                ASSERT_EQ(info_ours, 0);
                ASSERT_EQ(info_ref, 0);
                if (!kBitExact) {
                    ASSERT_TRUE(ours == ref) << "id " << id << " n " << n << " fill " << int(fill);
                } else if (n > 0) {  // memcmp wants real pointers, even for no bytes
                    ASSERT_EQ(std::memcmp(ours.data(), ref.data(), ours.size() * sizeof(T)), 0)
                        << "id " << id << " n " << n << " fill " << int(fill);
                }
            }
        }
    }
}

TEST(Lasrt, DoubleMatchesReferenceLapack) { CompareWithReference<double>(); }
TEST(Lasrt, SingleMatchesReferenceLapack) { CompareWithReference<float>(); }

// Without NaNs the result is ordered, so a wrong oracle cannot hide a bug.
TEST(Lasrt, ResultIsOrdered) {
    std::mt19937 rng(7);
    for (int n : {2, 21, 22, 23, 5000}) {
        std::vector<double> v = Make<double>(Fill::kUniform, n, rng);
        int info = 1;
        dlasrt("I", &n, v.data(), &info);
        EXPECT_TRUE(std::is_sorted(v.begin(), v.end())) << n;
        dlasrt("D", &n, v.data(), &info);
        EXPECT_TRUE(std::is_sorted(v.rbegin(), v.rend())) << n;
    }
}

TEST(Lasrt, TinyAndEmptyReturnAtOnce) {
    double one = std::numeric_limits<double>::quiet_NaN();
    for (int n : {0, 1}) {
        int info = 5;
        dlasrt("I", &n, &one, &info);
        EXPECT_EQ(info, 0);
        EXPECT_TRUE(std::isnan(one));
    }
}

}  // namespace
