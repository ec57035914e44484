#include "platform/chart_bus_service.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

#include <spdlog/spdlog.h>

CChartBusObject::CChartBusObject(IChartBusTarget& target, QObject* parent)
    : QObject(parent), m_target(target) {}

void CChartBusObject::Load(const QString& symbol, const QString& type, const QString& interval) {
    Answer("Load",
           m_target.BusLoad(symbol.toStdString(), type.toStdString(), interval.toStdString()));
}

int CChartBusObject::ExportSeries(const QString& path) {
    return Answer("ExportSeries", m_target.BusExportSeries(path.toStdString()));
}

void CChartBusObject::Render(const QString& path, int width, int height) {
    Answer("Render", m_target.BusRender(path.toStdString(), width, height));
}

int CChartBusObject::AddTrendline(const QString& kind, const QStringList& times,
                                  const QList<double>& prices) {
    std::vector<std::string> timeTexts;
    for (const QString& time : times) {
        timeTexts.push_back(time.toStdString());
    }
    return Answer("AddTrendline",
                  m_target.BusAddTrendline(kind.toStdString(), timeTexts,
                                           std::vector<double>(prices.begin(), prices.end())));
}

QString CChartBusObject::Trendlines() {
    const SBusMethodResult result = m_target.BusTrendlines();
    Answer("Trendlines", result);
    return QString::fromStdString(result.text);
}

int CChartBusObject::DeleteAllTrendlines() {
    return Answer("DeleteAllTrendlines", m_target.BusDeleteAllTrendlines());
}

int CChartBusObject::DeletePoint(const QString& time) {
    return Answer("DeletePoint", m_target.BusDeletePoint(time.toStdString()));
}

int CChartBusObject::AddAlert(const QString& symbol, double price, const QString& direction) {
    return Answer("AddAlert",
                  m_target.BusAddAlert(symbol.toStdString(), price, direction.toStdString()));
}

QString CChartBusObject::Alerts() {
    const SBusMethodResult result = m_target.BusAlerts();
    Answer("Alerts", result);
    return QString::fromStdString(result.text);
}

void CChartBusObject::Reconnect() {
    Answer("Reconnect", m_target.BusReconnect());
}

void CChartBusObject::SetPriceScale(const QString& scale) {
    Answer("SetPriceScale", m_target.BusSetPriceScale(scale.toStdString()));
}

void CChartBusObject::Compare(const QString& symbols) {
    Answer("Compare", m_target.BusCompare(symbols.toStdString()));
}

int CChartBusObject::RestorePoints() {
    std::function<void(const SBusMethodResult&)> answer = [](const SBusMethodResult& result) {
        Log("RestorePoints", result);
    };
    if (calledFromDBus()) {
        setDelayedReply(true);
        answer = [bus = connection(), call = message()](const SBusMethodResult& result) {
            Log("RestorePoints", result);
            bus.send(result.errorName.empty()
                         ? call.createReply(result.value)
                         : call.createErrorReply(QString::fromStdString(result.errorName),
                                                 QString::fromStdString(result.errorMessage)));
        };
    }
    m_target.BusRestorePoints(std::move(answer));
    return 0;
}

void CChartBusObject::Log(const char* method, const SBusMethodResult& result) {
    if (result.errorName.empty()) {
        spdlog::info("Bus call {} done", method);
    } else {
        spdlog::warn("Bus call {} refused: {}: {}", method, result.errorName, result.errorMessage);
    }
}

int CChartBusObject::Answer(const char* method, const SBusMethodResult& result) {
    Log(method, result);
    if (result.errorName.empty()) {
        return result.value;
    }
    // Outside a bus call (a direct call, in tests) there is nobody to answer.
    if (calledFromDBus()) {
        sendErrorReply(QString::fromStdString(result.errorName),
                       QString::fromStdString(result.errorMessage));
    }
    return 0;
}

CChartBusService::CChartBusService(IChartBusTarget& target, QObject* parent)
    : QObject(parent), m_object(target) {}

CChartBusService::~CChartBusService() {
    if (!m_registered) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(kPath);
    bus.unregisterService(m_name);
}

QString CChartBusService::ServiceName(qint64 pid) {
    return QString(kNamePrefix) + QString::number(pid);
}

bool CChartBusService::Register() {
    if (m_registered) {
        return true;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        spdlog::warn("Bus control is off: no D-Bus session bus ({})",
                     bus.lastError().message().toStdString());
        return false;
    }
    if (!bus.registerObject(kPath, &m_object,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals)) {
        spdlog::warn("Bus control is off: cannot serve {} ({})", kPath,
                     bus.lastError().message().toStdString());
        return false;
    }
    m_name = ServiceName(QCoreApplication::applicationPid());
    if (!bus.registerService(m_name)) {
        spdlog::warn("Bus control is off: cannot own {} ({})", m_name.toStdString(),
                     bus.lastError().message().toStdString());
        bus.unregisterObject(kPath);
        return false;
    }
    m_registered = true;
    spdlog::info("Serving {} at {} as {} on the session bus", kInterface, kPath,
                 m_name.toStdString());
    return true;
}
