// Parsers of the thread-count variables and the dynamic rule, table-driven.
#include <gtest/gtest.h>

#include "service/threads.h"

namespace {

struct CountCase { const char *text; int32_t want; };

TEST(ThreadCountText, DigitRule) {
    const CountCase cases[] = {
        {"4", 4}, {"0", 0}, {"007", 7}, {"4x", 1}, {"abc", 1}, {" 4", 1},
        {"-3", 1}, {"", 1}, {"99999999999", INT32_MAX}, {"12", 12},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseThreadCountText(c.text, int32_t(strlen(c.text))), c.want) << c.text;
}

struct ListCase { const char *text; int32_t want[orb::kThreadDomains]; };

TEST(DomainThreadList, Grammar) {
    const ListCase cases[] = {
        {"ORB_BLAS=2, ORB_FFT=3", {-1, 2, 3, -1, -1}},
        {"ORB_DOMAIN_BLAS=2;ORB_DOMAIN_FFT=3:ORB_DOMAIN_VML=4", {-1, 2, 3, 4, -1}},
        {"ORB_ALL=5 ORB_PARDISO=6", {5, -1, -1, -1, 6}},
        {"ORB_DOMAIN_ALL = 7 ORB_DOMAIN_PARDISO==8", {7, -1, -1, -1, 8}},
        {"\"ORB_BLAS=2\" 'ORB_VML=3'", {-1, 2, -1, 3, -1}},
        {"ORB_BLAS=2 ORB_BLAS=5", {-1, 2, -1, -1, -1}},      // first value wins
        {"ORB_BLAS=0 ORB_BLAS=5", {-1, 5, -1, -1, -1}},      // below 1 ignored
        {"ORB_BLAS=2x", {-1, 1, -1, -1, -1}},                // non-digits give 1
        {"ORB_BLAS=", {-1, 1, -1, -1, -1}},                  // empty number gives 1
        {"orb_blas=2 ORB_FFT=3", {-1, -1, 3, -1, -1}},       // case matters
        {"ORB_XYZ=2,ORB_VML=9", {-1, -1, -1, 9, -1}},        // unknown names skipped
        {"ORB_BLAS=2 =3 ORB_FFT=4", {-1, 2, -1, -1, -1}},    // empty name stops
        {"ORB_BLAS", {-1, 1, -1, -1, -1}},
        {"", {-1, -1, -1, -1, -1}},
        {",,;; ORB_FFT=3,,", {-1, -1, 3, -1, -1}},
    };
    for (const auto &c : cases) {
        int32_t got[orb::kThreadDomains] = {-1, -1, -1, -1, -1};
        orb::ParseDomainThreadList(c.text, got);
        for (int d = 0; d < orb::kThreadDomains; ++d)
            EXPECT_EQ(got[d], c.want[d]) << c.text << " domain " << d;
    }
}

TEST(DomainThreadList, KeepsValuesAlreadySet) {
    int32_t got[orb::kThreadDomains] = {4, -1, -1, -1, -1};
    orb::ParseDomainThreadList("ORB_ALL=9 ORB_BLAS=2", got);
    EXPECT_EQ(got[0], 4);
    EXPECT_EQ(got[1], 2);
}

TEST(DynamicText, OnlyExactFalseTurnsOff) {
    const struct { const char *text; int32_t want; } cases[] = {
        {nullptr, 1}, {"FALSE", 0}, {"false", 0}, {"False", 1}, {"  'FALSE'", 0},
        {"\"false\" trailing", 0}, {"FALSEx", 1}, {"TRUE", 1}, {"0", 1}, {"", 1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseDynamicText(c.text), c.want) << (c.text ? c.text : "(unset)");
}

TEST(DynamicRule, Table) {
    orb::ThreadTopology known;  // 8 logical processors, two threads a core
    known.processors = 8; known.divisor = 2; known.flag = 1;
    orb::ThreadTopology unknown;
    unknown.processors = 8;
    orb::ThreadTopology off = known;
    off.hybrid_switch = 0;
    orb::ThreadTopology on = known;
    on.hybrid_switch = 1;
    const struct {
        int32_t n; bool explicit_count, omp; const orb::ThreadTopology *t; int32_t want;
    } cases[] = {
        {16, false, false, &known, 4},   // one thread a core
        {16, true, false, &known, 8},    // explicit: capped at P
        {3, true, false, &known, 3},
        {16, false, true, &known, 8},    // OMP_NUM_THREADS given
        {16, false, false, &unknown, 8}, // T unknown
        {5, false, false, &off, 1},
        {5, false, false, &on, 5},
        {16, false, false, &on, 8},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ApplyDynamicRule(c.n, c.explicit_count, c.omp, *c.t), c.want);
}

}  // namespace
