// The 36 exported vector-math entry points: argument checks, slot choice,
// and the hand-over to the shape's threader.
#include <string.h>
#include <xmmintrin.h>

#include "service/serv.h"
#include "vml/vml_tables.h"
#include "vml/vml_threader.h"

#define ORB_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// Reports the first bad argument (n < 0, or a null pointer in parameter
// order); n = 0 reports nothing. The 1-based parameter positions of the
// pointers p0..p2 come packed, one per nibble from the lowest (a zero
// nibble ends the list). Every argument travels in a register, the
// pointers in the ones the export received them in: a list built in
// memory would give each accepted call a stack frame, and arguments moved
// for this call would be moved back for the kernel's.
__attribute__((noinline, cold)) void Refuse(int32_t n, const void *p0, const void *p1,
                                            const void *p2, const char *name,
                                            uint32_t positions) {
    if (n < 0) {
        const int32_t info = 1;
        ServReportParameterError(name, &info, int32_t(strlen(name)));
        ServVmlSetStatus(VmlStatusBadSize);
        return;
    }
    if (n == 0) return;
    const void *const pointers[] = {p0, p1, p2};
    for (int k = 0; k < 3 && (positions >> (4 * k) & 0xF) != 0; ++k) {
        if (pointers[k] == nullptr) {
            const int32_t position = int32_t(positions >> (4 * k) & 0xF);
            ServReportParameterError(name, &position, int32_t(strlen(name)));
            ServVmlSetStatus(VmlStatusBadMem);
            return;
        }
    }
}

// Pointers are only compared with null here; which one is bad is worked
// out by Refuse.
template <class... P> inline bool Accepted(int32_t n, const P *...pointers) {
    return n > 0 && ((pointers != nullptr) && ...);
}

// Table slot for a mode word and level; an accuracy code outside 1..3
// (only a hand-made mode word can hold one) counts as 2. By a table of
// the accuracy field: one load where the range test took a branch.
constexpr int8_t kAccuracyBlock[16] = {10, 0, 10, 20, 10, 10, 10, 10,
                                       10, 10, 10, 10, 10, 10, 10, 10};
static_assert(VmlModeAccuracyMask == 0xF);
inline int32_t SlotOf(uint32_t mode, int32_t level) {
    return level + kAccuracyBlock[mode & VmlModeAccuracyMask];
}

// Any call that cannot take the short path below: the thread's first call,
// the first call of the process, a store without cached records, or a call
// the threader may split. It takes the kernel's arguments in the kernel's
// registers, so the entries reach it by a jump with nothing moved.
template <auto &Kernels, auto &Costs, auto Threader, class... A>
__attribute__((noinline)) void DispatchSlow(int32_t n, A... args) {
    const int32_t s = SlotOf(orb::vml::ThreadMode(), orb::ExtCpuLevel());
    const float cost = Costs[s];
    if (orb::vml::RunsSerial(n, cost))
        Kernels[s](n, args...);
    else
        Threader(Kernels[s], n, args..., cost, 0);
}

// The control word through a per-thread word instead of the stack: an
// entry with a stack object would keep a frame, and could not end in a
// jump to its kernel. (Windows thread-locals of this toolchain are
// emulated: there the stack it is.)
#if defined(__ELF__)
thread_local constinit uint32_t t_control_word ORB_INITIAL_EXEC = 0;
inline uint32_t ControlWord() {
    asm volatile("stmxcsr %0" : "=m"(t_control_word));
    return t_control_word;
}
#else
inline uint32_t ControlWord() { return _mm_getcsr(); }
#endif

