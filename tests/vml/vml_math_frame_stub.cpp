// Stand-ins for the call frame's mode query and reporters while the kernels
// are tested on their own: every report is recorded with the values the
// frame's handler would put in its record.
#include "vml_math_frame_stub.h"

std::vector<MathReport> g_math_reports;
uint32_t g_math_mode = 0x1A02;

extern "C" {
uint32_t ServVmlGetMode(void) { return g_math_mode; }
void ServVmlReportErrorS(int32_t code, int32_t i, const float *a1, const float *a2, float *r1,
                         float *, const char *name) {
    g_math_reports.push_back({code, i, a1[i], a2[i], r1[i], name});
}
void ServVmlReportErrorD(int32_t code, int32_t i, const double *a1, const double *a2,
                         double *r1, double *, const char *name) {
    g_math_reports.push_back({code, i, a1[i], a2[i], r1[i], name});
}
}
