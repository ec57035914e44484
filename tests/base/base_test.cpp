// The calendar time and the comma-separated fields every layer reads.

#include "base/datetime.h"
#include "base/error.h"
#include "base/fields.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

// Whether the fast conversion the parser uses agrees with the checked one on these fields.
bool FastAgrees(int y, int mo, int d, int h, int mi, int s) {
    const CDateTime checked(y, mo, d, h, mi, s);
    const CDateTime fast = CDateTime::FromFields(y, mo, d, h, mi, s);
    return fast.IsValid() == checked.IsValid() &&
           (!checked.IsValid() ||
            (fast.Days() == checked.Days() && fast.GetSecondsOfDay() == h * 3600 + mi * 60 + s));
}

TEST(CDateTime, RealFieldsRoundTripImpossibleOnesAreInvalidAndTheFastConversionAgrees) {
    // 2000 is divisible by 400, 1900 by 100 only; the edges of the year range; days before 1899.
    const struct {
        SDateTimeFields f;
        bool valid;
    } cases[] = {
        {{100, 1, 1, 0, 0, 0}, true},     {{1899, 12, 29, 23, 59, 59}, true},
        {{1980, 12, 30, 13, 0, 0}, true}, {{2024, 2, 29, 9, 30, 0}, true},
        {{2000, 2, 29, 0, 0, 0}, true},   {{9999, 12, 31, 23, 59, 59}, true},
        {{1600, 3, 1, 12, 34, 56}, true}, {{1899, 12, 29, 6, 0, 0}, true},
        {{1899, 12, 30, 0, 0, 0}, true},  {{2021, 2, 29, 0, 0, 0}, false},
        {{2020, 2, 30, 0, 0, 0}, false},  {{2020, 4, 31, 0, 0, 0}, false},
        {{2020, 13, 1, 0, 0, 0}, false},  {{2020, 1, 1, 24, 0, 0}, false},
        {{2020, 1, 1, 0, 60, 0}, false},  {{2020, 1, 1, 0, 0, 60}, false},
        {{0, 0, 0, 0, 0, 0}, false},      {{99, 12, 31, 0, 0, 0}, false},
        {{10000, 1, 1, 0, 0, 0}, false},  {{2020, -1, 1, 0, 0, 0}, false},
        {{1900, 2, 29, 0, 0, 0}, false},
    };
    for (const auto& [f, valid] : cases) {
        const CDateTime value(f.year, f.month, f.day, f.hour, f.minute, f.second);
        SDateTimeFields back;
        EXPECT_EQ(value.IsValid(), valid) << f.year << "-" << f.month << "-" << f.day;
        EXPECT_EQ(value.GetFields(back), valid);
        EXPECT_TRUE(!valid || back == f) << f.year << "-" << f.month << "-" << f.day;
        EXPECT_TRUE(FastAgrees(f.year, f.month, f.day, f.hour, f.minute, f.second));
    }
    std::mt19937 random(7);
    std::uniform_int_distribution<int> year(1600, 2400), month(0, 13), day(0, 32), hour(0, 24),
        minute(0, 60);
    for (int i = 0; i < 20000; ++i) {
        const int y = year(random), mo = month(random), d = day(random), h = hour(random),
                  mi = minute(random), s = minute(random);
        ASSERT_TRUE(FastAgrees(y, mo, d, h, mi, s))
            << y << "-" << mo << "-" << d << " " << h << ":" << mi << ":" << s;
    }
}

