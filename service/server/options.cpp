#include "options.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <dirent.h>
#include <functional>
#include <map>
#include <sys/stat.h>

#include "civil_time.h"
#include "commands.h"

namespace portico {

namespace {

template <typename T> bool ParseNumber(const std::string& text, T& out) {
    const char* begin = text.data();
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(begin, end, out);
    return ec == std::errc() && ptr == end && !text.empty();
}

bool ParseInt(const std::string& text, int low, int high, int& out) {
    long long value = 0;
    if (!ParseNumber(text, value) || value < low || value > high) {
        return false;
    }
    out = static_cast<int>(value);
    return true;
}

bool ParseRate(const std::string& text, double& out) {
    double value = 0;
    if (!ParseNumber(text, value) || !std::isfinite(value) || value <= 0 || value > 1e6) {
        return false;
    }
    out = value;
    return true;
}

} // namespace

std::optional<Micros> ParseStartTime(const std::string& text) {
    // YYYY-MM-DD HH:MM:SS
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' ||
        text[13] != ':' || text[16] != ':') {
        return std::nullopt;
    }
    const std::string date = text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
    const std::string time = text.substr(11, 2) + text.substr(14, 2) + text.substr(17, 2);
    const auto day = ParseDate(date);
    const auto second = ParseTimeOfDay(time);
    if (!day || !second) {
        return std::nullopt;
    }
    return StartOfDay(*day) + static_cast<Micros>(*second) * kMicrosPerSecond;
}

bool CheckDataFolder(const std::string& folder, std::string& reason) {
    struct stat st = {};
    if (::stat(folder.c_str(), &st) != 0) {
        reason = std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(st.st_mode)) {
        reason = "not a directory";
        return false;
    }
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) {
        reason = std::strerror(errno);
        return false;
    }
    ::closedir(dir);
    return true;
}

