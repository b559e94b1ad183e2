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

TEST(IsNan, Double) {
    const double values[] = {
        std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::signaling_NaN(), FromBits<double, uint64_t>(0x7FF0000000000001ull),
        FromBits<double, uint64_t>(0xFFFFFFFFFFFFFFFFull), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 0.0, -0.0, std::numeric_limits<double>::denorm_min(),
        std::numeric_limits<double>::max(), 1.0};
    for (double v : values) EXPECT_EQ(disnan(&v) != 0, std::isnan(v)) << v;
}

TEST(IsNan, Single) {
    const float values[] = {
        std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(),
        std::numeric_limits<float>::signaling_NaN(), FromBits<float, uint32_t>(0x7F800001u),
        FromBits<float, uint32_t>(0xFFFFFFFFu), std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(), 0.0f, -0.0f, std::numeric_limits<float>::denorm_min(),
        std::numeric_limits<float>::max(), 1.0f};
    for (float v : values) EXPECT_EQ(sisnan(&v) != 0, std::isnan(v)) << v;
}

}  // namespace
