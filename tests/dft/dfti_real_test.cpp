// Real transforms through the descriptor interface: the four conjugate-even
// formats (CCS, PACK, PERM, CCE) at rank 1 in both directions, in and out
// of place, batched and strided, and rank 2-3 with complex storage; the
// expected arrays are listed from the oracle's bins format by format.
#include <gtest/gtest.h>

#include "dfti_layout.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

struct RealCase {
    int32_t n, format, count;
    bool in_place;
    int32_t packed_stride;  // stride of the conjugate-even array (real or complex elements)
};

template <typename T>
void RunReal(const RealCase &rc, bool is_double) {
    const int64_t n = rc.n;
    const int64_t list_reals = int64_t(Listing(rc.format, std::vector<LCx>(n / 2 + 1), n).size());
    const bool cce = rc.format == DftiValuePack57;
    const int64_t ce_elems = cce ? list_reals / 2 : list_reals;  // elements of the packed side
    const int64_t ce_unit = cce ? 2 : 1;                          // reals per element
    const int64_t ps = rc.packed_stride;
    // Distances: real side n (+1 pad), packed side its span (+1 pad). In
    // place both sides share a buffer, so both use the larger span in reals.
    // An even packed distance lets unit-stride CCS batches map straight onto
    // complex elements; stride 2 keeps the repacking path covered.
    int64_t real_dist = n + 1, ce_dist = (ce_elems - 1) * ps + 2;
    ce_dist += ce_dist % 2;
    if (rc.in_place) {
        int64_t span = std::max(real_dist, ce_dist * ce_unit);
        real_dist = span;
        ce_dist = span / ce_unit + (span % ce_unit ? 1 : 0);
        real_dist = ce_dist * ce_unit;
    }
    const std::string name = "n=" + std::to_string(n) + " format " + std::to_string(rc.format) +
                             " count " + std::to_string(rc.count) + (rc.in_place ? " in" : " oop") +
                             (is_double ? " double" : " single");

    for (bool forward : {true, false}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, is_double ? DftiValueDouble : DftiValueSingle, DftiValueReal, 1,
                                       rc.n),
                  0);
        if (cce) ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, DftiValueLayout39), 0);
        else ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, rc.format), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, rc.in_place ? 43 : 44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, rc.count), 0);
        const int32_t real_strides[2] = {0, 1}, ce_strides[2] = {0, int32_t(ps)};
        ASSERT_EQ(DftiSetValue(h, DftiParamInputStrides, forward ? real_strides : ce_strides), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputStrides, forward ? ce_strides : real_strides), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, int32_t(forward ? real_dist : ce_dist)), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, int32_t(forward ? ce_dist : real_dist)), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamBackwardScale, 1.0 / double(n)), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0) << name;

        const int64_t real_size = rc.count * real_dist, ce_size = rc.count * ce_dist * ce_unit;
        std::vector<T> rbuf(real_size + 4, T(-7)), cbuf(ce_size + 4, T(-7));
        std::vector<T> &one = rbuf.size() >= cbuf.size() ? rbuf : cbuf;
        std::vector<T> &real_arr = rc.in_place ? one : rbuf, &ce_arr = rc.in_place ? one : cbuf;

        std::vector<LCx> got, want;
        std::vector<std::vector<LCx>> xs;
        std::vector<std::vector<long double>> lists;
        for (int64_t t = 0; t < rc.count; ++t) {
            xs.push_back(RandomReal(n, 100 + t));
            lists.push_back(Listing(rc.format, NaiveAll(xs.back(), {n}, -1), n));
        }
        for (int64_t t = 0; t < rc.count; ++t) {
            const std::vector<long double> &list = lists[t];
            if (forward) {
                for (int64_t j = 0; j < n; ++j) real_arr[t * real_dist + j] = T(xs[t][j].real());
            } else {
                for (int64_t e = 0; e < ce_elems; ++e)
                    for (int64_t u = 0; u < ce_unit; ++u)
                        ce_arr[(t * ce_dist + e * ps) * ce_unit + u] = T(list[e * ce_unit + u]);
            }
        }
        int32_t s = rc.in_place ? (forward ? DftiComputeForward(h, one.data()) : DftiComputeBackward(h, one.data()))
                                : (forward ? DftiComputeForward(h, rbuf.data(), cbuf.data())
                                           : DftiComputeBackward(h, cbuf.data(), rbuf.data()));
        DftiFreeDescriptor(&h);
        ASSERT_EQ(s, 0) << name;
        for (int64_t t = 0; t < rc.count; ++t) {
            if (forward) {
                const std::vector<long double> &list = lists[t];
                for (int64_t e = 0; e < ce_elems; ++e)
                    for (int64_t u = 0; u < ce_unit; ++u) {
                        want.push_back(list[e * ce_unit + u]);
                        got.push_back(ce_arr[(t * ce_dist + e * ps) * ce_unit + u]);
                    }
            } else {
                for (int64_t j = 0; j < n; ++j) {
                    want.push_back(xs[t][j]);
                    got.push_back(real_arr[t * real_dist + j]);
                }
            }
        }
        EXPECT_LE(RelRms(got, want), Tolerance(is_double, n)) << name << (forward ? " forward" : " backward");
        if (!rc.in_place && forward)  // the gaps between packed elements stay untouched
            for (int64_t t = 0; t < rc.count; ++t)
                for (int64_t e = 0; e + 1 < ce_elems && ps > 1; ++e) {
                    EXPECT_EQ(cbuf[(t * ce_dist + e * ps + 1) * ce_unit], T(-7)) << name;
                }
    }
}

