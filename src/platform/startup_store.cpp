#include "platform/startup_store.h"

#include "base/fields.h"
#include "core/setting_keys.h"
#include "platform/registry_paths.h"

#include <QSettings>
#include <QVariant>

#include <cstdint>

int CStartupStore::ReadPort(const std::string& valueName, const std::string& defaultText,
                            int defaultNumber) {
    QSettings settings(CRegistryPaths::StartupFile(), QSettings::IniFormat);
    const QString name = QString::fromStdString(valueName);
    const QVariant value = settings.value(name);
    if (value.typeId() == QMetaType::QString) {
        const QByteArray text = value.toString().toUtf8();
        if (text.size() < kValueBufferBytes) {
            return static_cast<std::uint16_t>(DecimalValue(text.toStdString()));
        }
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
