// disnan/sisnan over the special values of both formats.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "orb_lapack.h"

namespace {

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

TEST(IsNan, Double) { CheckSpecials<double, uint64_t>(disnan, 0x7FF0000000000001ull, 0xFFFFFFFFFFFFFFFFull); }
TEST(IsNan, Single) { CheckSpecials<float, uint32_t>(sisnan, 0x7F800001u, 0xFFFFFFFFu); }

}  // namespace
