// Fork/exec of the probe executable with a pipe on its standard output.
#include "support/process_harness.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

extern char **environ;

namespace orb::test {

ProbeResult RunProbe(const std::string &scenario, const EnvList &env,
                     const std::vector<std::string> &args,
                     const std::vector<std::string> &unset, const std::string &cwd) {
    std::vector<std::string> envs;
    for (char **e = environ; *e; ++e) {
        std::string kv(*e);
        std::string name = kv.substr(0, kv.find('='));
        if (name.rfind("ORB_", 0) == 0 || name.rfind("OMP_", 0) == 0) continue;
        bool drop = false;
        for (auto &u : unset) drop |= (u == name);
        if (!drop) envs.push_back(kv);
    }
    for (auto &kv : env) envs.push_back(kv.first + "=" + kv.second);

    std::vector<std::string> argv_s{ORB_PROBE_PATH, scenario};
    argv_s.insert(argv_s.end(), args.begin(), args.end());
    std::vector<char *> argv, envp;
    for (auto &s : argv_s) argv.push_back(s.data());
    argv.push_back(nullptr);
    for (auto &s : envs) envp.push_back(s.data());
    envp.push_back(nullptr);

    ProbeResult result;
    int fds[2];
    if (pipe(fds) != 0) return result;
    pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 1);
        close(fds[0]);
        close(fds[1]);
        if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(fds[1]);
    char buf[4096];
    ssize_t got;
    while ((got = read(fds[0], buf, sizeof buf)) > 0) result.out.append(buf, size_t(got));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
    return result;
}

}  // namespace orb::test
