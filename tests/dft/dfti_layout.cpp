// Case runner for complex transforms through the public interface.
#include "dfti_layout.h"

#include <cstdlib>

#include "engine_oracle.h"
#include "include/orb_dfti.h"

namespace orb::dft::test {

namespace {

constexpr double kSentinel = 1234.5;

struct Layout {
    std::vector<int64_t> len, stride;  // caller's order
    int64_t offset = 0, distance = 0, count = 1, size = 0;

    Layout(const ApiCase &c, int32_t unit) : len(c.lengths.begin(), c.lengths.end()) {
        stride.resize(len.size());
        int64_t span = std::llabs(unit);
        for (size_t i = len.size(); i-- > 0;) {
            stride[i] = i + 1 == len.size() ? unit : span + c.pad;
            span = std::llabs(stride[i]) * len[i];
        }
        if (c.negate_axis >= 0) stride[c.negate_axis] = -stride[c.negate_axis];
        int64_t lo = 0, hi = 0;
        for (size_t i = 0; i < len.size(); ++i) {
            if (stride[i] < 0) lo += (len[i] - 1) * stride[i];
            else hi += (len[i] - 1) * stride[i];
        }
        offset = -lo;
        distance = hi - lo + 1 + c.pad;
        count = c.count;
        size = offset + hi + 1 + (count - 1) * distance;
    }
    int64_t Index(int64_t t, int64_t flat) const {
        int64_t at = offset + t * distance;
        for (size_t i = len.size(); i-- > 0;) {
            at += (flat % len[i]) * stride[i];
            flat /= len[i];
        }
        return at;
    }
    std::vector<int32_t> StrideArg() const {
        std::vector<int32_t> s{int32_t(offset)};
        for (int64_t x : stride) s.push_back(int32_t(x));
        return s;
    }
};

template <typename T>
struct Buffer {
    bool split;
    std::vector<T> a, b;  // interleaved in a; split: re in a, im in b
    Buffer(bool s, int64_t elements)
        : split(s), a(size_t(s ? elements : 2 * elements), T(kSentinel)),
          b(size_t(s ? elements : 0), T(kSentinel)) {}
    void Set(int64_t i, LCx v) {
        if (split) {
            a[i] = T(v.real());
            b[i] = T(v.imag());
        } else {
            a[2 * i] = T(v.real());
            a[2 * i + 1] = T(v.imag());
        }
    }
    LCx Get(int64_t i) const {
        return split ? LCx(a[i], b[i]) : LCx(a[2 * i], a[2 * i + 1]);
    }
};

template <typename T>
ApiOutcome Run(const ApiCase &c) {
    ApiOutcome out;
    const int32_t rank = int32_t(c.lengths.size());
    int64_t n_total = 1;
    for (int32_t x : c.lengths) n_total *= x;
    DftiHandle h = nullptr;
    const int32_t precision = c.is_double ? DftiValueDouble : DftiValueSingle;
    int32_t s = rank == 1 ? DftiCreateDescriptor(&h, precision, DftiValueComplex, 1, c.lengths[0])
                          : DftiCreateDescriptor(&h, precision, DftiValueComplex, rank, c.lengths.data());
    if (s) return out;
    Layout in(c, c.unit_in), res(c, c.in_place ? c.unit_in : c.unit_out);
    DftiSetValue(h, DftiParamPlacement, c.in_place ? DftiValuePlacement43 : DftiValuePlacement44);
    if (c.split) DftiSetValue(h, DftiParamLayout8, DftiValueLayout42);
    DftiSetValue(h, DftiParamTransformCount, c.count);
    DftiSetValue(h, DftiParamInputDistance, int32_t(in.distance));
    DftiSetValue(h, DftiParamOutputDistance, int32_t(res.distance));
    std::vector<int32_t> si = in.StrideArg(), so = res.StrideArg();
    DftiSetValue(h, DftiParamInputStrides, si.data());
    DftiSetValue(h, DftiParamOutputStrides, so.data());
    DftiSetValue(h, c.backward ? DftiParamBackwardScale : DftiParamForwardScale, c.scale);
    DftiSetValue(h, DftiParamOrdering, c.ordering);
    DftiSetValue(h, DftiParamUserThreadCount, c.user_threads);
    DftiSetValue(h, DftiParamThreadLimit, c.thread_limit);
    out.commit = DftiCommitDescriptor(h);
    if (out.commit) {
        DftiFreeDescriptor(&h);
        return out;
    }

    std::vector<LCx> x = RandomComplex(n_total * c.count, 977 + n_total);
    Buffer<T> bin(c.split, in.size), bout(c.split, res.size);
    for (int64_t t = 0; t < c.count; ++t)
        for (int64_t j = 0; j < n_total; ++j) bin.Set(in.Index(t, j), x[t * n_total + j]);
    Buffer<T> &target = c.in_place ? bin : bout;
    std::vector<bool> is_output(size_t(res.size), false);
    for (int64_t t = 0; t < c.count; ++t)
        for (int64_t j = 0; j < n_total; ++j) is_output[res.Index(t, j)] = true;

    auto compute = c.backward ? DftiComputeBackward : DftiComputeForward;
    if (c.split)
        out.compute = c.in_place ? compute(h, bin.a.data(), bin.b.data())
                                 : compute(h, bin.a.data(), bin.b.data(), bout.a.data(), bout.b.data());
    else
        out.compute = c.in_place ? compute(h, bin.a.data()) : compute(h, bin.a.data(), bout.a.data());
    DftiFreeDescriptor(&h);
    if (out.compute) return out;

    std::vector<int64_t> shape(c.lengths.begin(), c.lengths.end());
    std::vector<LCx> got, want;
    for (int64_t t = 0; t < c.count; ++t) {
        const std::vector<LCx> ref =
            NaiveAll({x.begin() + t * n_total, x.begin() + (t + 1) * n_total}, shape, c.backward ? 1 : -1);
        for (int64_t j = 0; j < n_total; ++j) {
            want.push_back(ref[j] * (long double)c.scale);
            got.push_back(target.Get(res.Index(t, j)));
        }
    }
    if (!c.in_place)
        for (int64_t i = 0; i < res.size; ++i)
            if (!is_output[i] && bout.Get(i) != LCx(T(kSentinel), T(kSentinel))) out.stray_write = true;
    out.error = RelRms(got, want);
    out.tolerance = Tolerance(c.is_double, n_total);
    return out;
}

template <typename T>
double RoundTrip(const std::vector<int32_t> &lengths, bool split) {
    const int32_t rank = int32_t(lengths.size());
    int64_t n = 1;
    for (int32_t x : lengths) n *= x;
    DftiHandle h = nullptr;
    const int32_t precision = sizeof(T) == 8 ? DftiValueDouble : DftiValueSingle;
    const int32_t status =
        rank == 1 ? DftiCreateDescriptor(&h, precision, DftiValueComplex, 1, lengths[0])
                  : DftiCreateDescriptor(&h, precision, DftiValueComplex, rank, lengths.data());
    if (status) return 1.0;
    if (split) DftiSetValue(h, DftiParamLayout8, DftiValueLayout42);
    DftiSetValue(h, DftiParamBackwardScale, 1.0 / double(n));
    if (DftiCommitDescriptor(h)) return 1.0;
    const std::vector<LCx> x = RandomComplex(n, 31);
    Buffer<T> buf(split, n);
    for (int64_t i = 0; i < n; ++i) buf.Set(i, x[i]);
    T *a = buf.a.data(), *b = buf.b.data();
    int32_t s1 = split ? DftiComputeForward(h, a, b) : DftiComputeForward(h, a);
    int32_t s2 = split ? DftiComputeBackward(h, a, b) : DftiComputeBackward(h, a);
    DftiFreeDescriptor(&h);
    if (s1 || s2) return 1.0;
    std::vector<LCx> got(n);
    for (int64_t i = 0; i < n; ++i) got[i] = buf.Get(i);
    return RelRms(got, x);
}

}  // namespace

ApiOutcome RunApiCase(const ApiCase &c) { return c.is_double ? Run<double>(c) : Run<float>(c); }

double RoundTripError(bool is_double, const std::vector<int32_t> &lengths, bool split) {
    return is_double ? RoundTrip<double>(lengths, split) : RoundTrip<float>(lengths, split);
}

std::vector<LCx> RandomReal(int64_t count, uint64_t seed) {
    std::vector<LCx> x = RandomComplex(count, seed);
    for (auto &v : x) v = LCx(v.real(), 0);
    return x;
}

std::vector<LCx> NaiveAll(std::vector<LCx> x, const std::vector<int64_t> &shape, int sign) {
    for (int axis = 0; axis < int(shape.size()); ++axis) NaiveAxis(x, shape, axis, sign);
    return x;
}

std::vector<long double> Listing(int32_t format, const std::vector<LCx> &z, int64_t n) {
    std::vector<long double> v;
    const int64_t h = n / 2;
    if (format == DftiValuePack54 || format == DftiValuePack57) {
        for (int64_t k = 0; k <= h; ++k) {
            v.push_back(z[k].real());
            v.push_back(z[k].imag());
        }
        return v;
    }
    v.push_back(z[0].real());
    if (format == DftiValuePack56 && n % 2 == 0 && n > 1) v.push_back(z[h].real());
    for (int64_t k = 1; 2 * k < n; ++k) {
        v.push_back(z[k].real());
        v.push_back(z[k].imag());
    }
    if (format == DftiValuePack55 && n % 2 == 0 && n > 1) v.push_back(z[h].real());
    return v;
}

}  // namespace orb::dft::test