TEST(CDateTime, DaysSinceTheEpochPartsRoundingAndOrderOnBothSidesOfIt) {
    EXPECT_EQ(std::tuple(CDateTime(1899, 12, 30, 0, 0, 0).Days(),
                         CDateTime(1900, 1, 1, 0, 0, 0).Days(),
                         CDateTime(2000, 1, 1, 12, 0, 0).Days(), CDateTime::DayNumber(2020, 2, 29)),
              std::tuple(0.0, 2.0, 36526.5, 43890));
    const CDateTime saturday(2026, 11, 21, 14, 3, 7);
    EXPECT_EQ(std::tuple(saturday.GetYear(), saturday.GetMonth(), saturday.GetDay(),
                         saturday.GetHour(), saturday.GetMinute(), saturday.GetSecond(),
                         saturday.GetDayOfWeek(), CDateTime(2026, 11, 22, 0, 0, 0).GetDayOfWeek()),
              std::tuple(2026, 11, 21, 14, 3, 7, 7, 1));
    const CDateTime invalid(2020, 2, 30, 0, 0, 0);
    EXPECT_EQ(std::tuple(invalid.GetYear(), invalid.GetDayOfWeek()), std::tuple(-1, -1));
    SDateTimeFields fields;
    EXPECT_FALSE(CDateTime(1e9).GetFields(fields));
    // Fractions round to the nearest second; just under midnight rounds into the next day.
    const double oneSecond = 1.0 / 86400.0;
    for (const auto& [days, expected] :
         {std::pair{2.0 + 0.4 * oneSecond, SDateTimeFields{1900, 1, 1, 0, 0, 0}},
          std::pair{2.0 + 0.6 * oneSecond, SDateTimeFields{1900, 1, 1, 0, 0, 1}},
          std::pair{3.0 - 0.2 * oneSecond, SDateTimeFields{1900, 1, 2, 0, 0, 0}}}) {
        ASSERT_TRUE(CDateTime(days).GetFields(fields));
        EXPECT_EQ(fields, expected) << days;
    }
    // Before the epoch the time of day counts away from it: 06:00 is -1.25, 18:00 is -1.75.
    const CDateTime early(1899, 12, 29, 6, 0, 0);
    const CDateTime later(1899, 12, 29, 18, 0, 0);
    EXPECT_DOUBLE_EQ(early.Days(), -1.25);
    EXPECT_LT(later.Days(), early.Days());
    EXPECT_TRUE(early < later && later > early);
    const CDateTime open(2020, 1, 1, 9, 30, 0);
    EXPECT_TRUE(CDateTime(1899, 12, 28, 23, 0, 0) < early &&
                later < CDateTime(1899, 12, 30, 0, 0, 1));
    EXPECT_TRUE(open < CDateTime(2020, 1, 1, 9, 30, 1) && open == CDateTime(2020, 1, 1, 9, 30, 0) &&
                open <= CDateTime(2020, 1, 1, 9, 30, 0));
}

using Fields = std::vector<std::string>;

TEST(SplitFields, EveryCommaEndsAFieldAnEmptyTailIsDroppedAndViewsPointIntoTheLine) {
    // clang-format off
    const std::pair<const char*, Fields> cases[] = {
        {"Lookup0,!ENDMSG!,", {"Lookup0", "!ENDMSG!"}}, {"a,,b", {"a", "", "b"}},
        {"Lookup0,!ENDMSG!,x", {"Lookup0", "!ENDMSG!", "x"}}, {"a,b,,", {"a", "b", ""}},
        {",a", {"", "a"}}, {",", {""}}, {",,", {"", ""}}, {"", {}}, {"plain", {"plain"}}};
    // clang-format on
    for (const auto& [line, fields] : cases) {
        EXPECT_EQ(SplitFieldsCopy(line), fields) << line;
    }
    // Reused output is cleared first.
    std::vector<std::string_view> out{"stale", "values"};
    const std::string line = "S,STATS,x";
    SplitFields(line, out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[1].data(), line.data() + 2);
    EXPECT_EQ(JoinFields(SplitFieldsCopy("10000,10000,1,0,0")), "10000,10000,1,0,0");
    EXPECT_EQ(JoinFields({}), "");
}

TEST(DecimalValue, ReadsTheLeadingNumberLikeAtoiAndElementAtThrowsBeyondTheEnd) {
    for (const auto& [text, value] :
         {std::pair{"093000", 93000}, std::pair{"  +42", 42}, std::pair{"-7", -7},
          std::pair{"12abc", 12}, std::pair{"", 0}, std::pair{"abc", 0},
          std::pair{"99999999999", 0}}) { // the last out of range
        EXPECT_EQ(DecimalValue(text), value) << text;
    }
    const std::vector<std::string_view> fields = SplitFields("a,b");
    EXPECT_EQ(ElementAt(fields, 1), "b");
    EXPECT_THROW(ElementAt(fields, 2), CInvalidArgException);
    try {
        ElementAt(fields, 7);
        ADD_FAILURE() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("index 7"), std::string::npos);
    }
}

} // namespace
