#include "base/fields.h"

#include <charconv>

void SplitFields(std::string_view line, std::vector<std::string_view>& out) {
    out.clear();
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = line.find(',', start);
        if (comma == std::string_view::npos) {
            if (start < line.size()) {
                out.push_back(line.substr(start));
            }
            return;
        }
        out.push_back(line.substr(start, comma - start));
        start = comma + 1;
    }
}

std::vector<std::string_view> SplitFields(std::string_view line) {
    std::vector<std::string_view> out;
    SplitFields(line, out);
    return out;
}

std::vector<std::string> SplitFieldsCopy(std::string_view line) {
    std::vector<std::string> out;
    for (const std::string_view field : SplitFields(line)) {
        out.emplace_back(field);
    }
    return out;
}

std::string JoinFields(const std::vector<std::string>& items) {
    std::string out;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i != 0) {
            out += ',';
        }
        out += items[i];
    }
    return out;
}

int DecimalValue(std::string_view text) {
    int value = 0;
    const char* first = text.data();
    const char* last = first + text.size();
    while (first != last && *first == ' ') {
        ++first;
    }
    if (first != last && *first == '+') {
        ++first;
    }
    const auto result = std::from_chars(first, last, value);
    return result.ec == std::errc() ? value : 0;
}
