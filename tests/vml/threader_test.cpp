// Threaded calls: chunking (3 members, n = 100 -> 33/33/34), the threshold,
// global element index in reports, status rules (serial keeps, threaded
// overwrites), the dynamic thread count, the machine factor and the serial
// bound of the entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <random>
#include <xmmintrin.h>
#include <omp.h>
#include <vector>

#include "service/threads.h"
#include "vml/vml_threader.h"
#include "vml_test_util.h"

namespace {

using orb::test::ModeScope;

// Allows `threads` vector-math threads, no dynamic reduction, for a scope.
class ThreadsScope {
public:
    explicit ThreadsScope(int32_t threads) {
        old_dynamic_ = ServGetDynamic();
        ServSetDomainValue(ServDomainVml, threads);
        ServSetDynamic(0);
    }
    ~ThreadsScope() {
        ServSetDomainValue(ServDomainVml, 0);
        ServSetDynamic(old_dynamic_);
    }

private:
    int32_t old_dynamic_;
};

std::mutex g_mu;
std::vector<std::pair<long, int>> g_chunks;  // (offset, count)
const double *g_base = nullptr;

void Recording(int32_t n, const double *a, double *y) {
    std::lock_guard<std::mutex> lock(g_mu);
    g_chunks.push_back({long(a - g_base), n});
    for (int32_t i = 0; i < n; ++i) y[i] = a[i];
}

TEST(VmlThreader, ChunkRule) {
    struct Case { int32_t n, m; std::vector<int32_t> counts; };
    const Case cases[] = {{100, 3, {33, 33, 34}}, {100, 2, {50, 50}},
                          {5, 8, {0, 0, 0, 0, 0, 0, 0, 5}}, {101, 4, {25, 25, 25, 26}}};
    for (const Case &c : cases) {
        int32_t next = 0;
        for (int32_t k = 0; k < c.m; ++k) {
            int32_t first, count;
            orb::vml::ChunkOf(c.n, k, c.m, &first, &count);
            EXPECT_EQ(count, c.counts[k]) << c.n << " " << k;
            if (count) { EXPECT_EQ(first, next); next = first + count; }
        }
        EXPECT_EQ(next, c.n);
    }
}

// 99 elements stay below the threshold; 100 split as the rule says.
TEST(VmlThreader, ThreeMembersSplit100As33_33_34) {
    ThreadsScope threads(3);
    std::vector<double> a(100, 1.0), y(100);
    g_base = a.data();
    using Chunks = std::vector<std::pair<long, int>>;
    for (const auto &[n, want] : {std::pair<int32_t, Chunks>{99, {{0, 99}}},
                                  std::pair<int32_t, Chunks>{100, {{0, 33}, {33, 33}, {66, 34}}}}) {
        g_chunks.clear();
        orb_vml_serv_threader_d_1i_1o(Recording, n, a.data(), y.data(), 1.0f, 0);
        std::sort(g_chunks.begin(), g_chunks.end());
        EXPECT_EQ(g_chunks, want) << n;
    }
}

std::atomic<int> g_index_calls{0};
std::atomic<int> g_last_index{-1};
int IndexCallback(VmlErrorContext *c) {
    g_index_calls++;
    g_last_index = c->index;
    return 1;
}

TEST(VmlThreader, ReportIndexIsPositionInTheWholeArray) {
    ThreadsScope threads(2);
    ModeScope mode(0x1002);
    ServVmlSetCallback(IndexCallback);
    std::vector<double> a(1000, 1.0), b(1000, 2.0), y(1000);
    b[777] = 0.0;
    vdDiv(1000, a.data(), b.data(), y.data());
    EXPECT_EQ(g_index_calls.load(), 1);
    EXPECT_EQ(g_last_index.load(), 777);
    EXPECT_EQ(ServVmlGetStatus(), 2);
    EXPECT_EQ(ServThreadStateGet()->vml_argbase, nullptr);
}

TEST(VmlThreader, SerialKeepsStatusThreadedOverwrites) {
    ThreadsScope threads(2);
    ModeScope mode(0x0102);
    std::vector<double> a(1000, 1.0), b(1000, 2.0), y(1000);
    ServVmlSetStatus(5);
    vdAdd(99, a.data(), b.data(), y.data());
    EXPECT_EQ(ServVmlGetStatus(), 5);
    vdAdd(1000, a.data(), b.data(), y.data());
    EXPECT_EQ(ServVmlGetStatus(), 0);
    // Linear fraction: the warning survives a serial call, not a threaded one.
    std::vector<double> big(100000, 1.0), out(100000);
    vdLinearFrac(10, big.data(), big.data(), 1, 0, 1, 1, out.data());
    EXPECT_EQ(ServVmlGetStatus(), 1000);
    vdLinearFrac(100000, big.data(), big.data(), 1, 0, 1, 1, out.data());
    EXPECT_EQ(ServVmlGetStatus(), 0);
    EXPECT_EQ(out[99999], 0.5);
}

TEST(VmlThreader, ThreadedResultsEqualSerial) {
    const int n = 20000;
    std::vector<double> a = orb::test::Data<double>(n, 3), b = orb::test::Data<double>(n, 4);
    std::vector<double> y[2] = {std::vector<double>(n), std::vector<double>(n)};
    ModeScope mode(0x0102);
    for (int t : {1, 2}) {
        ThreadsScope threads(t);
        vdDiv(n, a.data(), b.data(), y[t - 1].data());
    }
    for (int i = 0; i < n; ++i) ASSERT_TRUE(orb::test::SameValue(y[0][i], y[1][i])) << i;
}

TEST(VmlThreader, MachineFactorAndDynamicCount) {
    EXPECT_EQ(orb::vml::MachineFactor(1, 1, 0), 0.0f);
    // Two cores in one package: a = 0, b = 1, h = 0.
    EXPECT_FLOAT_EQ(orb::vml::MachineFactor(1, 2, 0), float(2.0 / 60000.0));
    // Two packages of 4 cores with 2 threads: N = 16.
    const double a = double(1 * (16 / 2)) / 15, b = double(3 * 2) / 15, h = 1.0 / 15;
    EXPECT_FLOAT_EQ(orb::vml::MachineFactor(2, 4, 1),
                    float(2.0 / (9000 * a + 60000 * b + 500000 * h)));
    int32_t p, k, s;
    ServTopologyCounts(&p, &k, &s);
    const float f = orb::vml::MachineFactor(p, k, s);
    struct Case { int32_t n; float cost; };
    for (const Case &c : {Case{100, 2.0f}, Case{1000000, 0.76f}, Case{10000000, 31.18f}}) {
        int32_t t = 2;
        const int32_t got = ServVmlThreadCount(&t, c.n, c.cost);
        int32_t want = int32_t(std::nearbyint(float(float(c.n) * c.cost * f)));
        want = std::min(std::max(want, 1), 2);
        EXPECT_EQ(got, want) << c.n;
        EXPECT_EQ(t, got);
    }
}

// The rule's product as the entries form it, under a rounding mode.
bool RuleSerial(int32_t n, float cost, float factor, uint32_t rounding) {
    const unsigned saved = _mm_getcsr();
    _mm_setcsr((saved & ~0x6000u) | rounding);
    volatile float vn = float(n), vc = cost, vf = factor;  // formed here, under the mode
    const bool serial = vn * vc * vf < 1.0f;
    _mm_setcsr(saved);
    return serial;
}

// Below the bound the rule says serial for every cost up to the largest,
// in every rounding mode; the bound stays within 2^-17 of the exact
// boundary; NaN and zero products have their fixed answers.
TEST(VmlThreader, SerialBound) {
    using orb::vml::SerialBound;
    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> expo(-9.0, -1.0), unit(0.0, 1.0);
    for (int i = 0; i < 20000; ++i) {
        const float factor = float(std::pow(10.0, expo(rng)));
        const float max_cost = float(0.05 + 60.0 * unit(rng));
        const int32_t bound = SerialBound(factor, max_cost);
        const double exact = 1.0 / (double(factor) * double(max_cost));
        if (exact >= kMax) {
            EXPECT_EQ(bound, kMax);
            continue;
        }
        ASSERT_GE(double(bound), exact * (1.0 - 0x1p-17) - 1.0) << factor << " " << max_cost;
        if (bound == 0) continue;
        for (uint32_t rounding : {0x0000u, 0x2000u, 0x4000u, 0x6000u}) {
            ASSERT_TRUE(RuleSerial(bound - 1, max_cost, factor, rounding))
                << factor << " " << max_cost << " rounding " << rounding;
            ASSERT_TRUE(RuleSerial(bound - 1, max_cost * 0.5f, factor, rounding));
        }
    }
    EXPECT_EQ(SerialBound(0.0f, 3.0f), kMax);
    EXPECT_EQ(SerialBound(std::numeric_limits<float>::quiet_NaN(), 3.0f), 0);
    EXPECT_EQ(SerialBound(1e-5f, std::numeric_limits<float>::quiet_NaN()), 0);
}

// The process's bound holds for every slot of every export table.
TEST(VmlThreader, SerialBoundCoversEveryTable) {
    const double a = 1.0, b = 2.0;
    double y;
    vdAdd(1, &a, &b, &y);
    const float factor = orb::vml::ProcessFactor();
    const int32_t bound = orb::vml::g_serial_below.load();
    EXPECT_EQ(bound, orb::vml::SerialBound(factor, orb::vml::MaxTableCost()));
    if (bound <= 0) return;
    float largest = 0.0f;
#define ORB_CHECK_TABLE(name, type)                                                  \
    for (float c : vml_costs_##name) {                                               \
        largest = std::max(largest, c);                                              \
        EXPECT_TRUE(orb::vml::SerialUnder(1, factor, bound - 1, c)) << #name << " " << c; \
    }
    VML_FOR_EACH_EXPORT(ORB_CHECK_TABLE)
#undef ORB_CHECK_TABLE
    EXPECT_EQ(largest, orb::vml::MaxTableCost());
}

}  // namespace
