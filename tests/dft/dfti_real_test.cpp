// Real transforms through the descriptor interface: the four conjugate-even
// formats (CCS, PACK, PERM, CCE) at rank 1 in both directions, in and out
// of place, batched and strided, and rank 2-3 with complex storage; the
// expected arrays are listed from the oracle's bins format by format.
#include <gtest/gtest.h>

#include "engine_oracle.h"
#include "include/orb_dfti.h"

namespace {

using namespace orb::dft::test;

struct RealCase {
    int32_t n, format, count;
    bool in_place;
    int32_t packed_stride;  // stride of the conjugate-even array (real or complex elements)
    // Out of place only: elements before the first one used, on the real
    // side; the conjugate-even side starts one element further in.
    int32_t offset = 0;
};

template <typename T>
void RunReal(const RealCase &rc) {
    const bool is_double = sizeof(T) == 8;
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
        const int64_t span = std::max(real_dist, ce_dist * ce_unit);
        ce_dist = span / ce_unit + span % ce_unit;
        real_dist = ce_dist * ce_unit;
    }
    const int64_t real_off = rc.in_place ? 0 : rc.offset, ce_off = real_off ? real_off + 1 : 0;
    const std::string name = "n=" + std::to_string(n) + " format " + std::to_string(rc.format) +
                             " count " + std::to_string(rc.count) + (rc.in_place ? " in" : " oop") +
                             " offset " + std::to_string(real_off) +
                             (is_double ? " double" : " single");

    for (bool forward : {true, false}) {
        DftiHandle h = nullptr;
        ASSERT_EQ(DftiCreateDescriptor(&h, is_double ? DftiValueDouble : DftiValueSingle, DftiValueReal, 1, rc.n), 0);
        if (cce) ASSERT_EQ(DftiSetValue(h, DftiParamLayout10, DftiValueLayout39), 0);
        else ASSERT_EQ(DftiSetValue(h, DftiParamPackFormat, rc.format), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamPlacement, rc.in_place ? 43 : 44), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamTransformCount, rc.count), 0);
        const int32_t real_strides[2] = {int32_t(real_off), 1}, ce_strides[2] = {int32_t(ce_off), int32_t(ps)};
        ASSERT_EQ(DftiSetValue(h, DftiParamInputStrides, forward ? real_strides : ce_strides), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputStrides, forward ? ce_strides : real_strides), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamInputDistance, int32_t(forward ? real_dist : ce_dist)), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamOutputDistance, int32_t(forward ? ce_dist : real_dist)), 0);
        ASSERT_EQ(DftiSetValue(h, DftiParamBackwardScale, 1.0 / double(n)), 0);
        ASSERT_EQ(DftiCommitDescriptor(h), 0) << name;

        std::vector<T> rbuf(real_off + rc.count * real_dist + 4, T(-7)),
            cbuf((ce_off + rc.count * ce_dist) * ce_unit + 4, T(-7));
        std::vector<T> &one = rbuf.size() >= cbuf.size() ? rbuf : cbuf;
        std::vector<T> &real_arr = rc.in_place ? one : rbuf, &ce_arr = rc.in_place ? one : cbuf;
        // Real j of transform t; real i of the listing of transform t.
        auto real_at = [&](int64_t t, int64_t j) -> T & { return real_arr[real_off + t * real_dist + j]; };
        auto ce_at = [&](int64_t t, int64_t i) -> T & {
            return ce_arr[(ce_off + t * ce_dist + i / ce_unit * ps) * ce_unit + i % ce_unit];
        };
        std::vector<std::vector<LCx>> xs;
        std::vector<std::vector<long double>> lists;
        for (int64_t t = 0; t < rc.count; ++t) {
            xs.push_back(RandomReal(n, 100 + t));
            lists.push_back(Listing(rc.format, NaiveAll(xs.back(), {n}, -1), n));
            if (forward)
                for (int64_t j = 0; j < n; ++j) real_at(t, j) = T(xs[t][j].real());
            else
                for (int64_t i = 0; i < list_reals; ++i) ce_at(t, i) = T(lists[t][i]);
        }
        const std::vector<T> input_copy = forward ? rbuf : cbuf;
        int32_t s = rc.in_place ? (forward ? DftiComputeForward(h, one.data()) : DftiComputeBackward(h, one.data()))
                                : (forward ? DftiComputeForward(h, rbuf.data(), cbuf.data())
                                           : DftiComputeBackward(h, cbuf.data(), rbuf.data()));
        DftiFreeDescriptor(&h);
        ASSERT_EQ(s, 0) << name;
        std::vector<LCx> got, want;
        for (int64_t t = 0; t < rc.count; ++t) {
            if (forward) {
                for (int64_t i = 0; i < list_reals; ++i) want.push_back(lists[t][i]), got.push_back(ce_at(t, i));
            } else {
                for (int64_t j = 0; j < n; ++j) want.push_back(xs[t][j]), got.push_back(real_at(t, j));
            }
        }
        EXPECT_LE(RelRms(got, want), Tolerance(is_double, n)) << name << (forward ? " forward" : " backward");
        if (!rc.in_place && forward) {  // the gaps between packed elements stay untouched
            for (int64_t t = 0; t < rc.count; ++t)
                for (int64_t e = 0; e + 1 < ce_elems && ps > 1; ++e) {
                    EXPECT_EQ(cbuf[(ce_off + t * ce_dist + e * ps + 1) * ce_unit], T(-7)) << name;
                }
        }
        if (!rc.in_place) {  // nor does anything before the first element or after the last
            const std::vector<T> &o = forward ? cbuf : rbuf;
            for (int64_t i = 0; i < (forward ? ce_off * ce_unit : real_off); ++i)
                EXPECT_EQ(o[size_t(i)], T(-7)) << name << " lead " << i;
            const int64_t end = forward ? (ce_off + (rc.count - 1) * ce_dist + (ce_elems - 1) * ps + 1) * ce_unit
                                        : real_off + (rc.count - 1) * real_dist + n;
            for (size_t i = size_t(end); i < o.size(); ++i) EXPECT_EQ(o[i], T(-7)) << name << " tail " << i;
            // and the input is read only
            EXPECT_TRUE((forward ? rbuf : cbuf) == input_copy) << name << " input changed";
        }
    }
}

