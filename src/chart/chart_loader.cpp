#include "chart/chart_loader.h"

#include "base/error.h"
#include "chart/answer_receiver.h"
#include "core/settings.h"
#include "feed/history_feed.h"
#include "history/chart_hist_request.h"
#include "history/history_request.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

namespace {

std::string TimeText(const sTICK& point, int dataType) {
    SDateTimeFields fields;
    if (!point.time.IsValid() || !point.time.GetFields(fields)) {
        return "(invalid time)";
    }
    if (dataType >= kDays) {
        return fmt::format("{:04}-{:02}-{:02}", fields.year, fields.month, fields.day);
    }
    std::string text = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", fields.year, fields.month,
                                   fields.day, fields.hour, fields.minute, fields.second);
    if (dataType == kTicks) {
        text += fmt::format(".{:06}", point.microseconds);
    }
    return text;
}

std::string DataTypeText(int dataType, int intervalIndex) {
    switch (dataType) {
    case kTicks:
        return "Ticks";
    case kIntervals:
        if (intervalIndex >= 0 && intervalIndex < static_cast<int>(IntervalTable().size())) {
            return std::string(IntervalTable()[static_cast<std::size_t>(intervalIndex)].name) +
                   " bars";
        }
        return "Interval bars";
    case kDays:
        return "Daily bars";
    case kWeeks:
        return "Weekly bars";
    case kMonths:
        return "Monthly bars";
    default:
        return "Unknown data type";
    }
}

} // namespace

std::chrono::milliseconds CChartLoader::StallLimitFrom(const char* seconds) {
    if (seconds == nullptr) {
        return kStallLimit;
    }
    const std::string text(seconds);
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return kStallLimit;
    }
    const int value = std::stoi(text);
    if (value < 1 || value > 86400) {
        return kStallLimit;
    }
    return std::chrono::seconds(value);
}

std::string CChartLoader::StallText(std::chrono::milliseconds limit, const std::string& symbol) {
    return fmt::format("the service sent nothing for {} s while {} was loading",
                       std::chrono::duration_cast<std::chrono::seconds>(limit).count(), symbol);
}

CChartLoader::CChartLoader(CChartHistRequest& history, const CSettings& settings)
    : m_history(history), m_settings(settings), m_parser(history), m_updater(history) {
    m_history.SetChartAlive(true);
    // Trades held back while loading reach the series through the same path as later ones.
    m_parser.SetLiveTradeHandler([this](const std::string& line) { ApplyLevel1(line); });
}

CChartLoader::~CChartLoader() {
    m_history.SetChartAlive(false);
}

void CChartLoader::SetFeed(IHistoryFeed* feed) {
    if (m_receiver && m_feed != nullptr && m_feed != feed) {
        // What the old connection brought is dispatched before it goes, as it arrived.
        m_receiver->Drain();
        OnWorkerWake();
        m_feed->SetAnswerSink(nullptr);
    }
    m_feed = feed;
    m_lookupStopped.clear();
    if (m_receiver && m_feed != nullptr) {
        m_feed->SetAnswerSink(m_receiver.get());
    }
}

void CChartLoader::ParseOnWorker(std::function<void(std::function<void()>)> post) {
    if (m_receiver) {
        return;
    }
    m_receiver =
        std::make_unique<CAnswerReceiver>(m_parser, std::move(post), [this] { OnWorkerWake(); });
    if (m_feed != nullptr) {
        m_feed->SetAnswerSink(m_receiver.get());
    }
}

void CChartLoader::OnWorkerWake() {
    if (m_feed == nullptr) {
        // The connection went: what it left is dropped with it.
        m_receiver->TakeLines();
        m_receiver->TakeFailure();
        return;
    }
    // A line that throws is lost alone, as a line cut on this thread is.
    try {
        m_feed->TakeFromAnswerSink();
    } catch (const std::exception& error) {
        spdlog::warn("History line of {} dropped: {}", m_symbol, error.what());
    }
}

std::uint64_t CChartLoader::Received() const {
    return m_linesReceived + (m_receiver ? m_receiver->BytesReceived() : 0);
}

void CChartLoader::LoadSettings() {
    m_request.Load(m_settings);
    m_updater.SetExchangeFormat(m_request.useExchangeFormat);
}

void CChartLoader::Leave() {
    LeaveSymbol();
    m_history.ReleaseSpareRoom();
}

void CChartLoader::LeaveSymbol() {
    if (m_symbol.empty()) {
        return;
    }
    if (m_feed != nullptr) {
        m_feed->UnwatchSymbol(m_symbol);
    }
    m_history.Clear();
    m_parser.HeldLevel1Lines().clear();
    m_symbol.clear();
}

