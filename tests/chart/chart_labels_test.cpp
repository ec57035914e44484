// The labels of the chart (scaled numbers, times and dates, value ticks, axis labels and
// crosshair tags), which point a click picks for deletion, and the questions asked before
// deleting a point and before restoring the deleted ones, for every data type.

#include "chart/chart_labels.h"
#include "chart/point_deletion.h"
#include "chart/value_ticks.h"
#include "core/data_types.h"
#include "history_bars.h"

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
    EXPECT_EQ(std::tuple(DateLabel(times, 0), DateLabel(times, 0), DateLabel(times, 7)),
              std::tuple("2024/03/15", DateLabel(times, 1), "2024/03/18"));
    EXPECT_EQ(DateMinutesLabel(times, 1), "09:31:00 min");
    EXPECT_EQ(DateLabel({}, 0), "");
    EXPECT_EQ(DateLabel(std::span(times).first(1), 5), "2024/03/14");
}

TEST(ChartLabels, ValueTicksFallOnStepsTheDecimalsWriteExactly) {
    // {min, max, target labels, precision}: prices near 0.1, 2.0 and 1e4 at 0 to 6 decimals, short
    // panes asking for one label, and study ranges far narrower than their precision.
    const std::tuple<double, double, int, int> cases[] = {
        {0.0745, 0.1305, 5, 2},  {0.0745, 0.1305, 5, 3},  {0.0745, 0.1305, 5, 4},
        {1.9860, 1.9890, 5, 4},  {1.9860, 1.9890, 1, 4},  {1.9871, 1.9874, 5, 4},
        {1.95, 2.05, 5, 0},      {1.9, 2.1, 4, 6},        {9950.0, 10020.0, 5, 0},
        {9999.5, 10000.5, 5, 1}, {1e4, 1e4 + 3e-6, 5, 6}, {10.0, 45.0, 1, 0},
        {-0.05, 0.05, 2, 0},     {0.0, 3e7, 3, 0},        {12.0, 11.0, 5, 2}};
    for (const auto& [min, max, target, precision] : cases) {
        SCOPED_TRACE(testing::Message()
                     << min << " .. " << max << " x" << target << " p" << precision);
        const SValueTicks t = ChooseValueTicks(min, max, target, precision);
        ASSERT_GE(t.ticks.size(), 2U);
        EXPECT_LE(t.ticks.size(), static_cast<std::size_t>(std::max(target, 2)));
        // A 1, 2 or 5 step, no finer than the precision unless two ticks need it.
        const double mantissa = t.step / std::pow(10.0, std::floor(std::log10(t.step) + 1e-9));
        EXPECT_TRUE(std::fabs(mantissa - 1) < 1e-6 || std::fabs(mantissa - 2) < 1e-6 ||
                    std::fabs(mantissa - 5) < 1e-6)
            << t.step;
        const double unit = std::pow(10.0, -precision);
        const double lo = std::min(min, max) / unit, hi = std::max(min, max) / unit;
        EXPECT_TRUE(t.step >= unit * (1 - 1e-9) || std::floor(hi) - std::ceil(lo) < 1) << t.step;
        EXPECT_EQ(t.decimals,
                  std::max(precision, static_cast<int>(std::ceil(-std::log10(t.step) - 1e-9))));
        // Every label reads back as its tick, and neighbours read differently.
        std::string before;
        for (const double tick : t.ticks) {
            EXPECT_GE(tick, std::min(min, max) - 1e-9 * t.step);
            EXPECT_LE(tick, std::max(min, max) + 1e-9 * t.step);
            const std::string text =
                ValueLabelText(tick, t.step, t.decimals, CChart2D::ELabelFormat::Fixed);
            EXPECT_NEAR(std::stod(text), tick, t.step * 1e-3) << text;
            EXPECT_NE(text, before);
            EXPECT_NE(text, "-0");
            before = text;
        }
    }
    // The steps a trader expects: whole tenths of a cent near 0.10, never 0.125 at two decimals.
    EXPECT_EQ(ChooseValueTicks(0.0745, 0.1305, 5, 3).ticks,
              (std::vector<double>{0.08, 0.10, 0.12}));
    EXPECT_DOUBLE_EQ(ChooseValueTicks(1.9860, 1.9890, 5, 4).step, 0.001);
    EXPECT_DOUBLE_EQ(ChooseValueTicks(1.9871, 1.9874, 5, 4).step, 0.0001);
    // Two ticks around zero at the step that gives them, not three crowded ones.
    EXPECT_EQ(ChooseValueTicks(-0.05, 0.05, 2, 0).ticks, (std::vector<double>{-0.05, 0.05}));
    EXPECT_EQ(ChooseValueTicks(-0.05, 0.05, 2, 0).decimals, 2);
    EXPECT_EQ(ChooseValueTicks(1.9765, 1.9995, 5, 4).ticks.size(), 4U);
    // A short pane: the oscillator's ends rather than three crowded labels.
    EXPECT_EQ(ChooseValueTicks(0.0, 100.0, 1, 0).ticks, (std::vector<double>{0.0, 100.0}));
    EXPECT_TRUE(ChooseValueTicks(1.0, 1.0, 5, 2).ticks.empty());
    EXPECT_TRUE(ChooseValueTicks(std::nan(""), 1.0, 5, 2).ticks.empty());
}

