// Exported LAPACK auxiliaries. Each entry first makes sure the library's
// own parameter-error reporter sits in the process-wide hook (a reporter
// installed earlier stays), then does its work.
#include "orb_lapack.h"
#include "lapack_aux/lasrt.h"
#include "service/serv.h"

namespace {
inline void InstallReporter() {
    if (!ServGetLapackReporter()) ServInstallLapackReporter(ServReportParameterError);
}
}  // namespace

extern "C" void dlasrt(const char *id, const int *n, double *d, int *info) {
    InstallReporter();
    orb::lapack::Dlasrt(id, n, d, info);
}

extern "C" void slasrt(const char *id, const int *n, float *d, int *info) {
    InstallReporter();
    orb::lapack::Slasrt(id, n, d, info);
}

// A NaN is the one value unequal to itself; volatile keeps the comparison
// even under value-changing optimisations.
extern "C" int disnan(const double *x) {
    InstallReporter();
    volatile double v = *x;
    return v != v;
}

extern "C" int sisnan(const float *x) {
    InstallReporter();
    volatile float v = *x;
    return v != v;
}
