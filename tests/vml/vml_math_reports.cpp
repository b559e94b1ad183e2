// Recording error callback of the root, power and arc-tangent tests
// (reentrant: team members of a threaded call report concurrently).
#include "vml_math_reports.h"

#include <mutex>

#include "vml/vml_frame.h"

std::vector<MathReport> g_math_reports;

namespace {
std::mutex g_lock;
int Record(VmlErrorContext *c) {
    std::lock_guard<std::mutex> hold(g_lock);
    g_math_reports.push_back({c->code, c->index, c->arg1, c->arg2, c->res1,
                              std::string(c->func_name, c->func_name_len)});
    return 1;  // handled: keep the kernel's result, no default action
}
}  // namespace

void StartReportCapture() {
    ServVmlSetMode(0x1A02);
    ServVmlSetCallback(Record);
    ServVmlSetStatus(0);
    g_math_reports.clear();
}

void SetDenormalFlush(bool on) { ServVmlSetMode(on ? 0x00280000u : 0x00140000u); }
