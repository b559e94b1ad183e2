// The small-cube kernels of one instruction level (compiled once per level):
// three passes of straight-line codelets, one per axis, each transforming W
// lines at once with W complex numbers per vector.
#include <stdint.h>

#include "dft/smallcube/cube_kernels.h"
#include "dft/smallcube/cube_codelets.h"

namespace orb::dft::ORB_KNS {

namespace {

#if ORB_KLEVEL >= 6
using WideD = VD2;
using WideF = VF4;
#else
using WideD = VD1;
using WideF = VF2;
#endif

// W lines from p: lane w starts at p + w * lane_step reals.
template <typename V, typename R, bool Contiguous>
inline V Load(const R *p, int64_t lane_step) {
    V v;
    if constexpr (Contiguous || kLanes<V> == 2) {
        __builtin_memcpy(&v, p, sizeof v);
    } else {
        // One complex (two reals) per lane: a 16- or 8-byte move each.
        for (int w = 0; w < kLanes<V> / 2; ++w)
            __builtin_memcpy(reinterpret_cast<R *>(&v) + 2 * w, p + w * lane_step, 2 * sizeof(R));
    }
    return v;
}

template <typename V, typename R, bool Contiguous>
inline void Store(R *p, int64_t lane_step, V v) {
    if constexpr (Contiguous || kLanes<V> == 2) {
        __builtin_memcpy(p, &v, sizeof v);
    } else {
        for (int w = 0; w < kLanes<V> / 2; ++w)
            __builtin_memcpy(p + w * lane_step, reinterpret_cast<const R *>(&v) + 2 * w, 2 * sizeof(R));
    }
}

// Transforms Count lines: line l starts at complex index l*line_step
// (l runs in groups of W lanes), element j of a line at j*elem_step.
template <int N, int S, typename V, typename R, bool Contiguous>
inline void Group(const R *src, R *dst, int64_t elem_step, int64_t lane_step) {
    V x[N], y[N];
    for (int j = 0; j < N; ++j) x[j] = Load<V, R, Contiguous>(src + 2 * j * elem_step, 2 * lane_step);
    Dft<N, S>(x, y);
    for (int k = 0; k < N; ++k) Store<V, R, Contiguous>(dst + 2 * k * elem_step, 2 * lane_step, y[k]);
}

template <int N, int S, typename VW, typename V1, typename R, bool Contiguous, int64_t Count>
inline void Lines(const R *src, R *dst, int64_t elem_step, int64_t line_step) {
    constexpr int W = kLanes<VW> / 2;
    constexpr int64_t whole = Count - Count % W;
    for (int64_t l = 0; l < whole; l += W)
        Group<N, S, VW, R, Contiguous>(src + 2 * l * line_step, dst + 2 * l * line_step,
                                       elem_step, line_step);
    if constexpr (whole < Count)
        for (int64_t l = whole; l < Count; ++l)
            Group<N, S, V1, R, true>(src + 2 * l * line_step, dst + 2 * l * line_step,
                                     elem_step, line_step);
}

template <int N, int S, typename R, typename VW, typename V1>
void Cube(const void *in_v, void *out_v) {
    const R *in = static_cast<const R *>(in_v);
    R *out = static_cast<R *>(out_v);
    constexpr int64_t NN = int64_t(N) * N;
    if constexpr (N == 1) {
        out[0] = in[0];
        out[1] = in[1];
    } else {
        // Outermost axis: lines at consecutive indices, elements N*N apart.
        Lines<N, S, VW, V1, R, true, NN>(in, out, NN, 1);
        // Middle axis: per plane, lines at consecutive indices, elements N apart.
        for (int64_t p = 0; p < N; ++p)
            Lines<N, S, VW, V1, R, true, N>(out + 2 * NN * p, out + 2 * NN * p, N, 1);
        // Innermost axis: contiguous lines, N apart; lanes gathered.
        Lines<N, S, VW, V1, R, false, NN>(out, out, 1, N);
    }
}

template <typename R, typename VW, typename V1, int S, int... N>
constexpr void Fill(CubeKernel *row, std::integer_sequence<int, N...>) {
    ((row[N] = N == 0 ? nullptr : Cube<(N ? N : 1), S, R, VW, V1>), ...);
}

CubeKernelTable MakeTable() {
    CubeKernelTable t{};
    constexpr auto ns = std::make_integer_sequence<int, kCubeMaxN + 1>{};
    Fill<double, WideD, VD1, -1>(t.k[0][0], ns);
    Fill<double, WideD, VD1, +1>(t.k[0][1], ns);
    Fill<float, WideF, VF1, -1>(t.k[1][0], ns);
    Fill<float, WideF, VF1, +1>(t.k[1][1], ns);
    return t;
}

const CubeKernelTable kTable = MakeTable();

}  // namespace

const CubeKernelTable &CubeKernels() { return kTable; }

}  // namespace orb::dft::ORB_KNS
