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

void CHistoryProgress::OnTimer(const CChartHistRequest& history, int dataType,
                               IHistoryProgressView& view) {
    const int count = history.GetCount();
    if (!history.IsHistoryComplete()) {
        m_shownCount = count;
        view.SetStatusText(RetrievalText(dataType, count));
        return;
    }
    if (m_newLoad) {
        m_newLoad = false;
        view.SetScrollRange(count);
        view.SetScrollPosition(count);
        m_shownCount = view.RecomputeAndShowNewest();
        view.SetStatusText(DatapointsText(count, view.DisplayedPointCount()));
        return;
    }
    if (count < m_shownCount) {
        return;
    }
    if (!view.IsScrollAtLimit() || m_shownCount == 0) {
        return;
    }
    view.SetScrollRange(count);
    view.SetScrollPosition(view.ScrollLimit());
    view.AppendNewPoints(count - m_shownCount);
    m_shownCount = count;
    view.SetStatusText(DatapointsText(count, view.DisplayedPointCount()));
}