// Every length to 70 with varied batches and strides, then longer ones.
TEST(DftiReal, Formats) {
    for (int32_t format : {54, 55, 56, 57}) {
        for (int32_t n = 1; n <= 70; ++n) {
            const RealCase rc{n, format, 1 + n % 3, n % 2 == 0, 1 + n % 4 / 3};
            RunReal<double>(rc);
            RunReal<float>(rc);
        }
        for (int32_t n : {127, 128, 1021})
            for (bool in_place : {false, true}) {
                const RealCase rc{n, format, 2, in_place, in_place ? 1 : 2};
                RunReal<double>(rc);
                RunReal<float>(rc);
            }
        // Single contiguous rows from 32 points on: PERM (and PACK's
        // forward) are computed in the caller's array itself.
        for (int32_t n : {32, 34, 1024})
            for (bool in_place : {false, true}) {
                const RealCase rc{n, format, 1, in_place, 1};
                RunReal<double>(rc);
                RunReal<float>(rc);
            }
        // Offsets on both sides: short rows (one codelet call), a longer
        // even one and an odd prime, one transform and a batch.
        for (int32_t n : {2, 8, 12, 100, 1021})
            for (int32_t count : {1, 3}) {
                const RealCase rc{n, format, count, false, 1, 3};
                RunReal<double>(rc);
                RunReal<float>(rc);
            }
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

// Rank 2 and 3 with complex storage of the conjugate-even side, out of
// place and in place in the usual padded layout (rows of 2(n/2+1) reals
// hold n/2+1 complex elements): forward against the oracle, backward back
// to the input.
template <typename T>
void RunRealMd(const std::vector<int32_t> &shape, bool in_place) {
    const bool dbl = sizeof(T) == 8;
    const int32_t rank = int32_t(shape.size());
    const int64_t last = shape.back(), h = last / 2 + 1, row = in_place ? 2 * h : last;
    int64_t n = 1;
    for (int32_t x : shape) n *= x;
    const int64_t outer = n / last;
    std::vector<int32_t> rs(rank + 1, 0), cs(rank + 1, 0);
    for (int64_t i = rank, r_st = 1, c_st = 1; i >= 1; --i) {
        rs[i] = int32_t(r_st), cs[i] = int32_t(c_st);
        r_st *= i == rank ? row : shape[i - 1];
        c_st *= i == rank ? h : shape[i - 1];
    }
    const std::string name = std::to_string(rank) + "d last " + std::to_string(last) + (in_place ? " in" : " oop");
    DftiHandle d = nullptr;
    ASSERT_EQ(DftiCreateDescriptor(&d, dbl ? DftiValueDouble : DftiValueSingle, DftiValueReal, rank, shape.data()), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamLayout10, DftiValueLayout39), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamPlacement, in_place ? 43 : 44), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamInputStrides, rs.data()), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamOutputStrides, cs.data()), 0);
    ASSERT_EQ(DftiCommitDescriptor(d), 0) << name;
    const std::vector<LCx> x = RandomReal(n, 9);
    std::vector<T> real(outer * row, T(-9)), ce(in_place ? 0 : 2 * outer * h), back(real.size());
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t j = 0; j < last; ++j) real[o * row + j] = T(x[o * last + j].real());
    T *y = in_place ? real.data() : ce.data();
    ASSERT_EQ(in_place ? DftiComputeForward(d, y) : DftiComputeForward(d, real.data(), y), 0) << name;
    const std::vector<LCx> ref = NaiveAll(x, {shape.begin(), shape.end()}, -1);
    std::vector<LCx> got, want;
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t k = 0; k < h; ++k) {
            want.push_back(ref[o * last + k]);
            got.push_back(LCx(y[2 * (o * h + k)], y[2 * (o * h + k) + 1]));
        }
    EXPECT_LE(RelRms(got, want), Tolerance(dbl, n)) << name;

    ASSERT_EQ(DftiSetValue(d, DftiParamInputStrides, cs.data()), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamOutputStrides, rs.data()), 0);
    ASSERT_EQ(DftiSetValue(d, DftiParamBackwardScale, 1.0 / double(n)), 0);
    ASSERT_EQ(DftiCommitDescriptor(d), 0) << name;
    ASSERT_EQ(in_place ? DftiComputeBackward(d, y) : DftiComputeBackward(d, y, back.data()), 0) << name;
    const T *b = in_place ? real.data() : back.data();
    got.clear();
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t j = 0; j < last; ++j) got.push_back(LCx(b[o * row + j], 0));
    EXPECT_LE(RelRms(got, x), 2 * Tolerance(dbl, n)) << name;
    DftiFreeDescriptor(&d);
}

TEST(DftiReal, MultiDimensionalCce) {
    const std::vector<std::vector<int32_t>> shapes = {{6, 8}, {5, 7}, {4, 7}, {5, 6}, {3, 4, 10}, {2, 3, 5}};
    for (const auto &shape : shapes)
        for (bool in_place : {false, true}) {
            RunRealMd<double>(shape, in_place);
            RunRealMd<float>(shape, in_place);
        }
}

}  // namespace
