#include "chart/chart_labels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

TEST(ChartLabels, FormatScaledSuffixesAndDecimals) {
    const double nan = std::nan(""), inf = std::numeric_limits<double>::infinity();
    const double tiny = std::numeric_limits<double>::denorm_min();
    // At 0.1 log10 is exactly -1; at 999999 the decimals follow the exponent, not the rounding.
    const std::pair<double, const char*> cases[] = {
        {0.0, "0"},        {0.05, "0"},      {0.1, "0"},        {0.5, "0.50"},     {12.5, "12.5"},
        {999, "999"},      {1000, "1.00K"},  {1500, "1.50K"},   {999999, "1000K"}, {2.5e6, "2.50M"},
        {2.5e7, "25.0M"},  {7.5e9, "7.50B"}, {3.2e12, "3.20T"}, {1e14, "100T"},    {1e15, ""},
        {-1500, "-1.50K"}, {nan, ""},        {-inf, ""},        {tiny, "0"}};
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(FormatScaled(value), text) << value;
    }
}

TEST(ChartLabels, TimeLabelByDataType) {
    const CDateTime time(2024, 3, 15, 9, 30, 5);
    // {data type, with microseconds, label}: microseconds only for ticks.
    const std::tuple<int, bool, const char*> cases[] = {
        {0, false, "09:30:05"},   {0, true, "09:30:05.001234"}, {1, true, "09:30:05"},
        {2, false, "2024/03/15"}, {4, false, "2024/03/15"},     {5, false, "00:00:00"},
        {-1, false, "00:00:00"}};
    for (const auto& [dataType, micro, text] : cases) {
        EXPECT_EQ(TimeLabel(time, 1234, dataType, micro), text) << dataType;
    }
    EXPECT_EQ(TimeLabel(CDateTime(0.0, CDateTime::Status::Invalid), 0, 1), "");

    sTICK tick;
    tick.time = time;
    tick.microseconds = 999999;
    EXPECT_EQ(TimeLabel(tick, 0, true), "09:30:05.999999");
}

TEST(ChartLabels, DateLabelClampsTheIndex) {
    // {index, count, index used}
    for (const auto& [index, count, used] :
         {std::tuple{0, 10, 1}, {-5, 10, 1}, {12, 10, 9}, {0, 1, 0}, {3, 0, -1}}) {
        EXPECT_EQ(DateLabelIndex(index, count), used) << index << " of " << count;
    }

    const std::vector<CDateTime> times{CDateTime(2024, 3, 14, 16, 0, 0),
                                       CDateTime(2024, 3, 15, 9, 31, 0),
                                       CDateTime(2024, 3, 18, 10, 2, 7)};
    EXPECT_EQ(DateLabel(times, 0), "2024/03/15");
    EXPECT_EQ(DateLabel(times, 0), DateLabel(times, 1));
    EXPECT_EQ(DateLabel(times, 7), "2024/03/18");
    EXPECT_EQ(DateMinutesLabel(times, 1), "09:31:00 min");
    EXPECT_EQ(DateLabel({}, 0), "");
    EXPECT_EQ(DateLabel(std::span(times).first(1), 5), "2024/03/14");
}
