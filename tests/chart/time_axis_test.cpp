#include "chart/time_axis.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <set>
#include <vector>

namespace {

// `count` weekday bars from the given date on.
std::vector<CDateTime> DailyBars(int year, int month, int day, int count) {
    std::vector<CDateTime> times;
    double d = static_cast<double>(CDateTime::DayNumber(year, month, day));
    while (static_cast<int>(times.size()) < count) {
        const CDateTime t(d);
        const int weekday = t.GetDayOfWeek();
        if (weekday != 1 && weekday != 7) {
            times.push_back(t);
        }
        d += 1.0;
    }
    return times;
}

// One-minute bars from 09:30 on `days` consecutive days from 2024-03-11, `perDay` bars each.
std::vector<CDateTime> MinuteBars(int days, int perDay) {
    const std::int64_t first = CDateTime::DayNumber(2024, 3, 11);
    std::vector<CDateTime> times;
    for (int d = 0; d < days; ++d) {
        for (int m = 0; m < perDay; ++m) {
            const int minute = 9 * 60 + 30 + m;
            times.emplace_back(static_cast<double>(first + d) + minute / 1440.0);
        }
    }
    return times;
}

SDateTimeFields Fields(const CDateTime& t) {
    SDateTimeFields f;
    t.GetFields(f);
    return f;
}

// Labels are in order and never closer than the spacing allows.
void ExpectSpaced(const std::vector<STimeAxisLabel>& labels, std::size_t bars, double width,
                  double spacing) {
    for (std::size_t i = 1; i < labels.size(); ++i) {
        const double pixels = (labels[i].slot - labels[i - 1].slot) * width / bars;
        EXPECT_GE(pixels, spacing) << "labels " << i - 1 << " and " << i;
    }
}

} // namespace

void PrintTo(const STimeAxisLabel& label, std::ostream* out) {
    *out << "{" << label.slot << ", \"" << label.text << "\", " << label.major << "}";
}

TEST(TimeAxis, DailyBarsAreLabelledAtNewMonthsAndYears) {
    const std::vector<CDateTime> times = DailyBars(2023, 10, 2, 120);
    const std::vector<STimeAxisLabel> labels = PickTimeAxisLabels(times, 2, 840.0);
    ASSERT_GE(labels.size(), 4U);
    ExpectSpaced(labels, times.size(), 840.0, 80.0);
    for (const STimeAxisLabel& label : labels) {
        const SDateTimeFields here = Fields(times[static_cast<std::size_t>(label.slot)]);
        const SDateTimeFields before = Fields(times[static_cast<std::size_t>(label.slot - 1)]);
        EXPECT_NE(here.month, before.month) << label.text;
        EXPECT_EQ(label.major, here.year != before.year) << label.text;
    }
    // 2024/01/01 is a Monday, the first bar of the year.
    const auto newYear =
        std::find_if(labels.begin(), labels.end(), [](const STimeAxisLabel& l) { return l.major; });
    ASSERT_NE(newYear, labels.end());
    EXPECT_EQ(newYear->text, "2024/01/01");
    // Scrolling 120 bars over a longer series, one bar at a time, at two widths: one step for
    // every window (no month or fortnight skipped), and a label stays on its bar.
    const std::vector<CDateTime> series = DailyBars(2023, 1, 2, 400);
    for (const double width : {840.0, 1100.0, 300.0}) {
        SCOPED_TRACE(width);
        std::vector<std::set<int>> windows;
        for (int first = 0; first + 120 <= 400; ++first) {
            const auto view = std::span(series).subspan(static_cast<std::size_t>(first), 120);
            std::set<int> bars;
            for (const STimeAxisLabel& label : PickTimeAxisLabels(view, 2, width)) {
                bars.insert(first + label.slot);
            }
            windows.push_back(bars);
        }
        std::set<int> all;
        for (const std::set<int>& bars : windows) {
            all.insert(bars.begin(), bars.end());
        }
        for (std::size_t first = 0; first < windows.size(); ++first) {
            std::set<int> expected;
            for (const int bar : all) {
                if (bar > static_cast<int>(first) && bar < static_cast<int>(first) + 120) {
                    expected.insert(bar);
                }
            }
            ASSERT_EQ(windows[first], expected) << "window at " << first;
        }
        // Neighbouring labels are one step apart: their gaps differ by a holiday week at most.
        int low = 400, high = 0;
        for (auto it = std::next(all.begin()); it != all.end(); ++it) {
            low = std::min(low, *it - *std::prev(it));
            high = std::max(high, *it - *std::prev(it));
        }
        EXPECT_LE(high - low, 3) << low << " .. " << high;
        EXPECT_GE(low * width / 120, 80.0 * 0.75);
    }
}

