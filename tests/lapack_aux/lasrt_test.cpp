// LAPACK auxiliaries. dlasrt/slasrt against the reference LAPACK's
// dlasrt_/slasrt_: the same output array, bit for bit, for many sizes around
// the insertion-sort threshold, many kinds of content (duplicates, signed
// zeros, NaNs anywhere) and both directions. Targets without a reference
// LAPACK compare NaN-free content with std::sort instead (by value: the
// order of signed zeros is the reference's own). Argument errors run in
// their own processes; disnan/sisnan over the special values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "orb_lapack.h"
#include "support/process_harness.h"

#if ORB_HAVE_REFERENCE_LAPACK
extern "C" {
void dlasrt_(const char *id, const int *n, double *d, int *info, size_t id_len);
void slasrt_(const char *id, const int *n, float *d, int *info, size_t id_len);
}
#endif

namespace {

// Kinds of content; the last two hold NaNs.
enum Fill { kUniform, kFewValues, kSorted, kReversed, kEqual, kOrganPipe, kSignedZeros,
            kInfinities, kSawtooth, kSomeNans, kNanEnds, kFillCount };

template <typename T>
std::vector<T> Make(int fill, int n, std::mt19937 &rng) {
    std::vector<T> v(static_cast<size_t>(n));
    std::uniform_real_distribution<double> u(-1000.0, 1000.0);
    std::uniform_int_distribution<int> few(0, 3);
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    for (int i = 0; i < n; ++i) {
        switch (fill) {
            case kFewValues: v[i] = T(few(rng)); break;
            case kSorted: v[i] = T(i); break;
            case kReversed: v[i] = T(n - i); break;
            case kEqual: v[i] = T(7); break;
            case kOrganPipe: v[i] = T(i < n / 2 ? i : n - i); break;
            case kSignedZeros: v[i] = few(rng) < 2 ? T(0.0) : T(-0.0); break;
            case kInfinities: v[i] = few(rng) == 0 ? (rng() & 1 ? inf : -inf) : T(few(rng)); break;
            case kSawtooth: v[i] = T(i % 5); break;
            case kSomeNans: v[i] = few(rng) == 0 && (rng() & 1) ? nan : T(u(rng)); break;
            default: v[i] = T(u(rng)); break;
        }
    }
    if (fill == kNanEnds && n > 0) v[0] = v[size_t(n / 2)] = nan, v[size_t(n - 1)] = -nan;
    return v;
}

template <typename T>
void Ours(const char *id, const int *n, T *d, int *info) {
    if constexpr (sizeof(T) == 8) dlasrt(id, n, d, info);
    else slasrt(id, n, d, info);
}

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
    for (int n : {99, 100, 101, 127, 128, 129, 255, 1000, 1023, 4097, 65536, 100003}) sizes.push_back(n);
    for (const char *id : {"I", "i", "D", "d"}) {
        const bool up = (id[0] | 0x20) == 'i';
        for (int n : sizes) {
            for (int fill = 0; fill < kFillCount; ++fill) {
                const bool nans = fill >= kSomeNans;
                if (!kBitExact && nans) continue;
                std::vector<T> ours = Make<T>(fill, n, rng), ref = ours;
                int info_ours = 99, info_ref = 99;
                Ours(id, &n, ours.data(), &info_ours);
                Reference(id, &n, ref.data(), &info_ref);
                ASSERT_EQ(info_ours, 0);
                ASSERT_EQ(info_ref, 0);
                // Without NaNs the result is ordered, so a wrong oracle cannot hide a bug.
                if (!nans) {
                    ASSERT_TRUE(up ? std::is_sorted(ours.begin(), ours.end())
                                   : std::is_sorted(ours.rbegin(), ours.rend())) << id << " n " << n;
                }
                if (!kBitExact) {
                    ASSERT_TRUE(ours == ref) << "id " << id << " n " << n << " fill " << fill;
                } else if (n > 0) {  // memcmp wants real pointers, even for no bytes
                    ASSERT_EQ(std::memcmp(ours.data(), ref.data(), ours.size() * sizeof(T)), 0)
                        << "id " << id << " n " << n << " fill " << fill;
                }
            }
        }
    }
}

TEST(Lasrt, DoubleMatchesReferenceLapack) { CompareWithReference<double>(); }
TEST(Lasrt, SingleMatchesReferenceLapack) { CompareWithReference<float>(); }

TEST(Lasrt, TinyAndEmptyReturnAtOnce) {
    double one = std::numeric_limits<double>::quiet_NaN();
    for (int n : {0, 1}) {
        int info = 5;
        dlasrt("I", &n, &one, &info);
        EXPECT_EQ(info, 0);
        EXPECT_TRUE(std::isnan(one));
    }
}

// Each in its own process: info, the untouched array and the printed report.
TEST(LasrtErrors, ReportsAndInfo) {
    const struct { const char *routine, *id, *n, *out; } cases[] = {
        {"d", "x", "3", "\nORB ERROR: Parameter 1 was incorrect on entry to DLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "I", "-1", "\nORB ERROR: Parameter 2 was incorrect on entry to DLASRT.\ninfo=-2 untouched=1\n"},
        {"s", "D", "-5", "\nORB ERROR: Parameter 2 was incorrect on entry to SLASRT.\ninfo=-2 untouched=1\n"},
        {"s", "", "3", "\nORB ERROR: Parameter 1 was incorrect on entry to SLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "x", "-1", "\nORB ERROR: Parameter 1 was incorrect on entry to DLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "d", "3", "info=0 untouched=0\n"},
        {"s", "i", "0", "info=0 untouched=1\n"},
    };
    for (const auto &c : cases) orb::test::ExpectProbe(0, c.out, "lasrt_args", {}, {c.routine, c.id, c.n});
    // A reporter installed before the first LAPACK call keeps its place.
    orb::test::ExpectProbe(0, "custom SLASRT 2\ninfo=-2 untouched=1\n", "lasrt_custom_reporter", {}, {"s", "I", "-2"});
}

template <typename T, typename Bits>
T FromBits(Bits b) {
    T v;
    std::memcpy(&v, &b, sizeof v);
    return v;
}

// Both NaN signs, a signalling NaN, the smallest and largest payloads, and
// the non-NaN specials around them.
template <typename T, typename Bits>
void CheckSpecials(int (*isnan_fn)(const T *), Bits smallest_payload_nan, Bits all_ones) {
    using L = std::numeric_limits<T>;
    const T values[] = {L::quiet_NaN(), -L::quiet_NaN(), L::signaling_NaN(),
                        FromBits<T>(smallest_payload_nan), FromBits<T>(all_ones), L::infinity(),
                        -L::infinity(), T(0), -T(0), L::denorm_min(), L::max(), T(1)};
    for (T v : values) EXPECT_EQ(isnan_fn(&v) != 0, std::isnan(v)) << v;
}

TEST(IsNan, BothPrecisions) {
    CheckSpecials<double, uint64_t>(disnan, 0x7FF0000000000001ull, 0xFFFFFFFFFFFFFFFFull);
    CheckSpecials<float, uint32_t>(sisnan, 0x7F800001u, 0xFFFFFFFFu);
}

}  // namespace
