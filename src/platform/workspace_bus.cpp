#include "platform/workspace_bus.h"

#include "platform/registry_paths.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSettings>

#include <spdlog/spdlog.h>

namespace {

// Workspace names become INI groups; '/' and '\' would open subgroups, so they are escaped.
QString GroupOf(const std::string& workspaceName) {
    QString group = QString::fromStdString(workspaceName);
    group.replace('%', "%25").replace('/', "%2F").replace('\\', "%5C");
    return group;
}

} // namespace

CWorkspaceBus::CWorkspaceBus(QObject* parent) : QObject(parent) {}

bool CWorkspaceBus::Listen() {
    if (m_listening) {
        return true;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        spdlog::warn("Workspaces are off: no D-Bus session bus ({})",
                     bus.lastError().message().toStdString());
        return false;
    }
    m_listening = bus.connect(QString(), kPath, kInterface, kSignal, this, SLOT(OnSignal(QString)));
    if (!m_listening) {
        spdlog::warn("Workspaces are off: cannot subscribe to {} ({})", kSignal,
                     bus.lastError().message().toStdString());
    } else {
        spdlog::info("Listening for the {} broadcast on the session bus", kSignal);
    }
    return m_listening;
}

bool CWorkspaceBus::Broadcast(const QString& workspaceName) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        spdlog::warn("Cannot broadcast {}: no D-Bus session bus ({})", kSignal,
                     bus.lastError().message().toStdString());
        return false;
    }
    QDBusMessage message = QDBusMessage::createSignal(kPath, kInterface, kSignal);
    message << workspaceName;
    if (!bus.send(message)) {
        spdlog::warn("Cannot broadcast {}: {}", kSignal, bus.lastError().message().toStdString());
        return false;
    }
    // A round trip to the bus daemon: the signal queued before it has left when it returns, so
    // a sender that exits right after does not lose it.
    const QDBusMessage ping = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Peer", "Ping");
    bus.call(ping, QDBus::Block, 5000);
    spdlog::info("Broadcast {} for workspace \"{}\"", kSignal, workspaceName.toStdString());
    return true;
}

void CWorkspaceBus::OnSignal(const QString& workspaceName) {
    spdlog::info("{} received for workspace \"{}\"", kSignal, workspaceName.toStdString());
    emit SaveRequested(workspaceName);
}

bool CWorkspaceStore::Save(const std::string& workspaceName, const std::string& application,
                           const std::string& arguments) {
    QSettings store(CRegistryPaths::WorkspacesFile(), QSettings::IniFormat);
    store.beginGroup(GroupOf(workspaceName));
    store.setValue(QString::fromStdString(application), QString::fromStdString(arguments));
    store.endGroup();
    store.sync();
    if (store.status() != QSettings::NoError) {
        spdlog::error("Cannot store workspace \"{}\" in {}", workspaceName,
                      CRegistryPaths::WorkspacesFile().toStdString());
        return false;
    }
    return true;
}

std::optional<std::string> CWorkspaceStore::Load(const std::string& workspaceName,
                                                 const std::string& application) {
    QSettings store(CRegistryPaths::WorkspacesFile(), QSettings::IniFormat);
    store.beginGroup(GroupOf(workspaceName));
    const QVariant value = store.value(QString::fromStdString(application));
    if (!value.isValid() || value.typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return value.toString().toStdString();
}
