#include "server.h"

#include <QDateTime>
#include <QTcpSocket>

#include <algorithm>
#include <cstdio>
#include <malloc.h>

#include "admin_session.h"
#include "level1_session.h"
#include "line_writer.h"
#include "lookup_session.h"

#ifndef PORTICO_VERSION
#define PORTICO_VERSION "0.0.0"
#endif

namespace portico {

namespace {

constexpr int kLiveIntervalMs = 100;
// With a stress rate, shorter turns keep each turn's burst of lines small.
constexpr int kStressIntervalMs = 20;
// No synthetic lines while a Level 1 client has this much output waiting.
constexpr std::uint64_t kStressBacklogBytes = Connection::kOutputBound;
// After a client leaves, freed memory goes back to the system after this pause (one call for a
// crowd that leaves together).
constexpr int kTrimDelayMs = 200;

DataFolder DataFolderOf(const Options& options) {
    DataFolder folder;
    folder.path = options.dataDir;
    folder.only = options.dataOnly;
    folder.log = [](const std::string& line) {
        std::fprintf(stderr, "portico: %s\n", line.c_str());
    };
    return folder;
}

Clock::OffsetFunction OffsetOf(const QTimeZone& zone) {
    return [zone](std::int64_t utcSeconds) {
        return zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(utcSeconds, QTimeZone::utc()));
    };
}

// "Nov 21 9:30AM"
void PutShortTime(LineWriter& out, Micros time) {
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    LineWriter digits;
    digits.putCompactDate(time);
    const std::string_view date = digits.view();
    const int month = (date[4] - '0') * 10 + (date[5] - '0');
    out.put(kMonths[(month + 11) % 12]);
    out.put(' ');
    out.put(date.substr(6, 2));
    out.put(' ');
    const auto second = (time - StartOfDay(DayOf(time))) / kMicrosPerSecond;
    const auto hour = static_cast<int>(second / 3600);
    out.putUnsigned(static_cast<std::uint64_t>(hour % 12 == 0 ? 12 : hour % 12));
    out.put(':');
    out.putPadded(static_cast<std::uint64_t>(second / 60 % 60), 2);
    out.put(hour < 12 ? "AM" : "PM");
}

void PutKilobytes(LineWriter& out, double value) {
    out.putPrice(static_cast<std::int64_t>(value * 100.0 + 0.5), 2);
}

} // namespace

Server::Server(Options options, const QTimeZone& timeZone, QObject* parent)
    : QObject(parent), m_options(std::move(options)),
      m_market(m_options.seed, DataFolderOf(m_options)),
      m_clock(OffsetOf(timeZone), m_options.startTime, m_options.clockRate),
      m_live(m_market, m_options.symbolLimit, m_options.quoteRate, m_options.seed,
             m_options.stressRate),
      m_context(m_options, m_market, m_clock, m_live),
      m_dayText(static_cast<std::size_t>(m_options.dayCacheMb) << 20) {
    m_context.scheduler = &m_scheduler;
    m_context.dayText = &m_dayText;
    m_sinceStart.start();
    m_sinceLiveAdvance.start();
    m_startedAt = m_clock.now();
    connect(&m_admin, &QTcpServer::newConnection, this, [this] { accept(&m_admin, Port::Admin); });
    connect(&m_lookup, &QTcpServer::newConnection, this,
            [this] { accept(&m_lookup, Port::Lookup); });
    connect(&m_level1, &QTcpServer::newConnection, this,
            [this] { accept(&m_level1, Port::Level1); });
    m_secondTimer.setInterval(1000);
    connect(&m_secondTimer, &QTimer::timeout, this, &Server::everySecond);
    m_liveTimer.setInterval(m_options.stressRate > 0 ? kStressIntervalMs : kLiveIntervalMs);
    connect(&m_liveTimer, &QTimer::timeout, this, &Server::advanceLive);
    m_lingerTimer.setSingleShot(true);
    connect(&m_lingerTimer, &QTimer::timeout, this, &Server::idle);
    m_trimTimer.setSingleShot(true);
    m_trimTimer.setInterval(kTrimDelayMs);
    connect(&m_trimTimer, &QTimer::timeout, this, &Server::giveBackMemory);
}

Server::~Server() {
    // Every session, closed ones waiting for deletion included, goes before the market does.
    const auto sessions = findChildren<Connection*>(QString(), Qt::FindDirectChildrenOnly);
    for (Connection* connection : sessions) {
        connection->disconnect(this);
        delete connection;
    }
}

