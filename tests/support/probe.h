// Scenario registry of the probe executable: each scenario runs in a fresh
// process started by the test harness, with an environment the test chose.
// A scenario prints what the test checks and returns the exit code.
#ifndef ORB_TESTS_PROBE_H
#define ORB_TESTS_PROBE_H

#include <string>
#include <vector>

namespace orb::probe {

using ScenarioFn = int (*)(const std::vector<std::string> &args);

struct Registrar {
    Registrar(const char *name, ScenarioFn fn);
};

}  // namespace orb::probe

#define ORB_PROBE_SCENARIO(name)                                                                   \
    static int probe_scenario_##name(const std::vector<std::string> &args);                        \
    static ::orb::probe::Registrar probe_registrar_##name(#name, probe_scenario_##name);           \
    static int probe_scenario_##name([[maybe_unused]] const std::vector<std::string> &args)

#endif
