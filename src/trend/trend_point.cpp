#include "trend/trend_point.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

double DaysOf(const SPointTime& time) {
    return time.time.Days() + static_cast<double>(time.microseconds) / 86'400'000'000.0;
}

// The median gap in days between the bars first .. first + span (within the series); 1 when
// there is no gap to measure.
double TypicalSpacing(const CChartHistRequest& history, int first, int span) {
    const int count = history.GetCount();
    first = std::clamp(first, 0, std::max(count - 1, 0));
    span = std::min(span, count - 1 - first);
    if (span < 1) {
        return 1.0;
    }
    std::vector<SPointTime> times(static_cast<std::size_t>(span) + 1);
    history.FillTimes(first, times);
    std::vector<double> gaps;
    for (std::size_t i = 1; i < times.size(); ++i) {
        const double gap = DaysOf(times[i]) - DaysOf(times[i - 1]);
        if (gap > 0.0) {
            gaps.push_back(gap);
        }
    }
    if (gaps.empty()) {
        return 1.0;
    }
    std::nth_element(gaps.begin(), gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2),
                     gaps.end());
    return gaps[gaps.size() / 2];
}

constexpr int kSpacingSample = 20;

} // namespace

double BarOfTime(const CChartHistRequest& history, const SPointTime& time) {
    const int count = history.GetCount();
    if (count == 0) {
        return 0.0;
    }
    const int index = history.LowerBound(time);
    const double days = DaysOf(time);
    sTICK point;
    if (index == count) {
        history.GetTick(count - 1, point);
        const double spacing = TypicalSpacing(history, count - 1 - kSpacingSample, kSpacingSample);
        return count - 1 + (days - DaysOf({point.time, point.microseconds})) / spacing;
    }
    history.GetTick(index, point);
    const double at = DaysOf({point.time, point.microseconds});
    if (at == days) {
        return index;
    }
    if (index == 0) {
        const double spacing = TypicalSpacing(history, 0, kSpacingSample);
        return -(at - days) / spacing;
    }
    sTICK before;
    history.GetTick(index - 1, before);
    const double from = DaysOf({before.time, before.microseconds});
    return index - 1 + (at > from ? (days - from) / (at - from) : 0.0);
}

SPointTime TimeOfBar(const CChartHistRequest& history, double bar) {
    sTICK point;
    const double rounded = std::isfinite(bar) ? std::round(bar) : 0.0;
    const int index = static_cast<int>(std::clamp(rounded, 0.0, 2.0e9));
    if (!history.GetTick(index, point)) {
        SPointTime none;
        none.time.SetStatus(CDateTime::Status::Invalid);
        return none;
    }
    return {point.time, point.microseconds};
}

STrendPoint TrendPointAt(const CChartHistRequest& history, double bar, double price) {
    const double rounded = std::isfinite(bar) ? std::round(bar) : 0.0;
    const double last = std::max(history.GetCount() - 1, 0);
    return {std::clamp(rounded, 0.0, last), price, TimeOfBar(history, bar)};
}
