#pragma once

// The portico service: listens on the admin, lookup and Level 1 ports of 127.0.0.1, creates a
// session per accepted connection, drives the live feed, the statistics and the time lines, and
// quits after the linger time without clients.

#include <QElapsedTimer>
#include <QObject>
#include <QTcpServer>
#include <QTimeZone>
#include <QTimer>

#include <memory>
#include <string>
#include <vector>

#include "clock.h"
#include "day_text.h"
#include "live_feed.h"
#include "market/market.h"
#include "options.h"
#include "server_context.h"
#include "work_scheduler.h"

namespace portico {

class Connection;
class AdminSession;
class Level1Session;

class Server : public QObject {
    Q_OBJECT
public:
    Server(Options options, const QTimeZone& timeZone, QObject* parent = nullptr);
    ~Server() override;

    enum class ListenResult { Listening, AdminPortInUse, Failed };
    ListenResult listen(int adminPort, int lookupPort, int level1Port, std::string& error);

    int adminPort() const { return m_context.adminPort; }
    int lookupPort() const { return m_context.lookupPort; }
    int level1Port() const { return m_context.level1Port; }

    // The 21-field "S,STATS,..." line without its line end.
    std::string statsLine() const;

signals:
    // No client for the linger time.
    void idle();

private:
    enum class Port { Admin, Lookup, Level1 };
    void accept(QTcpServer* listener, Port port);
    void serve(QTcpSocket* socket, Port port);
    void connectionClosed(Connection* connection);
    void everySecond();
    void advanceLive();
    void updateLinger();
    void giveBackMemory();

    Options m_options;
    Market m_market;
    Clock m_clock;
    LiveFeed m_live;
    ServerContext m_context;
    WorkScheduler m_scheduler;
    DayTextCache m_dayText;
    QTcpServer m_admin;
    QTcpServer m_lookup;
    QTcpServer m_level1;
    int m_refusedAdmin = 0;
    int m_refusedLookup = 0;
    int m_refusedLevel1 = 0;
    std::vector<Connection*> m_connections;
    std::vector<AdminSession*> m_adminSessions;
    std::vector<Level1Session*> m_level1Sessions;
    QTimer m_secondTimer;
    QTimer m_liveTimer;
    QTimer m_lingerTimer;
    QTimer m_trimTimer; // gives freed memory back to the system after clients leave
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceLiveAdvance;
    Micros m_startedAt = 0;          // exchange time of the start
    std::uint64_t m_lastBytesIn = 0; // totals at the last statistics tick, for the rates
    std::uint64_t m_lastBytesOut = 0;
    double m_rateIn = 0;
    double m_rateOut = 0;
    double m_peakRateOut = 0;
};

} // namespace portico