TEST(ChartLabels, ScaledAxisLabelsAndCrosshairTags) {
    using F = CChart2D::ELabelFormat;
    // {value, step, decimals, format, text}
    const std::tuple<double, double, int, F, const char*> labels[] = {
        {3e7, 5e6, 0, F::Scaled, "30.0M"},    {2.5e9, 5e8, 0, F::Scaled, "2.50B"},
        {5e6, 5e6, 0, F::Scaled, "5.00M"},    {1.234e9, 1e6, 0, F::Scaled, "1.234B"},
        {-1500, 500, 0, F::Scaled, "-1.50K"}, {500, 500, 0, F::Scaled, "500"},
        {0.0, 500, 0, F::Scaled, "0"},        {3e7, 5e6, 0, F::Fixed, "30000000"},
        {1.9875, 1e-4, 4, F::Fixed, "1.9875"}};
    for (const auto& [value, step, decimals, format, text] : labels) {
        EXPECT_EQ(ValueLabelText(value, step, decimals, format), text) << value;
    }
    // {value, decimals, value per pixel, finer, format, text}
    const std::tuple<double, int, double, bool, F, const char*> tags[] = {
        {20121056.6, 0, 1e5, true, F::Scaled, "20.1M"},
        {612.4, 0, 10.0, true, F::Scaled, "612"},
        {1.98754, 4, 1e-5, false, F::Fixed, "1.9875"},
        {0.03421, 0, 0.00125, true, F::Fixed, "0.0342"},
        {55.31, 0, 1.0, true, F::Fixed, "55.3"},
        {55.31, 2, 0.0, true, F::Fixed, "55.31"}};
    for (const auto& [value, decimals, perPixel, finer, format, text] : tags) {
        EXPECT_EQ(ValueTagText(value, decimals, perPixel, finer, format), text) << value;
    }
}

TEST(PointDeletion, AClickPicksTheDisplayedPointUnderItCountedFromTheFirstShown) {
    // {slot, points shown, place}
    // clang-format off
    const std::tuple<double, int, int> clicks[] = {
        {0.0, 120, 1}, {-0.5, 120, 1}, {-0.51, 120, 0}, {59.6, 120, 61}, {119.49, 120, 120},
        {119.5, 120, 0}, {3.0, 3, 0}, {0.0, 0, 0}, {std::nan(""), 120, 0},
        {std::numeric_limits<double>::infinity(), 120, 0}};
    // clang-format on
    for (const auto& [slot, shown, place] : clicks) {
        EXPECT_EQ(PlaceOfSlot(slot, shown), place) << slot << " of " << shown;
    }
    EXPECT_EQ(std::tuple(DeletionIndex(1, 0), DeletionIndex(61, 380)), std::tuple(0, 440));
    EXPECT_EQ(DeletionIndex(120, 380), 499);
}

TEST(PointDeletion, TheQuestionsShowThePointAsTheChartFormatsItForEveryDataType) {
    // The close is written with two decimals.
    const auto point = [](int y, int mo, int d, int h, int mi, int s) {
        return MakeBar(CDateTime(y, mo, d, h, mi, s), 10.0, 12.0, 9.5, 11.256);
    };
    sTICK tick = point(2024, 3, 5, 9, 30, 0);
    tick.microseconds = 250;
    tick.close = 101.5;
    const auto tickQuestion = [](const std::string& volume) {
        const std::string text = "Do you really want to delete this tick?\n\nPrice: 101.50 ";
        return SQuestionText{"Tick deletion",
                             text + volume + "Time: 09:30:00.000250 on 2024/03/05"};
    };
    const auto barQuestion = [](const std::string& when) {
        return SQuestionText{"Interval deletion",
                             "Do you really want to delete this interval?\n\n" + when +
                                 "\nHi: 12.00, Low: 9.50, Open: 10.00, Close: 11.26"};
    };
    const struct {
        int dataType;
        sTICK point;
        std::int64_t volume;
        SQuestionText question;
    } cases[] = {
        {kTicks, tick, 1500, tickQuestion("Volume: 1.50K ")},
        {kTicks, tick, 0, tickQuestion("Volume: 0 ")},
        // A volume the chart has no text for is left out.
        {kTicks, tick, std::int64_t{2'000'000'000'000'000}, tickQuestion("")},
        {kIntervals, point(2024, 3, 5, 10, 5, 0), 7, barQuestion("Time: 10:05:00 on 2024/03/05")},
        {kDays, point(2024, 3, 5, 0, 0, 0), 7, barQuestion("Date: 2024/03/05")},
        {kWeeks, point(2024, 3, 8, 0, 0, 0), 7, barQuestion("Week ending: 2024/03/08")},
        {kMonths, point(2024, 2, 29, 0, 0, 0), 7, barQuestion("Month ending: 2024/02/29")},
    };
    for (const auto& c : cases) {
        const SQuestionText question = DeletionQuestion(c.point, c.dataType, c.volume);
        EXPECT_EQ(question.caption, c.question.caption) << c.dataType;
        EXPECT_EQ(question.text, c.question.text) << c.dataType;
        const bool ticks = c.dataType == kTicks;
        const SQuestionText restore = RestoreQuestion(c.dataType);
        EXPECT_EQ(restore.caption + "|" + restore.text,
                  ticks ? "Restoring ticks|Restore deleted ticks?"
                        : "Restoring intervals|Restore deleted intervals?");
        EXPECT_EQ(RestoreCommandText(c.dataType), ticks ? "Restore Ticks" : "Restore Bars");
        EXPECT_EQ(DeletionModePrompt(c.dataType),
                  ticks ? "Click on the tick to delete (Right click to cancel)"
                        : "Click on the bar to delete (Right click to cancel)");
    }
}
