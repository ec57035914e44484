#include "portico_fixture.h"

#include <cstdio>

namespace portico::test {

namespace {

long long DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

} // namespace

long long SecondsOf(std::string_view text) {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    const std::string copy(text);
    if (text.size() == 10 && std::sscanf(copy.c_str(), "%4d-%2d-%2d", &y, &mo, &d) == 3) {
        return DaysFromCivil(y, mo, d) * 86400;
    }
    if (text.size() >= 19 &&
        std::sscanf(copy.c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &y, &mo, &d, &h, &mi, &s) == 6) {
        return DaysFromCivil(y, mo, d) * 86400 + h * 3600 + mi * 60 + s;
    }
    return -1;
}

long long MicrosOf(std::string_view text) {
    if (text.size() != 26 || text[19] != '.') {
        return -1;
    }
    const long long seconds = SecondsOf(text.substr(0, 19));
    return seconds < 0 ? -1 : seconds * 1'000'000 + std::stoll(std::string(text.substr(20)));
}

void PorticoTest::startPortico(const std::vector<std::string>& arguments) {
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
