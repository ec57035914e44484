#pragma once

// A settings table started as the application starts its own, over a real Skychart.conf in a
// temporary XDG_CONFIG_HOME, with a prompt that records its boxes.

#include "core/settings.h"
#include "platform/config_writer.h"

#include "recording_prompt.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace skychart::test {

class SettingsFileTest : public ::testing::Test {
protected:
    // "key=value" lines, as the file holds them.
    using Values = std::vector<std::string>;
    void SetUp() override { ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1); }
    void TearDown() override { ::unsetenv("XDG_CONFIG_HOME"); }
    // Writes `values` into the file and starts the settings from it, the mirror published.
    void Start(const Values& values = {}) {
        std::vector<std::pair<std::string, std::string>> lines;
        for (const std::string& line : values) {
            const std::size_t equals = line.find('=');
            lines.emplace_back(line.substr(0, equals), line.substr(equals + 1));
        }
        EXPECT_TRUE(CConfigWriter().WriteAll(lines));
        settings.Reset();
        const SSettingsLoad load = LoadApplicationSettings(settings, prompt);
        ASSERT_FALSE(load.usedDefaults);
        settings.PublishWriter(load.writer);
    }
    // What the file holds under `key`.
    static std::string Stored(const std::string& key) {
        return CConfigWriter().Read(key, "<missing>");
    }
    // The whole file, byte for byte.
    static std::string FileText() { return ReadFile(CConfigWriter().File().toStdString()); }
    // Expects the file to hold every one of `values`.
    static void ExpectStored(const Values& values) {
        for (const std::string& line : values) {
            const std::size_t equals = line.find('=');
            EXPECT_EQ(Stored(line.substr(0, equals)), line.substr(equals + 1)) << line;
        }
    }
    TempDir home;
    RecordingPrompt prompt;
    CSettings settings;
};

} // namespace skychart::test
