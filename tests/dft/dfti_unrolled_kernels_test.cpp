// Unrolled kernels, every level's variant called directly against the
// long-double naive transform: small cubes (both precisions and directions,
// every n, in and out of place) and split-storage straight-line kernels
// (strides, negative too, scale). The small-cube path through the public
// interface, offsets included, is in the complex layout table.
#include <string>

#include <gtest/gtest.h>

#include "dft/smallcube/cube_kernels.h"
#include "dft/split1d/split1d_kernels.h"
#include "engine_oracle.h"

namespace {

using namespace orb::dft;
using namespace orb::dft::test;

template <typename R>
double CubeError(CubeKernel k, int n, int sign, bool in_place) {
    const int64_t total = int64_t(n) * n * n;
    const std::vector<LCx> x = RandomComplex(total, 77 + n), ref = NaiveAll(x, {n, n, n}, sign);
    std::vector<R> in(2 * total), out(2 * total + 2, R(12345));
    for (int64_t i = 0; i < total; ++i) {
        in[2 * i] = R(x[i].real());
        in[2 * i + 1] = R(x[i].imag());
    }
    const std::vector<R> guard(out.end() - 2, out.end());
    R *dst = in_place ? in.data() : out.data();
    k(in.data(), dst);
    if (!in_place && (out[2 * total] != R(12345) || out[2 * total + 1] != R(12345))) return 1e9;
    std::vector<LCx> got(total);
    for (int64_t i = 0; i < total; ++i) got[i] = LCx(dst[2 * i], dst[2 * i + 1]);
    return RelRms(got, ref);
}

TEST(DftiSmallCube, EveryLevelEveryN) {
    for (int level : {2, 6, 7})
        for (bool single : {false, true})
            for (bool backward : {false, true})
                for (bool in_place : {false, true})
                    for (int n = 1; n <= kCubeMaxN; ++n) {
                        CubeKernel k = CubeKernelsForLevel(level).k[single][backward][n];
                        ASSERT_NE(k, nullptr);
                        const int sign = backward ? 1 : -1;
                        const double err = single ? CubeError<float>(k, n, sign, in_place)
                                                  : CubeError<double>(k, n, sign, in_place);
                        EXPECT_LE(err, Tolerance(!single, int64_t(n) * n * n))
                            << "level " << level << " single " << single << " backward "
                            << backward << " in place " << in_place << " n " << n;
                    }
}

TEST(DftiSplitStraight, EveryLevelEveryN) {
    struct Layout { int64_t is, os; bool in_place; };
    const Layout layouts[] = {{1, 1, false}, {1, 1, true}, {3, -2, false}, {-1, -1, true}, {2, 2, true}};
    for (int level : {2, 6, 7})
        for (bool backward : {false, true})
            for (const Layout &l : layouts)
                for (double scale : {0.5, 1.0})
                    for (int n = 1; n <= kSplitStraightMaxN; ++n) {
                        const int64_t span = 3 * n + 3;
                        std::vector<double> re(2 * span, 9), im(2 * span, 9), ore(2 * span, 9),
                            oim(2 * span, 9);
                        const int64_t mid = span;  // index 0 with room on both sides
                        const std::vector<LCx> x = RandomComplex(n, 31 + n),
                                               ref = NaiveAll(x, {n}, backward ? 1 : -1);
                        for (int j = 0; j < n; ++j) {
                            re[mid + j * l.is] = double(x[j].real());
                            im[mid + j * l.is] = double(x[j].imag());
                        }
                        double *out_re = l.in_place ? re.data() : ore.data();
                        double *out_im = l.in_place ? im.data() : oim.data();
                        SplitKernelsForLevel(level).k[backward][n](re.data() + mid, im.data() + mid,
                                                                   out_re + mid, out_im + mid, l.is,
                                                                   l.os, scale);
                        std::vector<LCx> got(n);
                        for (int k = 0; k < n; ++k)
                            got[k] = LCx(out_re[mid + k * l.os], out_im[mid + k * l.os]) / (long double)scale;
                        const std::string where = "level " + std::to_string(level) + " backward " +
                                                  std::to_string(backward) + " n " + std::to_string(n) +
                                                  " is " + std::to_string(l.is) + " os " + std::to_string(l.os);
                        EXPECT_LE(RelRms(got, ref), Tolerance(true, n)) << where;
                        if (l.in_place) continue;
                        // Nothing outside the n outputs is written.
                        int stray = 0;
                        for (int64_t i = 0; i < 2 * span; ++i) {
                            const int64_t off = i - mid;
                            const bool output = off % l.os == 0 && off / l.os >= 0 && off / l.os < n;
                            if (!output) stray += (ore[i] != 9) + (oim[i] != 9);
                        }
                        EXPECT_EQ(stray, 0) << where;
                    }
}

}  // namespace
