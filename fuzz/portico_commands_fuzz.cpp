// portico's command parser: every line a client may send to the lookup or Level 1 port. The input
// is up to 64 lines cut at '\n'. Beyond not crashing, each parsed command must hold what the
// sessions rely on when they answer it.

#include "fuzz_support.h"

#include "commands.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <type_traits>
#include <variant>

namespace {

using namespace portico;
using skychart::fuzz::Check;

bool IsUpperSymbol(const std::string& symbol) {
    return !symbol.empty() && std::none_of(symbol.begin(), symbol.end(), [](char c) {
        return std::islower(static_cast<unsigned char>(c)) != 0;
    });
}

bool IsFilter(int second) {
    return second >= -1 && second < 86'400;
}

void CheckHistory(const HistoryRequest& r, std::string_view line) {
    Check(IsUpperSymbol(r.symbol), "history symbol is upper case and not empty", line);
    Check(r.symbol.front() != ' ' && r.symbol.back() != ' ', "history symbol is trimmed", line);
    Check(!r.maxPoints || *r.maxPoints > 0, "a datapoint limit of 0 means none", line);
    Check(r.id.find(',') == std::string::npos, "the request id is one field", line);
    Check(IsFilter(r.beginFilter) && IsFilter(r.endFilter), "filter times are seconds of a day",
          line);
    Check(!(r.begin && r.end) || *r.begin <= *r.end, "begin is not after end", line);
    const bool daysKind = r.kind == HistoryKind::HTD || r.kind == HistoryKind::HID;
    Check(daysKind ? (r.days >= 1 && r.days <= 100'000) : r.days == 0, "days only where asked",
          line);
    Check(r.isIntervals() ? (r.intervalSeconds >= 1 && r.intervalSeconds <= 86'400)
                          : r.intervalSeconds == 0,
          "interval only for interval kinds", line);
    const bool rangeKind =
        r.kind == HistoryKind::HTT || r.kind == HistoryKind::HIT || r.kind == HistoryKind::HDT;
    Check(rangeKind || (!r.begin && !r.end), "begin and end only for date-range kinds", line);
}

void CheckCommand(const Command& command, std::string_view line) {
    std::visit(
        [&](const auto& c) {
            using T = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<T, HistoryRequest>) {
                CheckHistory(c, line);
            } else if constexpr (std::is_same_v<T, SearchRequest>) {
                Check(c.filter != SearchRequest::Filter::None || c.filterIds.empty(),
                      "filter ids only with a filter", line);
                Check(std::all_of(c.filterIds.begin(), c.filterIds.end(),
                                  [](int id) { return id >= 0 && id <= 1'000'000; }),
                      "filter ids in range", line);
            } else if constexpr (std::is_same_v<T, WatchRequest> ||
                                 std::is_same_v<T, UnwatchRequest>) {
                Check(IsUpperSymbol(c.symbol), "watched symbol is upper case", line);
                Check(c.symbol.find(' ') == std::string::npos, "watched symbol has no space", line);
            } else if constexpr (std::is_same_v<T, BadRequest>) {
                Check(c.reason.starts_with("!INVALID_ARGUMENT!"), "bad requests say why", line);
                Check(c.id.find(',') == std::string::npos, "the bad request's id is one field",
                      line);
            } else if constexpr (std::is_same_v<T, SystemCommand>) {
                Check(c.name.empty() || (c.name.front() != ' ' && c.name.back() != ' '),
                      "system command names are trimmed", line);
            }
        },
        command);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    for (const std::string_view line : skychart::fuzz::SplitAtNewlines(input.Rest(), 64)) {
        const Command command = ParseCommand(line);
        CheckCommand(command, line);
        // The line end is not part of the command: with one more "\r\n" it means the same.
        const Command again = ParseCommand(std::string(line) + "\r\n");
        Check(again.index() == command.index(), "a line end does not change the command", line);
        const auto fields = SplitFields(line);
        Check(!fields.empty(), "a line has at least one field");
        for (const std::string_view field : fields) {
            if (const auto day = ParseDate(field)) {
                Check(field.size() == 8, "dates are eight digits", field);
            }
            if (const auto second = ParseTimeOfDay(field)) {
                Check(*second >= 0 && *second < 86'400, "times of day stay in the day", field);
            }
        }
    }
    return 0;
}
