// The trendline file beside a real Skychart.conf in a temporary XDG_CONFIG_HOME, and the
// trendline page in the real settings sheet over that settings file.

#include "chart/ui/button_for_color.h"
#include "core/ui/setting_sheet.h"
#include "history/point_time.h"
#include "trend/ui/trend_file.h"
#include "trend/ui/trend_settings_page.h"

#include "settings_file.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using skychart::test::ReadFile;
using namespace std::string_literals;

class TrendFile : public skychart::test::SettingsFileTest {
protected:
    void SetUp() override {
        SettingsFileTest::SetUp();
        path = CTrendFile::DefaultPath().toStdString();
    }
    static CTrendStore Store(double price) {
        CTrendStore store;
        const SPointTime time = ParsePointTime("2024-03-01").value();
        STrendRecord line{ETrendKind::Sloping, {{time, price}, {time, price + 1}}};
        // Alerts, armed and fired, are kept with the trendlines across a restart.
        line.alert = SAlertSetting{EAlertDirection::Crosses, price > 1};
        store.Set({"LUMA", 2}, {line});
        store.AddLevelAlert({"@RCP#", price + 0.1234, {EAlertDirection::RisesAbove}});
        return store;
    }
    // The bytes of the trendline file and of every file named after it (set aside, or left
    // half-written), sorted.
    std::vector<std::string> Kept() const {
        std::vector<std::string> kept;
        for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path())) {
            if (entry.path().filename().string().starts_with("Skychart.trendlines.json")) {
                kept.push_back(ReadFile(entry.path()));
            }
        }
        std::sort(kept.begin(), kept.end());
        return kept;
    }
    void WriteFile(const std::string& bytes) const {
        home.writeFile(fs::path(path).lexically_relative(home.path()).string(), bytes);
    }
    std::string path; // the default trendline file, once XDG_CONFIG_HOME is the test's
};

TEST_F(TrendFile, LivesBesideTheSettingsAndIsSavedWholeAndReadBack) {
    EXPECT_EQ(path, home.path() + "/Orvane/Kestrel/DisplayApps/Skychart.trendlines.json");
    CTrendFile file;
    EXPECT_TRUE(file.Load(prompt, false).Charts().empty());
    EXPECT_FALSE(fs::exists(path)) << "a missing file is not made by reading";
    Start({"CurrentSymbol=LUMA"});
    ASSERT_TRUE(file.Save(Store(1)) && file.Save(Store(2)));
    EXPECT_EQ(Kept(), std::vector<std::string>{Store(2).Write()});
    EXPECT_EQ(CTrendFile().Load(prompt, false), Store(2));
    // Read-only use reads but never writes; a file that cannot be written keeps the old one.
    CTrendFile reader;
    EXPECT_EQ(reader.Load(prompt, true), Store(2));
    EXPECT_FALSE(reader.Save(Store(3)));
    home.writeFile("blocker", "a file, not a folder");
    EXPECT_FALSE(
        CTrendFile(QString::fromStdString(home.path() + "/blocker/x.json")).Save(Store(3)));
    EXPECT_EQ(ReadFile(path), Store(2).Write());
    EXPECT_TRUE(prompt.boxes.empty());
}

