#include "commands.h"

#include <algorithm>
#include <cctype>

#include "civil_time.h"

namespace portico {

std::vector<std::string_view> SplitFields(std::string_view line) {
    std::vector<std::string_view> fields;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = line.find(',', start);
        if (comma == std::string_view::npos) {
            fields.push_back(line.substr(start));
            return fields;
        }
        fields.push_back(line.substr(start, comma - start));
        start = comma + 1;
    }
}

namespace {

std::string Upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

std::string Trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
        text.remove_prefix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

std::optional<std::uint64_t> ParseUnsigned(std::string_view text) {
    if (text.empty() || text.size() > 18) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
    }
    return value;
}

// Thrown inside the parser when an argument is unusable; turned into a BadRequest.
struct ArgumentError {
    std::string reason;
};

class Parser {
public:
    Parser(std::vector<std::string_view> fields, std::size_t idIndex)
        : m_fields(std::move(fields)), m_id(m_fields[idIndex]) {}

    std::string_view field(std::size_t index) const {
        return index < m_fields.size() ? m_fields[index] : std::string_view();
    }

    std::string symbol(std::size_t index) const {
        const std::string symbol = Upper(Trimmed(field(index)));
        if (symbol.empty()) {
            throw ArgumentError{"!INVALID_ARGUMENT! missing symbol"};
        }
        return symbol;
    }

    std::optional<std::uint64_t> maxPoints(std::size_t index) const {
        const std::string_view text = field(index);
        if (text.empty()) {
            return std::nullopt;
        }
        const auto value = ParseUnsigned(text);
        if (!value) {
            throw ArgumentError{"!INVALID_ARGUMENT! bad datapoints value"};
        }
        if (*value == 0) {
            return std::nullopt;
        }
        return value;
    }

    bool newestFirst(std::size_t index) const {
        const std::string_view text = field(index);
        if (text == "1") {
            return false;
        }
        if (text == "0" || text.empty()) {
            return true;
        }
        throw ArgumentError{"!INVALID_ARGUMENT! bad direction"};
    }

    int positive(std::size_t index, std::uint64_t limit, const char* reason) const {
        const auto value = ParseUnsigned(field(index));
        if (!value || *value == 0 || *value > limit) {
            throw ArgumentError{reason};
        }
        return static_cast<int>(*value);
    }

    void filters(std::size_t index, HistoryRequest& request) const {
        request.beginFilter = filter(index);
        request.endFilter = filter(index + 1);
    }

    int filter(std::size_t index) const {
        const std::string_view text = field(index);
        if (text.empty()) {
            return -1;
        }
        const auto value = ParseTimeOfDay(text);
        if (!value) {
            throw ArgumentError{"!INVALID_ARGUMENT! bad filter time"};
        }
        return *value;
    }

    // "YYYYMMDD HHMMSS", "YYYYMMDD" or empty; a zero date means open-ended.
    std::optional<Micros> dateTime(std::size_t index, bool isEnd) const {
        const std::string text = Trimmed(field(index));
        if (text.empty() || text.starts_with("00000000")) {
            return std::nullopt;
        }
        const auto day = ParseDate(std::string_view(text).substr(0, 8));
        if (!day || (text.size() != 8 && text.size() != 15) ||
            (text.size() == 15 && text[8] != ' ')) {
            throw ArgumentError{"!INVALID_ARGUMENT! bad date-time"};
        }
        std::optional<int> second = isEnd ? 86399 : 0;
        if (text.size() == 15) {
            second = ParseTimeOfDay(std::string_view(text).substr(9));
            if (!second) {
                throw ArgumentError{"!INVALID_ARGUMENT! bad date-time"};
            }
        }
        Micros time = StartOfDay(*day) + *second * kMicrosPerSecond;
        if (isEnd) {
            time += kMicrosPerSecond - 1; // the whole end second belongs to the range
        }
        return time;
    }

    std::optional<Micros> date(std::size_t index, bool isEnd) const {
        const std::string text = Trimmed(field(index));
        if (text.empty() || text == "0" || text == "00000000") {
            return std::nullopt;
        }
        const auto day = ParseDate(text);
        if (!day || text.size() != 8) {
            throw ArgumentError{"!INVALID_ARGUMENT! bad date"};
        }
        return isEnd ? StartOfDay(*day + 1) - 1 : StartOfDay(*day);
    }

