#include "chart/chart_progress.h"

#include "history/chart_hist_request.h"

#include <fmt/format.h>

std::string CHistoryProgress::RetrievalText(int dataType, int count) {
    switch (dataType) {
    case 0:
        return fmt::format("Retrieving Tick Data ({} Ticks Received)", count);
    case 1:
        return fmt::format("Retrieving Minute Data ({} Minutes Received)", count);
    case 2:
        return fmt::format("Retrieving Day Data ({} Days Received)", count);
    case 3:
        return fmt::format("Retrieving Week Data ({} Weeks Received)", count);
    case 4:
        return fmt::format("Retrieving Month Data ({} Months Received)", count);
    default:
        return {};
    }
}

std::string CHistoryProgress::DatapointsText(int count, int displayed) {
    return fmt::format("{} datapoints available.  Displaying {}.", count, displayed);
}

std::string CHistoryProgress::CountText(int dataType, int count) {
    std::string digits = std::to_string(count < 0 ? -count : count);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), ",");
    }
    const char* unit =
        dataType == 0 ? (count == 1 ? "tick" : "ticks") : (count == 1 ? "bar" : "bars");
    return fmt::format("{}{} {}", count < 0 ? "-" : "", digits, unit);
}

std::string CHistoryProgress::IncompleteText(const std::string& why, int dataType, int count,
                                             int displayed) {
    if (count == 0) {
        return fmt::format("No history: {}.", why);
    }
    return fmt::format("History incomplete: {} after {}.  Displaying {}.", why,
                       CountText(dataType, count), displayed);
}

std::string CHistoryProgress::ShownText(int dataType, int count, int displayed) const {
    return m_incomplete.empty() ? DatapointsText(count, displayed)
                                : IncompleteText(m_incomplete, dataType, count, displayed);
}

void CHistoryProgress::OnTimer(const CChartHistRequest& history, int dataType,
                               IHistoryProgressSink& sink, bool withText) {
    const int count = history.GetCount();
    if (!history.IsHistoryComplete()) {
        m_shownCount = count;
        sink.SetStatusText(RetrievalText(dataType, count));
        return;
    }
    if (m_newLoad) {
        m_newLoad = false;
        m_shownCount = count;
        sink.SetStatusText(ShownText(dataType, count, sink.ShowCompleteHistory(count)));
        return;
    }
    // Live points are followed once something is shown, and never when the series shrank.
    if (count < m_shownCount || m_shownCount == 0) {
        return;
    }
    const std::optional<int> displayed = sink.ShowNewPoints(count, count - m_shownCount);
    if (!displayed) {
        return;
    }
    m_shownCount = count;
    if (withText) {
        sink.SetStatusText(ShownText(dataType, count, *displayed));
    }
}
