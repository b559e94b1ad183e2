// Entry of the probe executable: runs the scenario named by argv[1] with the
// remaining arguments.
#include <cstdio>
#include <map>

#include "support/probe.h"

namespace orb::probe {

static std::map<std::string, ScenarioFn> &Registry() {
    static std::map<std::string, ScenarioFn> registry;
    return registry;
}

Registrar::Registrar(const char *name, ScenarioFn fn) { Registry()[name] = fn; }

}  // namespace orb::probe

int main(int argc, char **argv) {
    auto &registry = orb::probe::Registry();
    if (argc < 2 || !registry.count(argv[1])) {
        std::fprintf(stderr, "usage: orb_probe <scenario> [args]; scenarios:\n");
        for (auto &kv : registry) std::fprintf(stderr, "  %s\n", kv.first.c_str());
        return 125;
    }
    int rc = registry[argv[1]](std::vector<std::string>(argv + 2, argv + argc));
    std::fflush(nullptr);
    return rc;
}
