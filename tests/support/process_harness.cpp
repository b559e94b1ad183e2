// Starts the probe executable with a pipe on its standard output:
// fork/exec on POSIX, CreateProcess on Windows.
#include "support/process_harness.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;
#endif

#include <cstring>

namespace orb::test {

namespace {

// The parent's environment less ORB_*, OMP_* and `unset`, plus `env`.
std::vector<std::string> ChildEnvironment(const EnvList &env, const std::vector<std::string> &unset) {
    std::vector<std::string> envs;
    auto keep = [&](const std::string &kv) {
        std::string name = kv.substr(0, kv.find('='));
        if (name.empty()) return true;  // Windows per-drive entries ("=C:=C:\")
        if (name.rfind("ORB_", 0) == 0 || name.rfind("OMP_", 0) == 0) return false;
        for (auto &u : unset)
            if (u == name) return false;
        return true;
    };
#if defined(_WIN32)
    char *block = GetEnvironmentStringsA();
    for (const char *e = block; e && *e; e += std::strlen(e) + 1)
        if (keep(e)) envs.push_back(e);
    if (block) FreeEnvironmentStringsA(block);
#else
    for (char **e = environ; *e; ++e)
        if (keep(*e)) envs.push_back(*e);
#endif
    for (auto &kv : env) envs.push_back(kv.first + "=" + kv.second);
    return envs;
}

#if defined(_WIN32)
// One argument quoted for the C runtime's command-line parser.
std::string Quote(const std::string &arg) {
    std::string q = "\"";
    size_t backslashes = 0;
    for (char c : arg) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        q.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
        backslashes = 0;
        q.push_back(c);
    }
    q.append(backslashes * 2, '\\');
    return q + '"';
}

// The build records a host path; on Wine "/x/y" names the same file as
// "\x\y" on the current drive.
std::string NativePath(std::string path) {
    for (char &c : path)
        if (c == '/') c = '\\';
    return path;
}
#endif

}  // namespace

ProbeResult RunProbe(const std::string &scenario, const EnvList &env, const std::vector<std::string> &args,
                     const std::vector<std::string> &unset, const std::string &cwd) {
    ProbeResult result;
    std::vector<std::string> envs = ChildEnvironment(env, unset);
#if defined(_WIN32)
    std::string block;
    for (auto &kv : envs) block.append(kv).push_back('\0');
    block.push_back('\0');
    std::string cmd = Quote(NativePath(ORB_PROBE_PATH)) + " " + Quote(scenario);
    for (auto &a : args) cmd += " " + Quote(a);
    std::string dir = NativePath(cwd);

    SECURITY_ATTRIBUTES sa{sizeof sa, nullptr, TRUE};
    HANDLE rd = nullptr, wr = nullptr;
    if (!CreatePipe(&rd, &wr, &sa, 0)) return result;
    SetHandleInformation(rd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA si{};
    si.cb = sizeof si;
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    si.hStdOutput = wr;
    si.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION pi{};
    // Under Wine a process start can fail now and then while the server is
    // busy with other starts (seen once in a CI run with two test programs
    // starting probes at once); a scenario is worth a second and third try.
    BOOL ok = FALSE;
    for (int attempt = 0; attempt < 3 && !ok; ++attempt) {
        if (attempt > 0) Sleep(200);
        ok = CreateProcessA(nullptr, cmd.data(), nullptr, nullptr, TRUE, 0, block.data(),
                            dir.empty() ? nullptr : dir.c_str(), &si, &pi);
    }
    CloseHandle(wr);
    if (!ok) {
        CloseHandle(rd);
        result.out = "CreateProcessA failed, error " + std::to_string(GetLastError());
        return result;
    }
    std::string raw;
    char buf[4096];
    DWORD got = 0;
    while (ReadFile(rd, buf, sizeof buf, &got, nullptr) && got > 0) raw.append(buf, got);
    CloseHandle(rd);
    WaitForSingleObject(pi.hProcess, INFINITE);
    DWORD code = 0;
    if (GetExitCodeProcess(pi.hProcess, &code)) result.exit_code = int(code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    // The C runtime writes "\r\n" for a text-mode newline; tests compare
    // against "\n".
    for (size_t i = 0; i < raw.size(); ++i)
        if (!(raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n')) result.out.push_back(raw[i]);
#else
    std::vector<std::string> argv_s{ORB_PROBE_PATH, scenario};
    argv_s.insert(argv_s.end(), args.begin(), args.end());
    std::vector<char *> argv, envp;
    for (auto &s : argv_s) argv.push_back(s.data());
    argv.push_back(nullptr);
    for (auto &s : envs) envp.push_back(s.data());
    envp.push_back(nullptr);

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
#endif
    return result;
}

void ExpectProbe(int exit_code, const std::string &out, const std::string &scenario, const EnvList &env,
                 const std::vector<std::string> &args, const std::vector<std::string> &unset,
                 const std::string &cwd) {
    std::string label = scenario;
    for (auto &a : args) label += " '" + a + "'";
    for (auto &kv : env)
        label += " " + kv.first + "=" +
                 (kv.second.size() <= 40 ? kv.second : "(" + std::to_string(kv.second.size()) + " characters)");
    ProbeResult r = RunProbe(scenario, env, args, unset, cwd);
    EXPECT_EQ(r.exit_code, exit_code) << label << "\n" << r.out;
    EXPECT_EQ(r.out, out) << label;
}

}  // namespace orb::test
