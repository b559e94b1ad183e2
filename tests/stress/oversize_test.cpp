// Sizes whose byte counts do not fit 32 bits: every allocation they imply
// is refused with the family's out-of-memory status before anything is
// written, and a descriptor whose total size exceeds memory holds only
// per-dimension tables (no wrapped size is ever allocated).
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "include/orb_df.h"
#include "include/orb_dfti.h"
#include "service/memory.h"

namespace {

uint64_t BytesHeld() { return orb::mem::ReadStatistics().bytes_outstanding; }

// Commits and returns the status, after checking what every oversize
// descriptor must satisfy: it holds per-dimension tables only (far below the
// data's size), a refused one does not compute (one committed by mistake
// would run on this tiny buffer), and its free gives back every byte.
int32_t CommitChecked(DftiHandle h, uint64_t before) {
    const int32_t s = DftiCommitDescriptor(h);
    EXPECT_LT(BytesHeld() - before, uint64_t(64) << 20);
    double x[4] = {};
    if (s != DftiStatusNoError) { EXPECT_NE(DftiComputeForward(h, x, x), DftiStatusNoError); }
    EXPECT_EQ(DftiFreeDescriptor(&h), DftiStatusNoError);
    EXPECT_EQ(BytesHeld(), before);
    return s;
}

TEST(Oversize, FourierLengthsAndTotals) {
    const struct {
        const char *what;
        int32_t precision, domain, rank, len[7];
        bool must_fail;  // else the commit may also succeed
    } cases[] = {
        {"prime 2^31-1, complex double", DftiValueDouble, DftiValueComplex, 1, {INT32_MAX}, true},
        {"prime 2^31-1, complex single", DftiValueSingle, DftiValueComplex, 1, {INT32_MAX}, true},
        {"prime 2^31-1, real double", DftiValueDouble, DftiValueReal, 1, {INT32_MAX}, true},
        {"prime 2^31-1, real single", DftiValueSingle, DftiValueReal, 1, {INT32_MAX}, true},
        {"rank 7, 2^70 elements", DftiValueDouble, DftiValueComplex, 7, {1024, 1024, 1024, 1024, 1024, 1024, 1024}, false},
        {"rank 3 real, 2^32 elements", DftiValueSingle, DftiValueReal, 3, {2048, 2048, 1024}, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = BytesHeld();
        DftiHandle h = nullptr;
        ASSERT_EQ(c.rank == 1 ? DftiCreateDescriptor(&h, c.precision, c.domain, 1, c.len[0])
                              : DftiCreateDescriptor(&h, c.precision, c.domain, c.rank, c.len),
                  DftiStatusNoError);
        if (c.domain == DftiValueReal && c.rank > 1) {
            ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, DftiValueLayout39), DftiStatusNoError);
        }
        const int32_t s = CommitChecked(h, before);
        EXPECT_TRUE(s == DftiStatusMemoryError || s == DftiStatusLengthOverflow || (!c.must_fail && s == 0)) << s;
    }
}

