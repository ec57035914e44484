#include "studies/upper_page_logic.h"

#include "settings_file.h"

#include <climits>

namespace {

using skychart::test::SettingsFileTest;

using L = CUpperPageLogic;
using UpperPageLogicTest = SettingsFileTest;

SUpperPageValues Typed(const std::string& period, const std::string& deviations) {
    SUpperPageValues values;
    values.bandsPeriodText = period;
    values.deviationsText = deviations;
    return values;
}

TEST(UpperPageFields, DeviationsFilterKeepsDigitsAndTheFirstPointOnly) {
    EXPECT_EQ(L::FilterDeviations("2.5x.3"), "2.5");
    EXPECT_EQ(L::FilterDeviations("1.2.3"), "1.2");
    EXPECT_EQ(L::FilterDeviations("1..2"), "1.");
    EXPECT_EQ(L::FilterDeviations(".25"), ".25");
    EXPECT_EQ(L::FilterDeviations("-1"), "");
    EXPECT_EQ(L::FilterDeviations("3 4"), "3");
    EXPECT_EQ(L::FilterDeviations("12"), "12");
    EXPECT_EQ(L::FilterDeviations(""), "");
    EXPECT_EQ(L::FormatDeviations(2.0), "2.00");
    EXPECT_EQ(L::FormatDeviations(0.5), "0.50");

    // The period text is read as the C library reads an integer.
    EXPECT_EQ(L::ReadInt(" 12abc"), 12);
    EXPECT_EQ(L::ReadInt("+7"), 7);
    EXPECT_EQ(L::ReadInt("abc"), 0);
    EXPECT_EQ(L::ReadInt(""), 0);
    EXPECT_EQ(L::ReadInt("-5"), -5);
    EXPECT_EQ(L::ReadInt("99999999999999"), INT_MAX);
}

TEST(UpperPageFields, RefusalsComeInOrderWithTheirOwnTexts) {
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
    EXPECT_STREQ(L::kPeriodRangeText, "Study average period must be from 2 to 999");
    EXPECT_STREQ(L::kNoDeviationsText, "You must select a valid No. of Deviations.");
    EXPECT_STREQ(L::kDeviationsRangeText, "No. of Deviations must be from 0.01 to 100");
}

TEST_F(UpperPageLogicTest, ConfirmStoresEveryKeyOrNothing) {
    Start({{"Moving Average 2 Points", "12"}, {"BB Color", "255"}});
    SUpperPageValues values = Typed("1", "2");
    values.settings = SUpperStudySettings::Read(settings);
    EXPECT_EQ(values.settings.points[1], 12);
    EXPECT_EQ(values.settings.bandsColor, 255u);

    EXPECT_FALSE(L::Confirm(settings, prompt, values));
    ASSERT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(prompt.Texts()[0], "Error|Study average period must be from 2 to 999");
    EXPECT_EQ(Stored("MAs SHOW"), "<missing>");

    // The averages themselves are stored by the sheet test; here the typed texts win over
    // the spin's last value and the stored deviations.
    values.settings.bandsPeriod = 20;
    values.bandsPeriodText = "25";
    values.deviationsText = "2.5";
    EXPECT_TRUE(L::Confirm(settings, prompt, values));
    EXPECT_EQ(prompt.boxes.size(), 1u);
    EXPECT_EQ(Stored("Moving Average 2 Points"), "12");
    EXPECT_EQ(Stored("BB AVG PERIOD"), "25");
    EXPECT_EQ(Stored("BB DIVIATIONS NUMBER"), "2.50");
    EXPECT_EQ(Stored("BB Color"), "255");
}

} // namespace