// Serial calls with the thread's record, the level and the threading
// words already known make no call before their kernel's (so save no
// registers either); the rest go through DispatchSlow. Exports with a
// bodies table run the body straight away when the control bits are what
// the mode wants: the framed kernel would change nothing then, and would
// only look the record up and read the control word again.
template <auto &Kernels, auto Bodies, auto &Costs, auto Threader, class... A>
__attribute__((always_inline)) inline void Dispatch(int32_t n, A... args) {
    const ServThreadState *record = orb::CachedThreadRecord();
    const int32_t level = orb::g_ext_level.load(std::memory_order_acquire);
    if (record && record->vml_mode != 0 && level != -1) [[likely]] {
        const uint32_t mode = record->vml_mode;
        const int32_t s = SlotOf(mode, level);
        if (orb::vml::KnownSerial(n, Costs[s])) [[likely]] {
            if constexpr (Bodies != nullptr) {
                if ((ControlWord() & orb::vml::kCsrMask) == orb::vml::WantedCsrBits(mode))
                    [[likely]] {
                    Bodies[s](n, args...);
                    return;
                }
            }
            Kernels[s](n, args...);
            return;
        }
    }
    DispatchSlow<Kernels, Costs, Threader>(n, args...);
}

// The bodies argument of Dispatch: the table, or none.
#define ORB_BODIED(name) vml_bodies_##name
#define ORB_FRAMED(name) nullptr

}  // namespace

