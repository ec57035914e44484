#pragma once

// Parsing of the command lines that clients send to the lookup and Level 1 ports. Fields are
// addressed by position; a command too short to carry its request id is a syntax error, one that
// carries an id but holds an unusable value is a bad-argument error answered under that id.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "market/market.h"

namespace portico {

// Splits at every comma; empty fields are kept, including an empty last one.
std::vector<std::string_view> SplitFields(std::string_view line);

enum class HistoryKind { HTX, HTD, HTT, HIX, HID, HIT, HDX, HDT, HWX, HMX };

struct HistoryRequest {
    HistoryKind kind = HistoryKind::HTX;
    std::string symbol;                     // upper-cased
    std::string id;                         // echoed in front of every answer line
    std::optional<std::uint64_t> maxPoints; // none: no limit
    int days = 0;                           // HTD, HID
    std::optional<Micros> begin;            // HTT, HIT, HDT: inclusive; none: open-ended
    std::optional<Micros> end;              // inclusive; none: up to now
    int beginFilter = -1;                   // second of the day, -1: none
    int endFilter = -1;
    bool newestFirst = false;
    int intervalSeconds = 0;       // HIX, HID, HIT
    bool labelAtBeginning = false; // interval bars stamped at their start

    bool isTicks() const {
        return kind == HistoryKind::HTX || kind == HistoryKind::HTD || kind == HistoryKind::HTT;
    }
    bool isIntervals() const {
        return kind == HistoryKind::HIX || kind == HistoryKind::HID || kind == HistoryKind::HIT;
    }
};

struct SearchRequest {
    enum class Filter { None, ListedMarkets, SecurityTypes };
    bool byDescription = false;
    std::string text;
    Filter filter = Filter::None;
    std::vector<int> filterIds;
    std::string id;
};

struct ListedMarketsRequest {};
struct SecurityTypesRequest {};
struct WatchRequest {
    std::string symbol;
};
struct UnwatchRequest {
    std::string symbol;
};
// "S,<NAME>,<arguments...>": the name and the raw text after it.
struct SystemCommand {
    std::string name;
    std::string argument;
};
// A recognisable request with an unusable argument: answered as "<id>,E,<reason>," + end marker.
struct BadRequest {
    std::string id;
    std::string reason;
};
struct SyntaxError {};

using Command =
    std::variant<HistoryRequest, SearchRequest, ListedMarketsRequest, SecurityTypesRequest,
                 WatchRequest, UnwatchRequest, SystemCommand, BadRequest, SyntaxError>;

// One line without its line end. Lookup and Level 1 commands share one grammar; each port
// answers the kinds it serves and treats the rest as syntax errors.
Command ParseCommand(std::string_view line);

// "HHMMSS" -> second of the day; none when malformed.
std::optional<int> ParseTimeOfDay(std::string_view text);
// "YYYYMMDD" -> days since 1970-01-01; none when malformed or not a calendar date.
std::optional<std::int32_t> ParseDate(std::string_view text);

} // namespace portico
