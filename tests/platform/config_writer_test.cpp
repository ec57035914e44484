#include "core/settings.h"
#include "platform/config_writer.h"
#include "platform/registry_paths.h"

#include "settings_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;
using skychart::test::ReadFile;
using namespace std::string_literals;

namespace {

// The real settings file in a fresh XDG_CONFIG_HOME per test.
class SettingsFile : public skychart::test::SettingsFileTest {
protected:
    void SetUp() override {
        SettingsFileTest::SetUp();
        file = CRegistryPaths::ApplicationFile("Skychart").toStdString();
    }
    // A start of the application: a fresh table loaded from the file, the mirror published.
    SSettingsLoad Start() {
        settings.Reset();
        SSettingsLoad load = LoadApplicationSettings(settings, prompt);
        settings.PublishWriter(load.writer);
        return load;
    }
    void WriteFile(const std::string& bytes) {
        home.writeFile(file.lexically_relative(home.path()).string(), bytes);
    }
    std::vector<std::string> SetAsideContents() const {
        std::vector<std::string> kept;
        for (const auto& entry : fs::directory_iterator(file.parent_path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name == "Skychart.conf" ||
                        std::regex_match(
                            name, std::regex(R"(Skychart\.conf\.unreadable-\d{8}-\d{6}(-\d+)?)")))
                << name;
            if (name != "Skychart.conf") {
                kept.push_back(ReadFile(entry.path()));
            }
        }
        std::sort(kept.begin(), kept.end());
        return kept;
    }
    fs::path file;
};

TEST_F(SettingsFile, OnlyChangedKeysAreWrittenOnlyAfterPublishingAndTextsComeBackExactly) {
    const SSettingsLoad load = LoadApplicationSettings(settings, prompt);
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "IBM"));
    EXPECT_EQ(settings.GetText("CurrentSymbol"), "IBM");
    EXPECT_FALSE(fs::exists(file)) << "written before the mirror was published";
    settings.PublishWriter(load.writer);
    settings.Register("Scratch", "", false);
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "MSFT") && settings.SetInt("RequestDataType", 2));
    ASSERT_TRUE(settings.SetText("Scratch", "not kept"));
    EXPECT_EQ(ReadFile(file), "[ApplicationSettings]\nCurrentSymbol=MSFT\nRequestDataType=2\n");
    Start();
    EXPECT_EQ(settings.GetText("CurrentSymbol"), "MSFT");
    EXPECT_EQ(settings.GetInt("RequestDataType"), 2);
    EXPECT_EQ(settings.GetInt("Candle Price Chart Style"), 1);
    EXPECT_TRUE(prompt.boxes.empty());
    // Lists and any other texts come back exactly.
    ASSERT_TRUE(settings.SaveList("RequestRecentType", {"2", "3", "6", "8", "9"}, &prompt));
    EXPECT_NE(ReadFile(file).find("\nRequestRecentType=\"2,3,6,8,9\"\n"), std::string::npos);
    for (const std::string text :
         {"", "a,,b", "a,b,", ",", " lead", "trail ", "@Variant(1)", "back\\slash", "q\"uote",
          "x;y", "#x", "=", "\xC3\xA9t\xC3\xA9", "two\nlines"}) {
        ASSERT_TRUE(settings.SetText("Symbols", text));
        EXPECT_EQ(CConfigWriter().Read("Symbols", "default"), text);
    }
    ASSERT_TRUE(settings.SetText("Symbols", "IBM,,MSFT,"));
    Start();
    EXPECT_EQ(settings.GetText("Symbols"), "IBM,,MSFT,");
    EXPECT_EQ(settings.GetText("RequestRecentType"), "2,3,6,8,9");
}

TEST_F(SettingsFile, AHandEditedFileIsReadKeepsWhatItDoesNotKnowAndStaysByteForByte) {
    WriteFile("\xEF\xBB\xBF; by hand\n[ApplicationSettings]\r\nSymbols = IBM, MSFT\n"
              "RequestDays=@Size(1 2)\nCandle%20Price%20Chart%20Style=0\nFuture Key=5\n\n"
              "[Other]\nx=1\n");
    Start();
    EXPECT_EQ(settings.GetText("Symbols"), "IBM,MSFT");
    EXPECT_EQ(settings.GetText("RequestDays"), "1,0,1,0,0"); // not a text: the default
    EXPECT_EQ(settings.GetInt("Candle Price Chart Style"), 0);
    ASSERT_TRUE(settings.SaveList("Symbols", {"QQQ", "IBM"}, &prompt));
    EXPECT_EQ(CConfigWriter().Read("Symbols", ""), "QQQ,IBM");
    EXPECT_EQ(CConfigWriter().Read("Future Key", ""), "5");
    EXPECT_EQ(CConfigWriter(QString::fromStdString(file.string()), "Other").Read("x", ""), "1");
    EXPECT_TRUE(prompt.boxes.empty() && SetAsideContents().empty());
    // Written by hand, with a quote left open: QSettings would write all of it back its own way.
    const std::string byHand = "[ApplicationSettings]\nCurrentSymbol = LUMA\nSymbols=LUMA, AURX\n"
                               "RequestDatapoints=\"500\n";
    WriteFile(byHand);
    Start();
    ASSERT_EQ(settings.GetText("RequestDatapoints"), "500\n");
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "LUMA") &&
                settings.SaveList("Symbols", {"LUMA", "AURX"}, &prompt) &&
                settings.SetText("RequestDatapoints", "500\n"));
    EXPECT_EQ(ReadFile(file), byHand);
    // A change is written.
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "AURX"));
    Start();
    EXPECT_EQ(settings.GetText("CurrentSymbol"), "AURX");
}