#define ORB_UNARY(name, T, thr, B)                                          \
    ORB_EXPORT void name(int n, const T *a, T *y) {                         \
        if (!Accepted(n, a, y)) [[unlikely]] {                              \
            Refuse(n, a, y, nullptr, #name, 0x32);                             \
            return;                                                         \
        }                                                                   \
        Dispatch<vml_kernels_##name, B(name), vml_costs_##name, thr>(n, a, y); \
    }
#define ORB_BINARY(name, T, thr, B)                                         \
    ORB_EXPORT void name(int n, const T *a, const T *b, T *y) {             \
        if (!Accepted(n, a, b, y)) [[unlikely]] {                           \
            Refuse(n, a, b, y, #name, 0x432);                     \
            return;                                                         \
        }                                                                   \
        Dispatch<vml_kernels_##name, B(name), vml_costs_##name, thr>(n, a, b, y); \
    }

ORB_BINARY(vsAdd, float, orb_vml_serv_threader_s_2i_1o, ORB_BODIED)
ORB_BINARY(vdAdd, double, orb_vml_serv_threader_d_2i_1o, ORB_BODIED)
ORB_BINARY(vsSub, float, orb_vml_serv_threader_s_2i_1o, ORB_BODIED)
ORB_BINARY(vdSub, double, orb_vml_serv_threader_d_2i_1o, ORB_BODIED)
ORB_BINARY(vsMul, float, orb_vml_serv_threader_s_2i_1o, ORB_BODIED)
ORB_BINARY(vdMul, double, orb_vml_serv_threader_d_2i_1o, ORB_BODIED)
ORB_BINARY(vsDiv, float, orb_vml_serv_threader_s_2i_1o, ORB_BODIED)
ORB_BINARY(vdDiv, double, orb_vml_serv_threader_d_2i_1o, ORB_BODIED)
ORB_BINARY(vsAtan2, float, orb_vml_serv_threader_s_2i_1o, ORB_FRAMED)
ORB_BINARY(vdAtan2, double, orb_vml_serv_threader_d_2i_1o, ORB_FRAMED)
ORB_BINARY(vcAdd, VmlComplex8, orb_vml_serv_threader_c_2i_1o, ORB_BODIED)
ORB_BINARY(vzAdd, VmlComplex16, orb_vml_serv_threader_z_2i_1o, ORB_BODIED)
ORB_BINARY(vcMul, VmlComplex8, orb_vml_serv_threader_c_2i_1o, ORB_BODIED)
ORB_BINARY(vzMul, VmlComplex16, orb_vml_serv_threader_z_2i_1o, ORB_BODIED)
ORB_BINARY(vcMulByConj, VmlComplex8, orb_vml_serv_threader_c_2i_1o, ORB_BODIED)
ORB_BINARY(vzMulByConj, VmlComplex16, orb_vml_serv_threader_z_2i_1o, ORB_BODIED)
ORB_BINARY(vcDiv, VmlComplex8, orb_vml_serv_threader_c_2i_1o, ORB_BODIED)
ORB_BINARY(vzDiv, VmlComplex16, orb_vml_serv_threader_z_2i_1o, ORB_BODIED)
ORB_UNARY(vsSqr, float, orb_vml_serv_threader_s_1i_1o, ORB_BODIED)
ORB_UNARY(vdSqr, double, orb_vml_serv_threader_d_1i_1o, ORB_BODIED)
ORB_UNARY(vsAbs, float, orb_vml_serv_threader_s_1i_1o, ORB_BODIED)
ORB_UNARY(vdAbs, double, orb_vml_serv_threader_d_1i_1o, ORB_BODIED)
ORB_UNARY(vsRound, float, orb_vml_serv_threader_s_1i_1o, ORB_BODIED)
ORB_UNARY(vdRound, double, orb_vml_serv_threader_d_1i_1o, ORB_BODIED)
ORB_UNARY(vsSqrt, float, orb_vml_serv_threader_s_1i_1o, ORB_FRAMED)
ORB_UNARY(vdSqrt, double, orb_vml_serv_threader_d_1i_1o, ORB_FRAMED)
ORB_UNARY(vsCbrt, float, orb_vml_serv_threader_s_1i_1o, ORB_FRAMED)
ORB_UNARY(vdCbrt, double, orb_vml_serv_threader_d_1i_1o, ORB_FRAMED)
ORB_UNARY(vsInvCbrt, float, orb_vml_serv_threader_s_1i_1o, ORB_FRAMED)
ORB_UNARY(vdInvCbrt, double, orb_vml_serv_threader_d_1i_1o, ORB_FRAMED)

#define ORB_POWX(name, T, thr, B)                                           \
    ORB_EXPORT void name(int n, const T *a, T b, T *y) {                    \
        if (!Accepted(n, a, y)) [[unlikely]] {                              \
            Refuse(n, a, y, nullptr, #name, 0x42);                             \
            return;                                                         \
        }                                                                   \
        Dispatch<vml_kernels_##name, B(name), vml_costs_##name, thr>(n, a, b, y); \
    }
ORB_POWX(vsPowx, float, orb_vml_serv_threader_s_cs_2i_s_1o, ORB_FRAMED)
ORB_POWX(vdPowx, double, orb_vml_serv_threader_d_cd_2i_d_1o, ORB_FRAMED)

#define ORB_CABS(name, C, R, thr, B)                                        \
    ORB_EXPORT void name(int n, const C *a, R *y) {                         \
        if (!Accepted(n, a, y)) [[unlikely]] {                              \
            Refuse(n, a, y, nullptr, #name, 0x32);                             \
            return;                                                         \
        }                                                                   \
        Dispatch<vml_kernels_##name, B(name), vml_costs_##name, thr>(n, a, y); \
    }
ORB_CABS(vcAbs, VmlComplex8, float, orb_vml_serv_threader_c_1i_s_1o, ORB_BODIED)
ORB_CABS(vzAbs, VmlComplex16, double, orb_vml_serv_threader_z_1i_d_1o, ORB_BODIED)

#define ORB_LINEARFRAC(name, T, thr)                                        \
    ORB_EXPORT void name(int n, const T *a, const T *b, T scalea,           \
                         T shifta, T scaleb, T shiftb, T *y) {              \
        if (!Accepted(n, a, b, y)) [[unlikely]] {                           \
            Refuse(n, a, b, y, #name, 0x832);                     \
            return;                                                         \
        }                                                                   \
        const int32_t s = SlotOf(orb::vml::ThreadMode(), orb::ExtCpuLevel()); \
        /* Every accuracy block holds the same kernel: warn outside 3. */   \
        if (s / 10 != 2) ServVmlSetStatus(VmlStatusModeWarning);            \
        thr(vml_kernels_##name[s], n, a, b, scalea, shifta, scaleb, shiftb, \
            y, vml_costs_##name[s], 0);                                     \
    }
ORB_LINEARFRAC(vsLinearFrac, float, orb_vml_serv_threader_s_6i_1o)
ORB_LINEARFRAC(vdLinearFrac, double, orb_vml_serv_threader_d_6i_1o)