TEST_F(TrendFile, ADamagedFileIsSetAsideAndToldOnceOrLeftAndNeverOverwritten) {
    const std::string damaged[] = {R"({"version": 1, "charts": [)", "\0\x01\xff binary"s};
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(bytes);
        WriteFile(bytes);
        prompt.boxes.clear();
        CTrendFile reader;
        EXPECT_TRUE(reader.Load(prompt, true).Charts().empty() && !reader.Save(Store(1)));
        EXPECT_EQ(ReadFile(path), bytes);
        CTrendFile file;
        EXPECT_TRUE(file.Load(prompt, false).Charts().empty());
        ASSERT_EQ(prompt.boxes.size(), 2u);
        EXPECT_EQ(prompt.boxes[1].caption, CTrendFile::kCaption);
        EXPECT_NE(prompt.boxes[0].text.find(path + "\ncould not be read (not JSON"),
                  std::string::npos);
        EXPECT_NE(prompt.boxes[0].text.find("left as it is"), std::string::npos);
        EXPECT_NE(prompt.boxes[1].text.find(path + "\ncould not be read ("), std::string::npos);
        EXPECT_NE(prompt.boxes[1].text.find("kept as\n" + file.SetAside().toStdString() + "\n"),
                  std::string::npos);
        ASSERT_TRUE(file.Save(Store(1)));
        EXPECT_EQ(CTrendFile().Load(prompt, false), Store(1));
        EXPECT_EQ(prompt.boxes.size(), 2u) << "told again";
    }
    // Both damaged files are kept, byte for byte, beside the one saved since.
    std::vector<std::string> kept{damaged[0], damaged[1], Store(1).Write()};
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(Kept(), kept);
    // A name too long for the set-aside suffix: the file cannot be moved, so it stays unwritten.
    const std::string stuck = home.path() + "/" + std::string(240, 't') + ".json";
    home.writeFile(fs::path(stuck).filename().string(), damaged[0]);
    prompt.boxes.clear();
    CTrendFile file(QString::fromStdString(stuck));
    EXPECT_TRUE(file.Load(prompt, false).Charts().empty());
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_NE(prompt.boxes[0].text.find("could not be moved aside (File name too long)"),
              std::string::npos);
    EXPECT_TRUE(file.SavesRefused() && !file.Save(Store(1)));
    EXPECT_EQ(ReadFile(stuck), damaged[0]);
}

TEST_F(TrendFile, ThePageShowsEachKindInOrderAndStoresWhatChanged) {
    Start({"Sloping Trendline Width=abc", "Parallel Trendline Color=255",
           "Horizontal Trendline Extendable=0"});
    CSettingSheet sheet(settings);
    auto* page = new CTrendSettingsPage(settings);
    sheet.AddPage(page);
    int applied = 0;
    QObject::connect(page, &CTrendSettingsPage::applied, [&applied] { ++applied; });
    sheet.show();
    EXPECT_EQ(page->Title(), "Trendlines");
    const auto* grid = qobject_cast<QGridLayout*>(page->findChild<QGroupBox*>()->layout());
    for (const STrendKindInfo& info : TrendKindTable()) {
        const int row = static_cast<int>(info.kind) + 1;
        const auto* name = qobject_cast<QLabel*>(grid->itemAtPosition(row, 0)->widget());
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(name->text(), QString(info.name) + ":");
        EXPECT_EQ(grid->itemAtPosition(row, 1)->widget(), page->ColorButton(info.kind));
        EXPECT_EQ(page->WidthSpin(info.kind)->maximum(), kMaxTrendWidth);
    }
    EXPECT_EQ(page->ColorButton(ETrendKind::Parallel)->Color(), 255u);
    EXPECT_EQ(page->WidthSpin(ETrendKind::Sloping)->value(), 1);
    EXPECT_FALSE(page->ExtendableCheck(ETrendKind::Horizontal)->isChecked());
    page->ColorButton(ETrendKind::Pitchfork)->SetColor(0x123456);
    page->WidthSpin(ETrendKind::FibonacciFan)->setValue(4);
    page->ExtendableCheck(ETrendKind::Sloping)->click();
    sheet.Buttons()->button(QDialogButtonBox::Ok)->click();
    EXPECT_EQ(applied, 1);
    ExpectStored({"Andrew's Pitchfork Trendline Color=1193046", "Fibonacci Fan Trendline Width=4",
                  "Sloping Trendline Extendable=1", "Sloping Trendline Width=1",
                  "Parallel Trendline Color=255", "Speed Resistance Trendline Color=<missing>"});
    EXPECT_TRUE(prompt.boxes.empty());
}

} // namespace
