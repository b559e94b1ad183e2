// Fuzz target: data-fitting task programs. Creates a task with arbitrary
// counts and hints, edits it with arbitrary orders, types, condition codes
// and null or exactly sized arrays, constructs it and interpolates or
// searches cells with arbitrary requests. Every array has exactly the
// documented extent, so the sanitizers see any access outside it. Checks:
// statuses are documented codes, a refused call writes nothing, and on a
// sorted partition the cell indices equal the number of partition points
// not above each site.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "datafit/df_test_data.h"
#include "fuzz_input.h"

namespace {

using orb::fuzz::Fail;
using orb::fuzz::Input;

constexpr int32_t kMaxAlloc = 1 << 16;  // elements of any one array

bool Documented(int s) {
    return s == 0 || (s <= -1000 && s >= -1029) || s == DfStatusSingularSystem;
}

int32_t Pick(Input &in, std::initializer_list<int32_t> common) {
    uint8_t sel = in.Byte();
    if (sel < 224) return common.begin()[in.Byte() % common.size()];
    if (sel < 248) return in.Range(-2, 130);
    return in.Int32();
}

// A null pointer now and then, else the vector's storage (never null).
template <typename T>
T *Maybe(Input &in, std::vector<T> &v) {
    if (in.Byte() > 240) return nullptr;
    v.reserve(1);
    return v.data();
}

template <typename T>
void Run(Input &in) {
    using A = orb::test::Df<T>;
    // Partition.
    const int32_t nx = in.Count(2, 24, {0, 1, -1, 3, INT32_MAX, INT32_MIN, 1 << 30});
    const int32_t xhint = Pick(in, {0, 1, 2, 4});
    const bool sane_nx = nx >= 0 && nx <= 1024;
    std::vector<T> x(sane_nx ? size_t(xhint == DfUniform ? std::min(nx, 2) : nx) : 0);
    const bool sorted = in.Byte() < 224;
    double at = in.Value() * 10;
    for (T &v : x) {
        v = T(at);
        at += sorted ? 0.125 + in.Byte() / 16.0 : in.Value();
    }
    // Functions.
    const int32_t ny = in.Count(1, 3, {0, -1, INT32_MAX});
    const int32_t yhint = Pick(in, {0, 16, 32, 128});
    const bool sane_ny = ny >= 0 && ny <= 8;
    size_t ycount = 0;
    if (sane_nx && sane_ny) ycount = size_t(nx) * size_t(yhint == DfValuesFirstOnly ? std::min(ny, 1) : ny);
    std::vector<T> y(ycount);
    for (T &v : y) v = T(in.Value());
    const T *px = sane_nx ? Maybe(in, x) : nullptr;
    const T *py = sane_nx && sane_ny ? Maybe(in, y) : nullptr;
    const bool null_task = in.Byte() > 250;
    DfTask *task = nullptr;
    int s = A::New(null_task ? nullptr : &task, nx, px, xhint, ny, py, yhint);
    TRACE("new nx=%d xhint=%d ny=%d yhint=%d -> %d\n", nx, xhint, ny, yhint, s);
    if (!Documented(s)) Fail("create status");
    if (s != 0) {
        if (task) Fail("failed create returned a task");  // a record kept only with -1001
        return;
    }
    if (null_task) Fail("null task pointer accepted");

    // Spline.
    const int32_t order = Pick(in, {2, 3, 4}), type = Pick(in, {0, 1, 2, 3, 4, 5, 6, 7, 8});
    const int32_t bc_type = Pick(in, {0, 1, 2, 12, 24, 36, 48, 64}), ic_type = Pick(in, {0, 1, 2, 8});
    const int32_t coeff_hint = Pick(in, {0, 128});
    std::vector<T> bc(size_t(2 * ny));
    for (T &v : bc) v = T(in.Value());
    const size_t ic_count = (ic_type & DfIcKnots) ? size_t(nx) + 1 : size_t(ny) * size_t(std::max(nx - 2, 0));
    std::vector<T> ic(std::min<size_t>(ic_count, kMaxAlloc));
    for (size_t k = 0; k < ic.size(); ++k) ic[k] = T(x.empty() ? 0 : x[0] + k * 0.25);
    // Orders beyond 64 get no coefficient array (its extent is order*cells).
    const int32_t o = order >= 0 && order <= 64 ? order : 0;
    const size_t block = size_t(o) * size_t(type == DfTypeSubbotin ? nx : nx - 1);
    std::vector<T> coeff(std::min<size_t>(block * (coeff_hint == DfCoeffFirstOnly ? 1 : ny), kMaxAlloc),
                         T(-5));
    const std::vector<T> coeff0 = coeff;
    const T *pbc = Maybe(in, bc), *pic = ic_type == 0 && in.Flag() ? nullptr : Maybe(in, ic);
    T *pcoeff = o ? Maybe(in, coeff) : nullptr;
    s = A::Edit(in.Byte() > 250 ? nullptr : task, order, type, bc_type, pbc, ic_type, pic, pcoeff,
                coeff_hint);
    TRACE("edit order=%d type=%d bc=%d ic=%d coeffhint=%d -> %d\n", order, type, bc_type, ic_type, coeff_hint, s);
    if (!Documented(s)) Fail("edit status");
    const bool edited = s == 0;
    if (edited && in.Byte() < 200) {
        const int32_t fmt = in.Byte() < 240 ? 0 : in.Range(-1, 3);
        const int32_t method = in.Byte() < 240 ? 0 : in.Range(-1, 3);
        s = A::Construct(task, fmt, method);
        TRACE("construct -> %d\n", s);
        if (!Documented(s)) Fail("construct status");
        if (s != 0 && s != DfStatusSingularSystem && coeff != coeff0) Fail("refused construct wrote");
    }

    // Requests.
    for (int q = 0; q < 3 && !in.Empty(); ++q) {
        const int32_t what = Pick(in, {1, 2, 3});
        const int32_t method = in.Byte() < 240 ? 1 : in.Range(-1, 3);
        const int32_t nsite = in.Count(1, 12, {0, -1, INT32_MAX});
        const int32_t sitehint = Pick(in, {0, 1, 4, 64});
        const bool sane_sites = nsite >= 0 && nsite <= 4096;
        std::vector<T> site(sane_sites ? size_t(sitehint == DfSitesUniform ? 2 : nsite) : 0);
        for (T &v : site) v = T(x.empty() ? 0 : x[0] + in.Value() * (at - x[0]) * 1.5);
        if (sitehint == DfSitesSorted) std::sort(site.begin(), site.end());
        const int32_t ndorder = in.Count(0, 4, {-1, 8});
        std::vector<int32_t> dorder(size_t(std::clamp(ndorder, 0, 64)));
        int nd = 0;
        for (int32_t &d : dorder) nd += (d = in.Flag());
        const bool null_dorder = ndorder == 0 ? in.Byte() < 224 : in.Byte() > 240;
        if (ndorder <= 0 && null_dorder) nd = 1;
        int32_t no_order = 0;  // a non-null dorder of no elements
        std::vector<double> datahint(5);
        datahint[0] = 1;
        datahint[1] = in.Flag();
        datahint[3] = 1;
        datahint[4] = in.Count(0, 24, {-1, INT32_MAX, -1000000});
        const bool with_hint = in.Flag();
        const int32_t rhint = Pick(in, {1, 2});
        const size_t rcount = sane_sites && sane_ny ? size_t(nsite) * size_t(ny) * size_t(nd) : 0;
        std::vector<T> r(std::min<size_t>(rcount, kMaxAlloc), T(-9));
        std::vector<int32_t> cell(sane_sites ? size_t(nsite) : 0, -9);
        const T *psite = sane_sites ? Maybe(in, site) : nullptr;
        T *pr = rcount <= size_t(kMaxAlloc) ? Maybe(in, r) : nullptr;
        int32_t *pcell = sane_sites ? Maybe(in, cell) : nullptr;
        TRACE("interpolate what=%d method=%d nsite=%d sitehint=%d ndorder=%d nd=%d dorder=%s rhint=%d r=%zu\n",
              what, method, nsite, sitehint, ndorder, nd, null_dorder ? "null" : "given", rhint, r.size());
        s = A::Interpolate(task, what, method, nsite, psite, sitehint, ndorder,
                           null_dorder ? nullptr : dorder.empty() ? &no_order : dorder.data(),
                           with_hint ? datahint.data() : nullptr, pr, rhint, pcell);
        if (!Documented(s)) Fail("interpolate status");
        if (s != 0) {
            if (std::count(r.begin(), r.end(), T(-9)) != std::ptrdiff_t(r.size()) ||
                std::count(cell.begin(), cell.end(), -9) != std::ptrdiff_t(cell.size()))
                Fail("refused interpolation wrote results or cells");
            continue;
        }
        // Cell oracle (given sites, sorted non-uniform partition): the number
        // of partition points not above the site.
        if (!(what & 2) || !pcell || !sorted || xhint == DfUniform || sitehint == DfSitesUniform) continue;
        for (int32_t i = 0; i < nsite; ++i)
            if (!std::isnan(site[i]) && cell[i] != std::upper_bound(x.begin(), x.end(), site[i]) - x.begin())
                Fail("cell index differs from the count of points");
    }
    if (dfDeleteTask(&task) != 0 || task) Fail("delete");
    if (dfDeleteTask(&task) != DfStatusNullTask) Fail("second delete");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    if (in.Flag()) Run<double>(in);
    else Run<float>(in);
    return 0;
}
