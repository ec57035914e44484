#include "platform/desktop_notifier.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QVariantMap>

#include <spdlog/spdlog.h>

bool CDesktopNotifier::Notify(const QString& summary, const QString& body) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || bus.interface() == nullptr ||
        !bus.interface()->isServiceRegistered(kService).value()) {
        return false;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(kService, "/org/freedesktop/Notifications",
                                                       kService, "Notify");
    QVariantMap hints;
    hints.insert("sound-name", QString(kSound));
    hints.insert("urgency", QVariant::fromValue(static_cast<uchar>(2)));
    call << QString("Skychart") << 0u << QString("skychart") << summary << body << QStringList()
         << hints << -1;
    // Answered at once by any notification service; a short wait keeps a hung one from holding
    // the window.
    const QDBusMessage reply = bus.call(call, QDBus::Block, 2000);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        spdlog::warn("The desktop notification failed: {}", reply.errorMessage().toStdString());
        return false;
    }
    return true;
}
