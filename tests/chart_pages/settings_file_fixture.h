#pragma once

// A settings table of the test's own started as the application starts its table, over a real
// Skychart.conf in a temporary XDG_CONFIG_HOME, with a prompt that records its boxes as
// "caption|text".

#include "core/prompt.h"
#include "core/settings.h"
#include "platform/config_writer.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

struct RecordingPrompt : IPrompt {
    void Information(const std::string& caption, const std::string& text) override {
        boxes.push_back("Info " + caption + "|" + text);
    }
    void Error(const std::string& caption, const std::string& text) override {
        boxes.push_back(caption + "|" + text);
    }
    bool Question(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> boxes;
};

class SettingsFileTest : public ::testing::Test {
protected:
    using Values = std::vector<std::pair<std::string, std::string>>;

    void SetUp() override { ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1); }
    void TearDown() override { ::unsetenv("XDG_CONFIG_HOME"); }

    // Writes `values` into the file and starts the settings from it, the mirror published.
    void Start(const Values& values = {}) {
        CConfigWriter file;
        for (const auto& [key, value] : values) {
            EXPECT_TRUE(file.Write(key, value)) << key;
        }
        settings.Reset();
        const SSettingsLoad load = LoadApplicationSettings(settings, prompt);
        ASSERT_FALSE(load.usedDefaults);
        settings.PublishWriter(load.writer);
    }
    // What the file holds under `key`.
    static std::string Stored(const std::string& key) {
        return CConfigWriter().Read(key, "<missing>");
    }

    skychart::test::TempDir home;
    RecordingPrompt prompt;
    CSettings settings;
};
