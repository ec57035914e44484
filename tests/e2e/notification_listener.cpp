// A desktop notification service for the end-to-end tests: owns org.freedesktop.Notifications on
// the session bus, answers Notify, GetCapabilities and GetServerInformation, and writes one line
// per Notify call and per AlertFired signal of any sender to standard output:
//   NOTIFY <tab> summary <tab> body <tab> hint=value,hint=value
//   ALERTFIRED <tab> symbol <tab> price <tab> time
// "READY" once the name is owned.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <cstdio>

namespace {

void Say(const QStringList& fields) {
    std::fputs(fields.join('\t').toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Tabs and newlines of a field would split the record.
QString Flat(QString text) {
    return text.replace('\t', ' ').replace('\n', ' ');
}

} // namespace

class CNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public slots:
    Q_SCRIPTABLE QStringList GetCapabilities() { return {"body", "sound"}; }
    Q_SCRIPTABLE QString GetServerInformation(QString& vendor, QString& version,
                                              QString& protocol) {
        vendor = "test";
        version = "1";
        protocol = "1.2";
        return "notification-listener";
    }
    Q_SCRIPTABLE uint Notify(const QString& app, uint replaces, const QString& icon,
                             const QString& summary, const QString& body,
                             const QStringList& actions, const QVariantMap& hints, int timeout) {
        Q_UNUSED(app);
        Q_UNUSED(replaces);
        Q_UNUSED(icon);
        Q_UNUSED(actions);
        Q_UNUSED(timeout);
        QStringList pairs;
        for (auto it = hints.begin(); it != hints.end(); ++it) {
            const QVariant& value = it.value();
            pairs << it.key() + "=" +
                         (value.typeId() == QMetaType::QString
                              ? value.toString()
                              : QString::number(value.toLongLong()));
        }
        Say({"NOTIFY", Flat(summary), Flat(body), pairs.join(',')});
        return ++m_id;
    }
    Q_SCRIPTABLE void CloseNotification(uint) {}

    void AlertFired(const QString& symbol, double price, const QString& time) {
        Say({"ALERTFIRED", symbol, QString::number(price, 'f', 6), time});
    }

private:
    uint m_id = 0;
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    CNotifications service;
    if (!bus.isConnected() ||
        !bus.registerObject("/org/freedesktop/Notifications", &service,
                            QDBusConnection::ExportScriptableSlots) ||
        !bus.registerService("org.freedesktop.Notifications") ||
        !bus.connect({}, {}, "org.skychart.Chart", "AlertFired", &service,
                     SLOT(AlertFired(QString, double, QString)))) {
        std::fputs("cannot serve org.freedesktop.Notifications\n", stderr);
        return 1;
    }
    Say({"READY"});
    return app.exec();
}

#include "notification_listener.moc"
