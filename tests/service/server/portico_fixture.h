#pragma once

// Shared helpers of the tests that drive a real portico over TCP (PORTICO_EXECUTABLE names it).

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "base/fields.h"
#include "line_client.h"
#include "portico_process.h"

namespace portico::test {

using namespace std::chrono_literals;
using skychart::test::LineClient;
using skychart::test::PorticoProcess;

// The exchange clock of most tests: a Friday noon, nearly frozen so that answers repeat.
inline const std::vector<std::string> kFrozenNoon = {"--start-time", "2026-11-20 12:00:00",
                                                     "--clock-rate", "0.000001"};

// The frozen clock plus more arguments.
inline std::vector<std::string> FrozenNoonWith(std::vector<std::string> extra) {
    extra.insert(extra.begin(), kFrozenNoon.begin(), kFrozenNoon.end());
    return extra;
}

// Connects `client` to `port` and sends `text`; whether both went well.
inline bool Open(LineClient& client, int port, std::string_view text = {}) {
    return client.connect(port) && (text.empty() || client.send(text));
}

// The fields at `positions` ("<none>" past the end), to compare several at once.
inline std::vector<std::string> Pick(const std::vector<std::string>& fields,
                                     std::initializer_list<std::size_t> positions) {
    std::vector<std::string> picked;
    for (const std::size_t i : positions) {
        picked.push_back(i < fields.size() ? fields[i] : "<none>");
    }
    return picked;
}

// Whether all of `text` matches the regular expression `pattern`; says which did not.
inline ::testing::AssertionResult Matches(const std::string& text, const std::string& pattern) {
    if (std::regex_match(text, std::regex(pattern))) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "\"" << text << "\" does not match " << pattern;
}

class PorticoTest : public ::testing::Test {
protected:
    // Starts portico on free ports with the arguments (stopping the one before); fails the test
    // when it does not start.
    void startPortico(const std::vector<std::string>& arguments = kFrozenNoon) {
        TearDown();
        m_portico = std::make_unique<PorticoProcess>(PORTICO_EXECUTABLE);
        ASSERT_TRUE(m_portico->start(arguments)) << "first line: " << m_portico->firstLine() << "\n"
                                                 << m_portico->errorOutput();
    }
    // Stops portico and checks that it shut down cleanly (no crash, no sanitizer report).
    void TearDown() override {
        if (m_portico && m_portico->running()) {
            EXPECT_EQ(m_portico->stop(), 0) << m_portico->errorOutput();
        }
    }
    PorticoProcess& portico() { return *m_portico; }
    // Sends one command on a fresh lookup connection and returns the answer lines up to and
    // including the end marker of `id`.
    std::vector<std::string> lookup(const std::string& command, const std::string& id) {
        auto answer = skychart::test::LookupAnswer(m_portico->lookupPort(), command, id);
        EXPECT_FALSE(answer.empty()) << "no complete answer to " << command;
        return answer;
    }
    // The data lines of an answer (end marker removed), each split into fields.
    std::vector<std::vector<std::string>> lookupData(const std::string& command,
                                                     const std::string& id) {
        std::vector<std::vector<std::string>> rows;
        for (const std::string& line : lookup(command, id)) {
            if (line != id + ",!ENDMSG!,") {
                rows.push_back(SplitFieldsCopy(line));
            }
        }
        return rows;
    }
    std::unique_ptr<PorticoProcess> m_portico;
};

} // namespace portico::test
