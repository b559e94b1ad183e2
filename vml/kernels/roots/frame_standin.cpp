/* Temporary stand-in for the call frame's mode query and error handler,
 * built only while the tree has no frame (vml/vml_report.cpp): it keeps the
 * library linkable. It records the status in the thread's record and
 * takes none of the mode word's error actions. */
#include "service/serv.h"
#include "vml/vml_frame.h"

extern "C" {
uint32_t ServVmlGetMode(void) {
    ServThreadState *s = ServThreadStateGet();
    if (s->vml_mode == 0) s->vml_mode = VmlModeDefault;
    return s->vml_mode;
}
void ServVmlReportErrorS(int32_t code, int32_t, const float *, const float *, float *, float *,
                         const char *) {
    ServThreadStateGet()->vml_status = code;
}
void ServVmlReportErrorD(int32_t code, int32_t, const double *, const double *, double *,
                         double *, const char *) {
    ServThreadStateGet()->vml_status = code;
}
}
