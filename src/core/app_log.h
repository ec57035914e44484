#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// The application's log: one file per running instance, "<app>Log_<pid>.txt" in the suite's log
// folder, opened with a banner and made the default spdlog logger so that any code can call
// spdlog::info and friends. Plain C++; the platform layer supplies the folder, the clean-up switch
// and the process check (see InitApplicationLog in platform/application_log.h).

// Line pattern of every log sink: date and time with milliseconds, process id, thread id, text.
inline constexpr const char* kLogPattern = "%Y-%m-%d %H:%M:%S.%e\t%P\t%t\t%v";

// The executable's name without its folder and without a trailing ".exe" (any case):
// "/opt/bin/Skychart.EXE" -> "Skychart".
std::string ApplicationNameFromExecutable(std::string_view executable);

// "<application>Log_<pid>.txt".
std::string LogFileName(const std::string& application, unsigned pid);

// Deletes the files "<application>Log_<pid>.txt" of `folder` whose pid is a decimal number that is
// neither 0 nor `ownPid` and for which `isRunning` says false. Other files are left alone.
// Returns the deleted files; failures to list or delete are skipped.
std::vector<std::filesystem::path>
CleanUpApplicationLogs(const std::filesystem::path& folder, const std::string& application,
                       unsigned ownPid, const std::function<bool(unsigned)>& isRunning);

struct SLogSetup {
    std::string executable;                         // argv[0] or the bare executable name
    std::filesystem::path folder;                   // the log folder; created when missing
    bool preserveLogs = false;                      // true: no clean-up of finished instances' logs
    unsigned pid = 0;                               // this process
    std::function<bool(unsigned)> isProcessRunning; // empty: no clean-up
    bool console = true;                            // also log to standard error
};

struct SLogResult {
    std::string application;    // the application name
    std::filesystem::path file; // the log file; empty when only standard error is logged to
    std::vector<std::filesystem::path> deleted; // logs removed by the clean-up
};

// Sets up the default logger as described above and writes the banner
// "=== <app> Log Opened (PID: <pid>) ===". When the folder or the file cannot be made, logs to
// standard error only (and says why there). Never throws.
SLogResult OpenApplicationLog(const SLogSetup& setup);

// Logs a text shown in the status bar: "StatusBar: <text>". Every status bar text goes through
// here.
void LogStatusBar(const std::string& text);
