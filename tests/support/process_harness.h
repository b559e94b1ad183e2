// Runs one probe scenario in a fresh process with a controlled environment
// and captures its standard output and exit code; ExpectProbe checks both.
#ifndef ORB_TESTS_PROCESS_HARNESS_H
#define ORB_TESTS_PROCESS_HARNESS_H

#include <string>
#include <utility>
#include <vector>

namespace orb::test {

struct ProbeResult {
    int exit_code = -1;  // the process's exit status; -1 if it did not exit
    std::string out;     // everything written to standard output
};

using EnvList = std::vector<std::pair<std::string, std::string>>;

// The child's environment is the parent's without any variable whose name
// starts with "ORB_" or "OMP_" (and without `unset`), plus `env`. A
// non-empty `cwd` is the child's working directory.
ProbeResult RunProbe(const std::string &scenario, const EnvList &env = {},
                     const std::vector<std::string> &args = {}, const std::vector<std::string> &unset = {},
                     const std::string &cwd = {});

// Runs the scenario as RunProbe does and expects this exit code and exactly
// this output; a failure names the scenario, its arguments and environment.
void ExpectProbe(int exit_code, const std::string &out, const std::string &scenario, const EnvList &env = {},
                 const std::vector<std::string> &args = {}, const std::vector<std::string> &unset = {},
                 const std::string &cwd = {});

}  // namespace orb::test

#endif
