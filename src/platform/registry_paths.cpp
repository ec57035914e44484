#include "platform/registry_paths.h"

#include <QDir>
#include <QStandardPaths>

namespace {

QString FromEnvironment(const char* name, const QString& fallbackBelowHome) {
    const QString value = qEnvironmentVariable(name);
    if (!value.isEmpty() && QDir::isAbsolutePath(value)) {
        return value;
    }
    return QDir::homePath() + "/" + fallbackBelowHome;
}

} // namespace

QString CRegistryPaths::ConfigHome() {
    return FromEnvironment("XDG_CONFIG_HOME", ".config");
}

QString CRegistryPaths::StateHome() {
    return FromEnvironment("XDG_STATE_HOME", ".local/state");
}

QString CRegistryPaths::StartupFile() {
    return ConfigHome() + "/Orvane/Kestrel/Startup.conf";
}

QString CRegistryPaths::ApplicationFile(const QString& application) {
    return ConfigHome() + "/Orvane/Kestrel/DisplayApps/" + application + ".conf";
}

QString CRegistryPaths::WorkspacesFile() {
    return ConfigHome() + "/Orvane/Kestrel/Workspaces.conf";
}

QString CRegistryPaths::DefaultLogFolder() {
    return StateHome() + "/Orvane/Kestrel/Logs";
}
