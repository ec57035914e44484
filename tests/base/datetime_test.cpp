#include "base/datetime.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

TEST(CDateTime, EncodesDaysSinceTheEpochWithTheTimeAsFraction) {
    EXPECT_DOUBLE_EQ(CDateTime(1899, 12, 30, 0, 0, 0).Days(), 0.0);
    EXPECT_DOUBLE_EQ(CDateTime(1900, 1, 1, 0, 0, 0).Days(), 2.0);
    EXPECT_DOUBLE_EQ(CDateTime(1899, 12, 29, 6, 0, 0).Days(), -1.25);
    EXPECT_DOUBLE_EQ(CDateTime(2000, 1, 1, 12, 0, 0).Days(), 36526.5);
    EXPECT_EQ(CDateTime::DayNumber(2020, 2, 29), 43890);
}

TEST(CDateTime, FieldsRoundTripAcrossTheRange) {
    const SDateTimeFields cases[] = {
        {100, 1, 1, 0, 0, 0},     {1899, 12, 29, 23, 59, 59}, {1980, 12, 30, 13, 0, 0},
        {2024, 2, 29, 9, 30, 0},  {2026, 11, 20, 15, 59, 59}, {9999, 12, 31, 23, 59, 59},
        {1600, 3, 1, 12, 34, 56},
    };
    for (const auto& f : cases) {
        CDateTime value(f.year, f.month, f.day, f.hour, f.minute, f.second);
        ASSERT_TRUE(value.IsValid()) << f.year << "-" << f.month << "-" << f.day;
        SDateTimeFields back;
        ASSERT_TRUE(value.GetFields(back));
        EXPECT_EQ(back, f) << f.year << "-" << f.month << "-" << f.day;
    }
}

TEST(CDateTime, ImpossibleCalendarFieldsAreInvalid) {
    // 2000 is divisible by 400, 1900 by 100 only; a date of zero.
    const SDateTimeFields impossible[] = {
        {2021, 2, 29, 0, 0, 0}, {2020, 2, 30, 0, 0, 0}, {2020, 4, 31, 0, 0, 0},
        {2020, 13, 1, 0, 0, 0}, {2020, 1, 1, 24, 0, 0}, {2020, 1, 1, 0, 60, 0},
        {2020, 1, 1, 0, 0, 60}, {0, 0, 0, 0, 0, 0},     {99, 12, 31, 0, 0, 0},
        {10000, 1, 1, 0, 0, 0}, {2020, -1, 1, 0, 0, 0}, {1900, 2, 29, 0, 0, 0}};
    for (const auto& f : impossible) {
        EXPECT_FALSE(CDateTime(f.year, f.month, f.day, f.hour, f.minute, f.second).IsValid())
            << f.year << "-" << f.month << "-" << f.day << " " << f.hour << ":" << f.minute;
    }
    EXPECT_TRUE(CDateTime(2000, 2, 29, 0, 0, 0).IsValid());
}

TEST(CDateTime, InvalidValuesReadBackAsMinusOne) {
    CDateTime value(2020, 2, 30, 0, 0, 0);
    EXPECT_EQ(value.GetYear(), -1);
    EXPECT_EQ(value.GetDayOfWeek(), -1);
    SDateTimeFields fields;
    EXPECT_FALSE(value.GetFields(fields));
    EXPECT_FALSE(CDateTime(1e9).GetFields(fields));
}

TEST(CDateTime, ReadsCalendarPartsAndWeekday) {
    const CDateTime value(2026, 11, 21, 14, 3, 7); // a Saturday
    EXPECT_EQ(std::tuple(value.GetYear(), value.GetMonth(), value.GetDay(), value.GetHour(),
                         value.GetMinute(), value.GetSecond(), value.GetDayOfWeek()),
              std::tuple(2026, 11, 21, 14, 3, 7, 7));
    EXPECT_EQ(CDateTime(2026, 11, 22, 0, 0, 0).GetDayOfWeek(), 1);
}

TEST(CDateTime, FractionsRoundToTheNearestSecond) {
    const double oneSecond = 1.0 / 86400.0;
    SDateTimeFields fields;
    ASSERT_TRUE(CDateTime(2.0 + 0.4 * oneSecond).GetFields(fields));
    EXPECT_EQ(fields.second, 0);
    ASSERT_TRUE(CDateTime(2.0 + 0.6 * oneSecond).GetFields(fields));
    EXPECT_EQ(fields.second, 1);
    // Just under midnight rounds into the next day.
    ASSERT_TRUE(CDateTime(3.0 - 0.2 * oneSecond).GetFields(fields));
    EXPECT_EQ(fields, (SDateTimeFields{1900, 1, 2, 0, 0, 0}));
}

TEST(CDateTime, LaterTimesCompareGreaterOnBothSidesOfTheEpoch) {
    const CDateTime early(1899, 12, 29, 6, 0, 0);  // -1.25
    const CDateTime later(1899, 12, 29, 18, 0, 0); // -1.75
    EXPECT_LT(later.Days(), early.Days());
    EXPECT_TRUE(early < later);
    EXPECT_TRUE(later > early);
    EXPECT_TRUE(CDateTime(1899, 12, 28, 23, 0, 0) < early);
    EXPECT_TRUE(later < CDateTime(1899, 12, 30, 0, 0, 1));
    EXPECT_TRUE(CDateTime(2020, 1, 1, 9, 30, 0) < CDateTime(2020, 1, 1, 9, 30, 1));
    EXPECT_TRUE(CDateTime(2020, 1, 1, 9, 30, 0) == CDateTime(2020, 1, 1, 9, 30, 0));
    EXPECT_TRUE(CDateTime(2020, 1, 1, 9, 30, 0) <= CDateTime(2020, 1, 1, 9, 30, 0));
}

} // namespace