TEST(TimeAxis, IntradayBarsShowRoundTimesAndTheDateAtADayChange) {
    const std::vector<CDateTime> times = MinuteBars(3, 390);
    const std::vector<STimeAxisLabel> labels = PickTimeAxisLabels(times, 1, 1000.0);
    ASSERT_GE(labels.size(), 5U);
    ExpectSpaced(labels, times.size(), 1000.0, 80.0);
    int dates = 0;
    for (const STimeAxisLabel& label : labels) {
        const SDateTimeFields f = Fields(times[static_cast<std::size_t>(label.slot)]);
        if (label.major) {
            ++dates;
            EXPECT_EQ(label.text.size(), 10U) << label.text;
            EXPECT_EQ(f.hour * 60 + f.minute, 9 * 60 + 30);
        } else {
            EXPECT_EQ(f.minute, 0) << label.text;
            EXPECT_EQ(label.text, fmt::format("{:02}:00", f.hour));
        }
    }
    EXPECT_EQ(dates, 2);
}

TEST(TimeAxis, LongerPeriodsWinWhereLabelsCollide) {
    // A short first session: its 10:00 bar is three bars before the next day's first bar, which
    // takes its place; every other hour keeps its label.
    std::vector<CDateTime> times = MinuteBars(1, 33);
    const std::vector<CDateTime> second = MinuteBars(2, 150);
    times.insert(times.end(), second.begin() + 150, second.end());
    const std::vector<STimeAxisLabel> labels = PickTimeAxisLabels(times, 1, 400.0);
    const std::vector<STimeAxisLabel> expected{
        {33, "2024/03/12", true}, {63, "10:00", false}, {123, "11:00", false}};
    EXPECT_EQ(labels, expected);
    // 40 sessions, the widest zoom: weekly or daily labels, still apart.
    std::vector<CDateTime> many = MinuteBars(40, 390);
    many.resize(15360);
    const std::vector<STimeAxisLabel> wide = PickTimeAxisLabels(many, 1, 1200.0);
    ASSERT_GE(wide.size(), 3U);
    EXPECT_LE(wide.size(), 15U);
    ExpectSpaced(wide, many.size(), 1200.0, 80.0);
    EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](const auto& l) { return l.major; }));
}

TEST(TimeAxis, TicksShowSeconds) {
    const double day = static_cast<double>(CDateTime::DayNumber(2024, 3, 15));
    const double base = day + 34200 / 86400.0;
    // One tick every two seconds for four minutes from 09:30:00: labels every 30 seconds.
    std::vector<CDateTime> ticks;
    for (int i = 0; i < 120; ++i) {
        ticks.emplace_back(base + 2 * i / 86400.0);
    }
    const std::vector<STimeAxisLabel> labels = PickTimeAxisLabels(ticks, 0, 840.0);
    ASSERT_GE(labels.size(), 4U);
    for (const STimeAxisLabel& label : labels) {
        const SDateTimeFields f = Fields(ticks[static_cast<std::size_t>(label.slot)]);
        EXPECT_EQ(f.second % 30, 0) << label.text;
        EXPECT_EQ(label.text, fmt::format("{:02}:{:02}:{:02}", f.hour, f.minute, f.second));
    }
    // Thirty ticks in the same second: only bar positions are left, spaced out.
    const std::vector<CDateTime> burst(30, CDateTime(day + 34205 / 86400.0));
    const std::vector<STimeAxisLabel> spread = PickTimeAxisLabels(burst, 0, 840.0);
    ASSERT_EQ(spread.size(), 10U);
    EXPECT_EQ(spread.front().text, "09:30:05");
    ExpectSpaced(spread, burst.size(), 840.0, 80.0);
}

TEST(TimeAxis, DegenerateInput) {
    const std::vector<CDateTime> daily = DailyBars(2024, 3, 1, 40);
    EXPECT_TRUE(PickTimeAxisLabels({}, 2, 800.0).empty() &&
                PickTimeAxisLabels(daily, 2, 0.0).empty() &&
                PickTimeAxisLabels(daily, 2, std::nan("")).empty() &&
                PickTimeAxisLabels(daily, 5, 800.0).empty());
    // One bar starts no period: it is labelled itself.
    EXPECT_EQ(PickTimeAxisLabels(std::span(daily).first(1), 3, 800.0),
              (std::vector<STimeAxisLabel>{{0, "2024/03/01", false}}));
    // Bars with invalid times are never labelled and do not break the periods around them.
    std::vector<CDateTime> holes = daily;
    const CDateTime invalid(0.0, CDateTime::Status::Invalid);
    for (std::size_t i = 0; i < holes.size(); i += 3) {
        holes[i] = invalid;
    }
    for (const STimeAxisLabel& label : PickTimeAxisLabels(holes, 2, 800.0, 40.0)) {
        EXPECT_TRUE(holes[static_cast<std::size_t>(label.slot)].IsValid()) << label.slot;
    }
    const std::vector<CDateTime> none(5, invalid);
    EXPECT_TRUE(PickTimeAxisLabels(none, 2, 800.0).empty());
}
