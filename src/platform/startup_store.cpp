#include "platform/startup_store.h"

#include "core/setting_keys.h"

#include "platform/registry_paths.h"

#include <QSettings>
#include <QVariant>

#include <cstdlib>

int CStartupStore::ReadPort(const std::string& valueName, const std::string& defaultText,
                            int defaultNumber) {
    QSettings settings(CRegistryPaths::StartupFile(), QSettings::IniFormat);
    const QString name = QString::fromStdString(valueName);
    const QVariant value = settings.value(name);
    if (value.isValid() && value.typeId() == QMetaType::QString) {
        const std::string text = value.toString().toStdString();
        return static_cast<std::uint16_t>(std::atoi(text.c_str()));
    }
    settings.setValue(name, QString::fromStdString(defaultText));
    settings.sync();
    return defaultNumber;
}

std::string CStartupStore::LogPath() {
    QSettings settings(CRegistryPaths::StartupFile(), QSettings::IniFormat);
    QString folder = settings.value(startup_keys::kLogPath).toString();
    if (folder.isEmpty()) {
        folder = CRegistryPaths::DefaultLogFolder();
        settings.setValue(startup_keys::kLogPath, folder);
        settings.sync();
    }
    return folder.toStdString();
}

std::uint32_t CStartupStore::PreserveDisplayAppLogs() {
    QSettings settings(CRegistryPaths::StartupFile(), QSettings::IniFormat);
    bool ok = false;
    const std::uint32_t value = settings.value(startup_keys::kPreserveDisplayAppLogs).toUInt(&ok);
    return ok ? value : 0;
}