CChartLoader::EStart CChartLoader::Load(const std::string& symbol,
                                        const std::function<void()>& startTimer) {
    if (!m_symbol.empty() && m_symbol != symbol) {
        LeaveSymbol();
    }
    // A new request empties the series.
    m_history.Clear();
    m_parser.StartAnswer();
    m_updater.Reset();
    m_updater.SetExchangeFormat(m_request.useExchangeFormat);
    m_symbol = symbol;
    m_progress.StartNewLoad();
    m_progress.SetShownCount(0);
    m_stalled = false;
    m_requestSent = false;

    m_settingsProblem = FindRequestSettingProblem(m_settings);
    if (m_settingsProblem) {
        spdlog::error("History request for {} not sent: {}", symbol, m_settingsProblem->reason);
        return EStart::Failed;
    }
    SPreparedRequest prepared;
    try {
        prepared = PrepareHistoryRequest(m_history, m_request, m_settings,
                                         m_ownSymbol ? &symbol : nullptr);
    } catch (const CInvalidArgException& error) {
        // The settings were read into the view before they were last changed.
        m_settingsProblem = SRequestSettingProblem{
            "", fmt::format("the request settings are incomplete ({})", error.what()),
            "on the Data page of \"Chart Settings...\""};
        spdlog::error("History request for {} not sent: the request settings are incomplete ({})",
                      symbol, error.what());
        return EStart::Failed;
    }
    m_dataType = prepared.dataType;
    m_intervalIndex = m_settings.GetInt(keys::kRequestIntervalIndex);

    if (!m_lookupStopped.empty()) {
        // Nothing can answer: the load ends at once, saying why.
        if (startTimer) {
            startTimer();
        }
        spdlog::warn("History request for {} not sent: {}", symbol, m_lookupStopped);
        EndIncomplete(m_lookupStopped);
        return EStart::NoConnection;
    }
    if (!prepared.symbol.empty() && m_feed != nullptr) {
        m_feed->WatchSymbol(prepared.symbol);
    }
    if (startTimer) {
        startTimer();
    }

    std::string command;
    try {
        command = MakeHistoryCommand(m_history, m_settings, m_idPrefix);
    } catch (const CInvalidArgException& error) {
        m_settingsProblem = SRequestSettingProblem{
            keys::kRequestFilterOn,
            fmt::format("the filter settings are incomplete ({})", error.what()),
            "on the Data page of \"Chart Settings...\""};
        spdlog::error("History request for {} not sent: the filter settings are incomplete ({})",
                      symbol, error.what());
        return EStart::Failed;
    }
    if (command.empty()) {
        m_settingsProblem = SRequestSettingProblem{
            keys::kRequestRecentType, fmt::format("request kind {} is unknown", prepared.kind),
            "on the Data page of \"Chart Settings...\""};
        spdlog::error("History request for {} not sent: request kind {} is unknown", symbol,
                      prepared.kind);
        return EStart::Failed;
    }
    if (m_feed == nullptr || !m_feed->SendHistoryCommand(command)) {
        spdlog::warn("History request for {} not sent: no lookup connection", symbol);
        return EStart::NoConnection;
    }
    spdlog::info("History request sent: {}", command.substr(0, command.size() - 1));
    m_lastLineAt = std::chrono::steady_clock::now();
    m_linesSeen = Received();
    m_requestSent = true;
    return EStart::Sent;
}

void CChartLoader::OnHistoryLine(const std::string& line) {
    ++m_linesReceived;
    const SHistoryLine answer = m_parser.OnHistoryLine(line);
    if (answer.kind == SHistoryLine::EKind::Error) {
        // An error reply adds nothing to the series; the parser keeps its text only so that the
        // window and the export can say why a request brought no data. The end marker that may
        // follow still completes the request.
        spdlog::warn("History of {}: {}", m_symbol, line);
    } else if (answer.kind == SHistoryLine::EKind::End) {
        spdlog::info("History of {} complete: {} points", m_symbol, m_history.GetCount());
        if (m_parser.HeldLinesDropped() > 0) {
            spdlog::warn("{} of the trades of {} that came while its history loaded were "
                         "dropped, the oldest first, to keep the held lines bounded",
                         m_parser.HeldLinesDropped(), m_symbol);
        }
    }
}

