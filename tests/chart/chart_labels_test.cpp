#include "chart/chart_labels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

TEST(ChartLabels, FormatScaledSuffixesAndDecimals) {
    EXPECT_EQ(FormatScaled(0.0), "0");
    EXPECT_EQ(FormatScaled(0.05), "0");
    EXPECT_EQ(FormatScaled(0.1), "0"); // log10 is exactly -1
    EXPECT_EQ(FormatScaled(0.5), "0.50");
    EXPECT_EQ(FormatScaled(12.5), "12.5");
    EXPECT_EQ(FormatScaled(999), "999");
    EXPECT_EQ(FormatScaled(1000), "1.00K");
    EXPECT_EQ(FormatScaled(1500), "1.50K");
    EXPECT_EQ(FormatScaled(999999), "1000K"); // decimals follow the exponent, not the rounding
    EXPECT_EQ(FormatScaled(2'500'000), "2.50M");
    EXPECT_EQ(FormatScaled(25'000'000), "25.0M");
    EXPECT_EQ(FormatScaled(7.5e9), "7.50B");
    EXPECT_EQ(FormatScaled(3.2e12), "3.20T");
    EXPECT_EQ(FormatScaled(1e14), "100T");
    EXPECT_EQ(FormatScaled(1e15), "");
    EXPECT_EQ(FormatScaled(-1500), "-1.50K");
    EXPECT_EQ(FormatScaled(std::numeric_limits<double>::quiet_NaN()), "");
    EXPECT_EQ(FormatScaled(-std::numeric_limits<double>::infinity()), "");
    EXPECT_EQ(FormatScaled(std::numeric_limits<double>::denorm_min()), "0");
}

TEST(ChartLabels, TimeLabelByDataType) {
    const CDateTime time(2024, 3, 15, 9, 30, 5);
    EXPECT_EQ(TimeLabel(time, 1234, 0), "09:30:05");
    EXPECT_EQ(TimeLabel(time, 1234, 0, true), "09:30:05.001234");
    EXPECT_EQ(TimeLabel(time, 1234, 1, true), "09:30:05"); // microseconds only for ticks
    EXPECT_EQ(TimeLabel(time, 0, 2), "2024/03/15");
    EXPECT_EQ(TimeLabel(time, 0, 4), "2024/03/15");
    EXPECT_EQ(TimeLabel(time, 0, 5), "00:00:00");
    EXPECT_EQ(TimeLabel(time, 0, -1), "00:00:00");
    EXPECT_EQ(TimeLabel(CDateTime(0.0, CDateTime::Status::Invalid), 0, 1), "");

    sTICK tick;
    tick.time = time;
    tick.microseconds = 999999;
    EXPECT_EQ(TimeLabel(tick, 0, true), "09:30:05.999999");
}

TEST(ChartLabels, DateLabelClampsTheIndex) {
    EXPECT_EQ(DateLabelIndex(0, 10), 1);
    EXPECT_EQ(DateLabelIndex(-5, 10), 1);
    EXPECT_EQ(DateLabelIndex(12, 10), 9);
    EXPECT_EQ(DateLabelIndex(0, 1), 0);
    EXPECT_EQ(DateLabelIndex(3, 0), -1);

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
