// Process-level scenarios of the memory manager: the replacement allocator
// found (or rejected) through the library search path, the two switches, a
// full pool registry and the release of the pools.
#include <gtest/gtest.h>

#include <string>

#include "support/process_harness.h"

namespace {

using orb::test::EnvList;

const std::string kCounting = ORB_MALLOC_DIR;
const std::string kIncomplete = ORB_MALLOC_INCOMPLETE_DIR;
// The variable that leads the loader to a library.
#if defined(_WIN32)
const std::string kSearchPath = "PATH";
#else
const std::string kSearchPath = "LD_LIBRARY_PATH";
#endif

// The scenario's search path is the one given here, never the caller's.
void ExpectScenario(const char *scenario, const EnvList &env, const std::string &out) {
    orb::test::ExpectProbe(0, out, scenario, env, {}, {kSearchPath});
}

TEST(MemoryProcess, PrimitivesAtLoad) {
    ExpectScenario("memory_primitives", {}, "crt\n");  // no replacement library
    ExpectScenario("memory_primitives", {{kSearchPath, kCounting}}, "replacement\n");
    ExpectScenario("memory_primitives", {{kSearchPath, kIncomplete}}, "crt\n");  // a null variable
}

TEST(MemoryProcess, SwitchesSendEveryRequestToThePrimitive) {
    const char *pooled = "cache=1 mallocs=3 frees=0 misaligned=0 direct_left=0\n";
    const char *direct = "cache=0 mallocs=100 frees=100 misaligned=0 direct_left=0\n";
    const struct { EnvList env; const char *expected; } cases[] = {
        {{}, pooled},
        {{{"ORB_DISABLE_FAST_MM", "1"}}, direct},
        {{{"ORB_MM_DISABLE", "1"}}, direct},
        {{{"ORB_DISABLE_FAST_MM", "0"}}, direct},
        {{{"ORB_MM_DISABLE", std::string(40, 'x')}}, direct},
        {{{"ORB_DISABLE_FAST_MM", ""}}, pooled},
        {{{"ORB_DISABLE_FAST_MM", ""}, {"ORB_MM_DISABLE", "yes"}}, direct},
    };
    for (const auto &c : cases) {
        EnvList env = c.env;
        env.push_back({kSearchPath, kCounting});
        ExpectScenario("memory_switch", env, c.expected);
    }
}

TEST(MemoryProcess, FullRegistryAndReleaseOfThePools) {
    // A full registry sends new threads direct.
    ExpectScenario("memory_registry_full", {}, "pools=1024 direct=1 left=0\n");
    ExpectScenario("memory_release_pools", {{kSearchPath, kCounting}},
                   "released cache=0 records=1 buffers=1\n"
                   "held freed records=0 buffers=0 live=0\n"
                   "later direct=1\n"
                   "end live=0\n");
}

}  // namespace