Server::ListenResult Server::listen(int adminPort, int lookupPort, int level1Port,
                                    std::string& error) {
    const QHostAddress local(QHostAddress::LocalHost);
    if (!m_admin.listen(local, static_cast<quint16>(adminPort))) {
        if (m_admin.serverError() == QAbstractSocket::AddressInUseError) {
            return ListenResult::AdminPortInUse;
        }
        error = "cannot listen on admin port " + std::to_string(adminPort) + ": " +
                m_admin.errorString().toStdString();
        return ListenResult::Failed;
    }
    const auto other = [&](QTcpServer& server, int port, const char* name) {
        if (server.listen(local, static_cast<quint16>(port))) {
            return true;
        }
        error = std::string("cannot listen on ") + name + " port " + std::to_string(port) + ": " +
                server.errorString().toStdString();
        return false;
    };
    if (!other(m_lookup, lookupPort, "lookup") || !other(m_level1, level1Port, "Level 1")) {
        return ListenResult::Failed;
    }
    m_context.adminPort = m_admin.serverPort();
    m_context.lookupPort = m_lookup.serverPort();
    m_context.level1Port = m_level1.serverPort();
    m_secondTimer.start();
    m_liveTimer.start();
    // The status turns "Connected" when the connect delay ends; say so at once.
    QTimer::singleShot(m_options.connectDelayMs + 1, this, [this] {
        const std::string stats = statsLine() + "\r\n";
        for (AdminSession* session : m_adminSessions) {
            session->send(stats);
        }
    });
    updateLinger();
    return ListenResult::Listening;
}

void Server::accept(QTcpServer* listener, Port port) {
    while (QTcpSocket* socket = listener->nextPendingConnection()) {
        int& refused = port == Port::Admin    ? m_refusedAdmin
                       : port == Port::Lookup ? m_refusedLookup
                                              : m_refusedLevel1;
        if (refused < m_options.faults.refuseCount) {
            ++refused;
            socket->abort();
            socket->deleteLater();
            continue;
        }
        if (m_options.faults.acceptDelayMs > 0) {
            // The client sees the connection open, but nothing is read or written until later.
            socket->setParent(this);
            QTimer::singleShot(m_options.faults.acceptDelayMs, this,
                               [this, socket, port] { serve(socket, port); });
        } else {
            serve(socket, port);
        }
    }
}

void Server::serve(QTcpSocket* socket, Port port) {
    Connection* connection = nullptr;
    switch (port) {
    case Port::Admin: {
        auto* session = new AdminSession(socket, m_context, this);
        m_adminSessions.push_back(session);
        connection = session;
        break;
    }
    case Port::Lookup:
        connection = new LookupSession(socket, m_context, this);
        break;
    case Port::Level1: {
        auto* session = new Level1Session(socket, m_context, this);
        m_level1Sessions.push_back(session);
        connection = session;
        break;
    }
    }
    m_connections.push_back(connection);
    connect(connection, &Connection::closed, this, &Server::connectionClosed, Qt::QueuedConnection);
    updateLinger();
    connection->start();
    if (port == Port::Admin) {
        connection->send(statsLine() + "\r\n");
    }
    if (socket->state() != QAbstractSocket::ConnectedState) {
        // Gone while waiting to be served.
        QMetaObject::invokeMethod(
            connection, [connection] { emit connection->closed(connection); },
            Qt::QueuedConnection);
    }
}

void Server::connectionClosed(Connection* connection) {
    const auto found = std::find(m_connections.begin(), m_connections.end(), connection);
    if (found == m_connections.end()) {
        return;
    }
    m_connections.erase(found);
    std::erase(m_adminSessions, connection);
    if (std::erase(m_level1Sessions, connection) > 0) {
        const auto* session = static_cast<const Level1Session*>(connection);
        std::fprintf(stderr,
                     "portico: Level 1 client %d left after %llu update lines, %llu trades\n",
                     session->id(), static_cast<unsigned long long>(session->updateLinesSent()),
                     static_cast<unsigned long long>(session->tradeLinesSent()));
    }
    m_live.unwatchAll(connection->id());
    m_context.bytesReceived += connection->bytesReceived();
    m_context.bytesSent += connection->bytesSent();
    m_scheduler.cancel(connection);
    connection->deleteLater();
    m_trimTimer.start();
    updateLinger();
}

void Server::giveBackMemory() {
    // Buffers of gone clients are free but may still sit in the heap.
    malloc_trim(0);
}

