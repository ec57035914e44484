// The rules of the upper and lower studies pages over a real Skychart.conf.

#include "studies/lower_page_logic.h"
#include "studies/upper_page_logic.h"

#include "settings_file.h"

#include <climits>
#include <cstdlib>

namespace {

using Model = CLowerStudiesPageModel;
using L = CUpperPageLogic;

class PageLogic : public skychart::test::SettingsFileTest {
protected:
    SStudySettings ReadBack() const { return SStudySettings::Read(settings); }
    // OK on the page alone: checked, then stored.
    bool Confirm(Model& model) {
        if (!model.Check(prompt)) {
            return false;
        }
        model.Store(settings);
        return true;
    }
};

SUpperPageValues Typed(const std::string& period, const std::string& deviations) {
    SUpperPageValues values;
    values.bandsPeriodText = period;
    values.deviationsText = deviations;
    return values;
}

// Builds and expects a refusal; returns its text.
std::string Refused(const Model& model, int studyType) {
    SStudySettings out;
    const auto refusal = model.Build(out);
    if (!refusal) {
        ADD_FAILURE() << "accepted";
        return {};
    }
    EXPECT_EQ(refusal->studyType, studyType);
    return refusal->text;
}

TEST(UpperPageFields, TextsAreFilteredAndReadAndRefusedInOrder) {
    const std::pair<const char*, const char*> filtered[] = {
        {"2.5x.3", "2.5"}, {"1.2.3", "1.2"}, {"1..2", "1."}, {".25", ".25"},
        {"-1", ""},        {"3 4", "3"},     {"12", "12"},   {"", ""}};
    for (const auto& [typed, kept] : filtered) {
        EXPECT_EQ(L::FilterDeviations(typed), kept) << typed;
    }
    EXPECT_EQ(L::FormatDeviations(2.0), "2.00");
    EXPECT_EQ(L::FormatDeviations(0.5), "0.50");
    // The period text is read as the C library reads an integer.
    const std::pair<const char*, int> read[] = {
        {" 12abc", 12}, {"+7", 7}, {"abc", 0}, {"", 0}, {"-5", -5}, {"99999999999999", INT_MAX}};
    for (const auto& [text, value] : read) {
        EXPECT_EQ(L::ReadInt(text), value) << text;
    }
    // The period is looked at before the deviations, whatever they are.
    for (const char* period : {"1", "1000", "abc", "", "-20"}) {
        EXPECT_STREQ(L::Refusal(Typed(period, ".")), L::kPeriodRangeText) << period;
    }
    EXPECT_STREQ(L::Refusal(Typed("2", ".")), L::kNoDeviationsText);
    EXPECT_STREQ(L::Refusal(Typed("999", ".")), L::kNoDeviationsText);
    for (const char* deviations : {"0.001", "100.5", "", "0", "0.009", "nan"}) {
        EXPECT_STREQ(L::Refusal(Typed("20", deviations)), L::kDeviationsRangeText) << deviations;
    }
    for (const char* deviations : {"100", "0.01", "2.", ".5", "100.00"}) {
        EXPECT_EQ(L::Refusal(Typed("20", deviations)), nullptr) << deviations;
    }
    EXPECT_EQ(L::Refusal(Typed(" 20x", "2")), nullptr);
}

TEST(LowerPageTable, CaptionsChoicesAndRowsFollowTheCatalogue) {
    for (int type = 0; type < kStudyTypeCount; ++type) {
        const SStudyProperties& props = StudyProperties(type);
        const std::vector<int>& fixed = StudyCatalog(type).fixedChoices;
        if (type == kStudyVolume) {
            EXPECT_EQ(props.choices.size(), 2u);
            continue;
        }
        ASSERT_EQ(props.choices.size(), fixed.size() + 1) << type;
        // Numbered choices store the number they show.
        for (std::size_t at = 0; at < fixed.size() && type != kStudyMACD; ++at) {
            EXPECT_EQ(std::atoi(props.choices[at]), fixed[at]) << type << " " << at;
        }
        EXPECT_LE(props.rows.size(), 4u);
    }
    // The stochastics' levels are edits, their line colours buttons.
    const SStudyProperties& sto = StudyProperties(kStudyStochastics);
    EXPECT_TRUE(IsLevelField(sto.rows[0].field) && !IsLevelField(sto.rows[2].field));
}

TEST_F(PageLogic, LowerListHoldsAtMostTenAndBecomesThePanes) {
    Start();
    Model model(ReadBack());
    EXPECT_EQ(model.Displayed(), std::vector<int>{kStudyVolume});
    EXPECT_EQ(model.ShownStudy(), kStudyVolume);
    EXPECT_STREQ(model.Add(10), Model::kNoStudyText);
    EXPECT_STREQ(model.Add(-1), Model::kNoStudyText);
    for (int type = 0; type < 9; ++type) {
        EXPECT_EQ(model.Add(type), nullptr) << type;
    }
    EXPECT_STREQ(model.Add(kStudyADX), Model::kListFullText);
    EXPECT_EQ(model.Displayed().size(), 10u);
    EXPECT_FALSE(model.MoveUp(0) || model.MoveDown(9) || model.MoveDown(-1));
    EXPECT_TRUE(model.MoveUp(1)); // RSI above volume
    EXPECT_TRUE(model.MoveDown(2) && !model.Remove(10));
    EXPECT_TRUE(model.Remove(9));
    EXPECT_EQ(model.Displayed(), (std::vector<int>{0, 6, 2, 1, 3, 4, 5, 6, 7}));
    EXPECT_TRUE(Confirm(model));
    ExpectStored({"Number of displayed study charts=9", "Type of study chart 0=0",
                  "Type of study chart 3=1"});
    EXPECT_EQ(ReadBack().paneTypes, model.Displayed());
    while (model.Remove(0)) {
    }
    EXPECT_TRUE(Confirm(model));
    EXPECT_EQ(Stored("Number of displayed study charts"), "0");
    EXPECT_TRUE(ReadBack().paneTypes.empty());
    EXPECT_EQ(Model(ReadBack()).ShownStudy(), kStudyRSI); // with nothing displayed
    EXPECT_TRUE(prompt.boxes.empty());
}

TEST_F(PageLogic, LowerPageOpensOnTheStoredChoicesAndCustomPeriods) {
    Start();
    const Model defaults(ReadBack());
    // {study, choice, custom edit}: the choice of the period in use (the stored "9" of RSI is
    // not the 21 its panes compute with: custom); the custom edit shows the custom list;
    // volume's first choice is "for all data".
    const std::tuple<int, int, const char*> shown[] = {
        {kStudyRSI, 3, "21"},        {kStudyMomentum, 2, "20"}, {kStudyOBV, 0, "9"},
        {kStudyStochastics, 0, "5"}, {kStudyVolume, 0, "500"},  {kStudyADX, 0, "10"}};
    for (const auto& [type, choice, custom] : shown) {
        EXPECT_EQ(defaults.Choice(type), choice) << type;
        EXPECT_EQ(defaults.CustomText(type), custom) << type;
    }
    // MACD: "sell" stored but 8 / 17 / 18 in use, no preset: custom; the custom edits show the
    // custom pair and the custom signal.
    EXPECT_EQ(defaults.Choice(kStudyMACD), 2);
    EXPECT_EQ(defaults.MacdText(EMacdEdit::Long), "78");
    EXPECT_EQ(defaults.Color(EStudyField::NegativeDIColor), 255u);
    Start({"STUDY AVG PERIOD=14,30,20,9,9,25,10,14,14,14",
           "STUDY CUSTOM AVG PERIOD=33,20,20,9,7,5,500,9,9,10", "RSI Radio Select=0",
           "MOM Radio Select=7", "ROC Radio Select=-1", "Volume Average All Data=0",
           "MACD Radio Select=5", "MACD Short Period=12", "MACD Long Period=25"});
    const Model stored(ReadBack());
    EXPECT_EQ(stored.Choice(kStudyRSI), 0);
    EXPECT_EQ(stored.CustomText(kStudyRSI), "33");
    // An unknown choice: the one showing the period in use, else the custom one.
    EXPECT_EQ(stored.Choice(kStudyMomentum), 1);
    EXPECT_EQ(stored.Choice(kStudyRateOfChange), 2);
    EXPECT_EQ(stored.Choice(kStudyVolume), 1);
    EXPECT_EQ(stored.Choice(kStudyMACD), 1); // drawing the sell periods
    EXPECT_EQ(stored.MacdText(EMacdEdit::Short), "38");
    EXPECT_EQ(stored.MacdText(EMacdEdit::Signal), "7");
}

TEST_F(PageLogic, LowerChoicesStoreWhatThePanesComputeWithAndReopenTheSame) {
    Start();
    Model model(ReadBack());
    ASSERT_TRUE(model.SetChoice(kStudyRSI, 2));
    EXPECT_FALSE(model.SetChoice(kStudyRSI, 4) || model.SetChoice(kStudyOBV, 2));
    model.SetCustomText(kStudyRSI, "junk"); // not the selected choice: not looked at
    ASSERT_TRUE(model.SetChoice(kStudyMomentum, 2));
    model.SetCustomText(kStudyMomentum, " 33 ");
    ASSERT_TRUE(model.SetChoice(kStudyVolume, 1));
    model.SetCustomText(kStudyVolume, "250");
    ASSERT_TRUE(model.SetChoice(kStudyStochastics, 2));
    model.SetStoFast(true);
    ASSERT_TRUE(model.SetChoice(kStudyMACD, 0));
    model.SetLevelText(EStudyField::MfiUpper, "75");
    model.SetLevelText(EStudyField::Roc100Color, "5"); // a colour row has no text
    model.SetColor(EStudyField::StoKColor, 0xFF123456);
    // The colour page of the same sheet stores a study colour after this page was made.
    settings.SetText("Study Data Color 3", "4660");
    ASSERT_TRUE(Confirm(model));
    // Only what changed: untouched studies keep their entries of the lists (rate of change its
    // 20, although its stored choice shows 30) and MACD's unchanged short and long periods.
    ExpectStored({"Study Data Color 3=4660", "RSI Radio Select=2", "MOM Radio Select=2",
                  "Volume Average All Data=0", "STO Radio Select=2", "STO Fast=1",
                  "MACD Radio Select=0", "STUDY AVG PERIOD=25,33,20,9,9,25,250,14,14,14",
                  "STUDY CUSTOM AVG PERIOD=21,33,20,9,18,5,250,9,9,10", "MFI Upper Level=75",
                  "STO %K Line Color=1193046", "ROC Radio Select=<missing>",
                  "MACD Short Period=<missing>", "MFI Lower Level=<missing>",
                  "Number of displayed study charts=<missing>"});
    const SStudySettings back = ReadBack();
    EXPECT_FALSE(back.VolumeAverageAllData());
    EXPECT_EQ(std::tuple(back.MacdPresetWord(), back.macdShort, back.macdLong),
              std::tuple("buy", 8, 17));
    // Reopened, every study shows the choice just stored.
    Model reopened(back);
    for (int type : {kStudyRSI, kStudyMomentum, kStudyVolume, kStudyStochastics, kStudyMACD}) {
        EXPECT_EQ(reopened.Choice(type), model.Choice(type)) << type;
    }
    EXPECT_TRUE(reopened.StoFast());
    // MACD's custom choice stores its edits as the periods in use and as the custom pair.
    ASSERT_TRUE(reopened.SetChoice(kStudyMACD, 2));
    reopened.SetMacdText(EMacdEdit::Short, "16");
    reopened.SetMacdText(EMacdEdit::Long, "17");
    reopened.SetMacdText(EMacdEdit::Signal, "5");
    ASSERT_TRUE(Confirm(reopened));
    ExpectStored({"MACD Short Period=16", "MACD Custom Short Period=16",
                  "MACD Custom Long Period=17", "MACD Radio Select=2"});
    EXPECT_EQ(ReadBack().Period(kStudyMACD), 5);
    EXPECT_EQ(ReadBack().MacdPresetWord(), "custom");
    const Model third(ReadBack());
    EXPECT_EQ(third.Choice(kStudyMACD), 2);
    EXPECT_EQ(third.MacdText(EMacdEdit::Signal), "5");
    EXPECT_TRUE(prompt.boxes.empty());
}

TEST_F(PageLogic, LowerRefusalsNameTheStudyAndStoreNothing) {
    Start();
    Model model(ReadBack());
    ASSERT_TRUE(model.SetChoice(kStudyMACD, 2));
    model.SetMacdText(EMacdEdit::Short, "17");
    model.SetMacdText(EMacdEdit::Long, "17");
    EXPECT_EQ(Refused(model, kStudyMACD), Model::kMacdOrderText);
    model.SetMacdText(EMacdEdit::Long, "x");
    EXPECT_EQ(Refused(model, kStudyMACD),
              "MACD long period must be a whole number from 1 to 100000");
    model.SetMacdText(EMacdEdit::Long, "17");
    model.SetMacdText(EMacdEdit::Signal, "0");
    EXPECT_EQ(Refused(model, kStudyMACD),
              "MACD signal smoothing period must be a whole number from 1 to 100000");
    model.SetMacdText(EMacdEdit::Signal, "9");
    // Studies are checked in index order: RSI's custom period before MACD.
    model.SetMacdText(EMacdEdit::Short, "18");
    ASSERT_TRUE(model.SetChoice(kStudyRSI, 3));
    for (const char* text : {"abc", "0", "-3", "100001", "", "1.5"}) {
        model.SetCustomText(kStudyRSI, text);
        EXPECT_EQ(Refused(model, kStudyRSI),
                  "Custom period of RSI must be a whole number from 1 to 100000")
            << text;
    }
    model.SetCustomText(kStudyRSI, "100000");
    model.SetLevelText(EStudyField::StoLower, "101");
    EXPECT_EQ(Refused(model, kStudyMACD), Model::kMacdOrderText);
    model.ShowStudy(kStudyRSI);
    EXPECT_FALSE(Confirm(model));
    EXPECT_EQ(prompt.Texts(),
              std::vector<std::string>{std::string("Error|") + Model::kMacdOrderText});
    EXPECT_EQ(model.ShownStudy(), kStudyMACD);
    EXPECT_EQ(Stored("MACD Short Period"), "<missing>");
    model.SetMacdText(EMacdEdit::Short, "16");
    EXPECT_EQ(Refused(model, kStudyStochastics),
              "STO lower level must be a whole number from 0 to 100");
    model.SetLevelText(EStudyField::StoLower, "0");
    SStudySettings out;
    EXPECT_FALSE(model.Build(out).has_value());
    EXPECT_EQ(std::tuple(out.macdShort, out.customPeriods[kStudyRSI], out.stoLower),
              std::tuple(16, 100000, 0));
}

} // namespace
