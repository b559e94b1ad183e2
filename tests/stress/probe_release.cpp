// Probe scenario: every Fourier descriptor and data-fitting task releases
// all it owns. Run with the buffer cache off, so each internal allocation is
// a block the memory manager counts. A case fails when a call fails, when
// the object held no block while alive (the count would prove nothing), or
// when any block is left after release; the exit code is the failure count.
#include <cstdio>
#include <vector>

#include "include/orb_df.h"
#include "include/orb_dfti.h"
#include "service/memory.h"
#include "support/probe.h"

namespace {

int64_t Blocks() { return orb::mem::ReadStatistics().blocks_outstanding; }

struct FourierCase {
    const char *name;
    int32_t precision, domain, rank, len[3], count;
    bool out_of_place, commit, recommit;  // compute when committed
};
const FourierCase kFourier[] = {
    {"dft_c1_64", DftiValueDouble, DftiValueComplex, 1, {64}, 1, true, true, false},
    {"dft_c1_prime_1009", DftiValueDouble, DftiValueComplex, 1, {1009}, 1, true, true, false},
    {"dft_c1_large_4096x3", DftiValueSingle, DftiValueComplex, 1, {4096}, 3, false, true, false},
    {"dft_r1_30", DftiValueDouble, DftiValueReal, 1, {30}, 1, true, true, false},
    {"dft_r1_prime_211", DftiValueSingle, DftiValueReal, 1, {211}, 1, false, true, false},
    {"dft_c3_8x6x5", DftiValueDouble, DftiValueComplex, 3, {8, 6, 5}, 1, true, true, false},
    {"dft_uncommitted", DftiValueDouble, DftiValueComplex, 2, {16, 16}, 1, true, false, false},
    {"dft_committed_twice", DftiValueDouble, DftiValueComplex, 1, {360}, 1, true, true, true},
};

// Status of the whole sequence; *alive counts the blocks before the free.
int32_t RunFourier(const FourierCase &c, int64_t before, int64_t *alive) {
    DftiHandle h = nullptr;
    int32_t s = c.rank == 1 ? DftiCreateDescriptor(&h, c.precision, c.domain, 1, c.len[0])
                            : DftiCreateDescriptor(&h, c.precision, c.domain, c.rank, c.len);
    if (s) return s;
    int64_t n = 1;
    for (int k = 0; k < c.rank; ++k) n *= c.len[k];
    if (c.count > 1) {
        s |= DftiSetValue(h, DftiParamTransformCount, c.count);
        s |= DftiSetValue(h, DftiParamInputDistance, int32_t(n));
        s |= DftiSetValue(h, DftiParamOutputDistance, int32_t(n));
    }
    if (c.out_of_place) s |= DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44);
    if (c.commit) s |= DftiCommitDescriptor(h);
    if (c.recommit) {
        s |= DftiSetValue(h, DftiParamForwardScale, 0.5);  // drops the plan
        s |= DftiCommitDescriptor(h);
    }
    if (c.commit) {
        std::vector<double> a(size_t(2 * n + 2) * c.count, 0.25), b(a.size());
        s |= c.out_of_place ? DftiComputeForward(h, a.data(), b.data()) : DftiComputeForward(h, a.data());
        s |= c.out_of_place ? DftiComputeBackward(h, b.data(), a.data()) : DftiComputeBackward(h, a.data());
    }
    *alive = Blocks() - before;
    s |= DftiFreeDescriptor(&h);
    return s | (h != nullptr);
}

struct SplineCase {
    const char *name;
    int32_t nx, ny, order, type, bc, ic_type, nsite;
    bool construct;
};
const SplineCase kSpline[] = {
    {"df_linear", 10, 1, DfLinear, DfTypeDefault, 0, 0, 8, true},
    {"df_natural_cubic_3_functions", 40, 3, DfCubic, DfTypeNatural, DfBcFreeEnd, 0, 64, true},
    {"df_akima", 25, 1, DfCubic, DfTypeAkima, DfBcFreeEnd, 0, 16, true},
    {"df_knot_quadratic", 12, 2, DfQuadratic, DfTypeSubbotin, DfBcFreeEnd, DfIcKnots, 16, true},
    {"df_search_many_sites", 3000, 1, DfLinear, DfTypeDefault, 0, 0, 4000, true},
    {"df_singular_system", 3, 1, DfCubic, DfTypeNatural, DfBcNotAKnot, 0, 4, true},
    {"df_never_constructed", 20, 1, DfCubic, DfTypeNatural, DfBcFreeEnd, 0, 0, false},
};

int RunSpline(const SplineCase &c, int64_t before, int64_t *alive) {
    std::vector<double> x(c.nx), y(size_t(c.nx) * c.ny), ic(c.nx + 1);
    for (int j = 0; j < c.nx; ++j) x[j] = j, ic[j] = j - 0.5;
    for (size_t j = 0; j < y.size(); ++j) y[j] = double(j % 7);
    ic[0] = 0;
    ic[c.nx] = c.nx - 1;
    const int pieces = c.type == DfTypeSubbotin ? c.nx : c.nx - 1;
    std::vector<double> coeff(size_t(c.order) * pieces * c.ny);
    DfTask *task = nullptr;
    int s = dfdNewTask1D(&task, c.nx, x.data(), DfNonUniform, c.ny, y.data(), 0);
    if (s) return s;
    s = dfdEditPPSpline1D(task, c.order, c.type, c.bc, nullptr, c.ic_type, c.ic_type ? ic.data() : nullptr,
                          coeff.data(), 0);
    if (c.construct && !s) {
        s = dfdConstruct1D(task, 0, 0);
        if (s == DfStatusSingularSystem) s = 0;  // the failed path must release too
        else if (!s && c.nsite) {
            std::vector<double> site(c.nsite), r(size_t(c.nsite) * c.ny);
            std::vector<int32_t> cell(c.nsite);
            for (int k = 0; k < c.nsite; ++k) site[k] = (k * 7919 % c.nsite) * (c.nx - 1.0) / c.nsite;
            s = dfdInterpolate1D(task, DfInterpolate | DfCellSearch, DfMethodPP, c.nsite, site.data(),
                                 DfSitesNoHint, 0, nullptr, nullptr, r.data(), DfResultFuncsSitesDerivs,
                                 cell.data());
        }
    }
    *alive = Blocks() - before;
    s |= dfDeleteTask(&task);
    return s | (task != nullptr);
}

template <typename Case, typename Run>
int Check(const Case &c, Run run) {
    const int64_t before = Blocks();
    int64_t alive = 0;
    const long s = run(c, before, &alive);
    const int64_t left = Blocks() - before;
    if (s == 0 && alive > 0 && left == 0) return 0;
    std::printf("%s: status %ld, %lld blocks alive, %lld left\n", c.name, s, (long long)alive, (long long)left);
    return 1;
}

}  // namespace

ORB_PROBE_SCENARIO(release_all) {
    int failed = 0;
    for (const FourierCase &c : kFourier) failed += Check(c, RunFourier);
    for (const SplineCase &c : kSpline) failed += Check(c, RunSpline);
    std::printf("released: %zu cases\n", std::size(kFourier) + std::size(kSpline) - failed);
    return failed;
}