TEST(DftiReal, FormatsEveryShortLength) {
    for (int32_t format : {54, 55, 56, 57})
        for (int32_t n = 1; n <= 70; ++n) {
            RealCase rc{n, format, 1 + n % 3, n % 2 == 0, 1 + n % 4 / 3};
            RunReal<double>(rc, true);
            RunReal<float>(rc, false);
        }
}

TEST(DftiReal, FormatsLargerLengths) {
    for (int32_t format : {54, 55, 56, 57})
        for (int32_t n : {127, 128, 1021})
            for (bool in_place : {false, true}) {
                RealCase rc{n, format, 2, in_place, in_place ? 1 : 2};
                RunReal<double>(rc, true);
                RunReal<float>(rc, false);
            }
}

TEST(DftiReal, WorkedExamplesOfTheHeader) {
    const double x[4] = {1, 2, 3, 4};
    const struct { int32_t format; std::vector<double> want; } rows[] = {
        {54, {10, 0, -2, 2, -2, 0}}, {55, {10, -2, 2, -2}}, {56, {10, -2, -2, 2}}, {57, {10, 0, -2, 2, -2, 0}}};
    for (const auto &r : rows) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor_d_1d(&h, DftiValueReal, 4), 0);
        if (r.format == 57) ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, DftiValueLayout39), 0);
        else ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, r.format), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0);
        double y[6] = {99, 99, 99, 99, 99, 99};
        ASSERT_EQ(DftiComputeForward(h, (void *)x, y), 0);
        for (size_t i = 0; i < r.want.size(); ++i) EXPECT_NEAR(y[i], r.want[i], 1e-14) << r.format << " " << i;
        for (size_t i = r.want.size(); i < 6; ++i) EXPECT_EQ(y[i], 99) << r.format;
        DftiFreeDescriptor(&h);
    }
}

