// Per-thread vector-math state: mode, status, callback and argument base in
// the calling thread's record, and the process-wide initial mode read from
// the environment.
#include <atomic>
#include <stdint.h>

#include "service/platform.h"
#include "service/scrambled_name.h"
#include "service/serv.h"
#include "vml/vml_frame.h"
#include "vml/vml_mode_text.h"

namespace {

constexpr orb::ScrambledName kModeVar("ORB_VML_MODE");

// Cached answer of the initial-mode query; kNotRead until the first query.
constexpr int64_t kNotRead = INT64_MIN;
std::atomic<int64_t> g_initial{kNotRead};

int64_t ReadInitialMode() {
    char name[sizeof kModeVar.bytes];
    kModeVar.Decode(name);
    char text[64] = {};
    const uint32_t got = orb::plat::GetEnv(name, text, sizeof text);
    if (got == 0 || got >= sizeof text) return -1;
    uint32_t mode = 0;
    if (!orb::vml::ParseModeText(text, &mode)) return -1;
    return int64_t(mode);
}

}  // namespace

namespace orb::vml {

bool ParseModeText(const char *text, uint32_t *mode) {
    if (text == nullptr || *text == '\0') return false;
    // Decimal or 0x hex only; no sign, no octal surprises from a leading 0.
    const bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char *p = hex ? text + 2 : text;
    if (*p == '\0') return false;
    uint64_t v = 0;
    for (; *p; ++p) {
        int d;
        if (*p >= '0' && *p <= '9') d = *p - '0';
        else if (hex && *p >= 'a' && *p <= 'f') d = *p - 'a' + 10;
        else if (hex && *p >= 'A' && *p <= 'F') d = *p - 'A' + 10;
        else return false;
        v = v * (hex ? 16 : 10) + uint64_t(d);
        if (v > 0xFFFFFFFFull) return false;
    }
    if (v == 0) return false;  // a zero word would mean "not filled yet"
    *mode = uint32_t(v);
    return true;
}

}  // namespace orb::vml

extern "C" int64_t ServVmlInitialMode(void) {
    int64_t cached = g_initial.load(std::memory_order_acquire);
    if (cached == kNotRead) {  // racy but idempotent: every reader finds the same
        cached = ReadInitialMode();
        g_initial.store(cached, std::memory_order_release);
    }
    return cached;
}

extern "C" uint32_t ServVmlGetMode(void) {
    ServThreadState *st = ServThreadStateGet();
    if (st->vml_mode == 0) {
        const int64_t initial = ServVmlInitialMode();
        st->vml_mode = initial == -1 ? uint32_t(VmlModeDefault)
                                     : uint32_t(initial);
    }
    return st->vml_mode;
}

extern "C" uint32_t ServVmlSetMode(uint32_t mode) {
    const uint32_t old = ServVmlGetMode();
    uint32_t now = old;
    for (uint32_t mask : {uint32_t(VmlModeAccuracyMask),
                          uint32_t(VmlModeErrorMask),
                          uint32_t(VmlModeDenormMask)}) {
        if (mode & mask) now = (now & ~mask) | (mode & mask);
    }
    ServThreadStateGet()->vml_mode = now;
    return old;
}

extern "C" int32_t ServVmlGetStatus(void) {
    return ServThreadStateGet()->vml_status;
}

extern "C" int32_t ServVmlSetStatus(int32_t status) {
    ServThreadState *st = ServThreadStateGet();
    const int32_t old = st->vml_status;
    st->vml_status = status;
    return old;
}

extern "C" VmlErrorCallback ServVmlGetCallback(void) {
    return reinterpret_cast<VmlErrorCallback>(
        ServThreadStateGet()->vml_callback);
}

extern "C" VmlErrorCallback ServVmlSetCallback(VmlErrorCallback callback) {
    ServThreadState *st = ServThreadStateGet();
    const VmlErrorCallback old =
        reinterpret_cast<VmlErrorCallback>(st->vml_callback);
    const uint32_t mode = ServVmlGetMode();
    st->vml_callback = reinterpret_cast<void *>(callback);
    st->vml_mode = callback ? (mode | VmlErrCallback)
                            : (mode & ~uint32_t(VmlErrCallback));
    return old;
}

extern "C" const void *ServVmlSetArgBase(const void *base) {
    ServThreadStateGet()->vml_argbase = base;
    return base;
}
