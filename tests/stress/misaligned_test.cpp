// Arrays that are element-aligned but not type- or vector-aligned (a double
// at a 4-byte boundary, as the 32-bit x86 ABI allows; a float off its
// 16-byte boundary) give the same results as aligned arrays, through the
// Fourier and data-fitting entry points.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "include/orb_df.h"
#include "include/orb_dfti.h"

namespace {

// `count` elements of T starting `shift` bytes past a 64-byte boundary,
// read and written through memcpy.
template <typename T>
struct Shifted {
    std::vector<unsigned char> raw;
    T *p;
    Shifted(size_t count, size_t shift) : raw(count * sizeof(T) + 64 + shift) {
        p = reinterpret_cast<T *>(((reinterpret_cast<uintptr_t>(raw.data()) + 63) & ~uintptr_t(63)) + shift);
    }
    T Get(size_t i) const {
        T v;
        std::memcpy(&v, reinterpret_cast<const unsigned char *>(p) + i * sizeof(T), sizeof v);
        return v;
    }
    void Set(size_t i, T v) { std::memcpy(reinterpret_cast<unsigned char *>(p) + i * sizeof(T), &v, sizeof v); }
};

struct FourierCase {
    int32_t precision, domain, n;
    bool in_place;
};

template <typename T>
std::vector<T> Transform(const FourierCase &c, size_t shift) {
    const bool real = c.domain == DftiValueReal;
    const size_t in_n = real ? c.n : 2 * size_t(c.n), out_n = real ? size_t(c.n) + 2 : 2 * size_t(c.n);
    Shifted<T> a(out_n, shift), b(out_n, shift);
    for (size_t i = 0; i < in_n; ++i) a.Set(i, T(std::sin(0.7 * i + 0.1)));
    DftiHandle h = nullptr;
    EXPECT_EQ(DftiCreateDescriptor(&h, c.precision, c.domain, 1, c.n), 0);
    if (!c.in_place) { EXPECT_EQ(DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44), 0); }
    EXPECT_EQ(DftiCommitDescriptor(h), 0);
    EXPECT_EQ(c.in_place ? DftiComputeForward(h, a.p) : DftiComputeForward(h, a.p, b.p), 0);
    EXPECT_EQ(DftiFreeDescriptor(&h), 0);
    std::vector<T> out(out_n);
    for (size_t i = 0; i < out_n; ++i) out[i] = c.in_place ? a.Get(i) : b.Get(i);
    return out;
}

template <typename T>
void ExpectFourierShiftInvariant(const FourierCase &c, double tol) {
    const std::vector<T> want = Transform<T>(c, 0);
    for (size_t shift : {size_t(4), size_t(8), size_t(20)}) {
        SCOPED_TRACE(testing::Message() << "n " << c.n << " domain " << c.domain << " shift " << shift);
        const std::vector<T> got = Transform<T>(c, shift);
        for (size_t i = 0; i < want.size(); ++i) ASSERT_NEAR(got[i], want[i], tol * c.n) << i;
    }
}

TEST(Misaligned, FourierMatchesAligned) {
    const FourierCase cases[] = {
        {DftiValueDouble, DftiValueComplex, 64, false}, {DftiValueDouble, DftiValueComplex, 1009, true},
        {DftiValueDouble, DftiValueComplex, 360, false}, {DftiValueDouble, DftiValueReal, 30, false},
        {DftiValueDouble, DftiValueReal, 256, true},     {DftiValueSingle, DftiValueComplex, 128, false},
        {DftiValueSingle, DftiValueReal, 97, false},
    };
    for (const FourierCase &c : cases) {
        if (c.precision == DftiValueDouble) ExpectFourierShiftInvariant<double>(c, 1e-12);
        else ExpectFourierShiftInvariant<float>(c, 1e-5f);
    }
}

// A natural cubic of two functions, constructed and evaluated with every
// array (partition, values, coefficients, sites, results) shifted.
std::vector<double> Spline(size_t shift) {
    const int nx = 33, ny = 2, nsite = 50, ncoeff = 4 * (nx - 1) * ny, nr = nsite * ny * 2;
    Shifted<double> x(nx, shift), y(nx * ny, shift), coeff(ncoeff, shift), site(nsite, shift), r(nr, shift);
    for (int j = 0; j < nx; ++j) x.Set(j, j * 0.3 + 0.01 * j * j);
    for (int j = 0; j < nx * ny; ++j) y.Set(j, std::cos(0.4 * j));
    for (int k = 0; k < nsite; ++k) site.Set(k, -0.5 + k * 0.27);
    const int32_t dorder[2] = {1, 1};
    DfTask *task = nullptr;
    EXPECT_EQ(dfdNewTask1D(&task, nx, x.p, DfNonUniform, ny, y.p, DfValuesPerFunction), 0);
    EXPECT_EQ(dfdEditPPSpline1D(task, DfCubic, DfTypeNatural, DfBcFreeEnd, nullptr, 0, nullptr, coeff.p, 0), 0);
    EXPECT_EQ(dfdConstruct1D(task, 0, 0), 0);
    EXPECT_EQ(dfdInterpolate1D(task, DfInterpolate, DfMethodPP, nsite, site.p, DfSitesNoHint, 2, dorder, nullptr,
                               r.p, DfResultFuncsSitesDerivs, nullptr),
              0);
    EXPECT_EQ(dfDeleteTask(&task), 0);
    std::vector<double> out;
    for (int i = 0; i < ncoeff; ++i) out.push_back(coeff.Get(i));
    for (int i = 0; i < nr; ++i) out.push_back(r.Get(i));
    return out;
}

TEST(Misaligned, SplineMatchesAligned) {
    const std::vector<double> want = Spline(0);
    for (size_t shift : {size_t(4), size_t(12), size_t(24)}) {
        SCOPED_TRACE(shift);
        const std::vector<double> got = Spline(shift);
        for (size_t i = 0; i < want.size(); ++i) ASSERT_NEAR(got[i], want[i], 1e-13 * (1 + std::fabs(want[i]))) << i;
    }
}

}  // namespace
