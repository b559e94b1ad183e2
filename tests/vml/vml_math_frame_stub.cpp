// Stand-ins for the call frame's mode query and reporters while the kernels
// are tested on their own; they record every report.
#include <cstdint>
#include <vector>

struct MathReport { int32_t code, index; };
std::vector<MathReport> g_math_reports;
uint32_t g_math_mode = 0x1A02;

extern "C" {
uint32_t ServVmlGetMode(void) { return g_math_mode; }
void ServVmlReportErrorS(int32_t code, int32_t i, const float *, const float *, float *,
                          float *, const char *) { g_math_reports.push_back({code, i}); }
void ServVmlReportErrorD(int32_t code, int32_t i, const double *, const double *, double *,
                          double *, const char *) { g_math_reports.push_back({code, i}); }
}
