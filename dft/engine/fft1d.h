// One-dimensional transforms on contiguous buffers: the complex FFT of any
// length and the real-to-complex / complex-to-real transforms built on it.
// Lengths whose prime factors all have butterflies run as mixed-radix
// Stockham stages (four-step beyond the caches; a few lengths up to 4096 as
// two or three passes of codelet bodies, two_pass.h and three_pass.h; lone
// rows beyond the second-level cache split into rows that fit it,
// fft1d_cache_split.cpp); a
// prime p too large for a butterfly runs as Rader's cyclic convolution of
// length p-1 when p-1 factors into the butterflies (rader.cpp); any other
// length as Bluestein's chirp convolution on a smooth length (bluestein.cpp).
#ifndef ORB_DFT_ENGINE_FFT1D_H
#define ORB_DFT_ENGINE_FFT1D_H

#include <stdint.h>

#include "dft/engine/real_kernels.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft {

template <class T>
class BlockedConv;
template <class T>
class RealRader;

template <class T>
class Fft1D {
public:
    // Null on allocation failure. lone_row: the plan runs this length as a
    // single row (no batch), where some lengths take a kernel that rows
    // streaming from memory in a batch would lose with.
    static Fft1D *Create(int64_t n, int sign, const StageKernels &kern, bool lone_row = false);
    Fft1D() = default;  // made by Create only
    ~Fft1D();

