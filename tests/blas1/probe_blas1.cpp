// Probe scenarios of the CBLAS family: the copy driver's microarchitecture
// code under a chosen processor and environment, and large copies under
// the BLAS domain's thread settings.
#include <cstdio>
#include <vector>

#include "blas1/blas1.h"
#include "orb_cblas.h"
#include "service/testing_hooks.h"
#include "support/probe.h"

namespace {
orb::CpuidSnapshot VarelLevel5() { return orb::SyntheticSnapshot("GenuineVarel", 5); }
}  // namespace

// The code of this process; args[0] == "varel5" pretends a level-5 Varel.
ORB_PROBE_SCENARIO(blas1_microarch) {
    if (!args.empty() && args[0] == "varel5") orb::testing::SetCpuidSource(VarelLevel5);
    std::printf("code=%d\n", orb::blas1::MicroarchCode());
    return 0;
}

// A large copy through the export, both signs of the source increment.
ORB_PROBE_SCENARIO(blas1_large_copy) {
    const int n = 300001;
    std::vector<double> x(n), y(n), z(n);
    for (int i = 0; i < n; ++i) x[i] = i;
    cblas_dcopy(n, x.data(), 1, y.data(), 1);
    cblas_dcopy(n, x.data(), -1, z.data(), 1);
    int bad = 0;
    for (int i = 0; i < n; ++i) bad += y[i] != i || z[i] != n - 1 - i;
    std::printf("bad=%d\n", bad);
    return 0;
}
