#include "history_answer.h"

#include <algorithm>
#include <chrono>

namespace portico {

namespace {

constexpr std::size_t kLongLineBytes = 70 * 1024;
// Days looked at or warmed in one step before the first line.
constexpr int kRecentDaysPerStep = 128;
constexpr int kWarmDaysPerStep = 256;
// How long one step waits for a file instrument's indexing.
constexpr std::chrono::milliseconds kIndexWait{5};
constexpr const char* kNoData = ",E,!NO_DATA!,";
// Ticks written in one go.
constexpr std::size_t kTickRun = 64;
// Tick answers of at least this many lines are copied from day texts when they can be.
constexpr std::uint64_t kDayTextLines = 100'000;

// Keeps the newest `count` of bars held oldest first.
void KeepNewest(std::vector<Bar>& bars, std::uint64_t count) {
    if (bars.size() > count) {
        bars.erase(bars.begin(), bars.end() - static_cast<std::ptrdiff_t>(count));
    }
}

// The day `count` periods of `daysPerPeriod` calendar days (and two weeks of slack) before
// `today`, or the first day of history when that is later.
std::int32_t DaysBefore(std::int32_t today, std::uint64_t count, std::int64_t daysPerPeriod,
                        std::int32_t firstDay) {
    const std::int64_t span =
        static_cast<std::int64_t>(std::min<std::uint64_t>(count, 1u << 24)) * daysPerPeriod + 14;
    return static_cast<std::int32_t>(std::max<std::int64_t>(today - span, firstDay));
}

} // namespace

HistoryAnswer::HistoryAnswer(const Market& market, HistoryRequest request, Micros now,
                             AnswerFaults faults, DayTextCache* days)
    : m_market(market), m_request(std::move(request)), m_now(now), m_faults(faults), m_days(days),
      m_tickLines(m_request.id) {}

HistoryAnswer::~HistoryAnswer() = default;

std::uint64_t HistoryAnswer::limit() const {
    return std::min(m_request.maxPoints.value_or(kMaxDataLines), kMaxDataLines);
}

void HistoryAnswer::start(LineWriter& out) {
    m_started = true;
    if (m_faults.longLine) {
        out.put(m_request.id);
        out.put(",!LONG_LINE!,");
        out.putRepeated('x', kLongLineBytes);
        out.endLine();
    }
    m_instrument = m_market.find(m_request.symbol);
    if (!m_instrument) {
        return;
    }
    if (!m_market.ready(*m_instrument, std::chrono::milliseconds(0))) {
        m_stage = Stage::Indexing;
        return;
    }
    plan();
}

void HistoryAnswer::plan() {
    const HistoryRequest& r = m_request;
    const std::int32_t today = DayOf(m_now);
    const std::int32_t firstDay = m_instrument->firstDay;
    switch (r.kind) {
    case HistoryKind::HTD:
    case HistoryKind::HID:
        m_stage = Stage::RecentDays;
        m_walkDay = today;
        return;
    case HistoryKind::HDX:
        m_warmLow = r.maxPoints ? DaysBefore(today, limit(), 2, firstDay) : firstDay;
        break;
    case HistoryKind::HDT:
        m_warmLow = r.begin ? std::max(DayOf(*r.begin), firstDay) : firstDay;
        break;
    case HistoryKind::HWX:
        m_warmLow = DaysBefore(today, limit(), 7, firstDay);
        break;
    case HistoryKind::HMX:
        m_warmLow = DaysBefore(today, limit(), 31, firstDay);
        break;
    default:
        makeSource();
        return;
    }
    // Totals are kept for whole past days only.
    m_warmHigh = today - 1;
    if (r.end) {
        m_warmHigh = std::min(m_warmHigh, DayOf(*r.end));
    }
    m_stage = Stage::WarmDays;
}

bool HistoryAnswer::prepare() {
    switch (m_stage) {
    case Stage::Indexing:
        if (m_market.ready(*m_instrument, kIndexWait)) {
            m_stage = Stage::Ready;
            plan();
        }
        return false;
    case Stage::RecentDays: {
        // The `days`-th most recent day with trades by now, or the first day of history.
        const int wanted = std::max(m_request.days, 1);
        for (int i = 0; i < kRecentDaysPerStep; ++i) {
            if (m_walkDay < m_instrument->firstDay) {
                m_recentStart = StartOfDay(m_instrument->firstDay);
                makeSource();
                return true;
            }
            if (!m_market.dailyBars(*m_instrument, m_walkDay, m_walkDay, m_now).empty() &&
                ++m_daysFound == wanted) {
                m_recentStart = StartOfDay(m_walkDay);
                makeSource();
                return true;
            }
            --m_walkDay;
        }
        return false;
    }
    case Stage::WarmDays:
        if (m_warmHigh >= m_warmLow) {
            const std::int32_t low = std::max(m_warmLow, m_warmHigh - (kWarmDaysPerStep - 1));
            m_market.prepareDays(*m_instrument, low, m_warmHigh);
            m_warmHigh = low - 1;
            return false;
        }
        makeSource();
        return true;
    case Stage::Ready:
        break;
    }
    return true;
}

void HistoryAnswer::makeSource() {
    m_stage = Stage::Ready;
    const HistoryRequest& r = m_request;
    const Instrument& instrument = *m_instrument;
    const Micros historyStart = StartOfDay(instrument.firstDay);
    const Micros from = r.kind == HistoryKind::HTD || r.kind == HistoryKind::HID
                            ? m_recentStart
                            : r.begin.value_or(historyStart);
    const Micros to = r.end ? std::min(*r.end, m_now) : m_now;
    if (r.isTicks()) {
        TickSelection selection;
        selection.from = from;
        selection.to = to;
        selection.limit = limit();
        selection.beginFilter = r.beginFilter;
        selection.endFilter = r.endFilter;
        selection.newestFirst = r.newestFirst;
        if (m_days && m_days->budget() > 0 && !m_faults.perLine() &&
            selection.limit >= kDayTextLines) {
            m_dayText = std::make_unique<DayTextSource>(m_market, instrument, selection, r.id,
                                                        m_now, *m_days);
        } else {
            m_ticks = std::make_unique<TickSource>(m_market, instrument, selection);
        }
    } else if (r.isIntervals()) {
        IntervalSelection selection;
        selection.from = from;
        selection.to = to;
        selection.seconds = r.intervalSeconds;
        selection.limit = limit();
        selection.beginFilter = r.beginFilter;
        selection.endFilter = r.endFilter;
        selection.newestFirst = r.newestFirst;
        m_intervals = std::make_unique<IntervalSource>(m_market, instrument, selection);
    } else {
        m_bars = periodBars();
    }
}

std::vector<Bar> HistoryAnswer::periodBars() const {
    const HistoryRequest& r = m_request;
    const Instrument& instrument = *m_instrument;
    const Micros to = r.end ? std::min(*r.end, m_now) : m_now;
    const std::int32_t today = DayOf(m_now);
    std::vector<Bar> bars;
    switch (r.kind) {
    case HistoryKind::HDX:
        bars = r.maxPoints ? m_market.lastDailyBars(instrument, limit(), m_now)
                           : m_market.dailyBars(instrument, instrument.firstDay, today, m_now);
        break;
    case HistoryKind::HDT:
        bars = m_market.dailyBars(instrument, r.begin ? DayOf(*r.begin) : instrument.firstDay,
                                  DayOf(to), m_now);
        break;
    case HistoryKind::HWX:
    case HistoryKind::HMX: {
        const auto days = static_cast<std::size_t>(std::max(0, today - instrument.firstDay));
        const std::size_t all = days / (r.kind == HistoryKind::HWX ? 7 : 28) + 2;
        const std::size_t count = std::min<std::uint64_t>(limit(), all);
        bars = r.kind == HistoryKind::HWX ? m_market.lastWeeklyBars(instrument, count, m_now)
                                          : m_market.lastMonthlyBars(instrument, count, m_now);
        break;
    }
    default:
        return bars;
    }
    KeepNewest(bars, limit());
    if (r.newestFirst) {
        std::reverse(bars.begin(), bars.end());
    }
    return bars;
}

HistoryAnswer::Progress HistoryAnswer::finish(LineWriter& out, const char* error) {
    if (error) {
        out.put(m_request.id);
        out.put(error);
        out.endLine();
    }
    out.put(m_request.id);
    out.put(",!ENDMSG!,");
    out.endLine();
    m_finished = true;
    return Progress::Done;
}

HistoryAnswer::Progress HistoryAnswer::fill(LineWriter& out, std::size_t budget) {
    if (m_finished) {
        return Progress::Done;
    }
    if (!m_started) {
        start(out);
    }
    if (!m_instrument) {
        return finish(out, ",E,!UNKNOWN_SYMBOL!,");
    }
    if (m_stage != Stage::Ready && !prepare()) {
        return Progress::More;
    }
    if (m_dayText) {
        std::uint64_t lines = 0;
        const SourceStep step = m_dayText->fill(out, budget, lines);
        m_dataLines += lines;
        if (step == SourceStep::Done) {
            return finish(out, m_dataLines == 0 ? kNoData : nullptr);
        }
        return Progress::More;
    }
    if (m_ticks) {
        return fillTicks(out, budget);
    }
    while (out.size() < budget) {
        if (m_intervals) {
            const Bar* bar = nullptr;
            const SourceStep step = m_intervals->next(bar);
            if (step == SourceStep::Busy) {
                return Progress::More;
            }
            if (step == SourceStep::Done) {
                return finish(out, m_dataLines == 0 ? kNoData : nullptr);
            }
            writeBar(out, *bar);
        } else {
            if (m_barIndex >= m_bars.size()) {
                return finish(out, m_bars.empty() ? kNoData : nullptr);
            }
            writeBar(out, m_bars[m_barIndex++]);
        }
        if (!afterDataLine(out)) {
            return Progress::Cut;
        }
    }
    return Progress::More;
}

bool HistoryAnswer::view(std::size_t maxBytes, std::string_view& text,
                         std::shared_ptr<const void>& keep) {
    std::uint64_t lines = 0;
    std::shared_ptr<const DayText> day;
    if (m_finished || !m_dayText || !m_dayText->view(maxBytes, text, lines, day)) {
        return false;
    }
    m_dataLines += lines;
    keep = std::move(day);
    return true;
}

HistoryAnswer::Progress HistoryAnswer::fillTicks(LineWriter& out, std::size_t budget) {
    // Without faults, ticks are taken and written a run at a time.
    const bool faulty = m_faults.perLine();
    const std::size_t run = faulty ? 1 : kTickRun;
    while (out.size() < budget) {
        const Tick* ticks = nullptr;
        std::size_t count = 0;
        const SourceStep step = m_ticks->next(ticks, count, run);
        if (step == SourceStep::Busy) {
            return Progress::More;
        }
        if (step == SourceStep::Done) {
            return finish(out, m_dataLines == 0 ? kNoData : nullptr);
        }
        m_tickLines.writeRun(out, {ticks, count}, m_instrument->decimals);
        if (!faulty) {
            m_dataLines += count;
            continue;
        }
        if (!afterDataLine(out)) {
            return Progress::Cut;
        }
    }
    return Progress::More;
}

bool HistoryAnswer::afterDataLine(LineWriter& out) {
    ++m_dataLines;
    if (m_faults.malformedEvery > 0 &&
        m_dataLines % static_cast<std::uint64_t>(m_faults.malformedEvery) == 0) {
        out.put(m_request.id);
        out.put(",LH,#MALFORMED#");
        out.endLine();
    }
    return m_faults.lineLimit == 0 || m_dataLines < m_faults.lineLimit;
}

void HistoryAnswer::writeBar(LineWriter& out, const Bar& bar) {
    const int decimals = m_instrument->decimals;
    out.put(m_request.id);
    out.put(",LH,");
    if (m_request.isIntervals()) {
        const Micros length = static_cast<Micros>(m_request.intervalSeconds) * kMicrosPerSecond;
        out.putIsoDateTime(m_request.labelAtBeginning ? bar.time - length : bar.time);
    } else {
        out.putIsoDate(bar.time);
    }
    out.put(',');
    out.putPrice(bar.high, decimals);
    out.put(',');
    out.putPrice(bar.low, decimals);
    out.put(',');
    out.putPrice(bar.open, decimals);
    out.put(',');
    out.putPrice(bar.close, decimals);
    out.put(',');
    if (m_request.isIntervals()) {
        out.putSigned(bar.totalVolume);
        out.put(',');
        out.putSigned(bar.volume);
        out.put(',');
        out.putUnsigned(bar.tickCount);
    } else {
        out.putSigned(bar.volume);
        out.put(',');
        out.putUnsigned(bar.openInterest);
    }
    out.put(',');
    out.endLine();
}

} // namespace portico
