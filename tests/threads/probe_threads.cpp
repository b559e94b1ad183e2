// Probe scenarios of thread-count control: what every domain gets under the
// environment the test chose, inside and outside a parallel region, with
// the internal setters, and under racing first queries.
#include <omp.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "service/threads.h"
#include "support/probe.h"

namespace {

void PrintDomains(const char *tag) {
    std::printf("%s all=%d blas=%d fft=%d vml=%d pardiso=%d\n", tag, ServDomainThreads(0),
                ServDomainThreads(1), ServDomainThreads(2), ServDomainThreads(3),
                ServDomainThreads(4));
}

}  // namespace

// Counts of every domain, then the words they came from.
ORB_PROBE_SCENARIO(threads_report) {
    PrintDomains("domains");
    int32_t p = 0, c = 0, t = 0;
    ServTopologyCounts(&p, &c, &t);
    std::printf("dyn=%d omp=%d max=%d procs=%d tpc=%d\n", ServGetDynamic(), ServOmpNumThreads(),
                omp_get_max_threads(), ServProcessorCount(), t + 1);
    return 0;
}

// Counts asked from inside a parallel region of two threads.
ORB_PROBE_SCENARIO(threads_in_parallel) {
    int32_t got[2][5] = {};
#pragma omp parallel num_threads(2)
    {
        int me = omp_get_thread_num();
        for (int d = 0; d < 5; ++d) got[me][d] = ServDomainThreads(d);
    }
    for (int me = 0; me < 2; ++me)
        std::printf("thread%d %d %d %d %d %d\n", me, got[me][0], got[me][1], got[me][2],
                    got[me][3], got[me][4]);
    return 0;
}

// Setters called before the first query win over the environment; the
// per-thread count overrides every domain for its own thread only.
ORB_PROBE_SCENARIO(threads_setters) {
    ServSetDomainValue(ServDomainBlas, 6);
    ServSetDynamic(0);
    PrintDomains("set");
    std::printf("dyn=%d\n", ServGetDynamic());
    ServSetThreadLocalThreads(9);
    PrintDomains("local");
    int32_t other = 0;
    std::thread([&] { other = ServDomainThreads(ServDomainFft); }).join();
    std::printf("other_thread_fft=%d\n", other);
    ServSetThreadLocalThreads(0);
    PrintDomains("cleared");
    ServSetDomainValue(ServDomainBlas, 0);
    ServSetDynamic(7);
    std::printf("blas_cleared=%d dyn=%d\n", ServGetDomainValue(ServDomainBlas), ServGetDynamic());
    return 0;
}

// Many threads make the first query at once: all agree.
ORB_PROBE_SCENARIO(threads_racing_first_query) {
    std::vector<int32_t> got(8);
    std::vector<std::thread> team;
    for (int i = 0; i < 8; ++i) team.emplace_back([&, i] { got[i] = ServDomainThreads(i % 5); });
    for (auto &t : team) t.join();
    for (int i = 0; i < 8; ++i) std::printf("%d ", got[i]);
    std::printf("\n");
    return 0;
}