void CChartLoader::OnLevel1Line(const std::string& line) {
    if (!Loading()) {
        ApplyLevel1(line);
        return;
    }
    if (!line.empty() && line[0] == 'F') {
        // The symbol's fundamentals size the price labels at once.
        ApplyLevel1(line);
        return;
    }
    const std::uint64_t dropped = m_updater.DroppedLines();
    if (!m_updater.WorthHolding(line)) {
        if (m_updater.DroppedLines() != dropped) {
            spdlog::debug("Level 1 line dropped ({}): {}", m_updater.LastDropReason(), line);
        }
        return;
    }
    m_parser.HoldLevel1LineWhileLoading(line);
    if (m_parser.HeldLinesDropped() == 1) {
        spdlog::warn("More than {} trades of {} came while its history loaded; the oldest are "
                     "dropped from now on",
                     m_parser.HeldLevel1Lines().size(), m_symbol);
    }
}

void CChartLoader::OnTimeLine(const std::string& line, std::chrono::steady_clock::time_point at) {
    m_clock.OnTimeLine(line, at);
}

void CChartLoader::ApplyLevel1(const std::string& line) {
    const std::uint64_t dropped = m_updater.DroppedLines();
    const std::uint64_t applied = m_updater.AppliedTradeLines();
    m_updater.Apply(line);
    if (m_updater.AppliedTradeLines() != applied && m_updater.LastTrade()) {
        // The updater noted when the trade came: the clock is read once a trade.
        m_clock.OnFeedTime(m_updater.LastTrade()->time,
                           m_updater.LastUpdate().value_or(std::chrono::steady_clock::now()));
        if (m_tradeHandler) {
            m_tradeHandler(*m_updater.LastTrade());
        }
    }
    if (m_updater.DroppedLines() != dropped) {
        spdlog::debug("Level 1 line dropped ({}): {}", m_updater.LastDropReason(), line);
    }
}

void CChartLoader::OnProgressTick(IHistoryProgressSink& sink,
                                  std::chrono::steady_clock::time_point now) {
    if (const std::uint64_t received = Received(); received != m_linesSeen) {
        m_linesSeen = received;
        m_lastLineAt = now;
    }
    // Only a request that went out can stall; without a lookup connection the retrieval text
    // stays as it is.
    const bool stalled = Loading() && m_requestSent && now - m_lastLineAt >= m_stallLimit;
    if (stalled != m_stalled) {
        m_stalled = stalled;
        spdlog::warn("History of {}: {}", m_symbol,
                     stalled ? StallText(m_stallLimit, m_symbol) : "lines arrive again");
    }
    if (stalled) {
        std::string text = StallText(m_stallLimit, m_symbol);
        text[0] = 'T';
        sink.SetStatusText(
            fmt::format("{} ({} received) - still waiting", text,
                        CHistoryProgress::CountText(m_dataType, m_history.GetCount())));
        return;
    }
    m_progress.OnTimer(m_history, m_settings.GetInt(keys::kRequestDataType), sink);
}

void CChartLoader::ShowLivePoints(IHistoryProgressSink& sink) {
    if (HistoryShown()) {
        m_progress.OnTimer(m_history, m_settings.GetInt(keys::kRequestDataType), sink, false);
    }
}

std::string CChartLoader::ShownText(int displayed) const {
    return m_progress.ShownText(m_dataType, m_history.GetCount(), displayed);
}

void CChartLoader::LookupStopped(const std::string& why) {
    m_lookupStopped = why;
    if (Loading()) {
        EndIncomplete(why);
    }
}

void CChartLoader::EndIncomplete(const std::string& why) {
    spdlog::warn("History of {} incomplete: {} after {} points", m_symbol, why,
                 m_history.GetCount());
    m_stalled = false;
    m_progress.SetIncomplete(why);
    // The trades held back would follow a gap: they and later ones are not applied.
    m_parser.HeldLevel1Lines().clear();
    if (m_feed != nullptr && !m_symbol.empty()) {
        m_feed->UnwatchSymbol(m_symbol);
    }
    m_history.SetHistoryComplete(true);
}

bool CChartLoader::RemovePoint(int index) {
    if (!HistoryShown() || !m_history.RemoveTick(index)) {
        return false;
    }
    m_progress.SetShownCount(m_history.GetCount());
    return true;
}

bool CChartLoader::Loading() const {
    return !m_symbol.empty() && !m_history.IsHistoryComplete();
}

SChartSummary CChartLoader::Summary() const {
    SChartSummary summary;
    summary.symbol = m_symbol;
    summary.dataType = DataTypeText(m_dataType, m_intervalIndex);
    summary.points = m_history.GetCount();
    summary.complete = m_history.IsHistoryComplete();
    sTICK point;
    if (m_history.GetTick(0, point)) {
        summary.first = TimeText(point, m_dataType);
    }
    if (m_history.GetTick(m_history.GetLastIndex(), point)) {
        summary.last = TimeText(point, m_dataType);
        summary.lastClose = point.close;
    }
    return summary;
}