    void intervalOptions(std::size_t typeIndex, HistoryRequest& request) const {
        const std::string_view type = field(typeIndex);
        if (!type.empty() && type != "s") {
            throw ArgumentError{"!INVALID_ARGUMENT! interval type must be s"};
        }
        const std::string_view label = field(typeIndex + 1);
        if (label != "1" && label != "0" && !label.empty()) {
            throw ArgumentError{"!INVALID_ARGUMENT! bad label flag"};
        }
        request.labelAtBeginning = label == "1";
    }

    const std::string_view& id() const { return m_id; }

private:
    std::vector<std::string_view> m_fields;
    std::string_view m_id;
};

// Position of the request id in each history command.
std::size_t IdIndex(HistoryKind kind) {
    switch (kind) {
    case HistoryKind::HTX:
    case HistoryKind::HDX:
    case HistoryKind::HWX:
    case HistoryKind::HMX:
        return 4;
    case HistoryKind::HIX:
        return 5;
    case HistoryKind::HDT:
        return 6;
    case HistoryKind::HTD:
        return 7;
    case HistoryKind::HTT:
    case HistoryKind::HID:
        return 8;
    case HistoryKind::HIT:
        return 9;
    }
    return 4;
}

std::optional<HistoryKind> HistoryKindOf(std::string_view name) {
    static constexpr std::pair<std::string_view, HistoryKind> kKinds[] = {
        {"HTX", HistoryKind::HTX}, {"HTD", HistoryKind::HTD}, {"HTT", HistoryKind::HTT},
        {"HIX", HistoryKind::HIX}, {"HID", HistoryKind::HID}, {"HIT", HistoryKind::HIT},
        {"HDX", HistoryKind::HDX}, {"HDT", HistoryKind::HDT}, {"HWX", HistoryKind::HWX},
        {"HMX", HistoryKind::HMX}};
    for (const auto& [text, kind] : kKinds) {
        if (text == name) {
            return kind;
        }
    }
    return std::nullopt;
}

constexpr int kMaxDays = 100'000;

HistoryRequest ParseHistory(HistoryKind kind, const Parser& p) {
    HistoryRequest r;
    r.kind = kind;
    r.id = std::string(p.id());
    r.symbol = p.symbol(1);
    constexpr int kMaxInterval = 86'400;
    switch (kind) {
    case HistoryKind::HTX:
    case HistoryKind::HDX:
    case HistoryKind::HWX:
    case HistoryKind::HMX:
        r.maxPoints = p.maxPoints(2);
        r.newestFirst = p.newestFirst(3);
        break;
    case HistoryKind::HTD:
        r.days = p.positive(2, kMaxDays, "!INVALID_ARGUMENT! bad days value");
        r.maxPoints = p.maxPoints(3);
        p.filters(4, r);
        r.newestFirst = p.newestFirst(6);
        break;
    case HistoryKind::HTT:
        r.begin = p.dateTime(2, false);
        r.end = p.dateTime(3, true);
        r.maxPoints = p.maxPoints(4);
        p.filters(5, r);
        r.newestFirst = p.newestFirst(7);
        break;
    case HistoryKind::HIX:
        r.intervalSeconds = p.positive(2, kMaxInterval, "!INVALID_ARGUMENT! bad interval");
        r.maxPoints = p.maxPoints(3);
        r.newestFirst = p.newestFirst(4);
        p.intervalOptions(7, r);
        break;
    case HistoryKind::HID:
        r.intervalSeconds = p.positive(2, kMaxInterval, "!INVALID_ARGUMENT! bad interval");
        r.days = p.positive(3, kMaxDays, "!INVALID_ARGUMENT! bad days value");
        r.maxPoints = p.maxPoints(4);
        p.filters(5, r);
        r.newestFirst = p.newestFirst(7);
        p.intervalOptions(10, r);
        break;
    case HistoryKind::HIT:
        r.intervalSeconds = p.positive(2, kMaxInterval, "!INVALID_ARGUMENT! bad interval");
        r.begin = p.dateTime(3, false);
        r.end = p.dateTime(4, true);
        r.maxPoints = p.maxPoints(5);
        p.filters(6, r);
        r.newestFirst = p.newestFirst(8);
        p.intervalOptions(11, r);
        break;
    case HistoryKind::HDT:
        r.begin = p.date(2, false);
        r.end = p.date(3, true);
        r.maxPoints = p.maxPoints(4);
        r.newestFirst = p.newestFirst(5);
        break;
    }
    if (r.begin && r.end && *r.begin > *r.end) {
        throw ArgumentError{"!INVALID_ARGUMENT! begin after end"};
    }
    return r;
}

