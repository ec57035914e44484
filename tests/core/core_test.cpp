// The application log and the settings table, plain C++ over real files.

#include "base/fields.h"
#include "core/app_log.h"
#include "core/settings.h"

#include "recording_prompt.h"
#include "settings_table.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <regex>
#include <set>
#include <tuple>
#include <unistd.h>

namespace fs = std::filesystem;
using skychart::test::TempDir;

namespace {

TEST(ApplicationLog, OpensItsFileNamedAfterTheExecutableInANewFolderWithBannerAndPattern) {
    // Only a last ".exe", in any case, is left out of the name.
    EXPECT_EQ(ApplicationNameFromExecutable("Skychart.exe.bak"), "Skychart.exe.bak");
    EXPECT_EQ(ApplicationNameFromExecutable(".exe"), ".exe");
    TempDir temp;
    SLogSetup setup{
        "/usr/bin/Skychart.exe", fs::path(temp.path()) / "state/Logs", false, 4242, nullptr, false};
    const SLogResult result = OpenApplicationLog(setup);
    ASSERT_EQ(result.file, setup.folder / "SkychartLog_4242.txt");
    LogStatusBar("Loading IBM...");
    spdlog::info("any code logs here");
    spdlog::default_logger()->flush();
    std::ifstream in(result.file);
    std::vector<std::string> lines(3);
    for (std::string& line : lines) {
        std::getline(in, line);
    }
    EXPECT_TRUE(in.peek() == EOF) << "more than three lines";
    // %P is the real process id; the pid in the name and the banner is the one handed in.
    const std::string stamp =
        R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\t)" + std::to_string(::getpid()) + R"(\t\d+\t)";
    EXPECT_TRUE(std::regex_search(
        lines[0], std::regex(stamp + R"(=== Skychart Log Opened \(PID: 4242\) ===$)")))
        << lines[0];
    EXPECT_TRUE(
        std::regex_search(lines[1], std::regex(stamp + R"(StatusBar: Loading IBM\.\.\.$)")));
    EXPECT_TRUE(std::regex_search(lines[2], std::regex(stamp + "any code logs here$")));
}

TEST(ApplicationLog, UnusableFolderFallsBackToStandardError) {
    TempDir temp;
    temp.writeFile("blocker", "a file where the folder should be");
    const fs::path folder = fs::path(temp.path()) / "blocker/Logs";
    testing::internal::CaptureStderr();
    const SLogResult result = OpenApplicationLog({"Skychart", folder, false, 77, nullptr, false});
    LogStatusBar("still logging");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(result.file.empty());
    EXPECT_NE(err.find("=== Skychart Log Opened (PID: 77) ==="), std::string::npos) << err;
    EXPECT_NE(err.find(folder.string()), std::string::npos);
    EXPECT_NE(err.find("StatusBar: still logging"), std::string::npos);
}

TEST(ApplicationLog, CleanUpDeletesOnlyLogsOfFinishedInstancesOfThisApplication) {
    TempDir temp;
    const char* kept[] = {"SkychartLog_200.txt",
                          "SkychartLog_300.txt",
                          "SkychartLog_0.txt",
                          "SkychartLog_.txt",
                          "SkychartLog_12x.txt",
                          "SkychartLog_100.log",
                          "SkychartLog_99999999999999999999.txt",
                          "OtherLog_100.txt",
                          "skychartLog_100.txt"};
    for (const char* name : kept) {
        temp.writeFile(name, "x");
    }
    temp.writeFile("SkychartLog_100.txt", "x");
    fs::create_directory(fs::path(temp.path()) / "SkychartLog_400.txt");
    std::vector<unsigned> asked;
    const auto running = [&asked](unsigned pid) {
        asked.push_back(pid);
        return pid == 200;
    };
    EXPECT_EQ(CleanUpApplicationLogs(temp.path(), "Skychart", 300, running),
              std::vector<fs::path>{fs::path(temp.path()) / "SkychartLog_100.txt"});
    std::sort(asked.begin(), asked.end());
    EXPECT_EQ(asked, (std::vector<unsigned>{100, 200}));
    for (const char* name : kept) {
        EXPECT_TRUE(fs::exists(fs::path(temp.path()) / name)) << name;
    }
}

using skychart::test::RecordingPrompt;

TEST(SettingsTable, TypedGettersAndTheFallbacksOfUnknownKeys) {
    skychart::test::SettingsTable settings;
    // {text, as an int, as an unsigned}
    // clang-format off
    const std::tuple<const char*, int, std::uint32_t> cases[] = {
        {"true", 1, 0}, {"false", 0, 0}, {"15", 15, 15}, {" -7x", -7, 4294967289u}, {"abc", 0, 0},
        {"True", 0, 0}, {"4000000000", INT_MAX, 4000000000u}, {"-1", -1, UINT32_MAX},
        {"-99999999999", INT_MIN, UINT32_MAX}};
    // clang-format on
    for (const auto& [text, integer, unsignedValue] : cases) {
        ASSERT_TRUE(settings.SetText("CurrentSymbol", text));
        EXPECT_EQ(settings.GetInt("CurrentSymbol"), integer) << text;
        EXPECT_EQ(settings.GetUnsigned("CurrentSymbol"), unsignedValue) << text;
    }
    ASSERT_TRUE(settings.SetBool("RequestUseExchangeFormat", true));
    EXPECT_EQ(settings.GetText("RequestUseExchangeFormat"), "true");
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "2.5e1"));
    EXPECT_DOUBLE_EQ(settings.GetNumber("CurrentSymbol"), 25.0);
    EXPECT_EQ(settings.GetList("RequestRecentType"),
              (std::vector<std::string>{"0", "3", "6", "8", "9"}));
    EXPECT_EQ(std::tuple(settings.GetText("No Such Key"), settings.GetInt("No Such Key"),
                         settings.SetText("No Such Key", "x"), settings.SetInt("No Such Key", 3),
                         settings.Has("No Such Key")),
              std::tuple("Config Error", -1, false, false, false));
    RecordingPrompt prompt;
    EXPECT_FALSE(settings.SaveList("Recent Things", {"a", "b"}, &prompt));
    EXPECT_EQ(prompt.Texts(), std::vector<std::string>{std::string(CSettings::kSaveListCaption) +
                                                       "|Unable to write Recent Things to the "
                                                       "registry.  Error Code: 2\n"});
}

TEST(SettingKeys, KeysAreUniqueAndPerDataTypeListsHaveFiveElements) {
    std::set<std::string> seen;
    for (const SSettingKey& key : AllSettingKeys()) {
        EXPECT_TRUE(seen.insert(key.key).second) << "registered twice: " << key.key;
        const std::string value = key.defaultValue;
        if (std::string(key.key).starts_with("Request") && value.find(',') != std::string::npos) {
            EXPECT_EQ(SplitFields(value).size(), 5u) << key.key;
        }
    }
}

} // namespace