// Rank 2 and 3, complex storage of the conjugate-even side: forward against
// the oracle and backward back to the input.
TEST(DftiReal, MultiDimensionalCce) {
    const std::vector<std::vector<int32_t>> shapes = {{6, 8}, {5, 7}, {3, 4, 10}, {2, 3, 5}};
    for (const auto &shape : shapes)
        for (bool dbl : {true, false}) {
            const int32_t rank = int32_t(shape.size());
            const int64_t last = shape.back(), h = last / 2 + 1;
            int64_t outer = 1;
            for (int32_t i = 0; i + 1 < rank; ++i) outer *= shape[i];
            const int64_t n = outer * last;
            std::vector<int32_t> rs(rank + 1), cs(rank + 1);
            rs[0] = cs[0] = 0;
            int64_t r_st = 1, c_st = 1;
            for (int32_t i = rank; i >= 1; --i) {
                rs[i] = int32_t(r_st);
                cs[i] = int32_t(c_st);
                r_st *= shape[i - 1];
                c_st *= i == rank ? h : shape[i - 1];
            }
            DftiHandle fw = nullptr;
            const int32_t precision = dbl ? DftiValueDouble : DftiValueSingle;
            ASSERT_EQ(DftiCreateDescriptor(&fw, precision, DftiValueReal, rank, shape.data()), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamLayout10, DftiValueLayout39), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamPlacement, DftiValuePlacement44), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamInputStrides, rs.data()), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamOutputStrides, cs.data()), 0);
            ASSERT_EQ(DftiCommitDescriptor(fw), 0);
            const std::vector<LCx> x = RandomReal(n, 9);
            std::vector<double> xd(n), yd(2 * outer * h), bd(n);
            std::vector<float> xf(n), yf(2 * outer * h), bf(n);
            for (int64_t i = 0; i < n; ++i) xd[i] = double(x[i].real()), xf[i] = float(xd[i]);
            ASSERT_EQ(dbl ? DftiComputeForward(fw, xd.data(), yd.data()) : DftiComputeForward(fw, xf.data(), yf.data()), 0);
            const std::vector<LCx> ref = NaiveAll(x, {shape.begin(), shape.end()}, -1);
            std::vector<LCx> got, want;
            for (int64_t o = 0; o < outer; ++o)
                for (int64_t k = 0; k < h; ++k) {
                    want.push_back(ref[o * last + k]);
                    int64_t at = 2 * (o * h + k);
                    got.push_back(dbl ? LCx(yd[at], yd[at + 1]) : LCx(yf[at], yf[at + 1]));
                }
            EXPECT_LE(RelRms(got, want), Tolerance(dbl, n)) << rank << " " << last;

            ASSERT_EQ(DftiSetValue(fw, DftiParamInputStrides, cs.data()), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamOutputStrides, rs.data()), 0);
            ASSERT_EQ(DftiSetValue(fw, DftiParamBackwardScale, 1.0 / double(n)), 0);
            ASSERT_EQ(DftiCommitDescriptor(fw), 0);
            ASSERT_EQ(dbl ? DftiComputeBackward(fw, yd.data(), bd.data()) : DftiComputeBackward(fw, yf.data(), bf.data()), 0);
            got.clear();
            for (int64_t i = 0; i < n; ++i) got.push_back(dbl ? LCx(bd[i], 0) : LCx(bf[i], 0));
            EXPECT_LE(RelRms(got, x), 2 * Tolerance(dbl, n)) << rank << " " << last;
            DftiFreeDescriptor(&fw);
        }
}

// Rank 2 in place, the usual padded layout: rows of 2(n/2+1) reals hold
// n/2+1 complex elements after the forward transform.
TEST(DftiReal, TwoDimensionalInPlacePadded) {
    for (int32_t rows : {4, 5})
        for (int32_t cols : {6, 7}) {
            const int32_t h = cols / 2 + 1, lengths[2] = {rows, cols};
            const int32_t rs[3] = {0, 2 * h, 1}, cs[3] = {0, h, 1};
            DftiHandle d = nullptr;
            ASSERT_EQ(DftiCreateDescriptor(&d, DftiValueDouble, DftiValueReal, 2, lengths), 0);
            ASSERT_EQ(DftiSetValue(d, DftiParamLayout10, DftiValueLayout39), 0);
            ASSERT_EQ(DftiSetValue(d, DftiParamInputStrides, rs), 0);
            ASSERT_EQ(DftiSetValue(d, DftiParamOutputStrides, cs), 0);
            ASSERT_EQ(DftiCommitDescriptor(d), 0);
            const std::vector<LCx> x = RandomReal(int64_t(rows) * cols, 3);
            std::vector<double> buf(size_t(rows) * 2 * h, -9.0);
            for (int32_t r = 0; r < rows; ++r)
                for (int32_t c = 0; c < cols; ++c) buf[r * 2 * h + c] = double(x[r * cols + c].real());
            ASSERT_EQ(DftiComputeForward(d, buf.data()), 0);
            const std::vector<LCx> ref = NaiveAll(x, {rows, cols}, -1);
            std::vector<LCx> got, want;
            for (int32_t r = 0; r < rows; ++r)
                for (int32_t k = 0; k < h; ++k) {
                    want.push_back(ref[r * cols + k]);
                    got.push_back(LCx(buf[2 * (r * h + k)], buf[2 * (r * h + k) + 1]));
                }
            EXPECT_LE(RelRms(got, want), Tolerance(true, rows * cols)) << rows << "x" << cols;
            DftiFreeDescriptor(&d);
        }
}

}  // namespace