    int64_t n() const { return n_; }
    // Scratch elements Exec needs in `work` (distinct from in and out).
    int64_t WorkElems() const;
    // out = scale * DFT(in); in may equal out.
    void Exec(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    // Straight-line whole transform for this length, or null.
    SmallFn<T> Small() const { return small_; }
    // Whether ExecInterleaved is available (plain mixed-radix stages).
    bool Interleavable() const { return !four_ && !blue_ && !rader_ && !split_sub_; }
    // Whether a single row runs a two-pass kernel wherever it lies (in
    // place included). The three-pass kernels (n2 split again, above the
    // 64-point codelets) are not counted: their first pass reads the row
    // scattered, which rows streaming from memory in a batch pay for.
    bool HasTwoPass() const { return two_ != nullptr && !two_out_of_place_only_ && n2_ <= 64; }
    // The two- or three-pass factors n = n1 * n2 and their twiddle table,
    // when the plan has such a kernel (false otherwise): the split-storage
    // kernels run the same passes.
    bool TwoPassFactors(int64_t *n1, int64_t *n2, const Cx<T> **tw) const {
        if (!two_) return false;
        *n1 = n1_, *n2 = n2_, *tw = tw2_;
        return true;
    }
    // The kernel that runs this length's stages for a backward real
    // transform's complex row with its pair step inside the first stage
    // (PairedStagesFn), or null: plain stages only, two or more, the first
    // with a fixed butterfly.
    PairedStagesFn<T> Paired() const {
        if (!PlainStages() || !HasFixedButterfly(sp_.st[0].radix)) return nullptr;
        if constexpr (sizeof(T) == 8) return kern_->paired_d();
        else return kern_->paired_f();
    }
    // The same for a forward real transform (PairedForwardFn): its last
    // stage with a fixed butterfly.
    PairedForwardFn<T> PairedForward() const {
        if (!PlainStages() || !HasFixedButterfly(sp_.st[sp_.nstages - 1].radix)) return nullptr;
        if constexpr (sizeof(T) == 8) return kern_->paired_forward_d();
        else return kern_->paired_forward_f();
    }
    const StagePlan<T> &Stages() const { return sp_; }
    // vb sequences interleaved element by element ([j*vb + c]); work holds
    // n*vb elements.
    void ExecInterleaved(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int64_t vb) const;

private:
    bool PlainStages() const { return Interleavable() && !small_ && !two_ && sp_.nstages >= 2; }
    bool BuildStages();
    bool BuildTwoPass(bool lone_row);
    bool BuildBluestein();
    void ExecBluestein(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    bool BuildRader();
    void ExecRader(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    bool BuildFourStep(int64_t n1);
    void ExecFourStep(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    void ExecFourStepBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    // Elements one thread of a four-step call works in.
    int64_t FourStepBuffer() const;
    bool BuildCacheSplit(int64_t r);
    // Elements one thread of a cache-split call works in.
    int64_t CacheSplitMember() const;
    void ExecCacheSplit(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    // r = R^2 as R x R x m: three passes, the last two in the output array.
    int64_t SquareSplitMember() const;
    void ExecSquareSplit(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;

    int64_t n_ = 0;
    int sign_ = -1;
    bool lone_row_ = false;  // as Create was told: the convolutions' FFTs are lone rows too
    const StageKernels *kern_ = nullptr;
    SmallFn<T> small_ = nullptr;
    StagePlan<T> sp_;
    Cx<T> *tw_ = nullptr;
    // Bluestein: chirp c[j] = exp(sign pi i j^2 / n), filter = FFT of
    // conj c laid out cyclically on m points, over m.
    bool blue_ = false;
    int64_t m_ = 0;
    Fft1D *fwd_ = nullptr, *bwd_ = nullptr;
    Cx<T> *chirp_ = nullptr, *filter_ = nullptr;
    // The K = 2n-1-m wrapped outputs' correction terms, when m < 2n-1:
    // g_t = conj(c[l]) - conj(c[m-l]) for lags l = m-n+1+t, kept in reverse
    // (wrap_[K-1-t] = g_t) so that each output's sum runs forward.
    Cx<double> *wrap_ = nullptr;
    int64_t wrap_k_ = 0;
    // Rader (prime n, m_ = n-1): perm_[k] = g^k mod n for a primitive root
    // g, filter_ = FFT(w^(g^-k)) / m_; fwd_ and bwd_ have length m_;
    // out[j] (j >= 1) comes from slot iperm_[j-1] of the convolution.
    bool rader_ = false;
    int32_t *perm_ = nullptr, *iperm_ = nullptr;
    // Either convolution in three passes (blocked_conv.h) where its array
    // outgrows the second-level cache; Rader's perm_ and iperm_ then name
    // positions in it.
    BlockedConv<T> *conv_ = nullptr;
    void ExecRaderBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    void ExecBluesteinBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    // Builds conv_ from filter_ (m_ points), then frees filter_ and fwd_,
    // which only served to transform it.
    bool AdoptBlockedConv();
    // Bluestein's K corrections for the wrapped outputs from the input:
    // corr[q] = sum_(j <= q) x[j] c[j] g_(q-j); xc: K elements of scratch.
    void WrapSums(const Cx<T> *in, Cx<double> *xc, Cx<double> *corr) const;
    // Elements of T holding Bluestein's 2K scratch pairs in double, with
    // room to align them.
    int64_t WrapElems() const;
    // Four-step for lengths beyond the caches: n = n1 * n2, column FFTs of
    // length n1, twiddles w_n^(j2 k1) (table tw4_[k1 n2 + j2]), row FFTs of
    // length n2, written transposed; columns and rows go in blocks.
    bool four_ = false;
    int64_t n1_ = 0, n2_ = 0;
    Fft1D *f1_ = nullptr, *f2_ = nullptr;
    Cx<T> *tw4_ = nullptr;
    // Two or three passes of codelet bodies (two_pass.h, three_pass.h) for
    // n = n1_ * n2_ when the rule picks a split: w_n^(j1 k2) = c + i s
    // (TwoPassInterleavedTwiddles says in which layout), then w_n2^e.
    TwoPassFn<T> two_ = nullptr;
    bool two_out_of_place_only_ = false;  // in place the stages run
    Cx<T> *tw2_ = nullptr;
    // Lone rows beyond the second-level cache as n = r * m
    // (fft1d_cache_split.cpp): rows of split_m_ points (split_sub_), then
    // the twiddled radix-r pass split_fn_ over blocks of B columns, with
    // w_n^(j (k0 + q)) at split_tw_[k0 r + j B + q].
    int64_t split_r_ = 0, split_m_ = 0;
    Fft1D *split_sub_ = nullptr;
    TwiddleColumnsFn<T> split_fn_ = nullptr;
    Cx<T> *split_tw_ = nullptr;
    // r = R^2 as R x R x split_m_ (R = 8 or 10;
    // fft1d_cache_split.cpp): radix-R columns before (square_dif_,
    // w_(n/R)^(b k) at square_tw_[R b + k]) and after (square_block_, those
    // as the legs' factors, w_n^(c k) at square_tw_[R m + R c + k] for the
    // lanes).
    RowsDftFn<T> square_dif_ = nullptr;
    SquareBlockFn<T> square_block_ = nullptr;
    Cx<T> *square_tw_ = nullptr;
};

// The radix r of the cache split for a lone row of n points, 0 where the
// row keeps the other rules' plan: input and output together in the
// second-level cache, or no radix with a kernel that leaves rows of 2048
// to 8192 points (64 is taken as 8 x 8 x m, with rows to 65536 points, and
// 100 as 10 x 10 x m for double; single precision has no other).
template <class T>
int64_t CacheSplitRadix(int64_t n, const StageKernels &kern);

// Passes of the plain stages for length n with elements of elem_bytes
// bytes (the stage count the plan's rules give; a length on radix-4 stages
// counts the stages the other rules would give it), 0 when a prime factor
// of n has no butterfly.
int StagePasses(int64_t n, int elem_bytes);

// Bytes of one side from which a length whose factors all have butterflies
// runs as four-step rather than as streaming stages: the largest cache
// (32 MiB when unknown). Below it the stages, whose passes stream from that
// cache, measured 1.3-2.8x faster (double 2^18-2^19, single 2^18-2^20).
int64_t FourStepBytes();
// Ways of the first-level data cache the plans assume
// (DftiFirstLevelWays() unless a test set another); below 12 the long
// powers of two, and 2^e times 3s and 5s, run radix-4 stages (fft1d.cpp).
int64_t FirstLevelWays();
// For tests: plans made afterwards assume `ways` (0 restores the detected
// count).
void SetFirstLevelWaysForTesting(int64_t ways);
// Second-level cache size the plans assume (DftiCacheSize(2) unless a test
// set another); from 1 MiB lone rows of some lengths take the three-pass
// or 64 x 64 kernels (fft1d.cpp).
int64_t SecondLevelCacheBytes();
// For tests: plans made afterwards assume `bytes` of second-level cache (0
// restores the detected size).
void SetSecondLevelCacheForTesting(int64_t bytes);

// For tests: from n points on every such length runs four-step, whatever
// its size in bytes (0 restores the cache rule). Plans made afterwards
// follow it.
void SetFourStepFromForTesting(int64_t n);

// Whether the real transforms of length n run Rader's convolution on real
// data (real_rader.h): a prime whose complex transform would run Rader's,
// from kRealRaderFrom points.
bool RealRaderFits(int64_t n);

// Real transform of length n: R2C (sign -1) maps n reals to n/2+1 complex,
// C2R (sign +1) the inverse shape. Even n runs a half-length complex FFT
// with a pre/post pass; odd n a full-length complex FFT, or for a prime
// length where RealRaderFits, three real FFTs of lengths n-1 and (n-1)/2.
template <class T>
class RealFft1D {
public:
    // lone_row as for Fft1D::Create.
    static RealFft1D *Create(int64_t n, int sign, const StageKernels &kern, const RealKernels &rkern,
                             bool lone_row = false);
    RealFft1D() = default;  // made by Create only
    ~RealFft1D();

    int64_t WorkElems() const;  // complex elements of scratch
    // R2C: in n reals, out n/2+1 complex. in may alias out (read first).
    // With packed_ends (even n only) out is n/2 elements, out[0] holding
    // {X[0].re, X[n/2].re}.
    void Forward(const T *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads, bool packed_ends = false) const;
    // C2R: in n/2+1 complex, out n reals. in may alias out. packed_ends:
    // in is n/2 elements laid out as Forward writes them.
    void Backward(const Cx<T> *in, T *out, Cx<T> *work, T scale, int nthreads, bool packed_ends = false) const;

private:
    int64_t n_ = 0;
    Fft1D<T> *fft_ = nullptr;  // length n/2 (even n) or n (odd n)
    RealRader<T> *rader_ = nullptr;  // instead of fft_ where RealRaderFits(n)
    Cx<T> *w_ = nullptr;       // the pair step's table of sign i exp(sign 2 pi i k / n) (even n)
    RealSplitFn<T> split_ = nullptr;  // the pair step over w_ (even n)
    SmallFn<T> half_ = nullptr;       // the length-n/2 codelet, when there is one
    bool half_in_out_ = false;        // Backward forms its complex row in `out`
    PairedStagesFn<T> paired_ = nullptr;  // or forms it inside the first stage
    PairedForwardFn<T> paired_forward_ = nullptr;  // Forward's pair step inside the last stage
};

// exp(sign * 2 pi i * num / den) computed in long double with the angle
// reduced exactly in integers first.
template <class T>
Cx<T> Root(int sign, int64_t num, int64_t den);

}  // namespace orb::dft

#endif
