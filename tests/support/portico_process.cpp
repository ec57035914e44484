#include "portico_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace skychart::test {

namespace {

int RemainingMs(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

int DecodeStatus(int status) {
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    if (WIFSIGNALED(status)) {
        return 128 + WTERMSIG(status);
    }
    return -1;
}

std::vector<std::string> Environment(const std::string& config, const std::string& state) {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        const std::string entry(*e);
        if (!entry.starts_with("XDG_CONFIG_HOME=") && !entry.starts_with("XDG_STATE_HOME=")) {
            env.push_back(entry);
        }
    }
    env.push_back("XDG_CONFIG_HOME=" + config);
    env.push_back("XDG_STATE_HOME=" + state);
    return env;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Spawns with stdout to a pipe and stderr to a file; returns the pid and the pipe's read end.
pid_t Spawn(const std::string& executable, std::vector<std::string> arguments,
            std::vector<std::string> env, const std::string& errorFile, int& stdoutFd) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        return -1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                     0644);
    arguments.insert(arguments.begin(), executable);
    std::vector<char*> argv = Pointers(arguments);
    std::vector<char*> envp = Pointers(env);
    pid_t pid = -1;
    const int rc =
        posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (rc != 0) {
        ::close(pipeFds[0]);
        return -1;
    }
    stdoutFd = pipeFds[0];
    return pid;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

PorticoProcess::PorticoProcess(std::string executable)
    : m_executable(std::move(executable)), m_configHome(m_home.path() + "/config"),
      m_stateHome(m_home.path() + "/state"), m_errorFile(m_home.path() + "/stderr.txt") {
    std::filesystem::create_directories(m_configHome);
    std::filesystem::create_directories(m_stateHome);
}

PorticoProcess::~PorticoProcess() {
    if (m_pid > 0 && !m_exitCode) {
        if (!stop(15s)) {
            ::kill(m_pid, SIGKILL);
            int status = 0;
            ::waitpid(m_pid, &status, 0);
        }
    }
    if (m_stdout >= 0) {
        ::close(m_stdout);
    }
}

bool PorticoProcess::start(const std::vector<std::string>& arguments, bool anyPorts,
                           std::chrono::milliseconds timeout) {
    std::vector<std::string> all;
    if (anyPorts) {
        all = {"--admin-port", "0", "--lookup-port", "0", "--level1-port", "0"};
    }
    all.insert(all.end(), arguments.begin(), arguments.end());
    m_pid = Spawn(m_executable, all, Environment(m_configHome, m_stateHome), m_errorFile, m_stdout);
    if (m_pid < 0) {
        return false;
    }
    // The first line, read a byte at a time so that nothing after it is consumed.
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string line;
    while (RemainingMs(deadline) > 0) {
        pollfd p{m_stdout, POLLIN, 0};
        if (::poll(&p, 1, RemainingMs(deadline)) <= 0) {
            continue;
        }
        char c = 0;
        const ssize_t n = ::read(m_stdout, &c, 1);
        if (n <= 0 || c == '\n') {
            break;
        }
        line += c;
    }
    m_firstLine = line;
    return std::sscanf(line.c_str(), "portico: listening admin=%d lookup=%d level1=%d",
                       &m_adminPort, &m_lookupPort, &m_level1Port) == 3;
}

bool PorticoProcess::running() {
    if (m_pid <= 0 || m_exitCode) {
        return false;
    }
    int status = 0;
    if (::waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_exitCode = DecodeStatus(status);
        return false;
    }
    return true;
}

std::optional<int> PorticoProcess::waitForExit(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (running()) {
        if (RemainingMs(deadline) == 0) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(10ms);
    }
    return m_exitCode;
}

std::optional<int> PorticoProcess::stop(std::chrono::milliseconds timeout) {
    if (running()) {
        ::kill(m_pid, SIGTERM);
    }
    return waitForExit(timeout);
}

std::string PorticoProcess::errorOutput() const {
    return ReadFile(m_errorFile);
}

RunResult PorticoProcess::Run(const std::string& executable,
                              const std::vector<std::string>& arguments,
                              std::chrono::milliseconds timeout) {
    PorticoProcess process(executable);
    RunResult result;
    int out = -1;
    process.m_pid =
        Spawn(executable, arguments, Environment(process.m_configHome, process.m_stateHome),
              process.m_errorFile, out);
    if (process.m_pid < 0) {
        return result;
    }
    process.m_stdout = out;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    char buffer[4096];
    while (RemainingMs(deadline) > 0) {
        pollfd p{out, POLLIN, 0};
        if (::poll(&p, 1, RemainingMs(deadline)) <= 0) {
            continue;
        }
        const ssize_t n = ::read(out, buffer, sizeof(buffer));
        if (n <= 0) {
            break;
        }
        result.out.append(buffer, static_cast<std::size_t>(n));
    }
    result.exitCode =
        process.waitForExit(std::chrono::milliseconds(RemainingMs(deadline)) + 1s).value_or(-1);
    result.err = process.errorOutput();
    return result;
}

} // namespace skychart::test
