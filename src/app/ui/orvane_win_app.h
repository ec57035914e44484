#pragma once

#include <string>

class COrvaneCommandLineInfo;

// The suite's application base: the application's name and version and the registry root under
// which every display application keeps its settings.
class COrvaneWinAppEx {
public:
    static constexpr const char* kRegistryRoot = "Orvane\\Kestrel\\DisplayApps";

    COrvaneWinAppEx(std::string applicationName, std::string version)
        : m_applicationName(std::move(applicationName)), m_version(std::move(version)) {}
    virtual ~COrvaneWinAppEx() = default;
    COrvaneWinAppEx(const COrvaneWinAppEx&) = delete;
    COrvaneWinAppEx& operator=(const COrvaneWinAppEx&) = delete;

    // Start-up of the application; false ends it with a failure.
    virtual bool InitInstance(const COrvaneCommandLineInfo& commandLine,
                              const std::string& executable) = 0;

    const std::string& ApplicationName() const { return m_applicationName; }
    const std::string& Version() const { return m_version; }

private:
    std::string m_applicationName;
    std::string m_version;
};
