#pragma once

// A Level 1 connection: watches and unwatches symbols, chooses its update fields, and receives
// fundamental ('F'), summary ('P'), update ('Q') and time ('T') lines.
//
// Live updates do not wait for a slow reader: a client whose output waiting to be written stays
// above kOutputBound for the grace time, or passes kHardOutputBound at any moment, is dropped
// with a line in the log.

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "connection.h"
#include "update_fields.h"

namespace portico {

class Level1Session : public Connection {
    Q_OBJECT
public:
    static constexpr std::uint64_t kHardOutputBound = 16u << 20;

    Level1Session(QTcpSocket* socket, ServerContext& context, QObject* parent = nullptr);
    ~Level1Session() override;

    // A live update of a symbol this session watches, held until flushUpdates() so that all
    // the updates of one turn of the event loop go out together.
    void queueUpdate(const QuoteState& state, std::string_view contents);
    void flushUpdates();
    // 'Q' lines queued since the connection opened, and those among them that are trades.
    std::uint64_t updateLinesSent() const { return m_updatesSent; }
    std::uint64_t tradeLinesSent() const { return m_tradesSent; }
    // "T,YYYYMMDD HH:MM:SS" with the exchange time.
    void sendTime(Micros now);
    // Drops the client when its waiting output has stayed above kOutputBound for `grace`;
    // called every second.
    void checkBacklog(std::chrono::steady_clock::time_point now, std::chrono::seconds grace);

protected:
    void onStart() override;
    void onLine(std::string_view line) override;
    // No lines are taken while a watch waits for its instrument's files.
    bool acceptsInput() const override;

private:
    void watch(const std::string& symbol);
    // Watches m_waiting once its files are indexed, then goes on with the lines after it.
    void watchWhenIndexed();
    void selectFields(const std::string& names);
    void afterUpdateLine();
    void drop(const std::string& why);

    std::vector<UpdateField> m_fields;
    LineWriter m_updates;            // queued update lines
    std::uint64_t m_updateLines = 0; // 'P' and 'Q' lines, for the malformed-line fault
    std::uint64_t m_updatesSent = 0;
    std::uint64_t m_tradesSent = 0;
    std::optional<std::chrono::steady_clock::time_point> m_overSince; // above kOutputBound
    bool m_dropped = false;
    // A watch of a file instrument whose files are being indexed: looked at again every few
    // milliseconds, so that the service goes on serving everyone else meanwhile.
    std::string m_waiting;
};

} // namespace portico
