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

TEST(Oversize, FourierLengthsAndTotals) {
    struct Case {
        const char *what;
        int32_t precision, domain, rank, len[7];
        bool must_fail;  // commit must return 1 (memory) or 9 (length)
    } cases[] = {
        {"prime 2^31-1, complex double", DftiValueDouble, DftiValueComplex, 1, {INT32_MAX}, true},
        {"prime 2^31-1, complex single", DftiValueSingle, DftiValueComplex, 1, {INT32_MAX}, true},
        {"prime 2^31-1, real double", DftiValueDouble, DftiValueReal, 1, {INT32_MAX}, true},
        {"prime 2^31-1, real single", DftiValueSingle, DftiValueReal, 1, {INT32_MAX}, true},
        {"rank 7, 2^70 elements", DftiValueDouble, DftiValueComplex, 7, {1024, 1024, 1024, 1024, 1024, 1024, 1024}, false},
        {"rank 3 real, 2^32 elements", DftiValueSingle, DftiValueReal, 3, {2048, 2048, 1024}, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = BytesHeld();
        DftiHandle h = nullptr;
        int32_t s = c.rank == 1 ? DftiCreateDescriptor(&h, c.precision, c.domain, 1, c.len[0])
                                : DftiCreateDescriptor(&h, c.precision, c.domain, c.rank, c.len);
        ASSERT_EQ(s, DftiStatusNoError);
        if (c.domain == DftiValueReal && c.rank > 1) {
            ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, DftiValueLayout39), DftiStatusNoError);
        }
        s = DftiCommitDescriptor(h);
        if (c.must_fail)
            EXPECT_TRUE(s == DftiStatusMemoryError || s == DftiStatusLengthOverflow) << s;
        else
            EXPECT_TRUE(s == DftiStatusNoError || s == DftiStatusMemoryError ||
                        s == DftiStatusLengthOverflow)
                << s;
        // Tables per dimension only: far below the data's size.
        EXPECT_LT(BytesHeld() - before, uint64_t(64) << 20);
        if (c.must_fail) {
            double x[4] = {};
            EXPECT_NE(DftiComputeForward(h, x), DftiStatusNoError);
        }
        EXPECT_EQ(DftiFreeDescriptor(&h), DftiStatusNoError);
        EXPECT_EQ(BytesHeld(), before);
    }
}

// A default stride past 2^31 - 1 elements wraps (the caller's last dimension
// runs fastest, so the first dimension's default is the product of the
// others): commit refuses it with the length status, and accepts the same
// lengths once the caller gives strides that fit (here the first dimension
// fastest, so every stride stays small).
TEST(Oversize, WrappedDefaultStridesAreRefused) {
    struct Case {
        const char *what;
        int32_t placement, rank, len[3], strides[4];  // strides: offset first
        bool set_input, set_output;
        int32_t expected;  // 0 stands for "not the length status"
    } cases[] = {
        {"defaults, in place", DftiValuePlacement43, 3, {2, 65536, 65536}, {0, 1, 131072, 2}, false, false, DftiStatusLengthOverflow},
        {"defaults, out of place", DftiValuePlacement44, 3, {2, 65536, 65536}, {0, 1, 131072, 2}, false, false, DftiStatusLengthOverflow},
        {"input set, output default", DftiValuePlacement44, 3, {2, 65536, 65536}, {0, 1, 131072, 2}, true, false, DftiStatusLengthOverflow},
        {"strides set, in place", DftiValuePlacement43, 3, {2, 65536, 65536}, {0, 1, 131072, 2}, true, false, 0},
        {"strides set, out of place", DftiValuePlacement44, 3, {2, 65536, 65536}, {0, 1, 131072, 2}, true, true, 0},
        {"wrap to a negative stride", DftiValuePlacement43, 3, {2, 49152, 65536}, {0, 1, 98304, 2}, false, false, DftiStatusLengthOverflow},
        {"no stride wraps, only the total", DftiValuePlacement43, 3, {2048, 1024, 4096}, {0, 4194304, 4096, 1}, false, false, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = BytesHeld();
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, DftiValueSingle, DftiValueComplex, c.rank, c.len), DftiStatusNoError);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, c.placement), DftiStatusNoError);
        if (c.set_input) {
            ASSERT_EQ(DftiSetValue(h, DftiParamInputStrides, c.strides), DftiStatusNoError);
        }
        if (c.set_output) {
            ASSERT_EQ(DftiSetValue(h, DftiParamOutputStrides, c.strides), DftiStatusNoError);
        }
        const int32_t s = DftiCommitDescriptor(h);
        if (c.expected == DftiStatusLengthOverflow) {
            EXPECT_EQ(s, DftiStatusLengthOverflow);
            float x[4] = {};
            // A descriptor committed by mistake would run on this tiny buffer.
            if (s == DftiStatusLengthOverflow) {
                EXPECT_NE(DftiComputeForward(h, x, x), DftiStatusNoError);
            }
        } else {
            EXPECT_NE(s, DftiStatusLengthOverflow);
        }
        EXPECT_LT(BytesHeld() - before, uint64_t(64) << 20);
        EXPECT_EQ(DftiFreeDescriptor(&h), DftiStatusNoError);
        EXPECT_EQ(BytesHeld(), before);
    }
}

// Data fitting: tables and scratch whose bytes exceed 32 bits.
TEST(Oversize, DataFittingCounts) {
    const double x[2] = {0, 1}, y[2] = {0, 1};
    {
        // 2^29 functions: the table of 2^29 pointers is 2^32 bytes.
        DfTask *task = nullptr;
        EXPECT_EQ(dfdNewTask1D(&task, 2, x, DfNonUniform, 1 << 29, y, DfValuesPerFunction),
                  DfStatusNoMemory);
        EXPECT_EQ(dfDeleteTask(&task), DfStatusOk);  // the record is the caller's to delete
        EXPECT_EQ(task, nullptr);
    }
    DfTask *task = nullptr;
    ASSERT_EQ(dfdNewTask1D(&task, 2, x, DfNonUniform, 1, y, DfValuesPerFunction), DfStatusOk);
    std::vector<double> coeff(2);
    ASSERT_EQ(dfdEditPPSpline1D(task, DfLinear, DfTypeDefault, 0, nullptr, 0, nullptr, coeff.data(), 0),
              DfStatusOk);
    ASSERT_EQ(dfdConstruct1D(task, 0, 0), DfStatusOk);
    // Uniform sites are expanded into scratch of nsite elements.
    struct Case {
        int32_t type, nsite;
    } cases[] = {{DfInterpolate, 1 << 29}, {DfCellSearch, 1 << 30}, {DfInterpolate | DfCellSearch, INT32_MAX}};
    const double ends[2] = {0, 1};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.nsite);
        double r[4] = {-9, -9, -9, -9};
        int32_t cell[4] = {-9, -9, -9, -9};
        EXPECT_EQ(dfdInterpolate1D(task, c.type, DfMethodPP, c.nsite, ends, DfSitesUniform, 0, nullptr,
                                   nullptr, r, DfResultFuncsSitesDerivs, cell),
                  DfStatusNoMemory);
        for (double v : r) EXPECT_EQ(v, -9.0);
        for (int32_t v : cell) EXPECT_EQ(v, -9);
    }
    EXPECT_EQ(dfDeleteTask(&task), DfStatusOk);
}

}  // namespace