OptionsResult ParseOptions(const std::vector<std::string>& arguments) {
    OptionsResult result;
    Options& o = result.options;
    using Setter = std::function<bool(const std::string&)>;
    const auto port = [](std::optional<int>& target) {
        return [&target](const std::string& v) {
            int value = 0;
            if (!ParseInt(v, 0, 65535, value)) {
                return false;
            }
            target = value;
            return true;
        };
    };
    const auto integer = [](int& target, int low, int high) {
        return
            [&target, low, high](const std::string& v) { return ParseInt(v, low, high, target); };
    };
    const std::map<std::string, Setter> valued = {
        {"-product", [&](const std::string& v) { return o.product = v, true; }},
        {"-version", [&](const std::string& v) { return o.productVersion = v, true; }},
        {"--seed", [&](const std::string& v) { return ParseNumber(v, o.seed); }},
        {"--symbol-limit", integer(o.symbolLimit, 1, 1'000'000)},
        {"--admin-port", port(o.adminPort)},
        {"--lookup-port", port(o.lookupPort)},
        {"--level1-port", port(o.level1Port)},
        {"--connect-delay", integer(o.connectDelayMs, 0, 3'600'000)},
        {"--linger", integer(o.lingerSeconds, 0, 1'000'000'000)},
        {"--timezone", [&](const std::string& v) { return o.timeZone = v, !v.empty(); }},
        {"--start-time",
         [&](const std::string& v) {
             o.startTime = ParseStartTime(v);
             return o.startTime.has_value();
         }},
        {"--clock-rate", [&](const std::string& v) { return ParseRate(v, o.clockRate); }},
        {"--quote-rate",
         [&](const std::string& v) {
             return v == "0" ? (o.quoteRate = 0, true) : ParseRate(v, o.quoteRate);
         }},
        {"--stress-rate", integer(o.stressRate, 0, 10'000'000)},
        {"--data-dir", [&](const std::string& v) { return o.dataDir = v, !v.empty(); }},
        {"--slow-reader-grace", integer(o.slowReaderGraceSeconds, 1, 3600)},
        {"--day-cache-mb", integer(o.dayCacheMb, 0, 1'000'000)},
        {"--fault-close-after",
         [&](const std::string& v) {
             return ParseNumber(v, o.faults.closeAfterLines) && o.faults.closeAfterLines > 0;
         }},
        {"--fault-drip", integer(o.faults.dripBytes, 1, 1'000'000'000)},
        {"--fault-malformed", integer(o.faults.malformedEvery, 1, 1'000'000'000)},
        {"--fault-refuse", integer(o.faults.refuseCount, 1, 1'000'000)},
        {"--fault-accept-delay", integer(o.faults.acceptDelayMs, 1, 3'600'000)},
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        std::optional<std::string> value;
        if (name.starts_with("--")) {
            const std::size_t equals = name.find('=');
            if (equals != std::string::npos) {
                value = name.substr(equals + 1);
                name = name.substr(0, equals);
            }
        }
        if (name == "--help" || name == "-h") {
            o.showHelp = true;
            continue;
        }
        if (name == "--version" && !value) {
            o.showVersion = true;
            continue;
        }
        if (name == "--data-only" && !value) {
            o.dataOnly = true;
            continue;
        }
        if (name == "--fault-long-line" && !value) {
            o.faults.longLine = true;
            continue;
        }
        const auto setter = valued.find(name);
        if (setter == valued.end()) {
            result.error = "unknown option '" + arguments[i] + "'";
            return result;
        }
        if (!value) {
            if (i + 1 >= arguments.size()) {
                result.error = "option '" + name + "' needs a value";
                return result;
            }
            value = arguments[++i];
        }
        if (!setter->second(*value)) {
            result.error = "bad value '" + *value + "' for option '" + name + "'";
            return result;
        }
    }
    if (o.dataOnly && o.dataDir.empty()) {
        result.error = "option '--data-only' needs '--data-dir'";
    }
    return result;
}

std::string HelpText() {
    return R"(Usage: portico [options]

The local market-data service: serves a deterministic simulated market on 127.0.0.1 over the
admin, lookup and Level 1 ports. On start it prints one line
  portico: listening admin=<port> lookup=<port> level1=<port>
and exits by itself once no client has been connected for the linger time.

Options:
  -h, --help                 show this text and exit
  --version                  print the service version and exit
  -product NAME              name of the launching product (logged, otherwise ignored)
  -version V                 version of the launching product (logged, otherwise ignored)
  --seed N                   seed of the simulated market (default 1)
  --symbol-limit N           most distinct symbols watched at once, service-wide (default 500)
  --admin-port P             admin port (0 = any free port)
  --lookup-port P            lookup port (0 = any free port)
  --level1-port P            Level 1 port (0 = any free port)
                             Ports default to the keys AdminPort (9300), LookupPort (9100) and
                             Level1Port (5009) of $XDG_CONFIG_HOME/Orvane/Kestrel/Startup.conf.
                             When the admin port is taken, portico reports that it is already
                             running and exits with status 0.
  --connect-delay MS         report "Not Connected" for this long after start (default 500)
  --linger SECONDS           exit after this long without any client (default 60, 0 = never)
  --timezone TZ              exchange time zone (default America/New_York; UTC if unknown)
  --start-time "YYYY-MM-DD HH:MM:SS"
                             start the exchange clock at this exchange-local time
  --clock-rate X             speed of the exchange clock (default 1)
  --quote-rate N             bid/ask-only updates per second per watched symbol (default 2)
  --stress-rate N            also send N synthetic update lines per second in total, spread over
                             the watched symbols (default 0 = none, at most 10000000): about four
                             in five are trades ("C") at the exchange clock's time, near the
                             symbol's price, each adding its size to the day's total volume,
                             widening the day's high and low and taking the next TickID; the
                             rest are bid/ask changes ("ba"). These trades are not in the history
                             answers. While a client has more than 4 MiB of output waiting, no
                             synthetic lines are made.
  --slow-reader-grace S      disconnect a Level 1 client whose output waiting to be written stays
                             above 4 MiB for S seconds (default 5; see Limits)
  --day-cache-mb N           keep up to N MiB of the text of past days' ticks, so that a long
                             tick answer asked for again is copied rather than generated
                             (default 512, 0 = none); a day not asked for in ten minutes goes
  --data-dir DIR             also serve the instruments of the data files in DIR (see Data files)
  --data-only                serve only the instruments of --data-dir, not the simulated market

Limits:
  A history answer holds at most 5,000,000 data lines: a request without a datapoint limit, or
  with a higher one, gets the newest 5,000,000 lines of what it selects, in the order it asks for.
  Intervals are whole seconds from 1 to 86400, datapoint counts have at most 18 digits and day
  counts run from 1 to 100000 (more days than the history holds give the whole history); dates
  must exist in the calendar. A range that begins before the instrument's first trading day
  starts at that day and one that ends after the exchange clock's now ends now; a range without
  trades is answered <id>,E,!NO_DATA!, and one that cannot be read <id>,E,!INVALID_ARGUMENT!
  <reason>, each followed by <id>,!ENDMSG!,.
  Answers are made a slice at a time as they are sent, the busy clients taking turns, so that a
  large answer neither holds up other clients nor fills memory.
  A received line over 64 KiB is dropped whole, up to its line end.
  While more than 4 MiB of a client's output waits to be written (it does not read), portico
  reads nothing more from it, so that TCP holds the client back; a lookup client has at most 64
  commands waiting as well, and an admin client that far behind misses statistics lines. A
  Level 1 client whose waiting output stays above 4 MiB for the grace time, or passes 16 MiB,
  is disconnected with a line in the log.

Data files:
  DIR holds one file per instrument and resolution: SYMBOL.daily.csv, SYMBOL.minute.csv and
  SYMBOL.ticks.csv, each optionally gzip-compressed (SYMBOL.daily.csv.gz). Each begins with a
  header row; columns are found by name in any case and order, quoted or not:
    daily    Date,Open,High,Low,Close[,Volume][,Adj Close][,OpenInterest]
    minute   DateTime (or Date,Time),Open,High,Low,Close[,Volume][,OpenInterest]
    ticks    DateTime (or Date,Time),Price,Size[,Bid,Ask]
  Dates are YYYY-MM-DD, YYYY/MM/DD or YYYYMMDD; times HH:MM[:SS[.ffffff]] in the exchange time
  zone. A minute row is labelled with the end of its minute, as interval bars are. Daily, weekly
  and monthly bars sum the daily rows (the minute rows or ticks of days the daily file lacks);
  interval bars sum the minute rows (or the ticks, for intervals that are not whole minutes).
  SYMBOL.json ({"description":...,"market":...,"securityType":...}) or one instruments.csv
  (Symbol,Description,Market,SecurityType) describes the instruments; otherwise each is an
  equity of the market OWN. Prices keep the most decimals the file uses (at most 6).
  The files are indexed at start by a worker thread (progress in the log); requests for an
  instrument wait until its files are indexed, and a file that changed is indexed again when
  it is next asked for. Rows that cannot be used (a field that is no number, a high below the
  low, an open or close outside high..low, a time that goes backwards, too few fields) are
  skipped, each named in the log with its file and line, with a count per file; a file without
  the columns it needs is refused whole, with the reason. Rows appended to a watched
  SYMBOL.ticks.csv are sent to its Level 1 clients as trades as soon as their line is complete.
  A missing or unreadable DIR stops portico at start with exit status 1.

Counters:
  Every Level 1 client counts the 'Q' update lines sent to it since it connected, and among
  them the trade lines (message contents C, E or O); portico logs both when the client leaves.

  S,LEVEL1 COUNTS            on a Level 1 connection: answered in line with the stream by
                             S,LEVEL1 COUNTS,<update lines>,<trade lines> of that connection
                             up to this answer;
                             on the admin port: the same line with the totals over every Level 1
                             client since portico started

Fault injection, for tests:
  --fault-close-after N      close a lookup connection after N history data lines
  --fault-long-line          send a line over 64 KiB before every history answer and when a
                             Level 1 client connects
  --fault-drip BYTES         write at most BYTES per 10 ms to every client
  --fault-malformed N        insert a malformed line after every N lines of history answers and
                             of Level 1 updates
  --fault-refuse N           close the first N accepted connections on each port at once
  --fault-accept-delay MS    start serving each accepted connection only after MS milliseconds

Options taking a value also accept the form --option=value. A bad option prints a message and
exits with status 2.
)";
}

} // namespace portico
