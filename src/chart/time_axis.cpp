#include "chart/time_axis.h"

#include "core/data_types.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace {

// One kind of boundary: bars whose keys differ from the bar before start a new period.
enum class EPeriod { EveryBar, Seconds, Day, Week, Months, Years };

struct SLevel {
    EPeriod period;
    int step; // seconds, months or years per period
};

// Intraday levels from the finest up; minute bars start at the one-minute level.
constexpr std::array kIntradayLevels{
    SLevel{EPeriod::Seconds, 1},     SLevel{EPeriod::Seconds, 5},
    SLevel{EPeriod::Seconds, 10},    SLevel{EPeriod::Seconds, 15},
    SLevel{EPeriod::Seconds, 30},    SLevel{EPeriod::Seconds, 60},
    SLevel{EPeriod::Seconds, 120},   SLevel{EPeriod::Seconds, 300},
    SLevel{EPeriod::Seconds, 600},   SLevel{EPeriod::Seconds, 900},
    SLevel{EPeriod::Seconds, 1800},  SLevel{EPeriod::Seconds, 3600},
    SLevel{EPeriod::Seconds, 7200},  SLevel{EPeriod::Seconds, 10800},
    SLevel{EPeriod::Seconds, 14400}, SLevel{EPeriod::Seconds, 21600},
    SLevel{EPeriod::Seconds, 43200}, SLevel{EPeriod::Day, 1},
    SLevel{EPeriod::Week, 1},        SLevel{EPeriod::Months, 1},
    SLevel{EPeriod::Months, 3},      SLevel{EPeriod::Years, 1}};
constexpr std::size_t kFirstMinuteLevel = 5;

constexpr std::array kDateLevels{
    SLevel{EPeriod::Day, 1},    SLevel{EPeriod::Week, 1},   SLevel{EPeriod::Week, 2},
    SLevel{EPeriod::Months, 1}, SLevel{EPeriod::Months, 3}, SLevel{EPeriod::Months, 6},
    SLevel{EPeriod::Years, 1},  SLevel{EPeriod::Years, 2},  SLevel{EPeriod::Years, 5},
    SLevel{EPeriod::Years, 10}, SLevel{EPeriod::Years, 20}, SLevel{EPeriod::Years, 50},
    SLevel{EPeriod::Years, 100}};

// The levels of a data type, finest first; every bar is a level of its own below them all.
std::vector<SLevel> LevelsFor(int dataType) {
    std::vector<SLevel> levels{SLevel{EPeriod::EveryBar, 1}};
    if (dataType == kTicks) {
        levels.insert(levels.end(), kIntradayLevels.begin(), kIntradayLevels.end());
    } else if (dataType == kIntervals) {
        levels.insert(levels.end(), kIntradayLevels.begin() + kFirstMinuteLevel,
                      kIntradayLevels.end());
    } else {
        levels.insert(levels.end(), kDateLevels.begin(), kDateLevels.end());
    }
    return levels;
}

constexpr int kSecondsPerDay = 86400;
// 1900-01-01, a Monday, as days since 1899-12-30: weeks run from Monday.
constexpr std::int64_t kFirstMonday = 2;

struct SStamp {
    bool valid = false;
    SDateTimeFields fields;
    std::int64_t day = 0;
    int second = 0;
};

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    const std::int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

std::int64_t Key(const SLevel& level, const SStamp& s, std::size_t slot) {
    switch (level.period) {
    case EPeriod::EveryBar:
        return static_cast<std::int64_t>(slot);
    case EPeriod::Seconds:
        return s.day * (kSecondsPerDay / level.step) + s.second / level.step;
    case EPeriod::Day:
        return s.day;
    case EPeriod::Week:
        return FloorDiv(s.day - kFirstMonday, 7 * static_cast<std::int64_t>(level.step));
    case EPeriod::Months:
        return (static_cast<std::int64_t>(s.fields.year) * 12 + s.fields.month - 1) / level.step;
    case EPeriod::Years:
        return s.fields.year / level.step;
    }
    return 0;
}

std::string LabelText(const SStamp& s, bool intraday, bool newDay, bool withSeconds) {
    const SDateTimeFields& f = s.fields;
    if (!intraday || newDay) {
        return fmt::format("{:04}/{:02}/{:02}", f.year, f.month, f.day);
    }
    if (withSeconds) {
        return fmt::format("{:02}:{:02}:{:02}", f.hour, f.minute, f.second);
    }
    return fmt::format("{:02}:{:02}", f.hour, f.minute);
}

