// Process-level scenarios of vector math: the initial mode from the
// environment, and the printed messages of the handler and the entries.
#include <cstdio>
#include <cmath>

#include "support/probe.h"
#include "service/serv.h"
#include "vml/vml_frame.h"

ORB_PROBE_SCENARIO(vml_initial_mode) {
    std::printf("mode=0x%X\n", unsigned(ServVmlGetMode()));
    return 0;
}

ORB_PROBE_SCENARIO(vml_print_div) {
    ServVmlSetMode(0x0400);
    const double a[3] = {1.0, 1.0, 0.0}, b[3] = {2.0, 0.0, 0.0};
    double y[3];
    vdDiv(3, a, b, y);
    std::printf("status=%d\n", int(ServVmlGetStatus()));
    return 0;
}

ORB_PROBE_SCENARIO(vml_print_codes) {
    ServThreadStateGet()->vml_mode = 0x0402;
    double a1[7] = {2, 2, 2, 2, 2, 2, 2}, a2[1] = {3.0};
    double r1[7] = {4, 4, 4, 4, 4, 4, 4}, r2[1] = {5.0};
    const int codes[] = {-1, -2, 0, 1, 3, 4, 9};
    for (int code : codes) ServVmlReportErrorD(code, 6, a1, a1, r1, r1, "vdOne");
    ServVmlReportErrorD(1, 0, a1, a1, r1, r2, "vdTwoRes");
    ServVmlReportErrorD(1, 0, a1, a2, r1, r2, "vdFour");
    return 0;
}

ORB_PROBE_SCENARIO(vml_param_errors) {
    double x[2] = {1, 2};
    vdAdd(-5, x, x, x);
    vdAdd(5, x, nullptr, x);
    vdAdd(5, nullptr, nullptr, nullptr);
    vsSqr(3, reinterpret_cast<float *>(x), nullptr);
    vdPowx(2, x, 2.0, nullptr);
    vdLinearFrac(2, x, x, 1, 1, 1, 1, nullptr);
    std::printf("status=%d\n", int(ServVmlGetStatus()));
    return 0;
}
