#include "startup_ports.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace portico {

namespace {

int PortValue(const QSettings& settings, const char* key, int fallback) {
    bool ok = false;
    const int value = settings.value(key).toString().trimmed().toInt(&ok);
    return ok && value >= 0 && value <= 65535 ? value : fallback;
}

} // namespace

StartupPorts ReadStartupPorts() {
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty()) {
        config = QDir::homePath() + QStringLiteral("/.config");
    }
    const QSettings settings(config + QStringLiteral("/Orvane/Kestrel/Startup.conf"),
                             QSettings::IniFormat);
    StartupPorts ports;
    ports.admin = PortValue(settings, "AdminPort", ports.admin);
    ports.lookup = PortValue(settings, "LookupPort", ports.lookup);
    ports.level1 = PortValue(settings, "Level1Port", ports.level1);
    return ports;
}

} // namespace portico