SearchRequest ParseSearch(const Parser& p) {
    SearchRequest r;
    r.id = std::string(p.id());
    const std::string_view field = p.field(1);
    if (field == "s" || field == "S") {
        r.byDescription = false;
    } else if (field == "d" || field == "D") {
        r.byDescription = true;
    } else {
        throw ArgumentError{"!INVALID_ARGUMENT! search field must be s or d"};
    }
    r.text = Trimmed(p.field(2));
    const std::string_view filterType = p.field(3);
    if (filterType == "e" || filterType == "E") {
        r.filter = SearchRequest::Filter::ListedMarkets;
    } else if (filterType == "t" || filterType == "T") {
        r.filter = SearchRequest::Filter::SecurityTypes;
    } else if (!filterType.empty()) {
        throw ArgumentError{"!INVALID_ARGUMENT! filter type must be e or t"};
    }
    if (r.filter != SearchRequest::Filter::None) {
        std::string_view values = p.field(4);
        while (!values.empty()) {
            const std::size_t space = values.find(' ');
            const std::string_view item = values.substr(0, space);
            if (!item.empty()) {
                const auto value = ParseUnsigned(item);
                if (!value || *value > 1'000'000) {
                    throw ArgumentError{"!INVALID_ARGUMENT! bad filter value"};
                }
                r.filterIds.push_back(static_cast<int>(*value));
            }
            values =
                space == std::string_view::npos ? std::string_view() : values.substr(space + 1);
        }
    }
    return r;
}

} // namespace

std::optional<int> ParseTimeOfDay(std::string_view text) {
    if (text.size() != 6) {
        return std::nullopt;
    }
    const auto value = ParseUnsigned(text);
    if (!value) {
        return std::nullopt;
    }
    const int hours = static_cast<int>(*value / 10000);
    const int minutes = static_cast<int>(*value / 100 % 100);
    const int seconds = static_cast<int>(*value % 100);
    if (hours > 23 || minutes > 59 || seconds > 59) {
        return std::nullopt;
    }
    return hours * 3600 + minutes * 60 + seconds;
}

std::optional<std::int32_t> ParseDate(std::string_view text) {
    if (text.size() != 8) {
        return std::nullopt;
    }
    const auto value = ParseUnsigned(text);
    if (!value) {
        return std::nullopt;
    }
    const int year = static_cast<int>(*value / 10000);
    const int month = static_cast<int>(*value / 100 % 100);
    const int day = static_cast<int>(*value % 100);
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > 31) {
        return std::nullopt;
    }
    const std::int32_t days = DaysFromCivil(year, month, day);
    const CivilDate back = CivilFromDays(days);
    if (back.year != year || back.month != month || back.day != day) {
        return std::nullopt;
    }
    return days;
}

Command ParseCommand(std::string_view line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) {
        line.remove_suffix(1);
    }
    if (line.empty()) {
        return SyntaxError{};
    }
    std::vector<std::string_view> fields = SplitFields(line);
    const std::string_view name = fields[0];
    if (name == "S" && fields.size() >= 2) {
        SystemCommand command;
        command.name = Upper(Trimmed(fields[1]));
        const std::size_t prefix = fields[0].size() + fields[1].size() + 2;
        command.argument = prefix < line.size() ? std::string(line.substr(prefix)) : std::string();
        return command;
    }
    if (fields.size() == 1 && (line[0] == 'w' || line[0] == 'r') && line.size() > 1) {
        std::string symbol = Upper(Trimmed(line.substr(1)));
        if (symbol.empty() || symbol.find(' ') != std::string::npos) {
            return SyntaxError{};
        }
        if (line[0] == 'w') {
            return WatchRequest{std::move(symbol)};
        }
        return UnwatchRequest{std::move(symbol)};
    }
    if (name == "SLM" && fields.size() == 1) {
        return ListedMarketsRequest{};
    }
    if (name == "SST" && fields.size() == 1) {
        return SecurityTypesRequest{};
    }
    try {
        if (name == "SBF") {
            if (fields.size() < 6) {
                return SyntaxError{};
            }
            return ParseSearch(Parser(std::move(fields), 5));
        }
        if (const auto kind = HistoryKindOf(name)) {
            const std::size_t idIndex = IdIndex(*kind);
            if (fields.size() <= idIndex) {
                return SyntaxError{};
            }
            return ParseHistory(*kind, Parser(std::move(fields), idIndex));
        }
    } catch (const ArgumentError& error) {
        // The id is re-read from the line: the parser that held it is gone.
        const auto again = SplitFields(line);
        std::size_t idIndex = 5;
        if (const auto kind = HistoryKindOf(again[0])) {
            idIndex = IdIndex(*kind);
        }
        return BadRequest{std::string(again[idIndex]), error.reason};
    }
    return SyntaxError{};
}

} // namespace portico