// (The settings-file fuzz target replays the damage it found: comments continued by a backslash,
// two byte order marks, keys ending in a slash, lines ended by a lone CR.)
TEST_F(SettingsFile, UnreadableFileIsSetAsideTheUserToldOnceAndDefaultsUsed) {
    const std::string damaged[] = {
        "[ApplicationSettings]\nCurrentSymbol=IBM\n\0\x01\xff"s,
        "[ApplicationSettings]\nCurrentSymbol=IBM\nthis line is no setting\n",
        "[ApplicationSettings]\nCurrentSymbol=\xff\xfeIBM\n",
        "[ApplicationSettings\nCurrentSymbol=IBM\n",
        "[ApplicationSettings]\n=IBM\n",
        "Symbols/=IBM\n[ApplicationSettings]\nCurrentSymbol=IBM\n",
        // A backslash after a ';' comment ends no line for QSettings: "=1" is a key of its own.
        "[ApplicationSettings]\nCurrentSymbol=IBM ;note\\\n=1\n",
        "[ApplicationSettings]\nCurrentSymbol=IBM\n\\\\=1\n",
    };
    std::vector<std::string> kept;
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(bytes);
        WriteFile(bytes);
        kept.push_back(bytes);
        prompt.boxes.clear();
        const SSettingsLoad load = Start();
        EXPECT_TRUE(load.usedDefaults);
        EXPECT_EQ(settings.GetText("CurrentSymbol"), "");
        EXPECT_FALSE(fs::exists(file));
        ASSERT_EQ(prompt.boxes.size(), 1u);
        EXPECT_NE(prompt.boxes[0].text.find(file.string() + "\n"), std::string::npos);
        EXPECT_NE(prompt.boxes[0].text.find(load.setAside.toStdString()), std::string::npos);
        ASSERT_TRUE(settings.SetText("CurrentSymbol", "SPY"));
        Start();
        EXPECT_EQ(prompt.boxes.size(), 1u) << "told again";
        EXPECT_EQ(settings.GetText("CurrentSymbol"), "SPY");
        std::sort(kept.begin(), kept.end());
        EXPECT_EQ(SetAsideContents(), kept) << "a set-aside file was lost or changed";
    }
}

TEST_F(SettingsFile, AFileReadAsUsableStaysUsableWhenSettingsAreSaved) {
    const std::string handEdited[] = {
        "[ApplicationSettings]\rCurrentSymbol=IBM\rSymbols=IBM,MSFT\r",
        "[General]\nx\\=1\n[ApplicationSettings]\nCurrentSymbol=IBM\n",
        "[ApplicationSettings]\nCurrentSymbol=IBM\nsub/key/=1\n[Other]\na/=2\n",
        "[ApplicationSettings]\nSymbols = IBM, MSFT\nx=\"a;b\"\n",
    };
    for (const std::string& bytes : handEdited) {
        SCOPED_TRACE(bytes);
        WriteFile(bytes);
        Start();
        EXPECT_TRUE(settings.SetText("CurrentSymbol", "SPY"));
        EXPECT_TRUE(settings.SaveList("Symbols", {"SPY", "QQQ"}, &prompt));
        EXPECT_EQ(SettingsFileProblem(QString::fromStdString(file.string())), "");
        EXPECT_EQ(CConfigWriter().Read("Symbols", ""), "SPY,QQQ");
        fs::remove_all(file.parent_path());
    }
}

TEST_F(SettingsFile, FileDamagedWhileRunningIsNotOverwritten) {
    Start();
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "IBM"));
    const std::string garbage = "[ApplicationSettings]\nCurrentSymbol=IBM\n\0\0\0"s;
    WriteFile(garbage);
    EXPECT_FALSE(settings.SaveList("Symbols", {"IBM", "MSFT"}, &prompt));
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.boxes[0].text, "Unable to write Symbols to the registry.  Error Code: 84\n");
    EXPECT_EQ(settings.GetText("Symbols"), "IBM,MSFT");
    EXPECT_EQ(ReadFile(file), garbage);
    // Damage only QSettings sees (the ';' starts a comment, so the group line has no ']') is
    // found by every later write too, although QSettings reports it only when it first parses
    // the file.
    const std::string cutGroup = "[ApplicationSetti$;gs]\nCurrentSymbol=IBM\n";
    WriteFile(cutGroup);
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_FALSE(SettingsFileProblem(QString::fromStdString(file.string())).empty());
        EXPECT_FALSE(settings.SaveList("Symbols", {"MSFT"}, &prompt)) << "attempt " << attempt;
        EXPECT_EQ(ReadFile(file), cutGroup) << "attempt " << attempt;
    }
}

} // namespace
