// The straight-line split-storage kernels of one instruction level: each
// element is gathered from the two arrays into one (re, im) vector, run
// through the shared codelets and scattered back, scaled. Eight points with
// unit strides at AVX2+FMA run on the parts as they lie instead.
#include "dft/split1d/split1d_kernels.h"
#include "dft/smallcube/cube_codelets.h"
#include "dft/split1d/split_eight_soa.h"

namespace orb::dft::ORB_KNS {

namespace {

template <int N, int S>
void Straight(const double *in_re, const double *in_im, double *out_re, double *out_im,
              int64_t is, int64_t os, double scale) {
#if defined(__AVX2__) && defined(__FMA__)
    if constexpr (N == 8) {
        if (is == 1 && os == 1) return SplitEightSoa<S>(in_re, in_im, out_re, out_im, scale);
    }
#endif
    VD1 x[N], y[N];
    for (int j = 0; j < N; ++j) x[j] = VD1{in_re[j * is], in_im[j * is]};
    Dft<N, S>(x, y);
    const VD1 s = Splat<VD1>(scale);
    for (int k = 0; k < N; ++k) {
        const VD1 v = y[k] * s;
        out_re[k * os] = v[0];
        out_im[k * os] = v[1];
    }
}

template <int S, int... N>
constexpr void Fill(SplitKernel *row, std::integer_sequence<int, N...>) {
    ((row[N] = N == 0 ? nullptr : Straight<(N ? N : 1), S>), ...);
}

SplitKernelTable MakeTable() {
    SplitKernelTable t{};
    constexpr auto ns = std::make_integer_sequence<int, kSplitStraightMaxN + 1>{};
    Fill<-1>(t.k[0], ns);
    Fill<+1>(t.k[1], ns);
    return t;
}

const SplitKernelTable kTable = MakeTable();

}  // namespace

const SplitKernelTable &SplitKernels() { return kTable; }

}  // namespace orb::dft::ORB_KNS
