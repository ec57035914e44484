#pragma once

#include <QDBusContext>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <string>
#include <vector>

// What a bus call answers: an error name and message when it failed, else the value it returns.
struct SBusMethodResult {
    std::string errorName; // empty: the call succeeded
    std::string errorMessage;
    int value = 0;    // ExportSeries: the rows written; the trendline calls, DeletePoint and
                      // RestorePoints: a count
    std::string text; // Trendlines: the JSON text
};

// The chart that the bus drives. Called on the thread of the event loop.
class IChartBusTarget {
public:
    virtual ~IChartBusTarget() = default;
    virtual SBusMethodResult BusLoad(const std::string& symbol, const std::string& type,
                                     const std::string& interval) = 0;
    virtual SBusMethodResult BusExportSeries(const std::string& path) = 0;
    virtual SBusMethodResult BusRender(const std::string& path, int width, int height) = 0;
    virtual SBusMethodResult BusAddTrendline(const std::string& kind,
                                             const std::vector<std::string>& times,
                                             const std::vector<double>& prices) = 0;
    virtual SBusMethodResult BusTrendlines() = 0;
    virtual SBusMethodResult BusDeleteAllTrendlines() = 0;
    virtual SBusMethodResult BusDeletePoint(const std::string& time) = 0;
    // Calls `answer` once, at once or later (when the restored history is in).
    virtual void BusRestorePoints(std::function<void(const SBusMethodResult&)> answer) = 0;
    // Starts the connection sequence again (the chart reloads once the service is ready).
    virtual SBusMethodResult BusReconnect() = 0;
    // "linear", "log" or "percent" (or the full names), stored like the pane menu's choice.
    virtual SBusMethodResult BusSetPriceScale(const std::string& scale) = 0;
    // A comma list of up to three symbols to compare ("" clears them).
    virtual SBusMethodResult BusCompare(const std::string& symbols) = 0;
    // A level alert; answers its id.
    virtual SBusMethodResult BusAddAlert(const std::string& symbol, double price,
                                         const std::string& direction) = 0;
    // Every alert as a JSON array.
    virtual SBusMethodResult BusAlerts() = 0;
};

// The object /Skychart with the interface org.skychart.Chart: each method hands its arguments to
// the target and answers with its result or its error.
class CChartBusObject : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.skychart.Chart")

public:
    explicit CChartBusObject(IChartBusTarget& target, QObject* parent = nullptr);

public slots:
    void Load(const QString& symbol, const QString& type, const QString& interval);
    int ExportSeries(const QString& path);
    void Render(const QString& path, int width, int height);
    int AddTrendline(const QString& kind, const QStringList& times, const QList<double>& prices);
    QString Trendlines();
    int DeleteAllTrendlines();
    int DeletePoint(const QString& time);
    // Answered later, once the target has restored the points (a delayed reply).
    int RestorePoints();
    void Reconnect();
    void SetPriceScale(const QString& scale);
    void Compare(const QString& symbols);
    int AddAlert(const QString& symbol, double price, const QString& direction);
    QString Alerts();

signals:
    // An alert fired at a trade: the symbol, the alert's price and the trade's exchange time.
    void AlertFired(const QString& symbol, double price, const QString& time);

private:
    // Sends the error of `result` as the reply, when it has one; returns its value.
    int Answer(const char* method, const SBusMethodResult& result);
    // Logs the outcome of `method`.
    static void Log(const char* method, const SBusMethodResult& result);

    IChartBusTarget& m_target;
};

// Owns org.skychart.Skychart.pid<PID> on the session bus and serves the chart object there.
// Without a session bus the remote control is off and the log says so.
class CChartBusService : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kPath = "/Skychart";
    static constexpr const char* kInterface = "org.skychart.Chart";
    static constexpr const char* kNamePrefix = "org.skychart.Skychart.pid";

    explicit CChartBusService(IChartBusTarget& target, QObject* parent = nullptr);
    ~CChartBusService() override;

    // org.skychart.Skychart.pid<pid>
    static QString ServiceName(qint64 pid);

    // Registers the object and takes this process's name; false (logged) when there is no
    // session bus or either step failed.
    bool Register();
    bool Registered() const { return m_registered; }
    // Sends the AlertFired signal.
    void EmitAlertFired(const QString& symbol, double price, const QString& time) {
        emit m_object.AlertFired(symbol, price, time);
    }

private:
    CChartBusObject m_object;
    bool m_registered = false;
    QString m_name;
};
