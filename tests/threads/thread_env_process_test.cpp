// Environment handling of thread-count control, each case in a fresh
// process: the variables, their grammar, the dynamic switch and the
// parallel-region rule.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/process_harness.h"

using orb::test::EnvList;
using orb::test::ExpectProbe;
using orb::test::RunProbe;

namespace {

struct Report {
    int all = 0, blas = 0, fft = 0, vml = 0, pardiso = 0;
    int dyn = 0, omp = 0, max = 0, procs = 0, tpc = 0;
};

Report RunReport(const EnvList &env) {
    auto r = RunProbe("threads_report", env);
    EXPECT_EQ(r.exit_code, 0) << r.out;
    Report p;
    int got = std::sscanf(r.out.c_str(),
                          "domains all=%d blas=%d fft=%d vml=%d pardiso=%d\n"
                          "dyn=%d omp=%d max=%d procs=%d tpc=%d",
                          &p.all, &p.blas, &p.fft, &p.vml, &p.pardiso, &p.dyn, &p.omp, &p.max,
                          &p.procs, &p.tpc);
    EXPECT_EQ(got, 10) << r.out;
    return p;
}

TEST(ThreadEnv, DomainValuesFixedByEnvironment) {
    // -1 in a column: the count the runtime offers (omp_get_max_threads).
    // Each text rule has its own table in threads_test.
    const struct {
        const char *what;
        EnvList env;
        int all, blas, fft, vml, pardiso;
    } cases[] = {
        {"domain list", {{"ORB_NUM_THREADS", "5"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_BLAS=2, ORB_FFT=3"}},
         5, 2, 3, 5, 5},
        {"4x is 1", {{"ORB_NUM_THREADS", "4x"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_VML=3"}}, 1, 1, 1, 3, 1},
        {"ORB_NUM_THREADS wins over ORB_ALL",
         {{"ORB_NUM_THREADS", "7"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_ALL=3;ORB_DOMAIN_VML=4"}},
         7, 7, 7, 4, 7},
        {"ORB_DOMAIN_ALL alone", {{"ORB_DOMAIN_NUM_THREADS", "'ORB_DOMAIN_ALL=3' ORB_PARDISO=2"}},
         3, 3, 3, 3, 2},
        {"first entry wins", {{"ORB_DOMAIN_NUM_THREADS", "ORB_FFT=2:ORB_DOMAIN_FFT=6"}}, -1, -1, 2, -1, -1},
        {"zero ignored", {{"ORB_NUM_THREADS", "0"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_BLAS=0"}},
         -1, -1, -1, -1, -1},
        {"255 characters fit", {{"ORB_NUM_THREADS", std::string(254, '0') + "6"}}, 6, 6, 6, 6, 6},
        {"256 characters count as unset", {{"ORB_NUM_THREADS", std::string(255, '0') + "6"}},
         -1, -1, -1, -1, -1},
        {"OMP_NUM_THREADS feeds the runtime", {{"OMP_NUM_THREADS", "3"}}, 3, 3, 3, 3, 3},
    };
    for (const auto &c : cases) {
        EnvList env = c.env;
        env.push_back({"ORB_DYNAMIC", "FALSE"});
        Report r = RunReport(env);
        auto want = [&](int v) { return v == -1 ? r.max : v; };
        EXPECT_EQ(r.dyn, 0) << c.what;
        EXPECT_EQ(r.all, want(c.all)) << c.what;
        EXPECT_EQ(r.blas, want(c.blas)) << c.what;
        EXPECT_EQ(r.fft, want(c.fft)) << c.what;
        EXPECT_EQ(r.vml, want(c.vml)) << c.what;
        EXPECT_EQ(r.pardiso, want(c.pardiso)) << c.what;
    }
}

// The text rule has its own table (threads_test); here the variable
// reaches it: unset, exact, case-sensitive, quoted.
TEST(ThreadEnv, DynamicSwitchText) {
    const struct { const char *text; int dyn; } cases[] = {{nullptr, 1}, {"FALSE", 0}, {"False", 1}, {"  'false'", 0}};
    for (const auto &c : cases) {
        EnvList env;
        if (c.text) env.push_back({"ORB_DYNAMIC", c.text});
        EXPECT_EQ(RunReport(env).dyn, c.dyn) << (c.text ? c.text : "(unset)");
    }
}

TEST(ThreadEnv, DynamicCapsAtProcessors) {
    Report explicit_big = RunReport({{"ORB_NUM_THREADS", "64"}});
    EXPECT_EQ(explicit_big.dyn, 1);
    EXPECT_EQ(explicit_big.all, explicit_big.procs);
    Report fixed = RunReport({{"ORB_NUM_THREADS", "64"}, {"ORB_DYNAMIC", "false"}});
    EXPECT_EQ(fixed.all, 64);
    // Nothing set: one thread a core of the processors we may use.
    Report plain = RunReport({});
    EXPECT_EQ(plain.omp, -1);
    int cores = plain.procs / plain.tpc;
    EXPECT_EQ(plain.blas, cores > 0 ? cores : std::min(plain.max, plain.procs));
    // OMP_NUM_THREADS given: its value, capped at the processors.
    Report omp = RunReport({{"OMP_NUM_THREADS", "64"}});
    EXPECT_EQ(omp.omp, 64);
    EXPECT_EQ(omp.fft, omp.procs);
}

TEST(ThreadEnv, InsideParallelRegion) {
    ExpectProbe(0, "thread0 1 1 1 1 1\nthread1 1 1 1 1 1\n", "threads_in_parallel", {{"ORB_NUM_THREADS", "3"}});
    ExpectProbe(0, "thread0 3 3 2 3 3\nthread1 3 3 2 3 3\n", "threads_in_parallel",
                {{"ORB_NUM_THREADS", "3"}, {"ORB_DYNAMIC", "FALSE"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_FFT=2"}});
}

TEST(ThreadEnv, SettersAndPerThreadCount) {
    ExpectProbe(0,
                "set all=4 blas=6 fft=4 vml=4 pardiso=4\n"
                "dyn=0\n"
                "local all=9 blas=9 fft=9 vml=9 pardiso=9\n"
                "other_thread_fft=4\n"
                "cleared all=4 blas=6 fft=4 vml=4 pardiso=4\n"
                "blas_cleared=-1 dyn=1\n",
                "threads_setters",
                {{"ORB_NUM_THREADS", "4"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_BLAS=2"}, {"ORB_DYNAMIC", "true"}});
}

TEST(ThreadEnv, RacingFirstQueriesAgree) {
    ExpectProbe(0, "3 2 3 3 3 3 2 3 \n", "threads_racing_first_query",
                {{"ORB_NUM_THREADS", "3"}, {"ORB_DOMAIN_NUM_THREADS", "ORB_BLAS=2"}, {"ORB_DYNAMIC", "FALSE"}});
}

}  // namespace