void Server::updateLinger() {
    if (m_options.lingerSeconds <= 0 || !m_connections.empty()) {
        m_lingerTimer.stop();
        return;
    }
    if (!m_lingerTimer.isActive()) {
        m_lingerTimer.start(m_options.lingerSeconds * 1000);
    }
}

void Server::everySecond() {
    m_dayText.trim(DayTextCache::Clock::now());
    std::uint64_t bytesIn = m_context.bytesReceived;
    std::uint64_t bytesOut = m_context.bytesSent;
    for (const Connection* connection : m_connections) {
        bytesIn += connection->bytesReceived();
        bytesOut += connection->bytesSent();
    }
    m_rateIn = static_cast<double>(bytesIn - std::min(bytesIn, m_lastBytesIn)) / 1024.0;
    m_rateOut = static_cast<double>(bytesOut - std::min(bytesOut, m_lastBytesOut)) / 1024.0;
    m_peakRateOut = std::max(m_peakRateOut, m_rateOut);
    m_lastBytesIn = bytesIn;
    m_lastBytesOut = bytesOut;

    const std::string stats = statsLine() + "\r\n";
    for (AdminSession* session : m_adminSessions) {
        // A client that does not read misses lines rather than growing its backlog.
        if (session->pendingBytes() < Connection::kOutputBound) {
            session->send(stats);
        }
    }
    const Micros now = m_clock.now();
    const auto wallNow = std::chrono::steady_clock::now();
    const std::chrono::seconds grace(m_options.slowReaderGraceSeconds);
    for (Level1Session* session : m_level1Sessions) {
        session->sendTime(now);
        session->checkBacklog(wallNow, grace);
    }
}

void Server::advanceLive() {
    if (m_live.watchedCount() == 0) {
        m_sinceLiveAdvance.restart();
        return;
    }
    const double elapsed = static_cast<double>(m_sinceLiveAdvance.nsecsElapsed()) / 1e9;
    m_sinceLiveAdvance.restart();
    bool backlogged = false;
    for (const Level1Session* session : m_level1Sessions) {
        backlogged = backlogged || session->pendingBytes() > kStressBacklogBytes;
    }
    m_live.advance(
        m_clock.now(), elapsed,
        [this](const LiveFeed::Update& update) {
            for (Level1Session* session : m_level1Sessions) {
                if (update.subscribers.contains(session->id())) {
                    session->queueUpdate(update.state, update.contents);
                }
            }
        },
        backlogged);
    for (Level1Session* session : m_level1Sessions) {
        session->flushUpdates();
    }
}

std::string Server::statsLine() const {
    const bool connected = m_sinceStart.elapsed() >= m_options.connectDelayMs;
    std::uint64_t level1Clients = m_level1Sessions.size();
    LineWriter out;
    out.put("S,STATS,127.0.0.1,");                                     // 0-2
    out.putUnsigned(static_cast<std::uint64_t>(m_context.level1Port)); // 3
    out.put(',');
    out.putUnsigned(static_cast<std::uint64_t>(m_options.symbolLimit)); // 4
    out.put(',');
    out.putUnsigned(m_live.watchedCount()); // 5
    out.put(',');
    out.putUnsigned(m_connections.size()); // 6
    out.put(',');
    out.putUnsigned(level1Clients); // 7
    out.put(',');
    out.putUnsigned(m_context.requestsServed & 0xFFFFFFFFu); // 8
    out.put(',');
    out.putUnsigned(m_context.updatesSent & 0xFFFFFFFFu); // 9
    out.put(',');
    PutShortTime(out, m_startedAt); // 10
    out.put(',');
    PutShortTime(out, m_clock.now()); // 11
    out.put(',');
    out.put(connected ? "Connected" : "Not Connected"); // 12
    out.put(',');
    out.put(PORTICO_VERSION);                                       // 13
    out.put(",SIMULATED,");                                         // 14
    PutKilobytes(out, static_cast<double>(m_lastBytesIn) / 1024.0); // 15
    out.put(',');
    PutKilobytes(out, static_cast<double>(m_lastBytesOut) / 1024.0); // 16
    out.put(',');
    PutKilobytes(out, m_rateIn); // 17
    out.put(',');
    PutKilobytes(out, m_rateOut); // 18
    out.put(',');
    PutKilobytes(out, m_peakRateOut); // 19
    out.put(',');
    PutKilobytes(out, static_cast<double>(m_sinceStart.elapsed()) / 1000.0); // 20
    return out.str();
}

} // namespace portico
