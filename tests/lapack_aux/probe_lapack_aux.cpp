// Probe scenarios of the LAPACK auxiliaries: argument errors and their
// reports, with and without a reporter installed beforehand.
#include <cstdio>
#include <cstdlib>

#include "orb_lapack.h"
#include "service/serv.h"
#include "support/probe.h"

namespace {

void CustomReporter(const char *name, const int32_t *info, int32_t length) {
    std::printf("custom %.*s %d\n", int(length), name, int(*info));
}

// args: routine ("d" or "s"), id, n
int SortWithArgs(const std::vector<std::string> &args) {
    int n = std::atoi(args[2].c_str());
    int info = 77;
    double d[3] = {3, 1, 2};
    float s[3] = {3, 1, 2};
    if (args[0] == "d") dlasrt(args[1].c_str(), &n, d, &info);
    else slasrt(args[1].c_str(), &n, s, &info);
    bool untouched = d[0] == 3 && d[1] == 1 && d[2] == 2 && s[0] == 3 && s[1] == 1 && s[2] == 2;
    std::printf("info=%d untouched=%d\n", info, int(untouched));
    return 0;
}

}  // namespace

ORB_PROBE_SCENARIO(lasrt_args) { return SortWithArgs(args); }

// A reporter installed before the first LAPACK call keeps its place.
ORB_PROBE_SCENARIO(lasrt_custom_reporter) {
    ServInstallLapackReporter(CustomReporter);
    return SortWithArgs(args);
}
