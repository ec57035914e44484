#include "history_answer.h"

#include <algorithm>
#include <cstring>

namespace portico {

namespace {

constexpr std::size_t kLongLineBytes = 70 * 1024;

// Keeps the newest `count` of bars held oldest first.
void KeepNewest(std::vector<Bar>& bars, std::optional<std::uint64_t> count) {
    if (count && bars.size() > *count) {
        bars.erase(bars.begin(), bars.end() - static_cast<std::ptrdiff_t>(*count));
    }
}

} // namespace

HistoryAnswer::HistoryAnswer(const Market& market, HistoryRequest request, Micros now,
                             AnswerFaults faults)
    : m_market(market), m_request(std::move(request)), m_now(now), m_faults(faults) {}

HistoryAnswer::~HistoryAnswer() = default;

std::vector<Bar> HistoryAnswer::SelectBars(const Market& market, const Instrument& instrument,
                                           const HistoryRequest& r, Micros now) {
    const Micros historyStart = StartOfDay(instrument.firstDay);
    const Micros to = r.end ? std::min(*r.end, now) : now;
    const std::int32_t today = DayOf(now);
    std::vector<Bar> bars;
    switch (r.kind) {
    case HistoryKind::HIX:
        bars = r.maxPoints
                   ? market.lastIntervalBars(instrument, r.intervalSeconds, *r.maxPoints, now)
                   : market.intervalBars(instrument, r.intervalSeconds, historyStart, now);
        break;
    case HistoryKind::HID:
        bars = market.intervalBars(instrument, r.intervalSeconds,
                                   market.startOfRecentDays(instrument, r.days, now), now);
        break;
    case HistoryKind::HIT:
        bars =
            market.intervalBars(instrument, r.intervalSeconds, r.begin.value_or(historyStart), to);
        break;
    case HistoryKind::HDX:
        bars = r.maxPoints ? market.lastDailyBars(instrument, *r.maxPoints, now)
                           : market.dailyBars(instrument, instrument.firstDay, today, now);
        break;
    case HistoryKind::HDT:
        bars = market.dailyBars(instrument, r.begin ? DayOf(*r.begin) : instrument.firstDay,
                                DayOf(to), now);
        break;
    case HistoryKind::HWX:
    case HistoryKind::HMX: {
        const auto days = static_cast<std::size_t>(std::max(0, today - instrument.firstDay));
        const std::size_t all = days / (r.kind == HistoryKind::HWX ? 7 : 28) + 2;
        const std::size_t count = r.maxPoints ? std::min<std::uint64_t>(*r.maxPoints, all) : all;
        bars = r.kind == HistoryKind::HWX ? market.lastWeeklyBars(instrument, count, now)
                                          : market.lastMonthlyBars(instrument, count, now);
        break;
    }
    default:
        return bars;
    }
    if (r.isIntervals() && (r.beginFilter >= 0 || r.endFilter >= 0)) {
        const Micros length = static_cast<Micros>(r.intervalSeconds) * kMicrosPerSecond;
        std::erase_if(bars, [&](const Bar& bar) {
            const Micros start = bar.time - length;
            const Micros startSecond = (start - StartOfDay(DayOf(start))) / kMicrosPerSecond;
            const Micros endSecond = startSecond + r.intervalSeconds;
            return (r.beginFilter >= 0 && startSecond < r.beginFilter) ||
                   (r.endFilter >= 0 && endSecond > r.endFilter);
        });
    }
    KeepNewest(bars, r.maxPoints);
    if (r.newestFirst) {
        std::reverse(bars.begin(), bars.end());
    }
    return bars;
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
    const Instrument& instrument = *m_instrument;
    if (m_request.isTicks()) {
        TickSelection selection;
        selection.to = m_request.end ? std::min(*m_request.end, m_now) : m_now;
        if (m_request.kind == HistoryKind::HTD) {
            selection.from = m_market.startOfRecentDays(instrument, m_request.days, m_now);
        } else {
            selection.from = m_request.begin.value_or(StartOfDay(instrument.firstDay));
        }
        selection.maxPoints = m_request.maxPoints;
        selection.beginFilter = m_request.beginFilter;
        selection.endFilter = m_request.endFilter;
        selection.newestFirst = m_request.newestFirst;
        m_ticks = std::make_unique<TickSource>(m_market, instrument, selection);
    } else {
        m_bars = SelectBars(m_market, instrument, m_request, m_now);
    }
}

HistoryAnswer::Progress HistoryAnswer::fill(LineWriter& out, std::size_t budget) {
    if (m_finished) {
        return Progress::Done;
    }
    if (!m_started) {
        start(out);
    }
    const auto finish = [&](const char* error) {
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
    };
    if (!m_instrument) {
        return finish(",E,!UNKNOWN_SYMBOL!,");
    }
    if (m_ticks) {
        while (out.size() < budget) {
            const Tick* tick = m_ticks->next();
            if (!tick) {
                return finish(m_dataLines == 0 ? ",E,!NO_DATA!," : nullptr);
            }
            writeTick(out, *tick);
            if (!afterDataLine(out)) {
                return Progress::Cut;
            }
        }
        return Progress::More;
    }
    while (out.size() < budget) {
        if (m_barIndex >= m_bars.size()) {
            return finish(m_bars.empty() ? ",E,!NO_DATA!," : nullptr);
        }
        writeBar(out, m_bars[m_barIndex++]);
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

void HistoryAnswer::writeTick(LineWriter& out, const Tick& tick) {
    const int decimals = m_instrument->decimals;
    const std::int32_t day = DayOf(tick.time);
    if (day != m_cachedDay) {
        LineWriter date;
        date.putIsoDate(tick.time);
        date.put(' ');
        std::memcpy(m_dateText, date.data(), sizeof(m_dateText));
        m_cachedDay = day;
        m_cachedDayStart = StartOfDay(day);
    }
    const std::size_t idSize = m_request.id.size();
    char* p = out.claim(idSize + 3 * LineWriter::kMaxPriceBytes + 220);
    std::memcpy(p, m_request.id.data(), idSize);
    p += idSize;
    std::memcpy(p, ",LH,", 4);
    p += 4;
    std::memcpy(p, m_dateText, sizeof(m_dateText));
    p = LineWriter::WriteMicroTimeOfDay(p + sizeof(m_dateText), tick.time - m_cachedDayStart);
    *p++ = ',';
    p = LineWriter::WritePrice(p, tick.price, decimals);
    *p++ = ',';
    p = LineWriter::WriteUnsigned(p, tick.size);
    *p++ = ',';
    p = LineWriter::WriteSigned(p, tick.totalVolume);
    *p++ = ',';
    p = LineWriter::WritePrice(p, tick.bid, decimals);
    *p++ = ',';
    p = LineWriter::WritePrice(p, tick.ask, decimals);
    *p++ = ',';
    p = LineWriter::WriteUnsigned(p, tick.tickId);
    *p++ = ',';
    *p++ = tick.basis;
    *p++ = ',';
    p = LineWriter::WriteUnsigned(p, tick.marketCenter);
    *p++ = ',';
    p = LineWriter::WriteHex2(p, tick.conditions);
    *p++ = ',';
    p = LineWriter::WriteUnsigned(p, tick.aggressor);
    *p++ = ',';
    p = LineWriter::WriteUnsigned(p, tick.dayCode);
    std::memcpy(p, ",\r\n", 3);
    out.commit(p + 3);
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
