#pragma once

// Starts the real portico executable as a child process with its own temporary
// XDG_CONFIG_HOME and XDG_STATE_HOME, reads the ports it prints, and stops it.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "temp_dir.h"

namespace skychart::test {

using namespace std::chrono_literals;

struct RunResult {
    int exitCode = -1; // -1: killed or not finished in time
    std::string out;
    std::string err;
};

// The current environment with the given "NAME=value" entries in place of their namesakes.
std::vector<std::string> EnvironmentWith(const std::vector<std::string>& entries);
// Runs `executable` with `arguments` in `environment` (the whole environment, "NAME=value"),
// standard input on the null device, and collects its standard output and error. Killed after
// `timeout`.
RunResult RunProcess(const std::string& executable, const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment,
                     std::chrono::milliseconds timeout = 30s);

class PorticoProcess {
public:
    // `executable`: the path of portico. The configuration folder is made here; tests may put
    // an Orvane/Kestrel/Startup.conf into configHome() before start().
    explicit PorticoProcess(std::string executable);
    ~PorticoProcess();
    PorticoProcess(const PorticoProcess&) = delete;
    PorticoProcess& operator=(const PorticoProcess&) = delete;
    // Starts portico with the arguments. With `anyPorts`, --admin-port 0 --lookup-port 0
    // --level1-port 0 are put in front (later arguments override them). Waits for the first
    // line on standard output; true when it is the "listening" line, whose ports are then kept.
    bool start(const std::vector<std::string>& arguments, bool anyPorts = true,
               std::chrono::milliseconds timeout = 30s);
    int adminPort() const { return m_adminPort; }
    int lookupPort() const { return m_lookupPort; }
    int level1Port() const { return m_level1Port; }
    // The first line portico printed (without its newline).
    const std::string& firstLine() const { return m_firstLine; }
    pid_t pid() const { return m_pid; }
    bool running();
    // Waits for the process to end by itself; its exit code, or none on timeout.
    std::optional<int> waitForExit(std::chrono::milliseconds timeout = 30s);
    // SIGTERM, then waits; the exit code (128 + signal when killed by one), none on timeout.
    std::optional<int> stop(std::chrono::milliseconds timeout = 30s);
    // Everything portico wrote to its standard error so far.
    std::string errorOutput() const;
    const std::string& configHome() const { return m_configHome; }
    const std::string& stateHome() const { return m_stateHome; }
    // Runs portico to the end with the arguments (no ports added) and collects its output.
    static RunResult Run(const std::string& executable, const std::vector<std::string>& arguments);

private:
    std::string m_executable;
    TempDir m_home;
    std::string m_configHome;
    std::string m_stateHome;
    std::string m_errorFile;
    pid_t m_pid = -1;
    int m_stdout = -1;
    std::optional<int> m_exitCode;
    std::string m_firstLine;
    int m_adminPort = 0;
    int m_lookupPort = 0;
    int m_level1Port = 0;
};

} // namespace skychart::test
