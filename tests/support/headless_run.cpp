#include "headless_run.h"

#include <filesystem>
#include <fstream>

namespace skychart::test {

namespace fs = std::filesystem;

std::vector<std::string> ReadLines(const std::string& file) {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

void WriteStartupPorts(const TempDir& home, int admin, int lookup, int level1) {
    home.writeFile("config/Orvane/Kestrel/Startup.conf",
                   "[General]\nAdminPort=" + std::to_string(admin) + "\nLookupPort=" +
                       std::to_string(lookup) + "\nLevel1Port=" + std::to_string(level1) + "\n");
}

RunResult RunHeadless(const std::string& executable, const std::vector<std::string>& arguments,
                      const TempDir& home, const std::string& path) {
    // A runtime folder of its own keeps Qt from warning about a missing one.
    const fs::path runtime = home.path() + "/runtime";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    std::vector<std::string> environment = EnvironmentWith(
        {"XDG_CONFIG_HOME=" + home.path() + "/config", "XDG_STATE_HOME=" + home.path() + "/state",
         "XDG_RUNTIME_DIR=" + runtime.string(), "PATH=" + path});
    std::erase_if(environment, [](const std::string& entry) {
        return entry.starts_with("DISPLAY=") || entry.starts_with("WAYLAND_DISPLAY=") ||
               entry.starts_with("QT_QPA_PLATFORM=");
    });
    return RunProcess(executable, arguments, environment, 120s);
}

} // namespace skychart::test
