#pragma once

// The exchange's clock as the feed tells it: the time stamp lines ("T,YYYYMMDD HH:MM:SS") and the
// times of the trades. Between two of them the clock runs on by the local steady clock.

#include "base/datetime.h"

#include <chrono>
#include <optional>
#include <string_view>

class CExchangeClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // A time stamp line; false (nothing changed) for a line that is not one.
    bool OnTimeLine(std::string_view line, TimePoint at);
    // An exchange time the feed gave at `at` (a trade's time). A time behind the clock as it
    // runs is ignored: the clock never goes back.
    void OnFeedTime(const CDateTime& time, TimePoint at);
    // The exchange time at `at`; none before the feed gave any.
    std::optional<CDateTime> Now(TimePoint at) const;
    void Reset() { m_known.reset(); }

private:
    std::optional<CDateTime> m_known;
    TimePoint m_knownAt;
};
