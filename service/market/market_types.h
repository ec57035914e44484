#pragma once

// The vocabulary of the simulated market: civil times in microseconds, listed markets, security
// types, instruments, ticks, bars, day summaries and the cursor that streams ticks.
//
// Times are exchange-local civil times in microseconds since 1970-01-01 00:00:00 (no time zone
// arithmetic happens here; the server converts the wall clock). Prices are integers in units of
// 10^-decimals of their instrument.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace portico {

using Micros = std::int64_t;
inline constexpr Micros kMicrosPerSecond = 1'000'000;
inline constexpr Micros kMicrosPerMinute = 60 * kMicrosPerSecond;
inline constexpr Micros kMicrosPerDay = 86'400 * kMicrosPerSecond;

// Days since 1970-01-01 of a civil time, and the civil time of 00:00 of such a day.
inline std::int32_t DayOf(Micros t) {
    return static_cast<std::int32_t>((t >= 0 ? t : t - (kMicrosPerDay - 1)) / kMicrosPerDay);
}
inline Micros StartOfDay(std::int32_t day) {
    return static_cast<Micros>(day) * kMicrosPerDay;
}

// When an instrument trades.
enum class SessionClass {
    Equity,     // weekdays: 'E' trades 04:00-09:30 and 16:00-20:00, 'C' trades 09:30-16:00
    Future,     // weekdays nearly round the clock, all 'C', with open interest
    Continuous, // every minute of every day, all 'C'
};

struct ListedMarket {
    int id = 0;
    std::string shortName; // e.g. "NRTH"
    std::string longName;  // e.g. "Northgate Stock Exchange"
    int groupId = 0;
    std::string groupName;
};

struct SecurityType {
    int id = 0;
    std::string shortName; // e.g. "EQUITY"
    std::string longName;  // e.g. "Equity"
};

// Where an instrument's trades come from.
enum class Origin {
    Simulated, // the generator
    File,      // a trader's data files (`source` is its number in the file store)
};

struct Instrument {
    std::string symbol;      // upper case, no commas or spaces
    std::string description; // fictional, no commas
    int listedMarket = 0;    // id of a ListedMarket
    int securityType = 0;    // id of a SecurityType
    SessionClass session = SessionClass::Equity;
    int decimals = 2;           // digits after the decimal point in price texts
    std::int64_t increment = 1; // smallest price step, in units of 10^-decimals
    std::int32_t firstDay = 0;  // days since 1970-01-01 of the first trading day
    // Generator parameters.
    double startPrice = 0.0;      // price on the first day
    double dailyVolatility = 0.0; // standard deviation of the daily log return
    double ticksPerDay = 0.0;     // mean number of counted trades on a full day
    std::uint32_t lotSize = 1;    // counted trade sizes are multiples of this
    std::uint32_t index = 0;      // position in the universe
    Origin origin = Origin::Simulated;
    std::uint32_t source = 0;
};

struct Tick {
    Micros time = 0;
    std::int64_t price = 0;
    std::int64_t bid = 0;
    std::int64_t ask = 0;
    std::uint32_t size = 0;
    std::int64_t totalVolume = 0; // the day's volume of counted trades, this one included
    std::uint32_t tickId = 0;     // increasing within a day
    char basis = 'C';             // 'C' regular, 'E' extended hours, 'O' odd lot (no bar counts it)
    std::uint8_t aggressor = 0;   // 0 unknown, 1 buyer, 2 seller
    std::uint8_t dayCode = 0;     // day of the month of the trade
    std::uint8_t marketCenter = 0;
    std::uint8_t conditions = 0; // trade condition code, printed as two hex digits
};

struct Bar {
    Micros time = 0; // interval bars: end of the interval; other bars: 00:00 of the labelled day
    std::int64_t open = 0;
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t close = 0;
    std::int64_t volume = 0;      // volume of the counted trades inside the bar
    std::int64_t totalVolume = 0; // interval bars: day's volume at the bar's last trade
    std::uint32_t openInterest = 0;
    std::uint32_t tickCount = 0; // counted trades inside the bar
};

// The trading day that contains `now`, up to `now`.
struct DaySummary {
    std::int32_t day = 0;  // days since 1970-01-01
    bool traded = false;   // a counted trade has happened on this day by `now`
    std::int64_t open = 0; // of the day's counted trades so far (0 when none)
    std::int64_t high = 0;
    std::int64_t low = 0;
    std::int64_t totalVolume = 0;
    std::int64_t previousClose = 0; // close of the previous day with trades (0 when none)
    std::uint32_t openInterest = 0;
    Tick last; // the newest tick of any basis at or before `now`, on any day
    bool hasLast = false;
};

class MarketImpl;

// Ticks read from somewhere other than the generator, in time order.
class TickStream {
public:
    virtual ~TickStream() = default;
    // Writes up to `max` ticks to `out`; returns how many; 0 once exhausted.
    virtual std::size_t next(Tick* out, std::size_t max) = 0;
};

// Pulls ticks in time order in batches, generating them lazily, so that millions of ticks can
// be streamed without being held in memory at once.
class TickCursor {
public:
    TickCursor();
    ~TickCursor();
    TickCursor(TickCursor&&) noexcept;
    TickCursor& operator=(TickCursor&&) noexcept;

    // Writes up to `max` ticks to `out`; returns how many; 0 once the range is exhausted.
    std::size_t next(Tick* out, std::size_t max);
    // The next 1 to `max` ticks where the cursor holds them, without copying: that many from
    // `ticks` on, valid until the next call; 0 once the range is exhausted.
    std::size_t nextInPlace(const Tick*& ticks, std::size_t max);

    // A cursor over the ticks of `stream`.
    static TickCursor Of(std::unique_ptr<TickStream> stream);

    struct State;

private:
    friend class MarketImpl;
    std::unique_ptr<State> m_state;
    std::unique_ptr<TickStream> m_stream;
    std::vector<Tick> m_streamTicks; // nextInPlace() of a stream
};

} // namespace portico
