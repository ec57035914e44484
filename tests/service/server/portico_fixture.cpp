#include "portico_fixture.h"

#include <cstdio>
#include <ctime>
#include <regex>

namespace portico::test {

std::vector<std::string> Pick(const std::vector<std::string>& fields,
                              std::initializer_list<std::size_t> positions) {
    std::vector<std::string> picked;
    for (const std::size_t i : positions) {
        picked.push_back(i < fields.size() ? fields[i] : "<none>");
    }
    return picked;
}

::testing::AssertionResult Matches(const std::string& text, const std::string& pattern) {
    if (std::regex_match(text, std::regex(pattern))) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "\"" << text << "\" does not match " << pattern;
}

long long SecondsOf(std::string_view text) {
    std::tm tm{};
    const int n = std::sscanf(std::string(text).c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &tm.tm_year,
                              &tm.tm_mon, &tm.tm_mday, &tm.tm_hour, &tm.tm_min, &tm.tm_sec);
    if (!(text.size() == 10 && n == 3) && !(text.size() >= 19 && n == 6)) {
        return -1;
    }
    tm.tm_year -= 1900;
    tm.tm_mon -= 1;
    return timegm(&tm);
}

void PrintedBar::add(const std::string& price, long long size, long long dayVolume) {
    const double value = std::stod(price);
    high = trades == 0 || value > std::stod(high) ? price : high;
    low = trades == 0 || value < std::stod(low) ? price : low;
    open = trades == 0 ? price : open;
    close = price;
    totalVolume = dayVolume;
    volume += size;
    ++trades;
}

std::vector<std::string> PrintedBar::intervalFields() const {
    const auto text = [](long long n) { return std::to_string(n); };
    return {high, low, open, close, text(totalVolume), text(volume), text(trades)};
}

void PorticoTest::startPortico(const std::vector<std::string>& arguments) {
    TearDown();
    m_portico = std::make_unique<PorticoProcess>(PORTICO_EXECUTABLE);
    ASSERT_TRUE(m_portico->start(arguments)) << "first line: " << m_portico->firstLine() << "\n"
                                             << m_portico->errorOutput();
}

void PorticoTest::TearDown() {
    if (m_portico && m_portico->running()) {
        EXPECT_EQ(m_portico->stop(), 0) << m_portico->errorOutput();
    }
}

std::vector<std::string> PorticoTest::lookup(const std::string& command, const std::string& id) {
    std::vector<std::string> answer =
        skychart::test::LookupAnswer(m_portico->lookupPort(), command, id);
    EXPECT_FALSE(answer.empty()) << "no complete answer to " << command;
    return answer;
}

std::vector<std::vector<std::string>> PorticoTest::lookupData(const std::string& command,
                                                              const std::string& id) {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : lookup(command, id)) {
        if (line != id + ",!ENDMSG!,") {
            rows.push_back(Fields(line));
        }
    }
    return rows;
}

} // namespace portico::test