// The displayed bars with their calendar fields and the periods they start.
class CAxisBars {
public:
    CAxisBars(std::span<const CDateTime> times, int dataType)
        : m_levels(LevelsFor(dataType)), m_stamps(times.size()),
          m_before(times.size(), times.size()) {
        std::size_t lastValid = Count();
        for (std::size_t i = 0; i < Count(); ++i) {
            SStamp& s = m_stamps[i];
            s.valid = times[i].GetFields(s.fields);
            m_before[i] = lastValid;
            if (s.valid) {
                s.day = CDateTime::DayNumber(s.fields.year, s.fields.month, s.fields.day);
                s.second = s.fields.hour * 3600 + s.fields.minute * 60 + s.fields.second;
                lastValid = i;
            }
        }
    }

    std::size_t Count() const { return m_stamps.size(); }
    std::size_t LevelCount() const { return m_levels.size(); }
    const SLevel& Level(std::size_t l) const { return m_levels[l]; }
    const SStamp& Stamp(std::size_t i) const { return m_stamps[i]; }
    // The valid bar before bar i; Count() when there is none.
    std::size_t Before(std::size_t i) const { return m_before[i]; }

    // Bar i starts a new period of level l: it and the valid bar before it differ there.
    bool Starts(std::size_t l, std::size_t i) const {
        const std::size_t b = m_before[i];
        return m_stamps[i].valid && b != Count() &&
               Key(m_levels[l], m_stamps[i], i) != Key(m_levels[l], m_stamps[b], b);
    }

    // Number of bars that start a period of level l. Levels are not nested (a month need not
    // start on the first bar of a week), so each is counted on its own.
    int Starts(std::size_t l) const {
        int n = 0;
        for (std::size_t i = 1; i < Count(); ++i) {
            n += Starts(l, i) ? 1 : 0;
        }
        return n;
    }

    // The coarsest level at which bar i starts a period.
    std::size_t Rank(std::size_t i) const {
        for (std::size_t l = LevelCount(); l-- > 1;) {
            if (Starts(l, i)) {
                return l;
            }
        }
        return 0;
    }

    // The bars that start a period of level l, kept at least minGap bars apart; where two
    // collide, the one that starts the longer period wins.
    std::vector<std::size_t> Thin(std::size_t l, std::size_t minGap) const {
        std::vector<std::pair<std::size_t, std::size_t>> kept; // bar, rank
        for (std::size_t i = 1; i < Count(); ++i) {
            if (!Starts(l, i)) {
                continue;
            }
            const std::size_t rank = Rank(i);
            bool take = true;
            while (!kept.empty() && i - kept.back().first < minGap) {
                if (kept.back().second < rank) {
                    kept.pop_back();
                } else {
                    take = false;
                    break;
                }
            }
            if (take) {
                kept.emplace_back(i, rank);
            }
        }
        std::vector<std::size_t> bars;
        bars.reserve(kept.size());
        for (const auto& entry : kept) {
            bars.push_back(entry.first);
        }
        return bars;
    }

private:
    std::vector<SLevel> m_levels;
    std::vector<SStamp> m_stamps;
    std::vector<std::size_t> m_before;
};

// Labels closer than this share of the spacing overlap; the spacing leaves room to spare.
constexpr double kOverlapShare = 0.75;

// Trading days a period spans by the calendar; bar-by-bar and second periods span none.
double TradingDays(const SLevel& level) {
    switch (level.period) {
    case EPeriod::Day:
        return 1.0;
    case EPeriod::Week:
        return 5.0 * level.step;
    case EPeriod::Months:
        return 21.0 * level.step;
    case EPeriod::Years:
        return 252.0 * level.step;
    default:
        return 0.0;
    }
}

// Bars per trading day: fixed for daily bars and above; for intraday data the displayed bars
// over the days they touch (a single day counts as the bars themselves).
double BarsPerTradingDay(const CAxisBars& bars, int dataType) {
    switch (dataType) {
    case kDays:
        return 1.0;
    case kWeeks:
        return 1.0 / 5.0;
    case kMonths:
        return 1.0 / 21.0;
    default:
        break;
    }
    std::int64_t lastDay = 0;
    int days = 0;
    int valid = 0;
    for (std::size_t i = 0; i < bars.Count(); ++i) {
        const SStamp& s = bars.Stamp(i);
        if (s.valid) {
            days += (valid == 0 || s.day != lastDay) ? 1 : 0;
            lastDay = s.day;
            ++valid;
        }
    }
    return days > 1 ? static_cast<double>(valid) / (days - 1) : std::max(valid, 1) * 2.0;
}

