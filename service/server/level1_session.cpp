#include "level1_session.h"

#include <QTimer>

#include <cstdio>

#include "reference_answers.h"
#include "server_context.h"

namespace portico {

namespace {
constexpr std::size_t kLongLineBytes = 70 * 1024;
constexpr int kIndexPollMs = 5;

template <typename... Ts> struct Overloaded : Ts... { using Ts::operator()...; };
} // namespace

Level1Session::Level1Session(QTcpSocket* socket, ServerContext& context, QObject* parent)
    : Connection(socket, context, parent), m_fields(DefaultUpdateFields()) {}

Level1Session::~Level1Session() = default;

void Level1Session::onStart() {
    m_out.clear();
    if (m_context.options.faults.longLine) {
        m_out.put("S,LONG LINE,");
        m_out.putRepeated('x', kLongLineBytes);
        m_out.endLine();
    }
    m_out.put("S,IP,127.0.0.1 ");
    m_out.putUnsigned(static_cast<std::uint64_t>(m_context.level1Port));
    m_out.put(",127.0.0.1 ");
    m_out.putUnsigned(static_cast<std::uint64_t>(m_context.lookupPort));
    m_out.put(",127.0.0.1 ");
    m_out.putUnsigned(static_cast<std::uint64_t>(m_context.adminPort));
    m_out.endLine();
    send(m_out.view());
}

void Level1Session::onLine(std::string_view line) {
    const Command command = ParseCommand(line);
    std::visit(
        Overloaded{
            [&](const WatchRequest& request) { watch(request.symbol); },
            [&](const UnwatchRequest& request) { m_context.live.unwatch(request.symbol, id()); },
            [&](const SystemCommand& system) {
                if (system.name == "SELECT UPDATE FIELDS") {
                    selectFields(system.argument);
                } else if (system.name == "REQUEST ALL UPDATE FIELDNAMES") {
                    std::string reply = "S,UPDATE FIELDNAMES";
                    for (const UpdateField field : AllUpdateFields()) {
                        reply += ',';
                        reply += UpdateFieldName(field);
                    }
                    send(reply + "\r\n");
                } else if (system.name == "LEVEL1 COUNTS") {
                    // Queued updates go first, so that the answer counts exactly the lines
                    // before it.
                    flushUpdates();
                    m_out.clear();
                    WriteLevel1Counts(m_out, m_updatesSent, m_tradesSent);
                    send(m_out.view());
                } else if (!handleCommonCommand(system)) {
                    sendSyntaxError();
                }
            },
            [&](const auto&) { sendSyntaxError(); },
        },
        command);
}

bool Level1Session::acceptsInput() const {
    return m_waiting.empty() && Connection::acceptsInput();
}

void Level1Session::watchWhenIndexed() {
    const std::string symbol = std::move(m_waiting);
    m_waiting.clear();
    watch(symbol);
    resumeInput();
}

void Level1Session::watch(const std::string& symbol) {
    const Instrument* instrument = m_context.market.find(symbol);
    if (instrument != nullptr &&
        !m_context.market.ready(*instrument, std::chrono::milliseconds(0))) {
        m_waiting = symbol;
        QTimer::singleShot(kIndexPollMs, this, [this] { watchWhenIndexed(); });
        return;
    }
    const Micros now = m_context.clock.now();
    const auto status = m_context.live.watch(symbol, id(), now);
    m_out.clear();
    switch (status) {
    case LiveFeed::WatchStatus::Unknown:
        m_out.put("n,");
        m_out.put(symbol);
        m_out.endLine();
        break;
    case LiveFeed::WatchStatus::LimitReached:
        m_out.put("S,SYMBOL LIMIT REACHED,");
        m_out.put(symbol);
        m_out.endLine();
        break;
    case LiveFeed::WatchStatus::Watching: {
        const QuoteState& state = *m_context.live.state(symbol);
        WriteFundamentalLine(m_out, m_context.market, state);
        WriteUpdateLine(m_out, 'P', m_fields, state,
                        state.hasLast ? std::string_view(&state.last.basis, 1) : "");
        send(m_out.view());
        afterUpdateLine();
        return;
    }
    }
    send(m_out.view());
}

void Level1Session::selectFields(const std::string& names) {
    std::vector<UpdateField> fields;
    std::string unknown;
    for (const std::string_view name : SplitFields(names)) {
        if (name.empty()) {
            continue;
        }
        if (const auto field = UpdateFieldFromName(name)) {
            fields.push_back(*field);
        } else {
            unknown += ',';
            unknown += name;
        }
    }
    if (!unknown.empty()) {
        // The whole selection is refused and the previous one stays.
        send("E,!INVALID_UPDATE_FIELD!" + unknown + "\r\n");
        return;
    }
    m_fields = std::move(fields);
    std::string reply = "S,CURRENT UPDATE FIELDS";
    for (const UpdateField field : m_fields) {
        reply += ',';
        reply += UpdateFieldName(field);
    }
    send(reply + "\r\n");
}

void Level1Session::queueUpdate(const QuoteState& state, std::string_view contents) {
    if (m_dropped) {
        return;
    }
    WriteUpdateLine(m_updates, 'Q', m_fields, state, contents);
    const bool trade = contents == "C" || contents == "E" || contents == "O";
    ++m_updatesSent;
    m_tradesSent += trade ? 1 : 0;
    ++m_context.updatesSent;
    m_context.tradesSent += trade ? 1 : 0;
    ++m_updateLines;
    const int every = m_context.options.faults.malformedEvery;
    if (every > 0 && m_updateLines % static_cast<std::uint64_t>(every) == 0) {
        m_updates.put("Q,#MALFORMED#\r\n");
    }
    if (pendingBytes() + m_updates.size() > kHardOutputBound) {
        drop("more than " + std::to_string(kHardOutputBound >> 20) + " MiB of output not read");
    }
}

void Level1Session::flushUpdates() {
    send(m_updates.view());
    if (m_updates.capacity() > kOutputBound) {
        // After a burst: the next turns need far less.
        m_updates.release();
    }
    m_updates.clear();
}

void Level1Session::checkBacklog(std::chrono::steady_clock::time_point now,
                                 std::chrono::seconds grace) {
    if (pendingBytes() <= kOutputBound) {
        m_overSince.reset();
        return;
    }
    if (!m_overSince) {
        m_overSince = now;
    } else if (now - *m_overSince >= grace) {
        drop("more than " + std::to_string(kOutputBound >> 20) + " MiB of output not read for " +
             std::to_string(grace.count()) + " s");
    }
}

void Level1Session::drop(const std::string& why) {
    if (m_dropped) {
        return;
    }
    m_dropped = true;
    std::fprintf(stderr, "portico: Level 1 client %d dropped: %s (%llu bytes waiting)\n", id(),
                 why.c_str(), static_cast<unsigned long long>(pendingBytes() + m_updates.size()));
    m_updates.release();
    abortConnection();
}

void Level1Session::afterUpdateLine() {
    ++m_updateLines;
    const int every = m_context.options.faults.malformedEvery;
    if (every > 0 && m_updateLines % static_cast<std::uint64_t>(every) == 0) {
        send("Q,#MALFORMED#\r\n");
    }
}

void Level1Session::sendTime(Micros now) {
    m_out.clear();
    m_out.put("T,");
    m_out.putCompactDate(now);
    m_out.put(' ');
    m_out.putTimeOfDay(now);
    m_out.endLine();
    send(m_out.view());
}

} // namespace portico
