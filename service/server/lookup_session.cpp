#include "lookup_session.h"

#include <QTimer>

#include "reference_answers.h"
#include "server_context.h"

namespace portico {

namespace {
// A new chunk is produced only when less than this is waiting to be written.
constexpr std::uint64_t kLowWater = 1024 * 1024;
constexpr std::size_t kChunkBytes = 512 * 1024;

template <typename... Ts> struct Overloaded : Ts... { using Ts::operator()...; };
} // namespace

LookupSession::LookupSession(QTcpSocket* socket, ServerContext& context, QObject* parent)
    : Connection(socket, context, parent) {}

LookupSession::~LookupSession() = default;

void LookupSession::onLine(std::string_view line) {
    if (m_cut) {
        return;
    }
    m_queue.emplace_back(line);
    pump();
}

void LookupSession::onOutputDrained() {
    if (m_answer || !m_queue.empty()) {
        schedulePump();
    }
}

void LookupSession::schedulePump() {
    if (m_pumpScheduled) {
        return;
    }
    m_pumpScheduled = true;
    QTimer::singleShot(0, this, [this] {
        m_pumpScheduled = false;
        pump();
    });
}

void LookupSession::pump() {
    if (m_cut) {
        return;
    }
    // Short answers go out in one go; a history answer gets one chunk per turn of the event loop.
    while (pendingBytes() < kLowWater) {
        if (!m_answer) {
            if (m_queue.empty()) {
                return;
            }
            const std::string line = std::move(m_queue.front());
            m_queue.pop_front();
            handle(line);
            continue;
        }
        m_out.clear();
        const auto progress = m_answer->fill(m_out, kChunkBytes);
        send(m_out.view());
        if (progress == HistoryAnswer::Progress::More) {
            if (pendingBytes() < kLowWater) {
                schedulePump();
            }
            return;
        }
        m_dataLinesSent += m_answer->dataLines();
        m_answer.reset();
        if (progress == HistoryAnswer::Progress::Cut) {
            m_cut = true;
            m_queue.clear();
            closeWhenFlushed();
            return;
        }
    }
}

void LookupSession::handle(const std::string& line) {
    const Command command = ParseCommand(line);
    ++m_context.requestsServed;
    m_out.clear();
    std::visit(
        Overloaded{
            [&](const HistoryRequest& request) {
                AnswerFaults faults;
                faults.longLine = m_context.options.faults.longLine;
                faults.malformedEvery = m_context.options.faults.malformedEvery;
                if (const std::uint64_t limit = m_context.options.faults.closeAfterLines) {
                    faults.lineLimit = limit > m_dataLinesSent ? limit - m_dataLinesSent : 1;
                }
                m_answer = std::make_unique<HistoryAnswer>(m_context.market, request,
                                                           m_context.clock.now(), faults);
            },
            [&](const SearchRequest& request) {
                WriteSearchAnswer(m_out, m_context.market, request);
            },
            [&](const ListedMarketsRequest&) { WriteListedMarkets(m_out, m_context.market); },
            [&](const SecurityTypesRequest&) { WriteSecurityTypes(m_out, m_context.market); },
            [&](const SystemCommand& system) {
                if (!handleCommonCommand(system)) {
                    sendSyntaxError();
                }
            },
            [&](const BadRequest& bad) {
                m_out.put(bad.id);
                m_out.put(",E,");
                m_out.put(bad.reason);
                m_out.put(',');
                m_out.endLine();
                m_out.put(bad.id);
                m_out.put(",!ENDMSG!,");
                m_out.endLine();
            },
            [&](const auto&) { sendSyntaxError(); },
        },
        command);
    send(m_out.view());
}

} // namespace portico