// A default stride past 2^31 - 1 elements wraps (the caller's last dimension
// runs fastest, so the first dimension's default is the product of the
// others): commit refuses it with the length status, and accepts the same
// lengths once the caller gives strides that fit (here the first dimension
// fastest, so every stride stays small).
TEST(Oversize, WrappedDefaultStridesAreRefused) {
    const struct {
        const char *what;
        int32_t placement, len[3], strides[4];  // strides: offset first
        bool set_input, set_output, wraps;      // wraps: the length status, else any other
    } cases[] = {
        {"defaults, in place", DftiValuePlacement43, {2, 65536, 65536}, {0, 1, 131072, 2}, false, false, true},
        {"defaults, out of place", DftiValuePlacement44, {2, 65536, 65536}, {0, 1, 131072, 2}, false, false, true},
        {"input set, output default", DftiValuePlacement44, {2, 65536, 65536}, {0, 1, 131072, 2}, true, false, true},
        {"strides set, in place", DftiValuePlacement43, {2, 65536, 65536}, {0, 1, 131072, 2}, true, false, false},
        {"strides set, out of place", DftiValuePlacement44, {2, 65536, 65536}, {0, 1, 131072, 2}, true, true, false},
        {"wrap to a negative stride", DftiValuePlacement43, {2, 49152, 65536}, {0, 1, 98304, 2}, false, false, true},
        {"no stride wraps, only the total", DftiValuePlacement43, {2048, 1024, 4096}, {0, 4194304, 4096, 1}, false, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = BytesHeld();
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueSingle, DftiValueComplex, 3, c.len), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, c.placement), DftiStatusNoError);
        if (c.set_input) { ASSERT_EQ(DftiSetValue(h, DftiParamInputStrides, c.strides), DftiStatusNoError); }
        if (c.set_output) { ASSERT_EQ(DftiSetValue(h, DftiParamOutputStrides, c.strides), DftiStatusNoError); }
        EXPECT_EQ(CommitChecked(h, before) == DftiStatusLengthOverflow, c.wraps);
    }
}

// Lengths and a transform count whose product passes 2^56 points: commit
// refuses them with the length status before any plan multiplies sizes
// (slabs times slab bytes, points times element bytes) past 2^63. At
// exactly 2^56 the rule does not apply.
TEST(Oversize, PointsPastTheAddressableTotal) {
    const struct {
        int32_t count;
        bool refused;
    } cases[] = {{1 << 27, true}, {INT32_MAX, true}, {1 << 26, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.count);
        const uint64_t before = BytesHeld();
        const int32_t len[2] = {32768, 32768};
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 2, len), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, c.count), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, 1), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, 1), DftiStatusNoError);
        EXPECT_EQ(CommitChecked(h, before) == DftiStatusLengthOverflow, c.refused);
    }
}

// Data fitting: tables and scratch whose bytes exceed 32 bits.
TEST(Oversize, DataFittingCounts) {
    const double x[2] = {0, 1}, y[2] = {0, 1};
    DfTask *task = nullptr;
    // 2^29 functions: the table of 2^29 pointers is 2^32 bytes.
    EXPECT_EQ(dfdNewTask1D(&task, 2, x, DfNonUniform, 1 << 29, y, DfValuesPerFunction), DfStatusNoMemory);
    EXPECT_EQ(dfDeleteTask(&task), DfStatusOk);  // the record is the caller's to delete
    EXPECT_EQ(task, nullptr);

    ASSERT_EQ(dfdNewTask1D(&task, 2, x, DfNonUniform, 1, y, DfValuesPerFunction), DfStatusOk);
    std::vector<double> coeff(2);
    ASSERT_EQ(dfdEditPPSpline1D(task, DfLinear, DfTypeDefault, 0, nullptr, 0, nullptr, coeff.data(), 0), DfStatusOk);
    ASSERT_EQ(dfdConstruct1D(task, 0, 0), DfStatusOk);
    // Uniform sites are expanded into scratch of nsite elements.
    const struct { int32_t type, nsite; } cases[] = {
        {DfInterpolate, 1 << 29}, {DfCellSearch, 1 << 30}, {DfInterpolate | DfCellSearch, INT32_MAX}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.nsite);
        double r[4] = {-9, -9, -9, -9};
        int32_t cell[4] = {-9, -9, -9, -9};
        EXPECT_EQ(dfdInterpolate1D(task, c.type, DfMethodPP, c.nsite, x, DfSitesUniform, 0, nullptr, nullptr, r,
                                   DfResultFuncsSitesDerivs, cell),
                  DfStatusNoMemory);
        for (int k = 0; k < 4; ++k) EXPECT_TRUE(r[k] == -9.0 && cell[k] == -9) << k;
    }
    EXPECT_EQ(dfDeleteTask(&task), DfStatusOk);
}

}  // namespace
