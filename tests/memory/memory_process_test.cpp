// Process-level scenarios of the memory manager: the replacement allocator
// found (or rejected) through the library search path, the two switches, a
// full pool registry and the release of the pools.
#include <gtest/gtest.h>

#include <string>

#include "support/process_harness.h"

namespace {

using orb::test::EnvList;
using orb::test::RunProbe;

const std::string kCounting = ORB_MALLOC_DIR;
const std::string kIncomplete = ORB_MALLOC_INCOMPLETE_DIR;
// The variable that leads the loader to a library.
#if defined(_WIN32)
const std::string kSearchPath = "PATH";
#else
const std::string kSearchPath = "LD_LIBRARY_PATH";
#endif

orb::test::ProbeResult RunScenario(const char *scenario, EnvList env) {
    return RunProbe(scenario, env, {}, {kSearchPath});
}

TEST(MemoryProcess, PrimitivesAtLoad) {
    struct Case {
        const char *what;
        EnvList env;
        const char *expected;
    } cases[] = {
        {"no replacement library", {}, "crt\n"},
        {"replacement with all four variables", {{kSearchPath, kCounting}}, "replacement\n"},
        {"replacement with a null variable", {{kSearchPath, kIncomplete}}, "crt\n"},
    };
    for (const auto &c : cases) {
        auto r = RunScenario("memory_primitives", c.env);
        EXPECT_EQ(r.exit_code, 0) << c.what;
        EXPECT_EQ(r.out, c.expected) << c.what;
    }
}

TEST(MemoryProcess, SwitchesSendEveryRequestToThePrimitive) {
    const char *pooled = "cache=1 mallocs=3 frees=0 misaligned=0 direct_left=0\n";
    const char *direct = "cache=0 mallocs=100 frees=100 misaligned=0 direct_left=0\n";
    struct Case {
        EnvList env;
        const char *expected;
    } cases[] = {
        {{}, pooled},
        {{{"ORB_DISABLE_FAST_MM", "1"}}, direct},
        {{{"ORB_MM_DISABLE", "1"}}, direct},
        {{{"ORB_DISABLE_FAST_MM", "0"}}, direct},
        {{{"ORB_MM_DISABLE", std::string(40, 'x')}}, direct},
        {{{"ORB_DISABLE_FAST_MM", ""}}, pooled},
        {{{"ORB_DISABLE_FAST_MM", ""}, {"ORB_MM_DISABLE", "yes"}}, direct},
    };
    for (auto c : cases) {
        std::string label = c.env.empty() ? "none" : c.env[0].first + "=" + c.env[0].second;
        c.env.push_back({kSearchPath, kCounting});
        auto r = RunScenario("memory_switch", c.env);
        EXPECT_EQ(r.exit_code, 0) << label;
        EXPECT_EQ(r.out, c.expected) << label;
    }
}

TEST(MemoryProcess, FullRegistrySendsNewThreadsDirect) {
    auto r = RunScenario("memory_registry_full", {});
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, "pools=1024 direct=1 left=0\n");
}

TEST(MemoryProcess, ReleaseOfThePools) {
    auto r = RunScenario("memory_release_pools", {{kSearchPath, kCounting}});
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out,
              "released cache=0 records=1 buffers=1\n"
              "held freed records=0 buffers=0 live=0\n"
              "later direct=1\n"
              "end live=0\n");
}

}  // namespace
