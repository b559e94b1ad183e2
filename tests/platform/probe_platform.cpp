// Probe scenarios of the platform layer.
#include <cstdio>
#include <cstdlib>

#include "service/platform.h"
#include "support/probe.h"

// Output left in the buffer must still come out before the process ends.
ORB_PROBE_SCENARIO(platform_terminate) {
    std::fputs("before the end", stdout);
    orb::plat::Terminate(std::atoi(args.at(0).c_str()));
}
