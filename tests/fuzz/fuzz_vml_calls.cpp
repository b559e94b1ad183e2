// Fuzz target: vector-math calls with arbitrary n, null or exactly sized
// arrays (sometimes the output over an input), arbitrary mode words,
// callbacks and prior statuses. Checks the status rules of the call frame,
// that refused calls write nothing, that callbacks see indices inside the
// array, and the exactly rounded functions against the scalar operation.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "include/orb_vml.h"
#include "vml/vml_frame.h"

namespace {

using orb::fuzz::Fail;
using orb::fuzz::Input;

enum Shape { Unary, Binary, CUnary, CBinary, Powx, LinearFrac };
enum Exact { None, Add, Sub, Mul, Div, Sqr, Abs, Round };

struct Fn {
    const char *name;
    Shape shape;
    bool dbl;
    void *fn;
    Exact exact;
};

#define F(name, shape, dbl, exact) {#name, shape, dbl, reinterpret_cast<void *>(&name), exact}
const Fn kFns[] = {
    F(vsAdd, Binary, false, Add), F(vdAdd, Binary, true, Add),
    F(vsSub, Binary, false, Sub), F(vdSub, Binary, true, Sub),
    F(vsMul, Binary, false, Mul), F(vdMul, Binary, true, Mul),
    F(vsDiv, Binary, false, Div), F(vdDiv, Binary, true, Div),
    F(vsSqr, Unary, false, Sqr), F(vdSqr, Unary, true, Sqr),
    F(vsAbs, Unary, false, Abs), F(vdAbs, Unary, true, Abs),
    F(vsRound, Unary, false, Round), F(vdRound, Unary, true, Round),
    F(vsSqrt, Unary, false, None), F(vdSqrt, Unary, true, None),
    F(vsCbrt, Unary, false, None), F(vdCbrt, Unary, true, None),
    F(vsInvCbrt, Unary, false, None), F(vdInvCbrt, Unary, true, None),
    F(vsAtan2, Binary, false, None), F(vdAtan2, Binary, true, None),
    F(vcAdd, CBinary, false, Add), F(vzAdd, CBinary, true, Add),
    F(vcMul, CBinary, false, None), F(vzMul, CBinary, true, None),
    F(vcMulByConj, CBinary, false, None), F(vzMulByConj, CBinary, true, None),
    F(vcDiv, CBinary, false, None), F(vzDiv, CBinary, true, None),
    F(vcAbs, CUnary, false, None), F(vzAbs, CUnary, true, None),
    F(vsPowx, Powx, false, None), F(vdPowx, Powx, true, None),
    F(vsLinearFrac, LinearFrac, false, None), F(vdLinearFrac, LinearFrac, true, None),
};
#undef F

thread_local int g_calls, g_bad_context, g_callback_n;
thread_local int g_callback_answer;

int Callback(VmlErrorContext *c) {
    ++g_calls;
    if (c->code < 1 || c->code > 4 || c->index < 0 || c->index >= g_callback_n ||
        c->func_name_len <= 0 || c->func_name_len >= 64 || c->func_name[c->func_name_len] != 0)
        ++g_bad_context;
    return g_callback_answer;
}

template <typename T>
T Expected(Exact e, T a, T b) {
    switch (e) {
        case Add: return a + b;
        case Sub: return a - b;
        case Mul: return a * b;
        case Div: return a / b;
        case Sqr: return a * a;
        case Abs: return std::fabs(a);
        case Round: return std::round(a);
        default: return 0;
    }
}

template <typename T>
bool Same(T x, T y) { return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0; }

template <typename T>
void Run(Input &in, const Fn &f) {
    const int n = in.Count(0, 260, {-1, -7, 0, 1, 100, 99, 101, INT32_MIN});
    // Arrays of a refused call still exist; a count too large to allocate
    // is only ever passed with a null first array.
    const bool huge = n > 1024;
    const int len = n > 0 && !huge ? n : 4;
    const int lanes = (f.shape == CUnary || f.shape == CBinary) ? 2 : 1;
    const int out_lanes = f.shape == CUnary ? 1 : lanes;
    std::vector<T> a(size_t(len) * lanes), b(size_t(len) * lanes), y(size_t(len) * out_lanes);
    for (T &v : a) v = T(in.Byte() < 230 ? in.Value() * 8 : in.Double());
    for (T &v : b) v = T(in.Byte() < 230 ? in.Value() * 8 : in.Double());
    for (T &v : y) v = T(-77.0);
    const std::vector<T> a0 = a, b0 = b;
    const uint8_t nulls = in.Byte();
    const T *pa = nulls < 12 || huge ? nullptr : a.data();
    const T *pb = nulls >= 12 && nulls < 24 ? nullptr : b.data();
    T *py = nulls >= 24 && nulls < 36 ? nullptr : y.data();
    const bool alias = py && out_lanes == lanes && in.Byte() < 32;
    if (alias) py = a.data();
    const T s1 = T(in.Value()), s2 = T(in.Value()), s3 = T(in.Value()), s4 = T(in.Value());

    uint32_t mode = uint32_t(in.Int32());
    if (in.Byte() < 252) mode &= ~uint32_t(VmlErrPrint);  // keep the output quiet
    ServVmlSetMode(mode);
    const uint32_t effective = ServVmlGetMode();
    const bool callback = in.Flag();
    ServVmlSetCallback(callback ? Callback : nullptr);
    g_callback_answer = in.Flag();
    g_calls = g_bad_context = 0;
    g_callback_n = n;
    static const int kPrior[] = {0, 1, 2, 3, 4, -1, -2, 1000};
    const int prior = kPrior[in.Byte() % 8];
    ServVmlSetStatus(prior);

    using C = std::conditional_t<sizeof(T) == 8, VmlComplex16, VmlComplex8>;
    switch (f.shape) {
        case Unary: reinterpret_cast<void (*)(int, const T *, T *)>(f.fn)(n, pa, py); break;
        case Binary:
            reinterpret_cast<void (*)(int, const T *, const T *, T *)>(f.fn)(n, pa, pb, py);
            break;
        case CUnary:
            reinterpret_cast<void (*)(int, const C *, T *)>(f.fn)(n, reinterpret_cast<const C *>(pa), py);
            break;
        case CBinary:
            reinterpret_cast<void (*)(int, const C *, const C *, C *)>(f.fn)(
                n, reinterpret_cast<const C *>(pa), reinterpret_cast<const C *>(pb),
                reinterpret_cast<C *>(py));
            break;
        case Powx: reinterpret_cast<void (*)(int, const T *, T, T *)>(f.fn)(n, pa, s1, py); break;
        case LinearFrac:
            reinterpret_cast<void (*)(int, const T *, const T *, T, T, T, T, T *)>(f.fn)(
                n, pa, pb, s1, s2, s3, s4, py);
            break;
    }
    const int status = ServVmlGetStatus();
    ServVmlSetCallback(nullptr);
    const bool needs_b = f.shape == Binary || f.shape == CBinary || f.shape == LinearFrac;
    const bool refused = n < 0 || (n > 0 && (!pa || (needs_b && !pb) || !py));
    if (n == 0 && status != prior) Fail("n = 0 changed the status");
    if (n < 0 && status != -1) Fail("negative n: status");
    if (n > 0 && refused && status != -2) Fail("null pointer: status");
    if (refused || n == 0) {
        for (T v : y) if (v != T(-77.0)) Fail("refused call wrote the output");
        if (std::memcmp(a.data(), a0.data(), a.size() * sizeof(T))) Fail("refused call wrote an input");
        return;
    }
    if (!(status == prior || (status >= 0 && status <= 4) || status == 1000)) Fail("status");
    if (g_bad_context) Fail("callback context");
    if (!callback && g_calls) Fail("callback called without being set");
    if (std::memcmp(b.data(), b0.data(), b.size() * sizeof(T))) Fail("second input written");
    const bool flush = (effective & VmlModeDenormMask) == VmlModeDenormFlush;
    if (f.exact == None || flush) return;
    const T *out = alias ? a.data() : y.data();
    for (size_t i = 0; i < size_t(n) * lanes; ++i)
        if (!Same(out[i], Expected(f.exact, a0[i], b0[i]))) Fail("result not exactly rounded");
}

}  // namespace

// Reports of exceptional elements go to standard output: keep it quiet.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (!std::freopen("/dev/null", "w", stdout)) return 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    for (int call = 0; call < 8 && !in.Empty(); ++call) {
        const Fn &f = kFns[in.Byte() % (sizeof kFns / sizeof kFns[0])];
        if (f.dbl) Run<double>(in, f);
        else Run<float>(in, f);
    }
    return 0;
}
