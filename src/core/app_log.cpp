#include "core/app_log.h"

#include <spdlog/cfg/env.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <exception>
#include <limits>
#include <optional>

namespace fs = std::filesystem;

namespace {

bool EndsWithNoCase(std::string_view text, std::string_view tail) {
    if (text.size() < tail.size()) {
        return false;
    }
    const std::string_view end = text.substr(text.size() - tail.size());
    return std::equal(end.begin(), end.end(), tail.begin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

// The pid of "<application>Log_<pid>.txt", or none when the name is not such a log or the number
// does not fit (such files are never touched).
std::optional<unsigned> LogFilePid(std::string_view name, std::string_view application) {
    const std::string prefix = std::string(application) + "Log_";
    const std::string_view suffix = ".txt";
    if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) ||
        !name.ends_with(suffix)) {
        return std::nullopt;
    }
    const std::string_view digits =
        name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
    if (!std::all_of(digits.begin(), digits.end(),
                     [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; })) {
        return std::nullopt;
    }
    unsigned pid = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), pid);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return pid;
}

} // namespace

std::string ApplicationNameFromExecutable(std::string_view executable) {
    const std::size_t slash = executable.find_last_of("/\\");
    std::string_view name =
        slash == std::string_view::npos ? executable : executable.substr(slash + 1);
    if (EndsWithNoCase(name, ".exe") && name.size() > 4) {
        name.remove_suffix(4);
    }
    return name.empty() ? std::string("Skychart") : std::string(name);
}

std::string LogFileName(const std::string& application, unsigned pid) {
    return fmt::format("{}Log_{}.txt", application, pid);
}

std::vector<fs::path> CleanUpApplicationLogs(const fs::path& folder, const std::string& application,
                                             unsigned ownPid,
                                             const std::function<bool(unsigned)>& isRunning) {
    std::vector<fs::path> deleted;
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        return deleted;
    }
    for (const fs::directory_entry& entry : entries) {
        std::error_code typeError;
        if (!entry.is_regular_file(typeError)) {
            continue;
        }
        const std::optional<unsigned> pid =
            LogFilePid(entry.path().filename().string(), application);
        if (!pid || *pid == 0 || *pid == ownPid || isRunning(*pid)) {
            continue;
        }
        std::error_code removeError;
        if (fs::remove(entry.path(), removeError)) {
            deleted.push_back(entry.path());
        }
    }
    return deleted;
}

SLogResult OpenApplicationLog(const SLogSetup& setup) {
    SLogResult result;
    result.application = ApplicationNameFromExecutable(setup.executable);

    std::vector<spdlog::sink_ptr> sinks;
    if (setup.console) {
        sinks.push_back(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    }

    std::string problem;
    std::error_code error;
    if (setup.folder.empty()) {
        problem = "no log folder is configured";
    } else if (fs::create_directories(setup.folder, error); error) {
        problem = fmt::format("the log folder {} cannot be created: {}", setup.folder.string(),
                              error.message());
    } else {
        if (!setup.preserveLogs && setup.isProcessRunning) {
            result.deleted = CleanUpApplicationLogs(setup.folder, result.application, setup.pid,
                                                    setup.isProcessRunning);
        }
        const fs::path file = setup.folder / LogFileName(result.application, setup.pid);
        try {
            sinks.push_back(
                std::make_shared<spdlog::sinks::basic_file_sink_mt>(file.string(), true));
            result.file = file;
        } catch (const std::exception& failure) {
            problem = fmt::format("the log file cannot be opened: {}", failure.what());
        }
    }
    if (sinks.empty()) {
        sinks.push_back(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    }

    auto logger = std::make_shared<spdlog::logger>(result.application, sinks.begin(), sinks.end());
    logger->set_pattern(kLogPattern);
    logger->set_level(spdlog::level::info);
    logger->flush_on(spdlog::level::info);
    spdlog::set_default_logger(logger);
    // SPDLOG_LEVEL (for example "debug") overrides the level for a session.
    spdlog::cfg::load_env_levels();

    logger->info("=== {} Log Opened (PID: {}) ===", result.application, setup.pid);
    if (!problem.empty()) {
        logger->warn("Logging to standard error only: {}", problem);
    }
    for (const fs::path& old : result.deleted) {
        logger->info("Deleted the log of a finished instance: {}", old.string());
    }
    return result;
}

void LogStatusBar(const std::string& text) {
    spdlog::info("StatusBar: {}", text);
}