// The mean time from one intraday bar to the next within a session (gaps of an hour or more
// are left out); a minute when nothing tells.
double MeanBarSeconds(const CAxisBars& bars) {
    double total = 0.0;
    int steps = 0;
    std::size_t before = bars.Count();
    for (std::size_t i = 0; i < bars.Count(); ++i) {
        const SStamp& s = bars.Stamp(i);
        if (!s.valid) {
            continue;
        }
        if (before != bars.Count()) {
            const SStamp& b = bars.Stamp(before);
            const std::int64_t delta = (s.day - b.day) * kSecondsPerDay + (s.second - b.second);
            if (delta >= 0 && delta < 3600) {
                total += static_cast<double>(delta);
                ++steps;
            }
        }
        before = i;
    }
    return steps > 0 && total > 0.0 ? total / steps : (steps > 0 ? 0.01 : 60.0);
}

// How many bars a period of `level` spans by the calendar.
double NominalBars(const SLevel& level, double barsPerDay, double barSeconds) {
    if (level.period == EPeriod::EveryBar) {
        return 1.0;
    }
    if (level.period == EPeriod::Seconds) {
        return barSeconds > 0.0 ? level.step / barSeconds : 0.0;
    }
    return TradingDays(level) * barsPerDay;
}

} // namespace

std::vector<STimeAxisLabel> PickTimeAxisLabels(std::span<const CDateTime> times, int dataType,
                                               double plotWidth, double minSpacing) {
    std::vector<STimeAxisLabel> labels;
    if (times.empty() || dataType < kTicks || dataType > kMonths || !std::isfinite(plotWidth) ||
        plotWidth < 1.0) {
        return labels;
    }
    const bool intraday = dataType == kTicks || dataType == kIntervals;
    const CAxisBars bars(times, dataType);
    const std::size_t count = bars.Count();

    const double spacing = std::isfinite(minSpacing) ? std::max(1.0, minSpacing) : 80.0;
    const double minGap = spacing * static_cast<double>(count) / plotWidth;

    // One level for the whole axis: the finest whose periods are, by the calendar, at least
    // minGap bars long. It depends on the zoom and the plot width, not on which bars are in
    // view, so that scrolling keeps it and every label stays on its bar.
    const double barsPerDay = BarsPerTradingDay(bars, dataType);
    const double barSeconds = intraday ? MeanBarSeconds(bars) : 0.0;
    std::size_t chosen = bars.LevelCount() - 1;
    for (std::size_t l = 0; l < bars.LevelCount(); ++l) {
        if (NominalBars(bars.Level(l), barsPerDay, barSeconds) >= minGap) {
            chosen = l;
            break;
        }
    }
    // Every period start of that level is labelled; only labels that would overlap give way to
    // the one that starts the longer period (a new day beside a round hour). Bar-by-bar labels
    // keep the whole spacing.
    const double overlap = chosen == 0 ? minGap : minGap * kOverlapShare;
    const auto gap =
        static_cast<std::size_t>(std::min(std::max(std::ceil(overlap - 1e-9), 1.0),
                                          static_cast<double>(std::max(count, std::size_t{1}))));
    std::vector<std::size_t> kept = bars.Thin(chosen, gap);
    // A window with no period start of that level (a short span) takes the next finer level
    // that has one.
    while (kept.empty() && chosen > 0) {
        --chosen;
        kept = bars.Thin(chosen, chosen == 0 ? std::max<std::size_t>(
                                                   static_cast<std::size_t>(std::ceil(minGap)), 1)
                                             : gap);
    }
    if (kept.empty()) {
        // No bar starts a period: the first valid bar is labelled.
        for (std::size_t i = 0; i < count && kept.empty(); ++i) {
            if (bars.Stamp(i).valid) {
                kept.push_back(i);
            }
        }
    }

    const SLevel level = bars.Level(chosen);
    const bool withSeconds =
        dataType == kTicks && (level.period == EPeriod::EveryBar ||
                               (level.period == EPeriod::Seconds && level.step < 60));
    labels.reserve(kept.size());
    for (const std::size_t i : kept) {
        const std::size_t b = bars.Before(i);
        const SStamp& s = bars.Stamp(i);
        const bool major = b != count && (intraday ? bars.Stamp(b).day != s.day
                                                   : bars.Stamp(b).fields.year != s.fields.year);
        labels.push_back(
            {static_cast<int>(i), LabelText(s, intraday, intraday && major, withSeconds), major});
    }
    return labels;
}
