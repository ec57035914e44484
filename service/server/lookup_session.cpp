#include "lookup_session.h"

#include "reference_answers.h"
#include "server_context.h"

namespace portico {

namespace {
// A step runs only while less than this waits to be written; a history answer step produces
// about this much.
constexpr std::uint64_t kLowWater = 64 * 1024;
constexpr std::size_t kChunkBytes = 64 * 1024;

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
    requestWork();
}

bool LookupSession::acceptsInput() const {
    return !m_cut && m_queue.size() < kMaxQueued && Connection::acceptsInput();
}

void LookupSession::onOutputDrained() {
    if ((m_answer || m_producer || !m_queue.empty()) && pendingBytes() < kLowWater) {
        requestWork();
    }
}

bool LookupSession::workStep() {
    if (m_cut || pendingBytes() >= kLowWater) {
        // The socket's progress asks again (onOutputDrained).
        return false;
    }
    if (m_producer) {
        return sendProduced();
    }
    if (!m_answer) {
        if (m_queue.empty()) {
            return false;
        }
        const std::string line = std::move(m_queue.front());
        m_queue.pop_front();
        handle(line);
        resumeInput();
        return true;
    }
    m_out.clear();
    const auto progress = m_answer->fill(m_out, kChunkBytes);
    send(m_out.view());
    if (progress == HistoryAnswer::Progress::More) {
        return true;
    }
    const std::uint64_t lines = m_answer->dataLines();
    m_answer.reset();
    return endAnswer(progress, lines);
}

bool LookupSession::sendProduced() {
    const auto chunk = m_producer->take();
    if (!chunk) {
        return false; // the producer wakes us
    }
    send(chunk->text);
    m_producer->recycle(*chunk);
    if (chunk->progress == HistoryAnswer::Progress::More) {
        return true;
    }
    m_producer.reset();
    return endAnswer(chunk->progress, chunk->dataLines);
}

bool LookupSession::endAnswer(HistoryAnswer::Progress progress, std::uint64_t dataLines) {
    m_dataLinesSent += dataLines;
    if (progress == HistoryAnswer::Progress::Cut) {
        m_cut = true;
        m_queue.clear();
        closeWhenFlushed();
        return false;
    }
    return !m_queue.empty();
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
                const Micros now = m_context.clock.now();
                m_producer = AnswerProducer::Start(
                    m_context.market, request, now, faults, m_context.producersRunning, this,
                    [this] { requestWork(); }, m_context.dayText);
                if (!m_producer) {
                    m_answer =
                        std::make_unique<HistoryAnswer>(m_context.market, request, now, faults);
                }
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
