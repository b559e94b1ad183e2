// Lone rows split for the second-level cache (n = r x m: transpose, rows of
// m, twiddled radix-r columns; or 8 x 8 x m, radix-8 passes before and
// after the rows), and Rader's convolutions split the same
// way: with the cache assumed small, moderate lengths take the split on
// every kernel build. Each result is checked
// whole against the same transform on the stages (the cache assumed
// large), and at sampled bins against the naive long-double DFT.
#include <gtest/gtest.h>

#include <vector>

#include "dft/engine/engine_internal.h"
#include "engine_oracle.h"

namespace orb::dft::test {
namespace {

struct SplitCase {
    int64_t n;
    bool is_double;
    int level;
    int nthreads = 1;
    bool in_place = false;
    int sign = -1;
    double scale = 1.0;
};

// The transform of x through a plan made while the second-level cache is
// assumed to hold l2 bytes.
template <class T>
std::vector<LCx> Transformed(const SplitCase &c, const std::vector<LCx> &x, int64_t l2) {
    SecondLevelCache assumed(l2);
    EngineProblem p;
    p.is_double = sizeof(T) == 8, p.sign = c.sign, p.dims[0] = {c.n, 1, 1};
    p.nthreads = c.nthreads, p.scale = c.scale;
    std::vector<T> in(2 * c.n), out(2 * c.n, T(-7));
    for (int64_t i = 0; i < c.n; ++i) in[2 * i] = T(x[i].real()), in[2 * i + 1] = T(x[i].imag());
    int status = -1;
    EnginePlan *plan = EnginePlanCreateForLevel(p, c.level, &status);
    EXPECT_EQ(status, EngineOk);
    std::vector<LCx> y;
    if (!plan) return y;
    T *dst = c.in_place ? in.data() : out.data();
    EXPECT_EQ(EngineExecute(plan, in.data(), nullptr, dst, nullptr), EngineOk);
    EnginePlanDestroy(plan);
    for (int64_t k = 0; k < c.n; ++k) y.push_back({dst[2 * k], dst[2 * k + 1]});
    return y;
}

class EngineCacheSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(EngineCacheSplit, MatchesStagesAndNaiveBins) {
    const SplitCase c = GetParam();
    const std::vector<LCx> x = RandomComplex(c.n, 31 + c.n);
    // 256 KiB: every case's input and output together outgrow it, so the
    // split runs; 1 GiB keeps the stages.
    constexpr int64_t kSmall = int64_t(256) << 10, kLarge = int64_t(1) << 30;
    const std::vector<LCx> split = c.is_double ? Transformed<double>(c, x, kSmall) : Transformed<float>(c, x, kSmall);
    const std::vector<LCx> stages = c.is_double ? Transformed<double>(c, x, kLarge) : Transformed<float>(c, x, kLarge);
    ASSERT_EQ(split.size(), size_t(c.n));
    ASSERT_EQ(stages.size(), size_t(c.n));
    EXPECT_LE(RelRms(split, stages), 2 * Tolerance(c.is_double, c.n));
    // Bins in the first and last column block of every row.
    std::vector<int64_t> ks = {0, 1, 7, 8, c.n / 2, c.n - 1};
    for (int b = 0; b < 10; ++b) ks.push_back((b * 2654435761ll + 777) % c.n);
    std::vector<LCx> got, ref = NaiveBins(x, ks, c.sign);
    for (LCx &v : ref) v *= c.scale;
    for (int64_t k : ks) got.push_back(split[k]);
    EXPECT_LE(RelRms(got, ref), Tolerance(c.is_double, c.n));
}

// r = 16 and 32 (rows of 2048 points; 131072 takes r = 64, as 8 x 8 x m),
// every kernel build, in place (the row groups then go through the
// scratch), a team of two and of three (the row groups and the column
// blocks shared unevenly), both signs and a scale.
const SplitCase kCases[] = {
    {32768, true, 7},           {65536, true, 7},
    {131072, true, 7},          {131072, true, 5},
    {32768, true, 5},           {65536, true, 6},
    {131072, true, 6},          {65536, true, 7, 1, true},
    {131072, true, 6, 1, true}, {32768, true, 5, 1, true, 1, 0.25},
    {131072, true, 7, 2},       {65536, true, 5, 2, true},
    {131072, true, 6, 3, false, 1, 0.5}, {32768, true, 7, 3, true},
    // r = 64 runs as 8 x 8 x m (radix 8 before and after the rows; in
    // place the data stay in their array): every kernel build, teams of
    // two and three (eight chunks shared unevenly), backward, scaled, and
    // rows of 4096.
    {131072, true, 7, 1, true},  {131072, true, 5, 1, true, 1, 0.5},
    {131072, true, 7, 2, true, 1}, {131072, true, 6, 3, true, -1, 0.25},
    {262144, true, 7, 1, true, 1, 2.0},
    // Bluestein's convolutions run in three passes too: 16531 on 34560
    // points, 16387 = 7 x 2341 on 32768 with the K = 5 outputs that wrap
    // (both r = 16).
    {16531, true, 7},           {16531, true, 5, 2},
    {16387, true, 7},           {16387, true, 6, 2, true, 1, 0.5},
    // Rader's convolutions run in three passes instead (blocked_conv.h),
    // against their two FFTs on the stages: r = 16 (40961), 32 (65537) and
    // 64 (163841), every kernel build, in place, a team of two and of
    // three, backward with a scale.
    {65537, true, 7},           {65537, true, 6},
    {65537, true, 5, 1, true, 1, 0.5}, {40961, true, 7, 2, false, 1},
    {40961, true, 5, 3, true},  {163841, true, 7, 1, false, -1, 0.25},
    {163841, true, 6, 2, true, 1},
    // Single precision runs 8 x 8 x m in and out of place (from the input
    // into the output): every kernel build, teams of two and three,
    // backward, scaled, rows of 4096.
    {131072, false, 7},          {131072, false, 6, 1, true},
    {131072, false, 6, 2, false, 1, 0.5}, {131072, false, 7, 3, true, -1, 0.25},
    {131072, false, 5, 3, false, 1}, {262144, false, 7, 1, false, 1, 2.0},
    {131072, false, 5, 1, true},
    // Rows of 2187 (an odd m): 8 x 8 x 2187 points, out of place in a team
    // of two, in place.
    {139968, true, 7, 2},        {139968, true, 5, 1, true, 1},
    {139968, false, 7, 1, true, -1, 0.5},
    // Rows of 16384, 32768 and 65536 (the longest the split takes; 2^22
    // against four-step).
    {1048576, true, 7, 2, true}, {2097152, false, 6}, {4194304, false, 7, 2, true},
    // Double 10 x 10 x m: 100000 on every kernel build, in place, teams of
    // two and three, backward, scaled; 640000 takes 100 before 64.
    {100000, true, 7},           {100000, true, 5, 2, true, 1, 0.5},
    {100000, true, 6, 3, false, -1, 0.25}, {640000, true, 7, 1, true, 1},
};

INSTANTIATE_TEST_SUITE_P(Rows, EngineCacheSplit, ::testing::ValuesIn(kCases), [](const auto &info) {
    const SplitCase &c = info.param;
    return std::to_string(c.n) + (c.is_double ? "_d" : "_s") + "_level" + std::to_string(c.level) +
           (c.nthreads > 1 ? "_threads" + std::to_string(c.nthreads) : "") + (c.in_place ? "_inplace" : "") +
           (c.sign > 0 ? "_backward" : "");
});

}  // namespace
}  // namespace orb::dft::test
