#include "portico_process.h"

#include "deadline.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace skychart::test {

namespace {

int DecodeStatus(int status) {
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    if (WIFSIGNALED(status)) {
        return 128 + WTERMSIG(status);
    }
    return -1;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Children still running when the process exits (a benchmark's or a test's exit on failure skips
// the destructors that stop them) are stopped then, so that none outlives its runner.
std::mutex g_childrenMutex;
std::vector<pid_t> g_children;

void StopChildrenAtExit() {
    const std::lock_guard lock(g_childrenMutex);
    for (const pid_t pid : g_children) {
        // Only a child of ours that has not ended: a pid reaped and reused by another process
        // is no child of ours and answers ECHILD.
        if (::waitpid(pid, nullptr, WNOHANG) == 0) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }
}

void NoteChild(pid_t pid) {
    static const bool registered = std::atexit(StopChildrenAtExit) == 0;
    (void)registered;
    const std::lock_guard lock(g_childrenMutex);
    g_children.push_back(pid);
}

// Spawns with standard input on the null device, standard output to `outFd` (a descriptor of
// ours, or -1 for a new pipe whose read end goes to `outFd`) and standard error appended to
// `errorFile`.
pid_t Spawn(const std::string& executable, std::vector<std::string> arguments,
            std::vector<std::string> env, const std::string& errorFile, int& outFd) {
    int pipeFds[2] = {-1, -1};
    const bool toPipe = outFd < 0;
    if (toPipe && ::pipe2(pipeFds, O_CLOEXEC) != 0) {
        return -1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, toPipe ? pipeFds[1] : outFd, 1);
    posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                     0644);
    arguments.insert(arguments.begin(), executable);
    std::vector<char*> argv = Pointers(arguments);
    std::vector<char*> envp = Pointers(env);
    pid_t pid = -1;
    const int rc =
        posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (toPipe) {
        ::close(pipeFds[1]);
        outFd = pipeFds[0];
        if (rc != 0) {
            ::close(pipeFds[0]);
            outFd = -1;
        }
    }
    if (rc != 0) {
        return -1;
    }
    NoteChild(pid);
    return pid;
}

} // namespace

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& entries) {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        const std::string entry(*e);
        const bool replaced = std::any_of(entries.begin(), entries.end(), [&](const auto& mine) {
            return entry.starts_with(mine.substr(0, mine.find('=') + 1));
        });
        if (!replaced) {
            env.push_back(entry);
        }
    }
    env.insert(env.end(), entries.begin(), entries.end());
    return env;
}

RunResult RunProcess(const std::string& executable, const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment,
                     std::chrono::milliseconds timeout) {
    RunResult result;
    const TempDir files;
    const std::string outFile = files.path() + "/out";
    const std::string errFile = files.path() + "/err";
    int out = ::open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const pid_t pid = out < 0 ? -1 : Spawn(executable, arguments, environment, errFile, out);
    if (out >= 0) {
        ::close(out);
    }
    if (pid < 0) {
        return result;
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) != pid) {
        if (RemainingMs(deadline) == 0) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            status = -1;
            break;
        }
        std::this_thread::sleep_for(10ms);
    }
    result.exitCode = status == -1 ? -1 : DecodeStatus(status);
    result.out = ReadFile(outFile);
    result.err = ReadFile(errFile);
    return result;
}

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
    m_pid =
        Spawn(m_executable, all,
              EnvironmentWith({"XDG_CONFIG_HOME=" + m_configHome, "XDG_STATE_HOME=" + m_stateHome}),
              m_errorFile, m_stdout);
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
                              const std::vector<std::string>& arguments) {
    const TempDir home;
    return RunProcess(executable, arguments,
                      EnvironmentWith({"XDG_CONFIG_HOME=" + home.path() + "/config",
                                       "XDG_STATE_HOME=" + home.path() + "/state"}));
}

} // namespace skychart::test
