// Which point a click on the chart picks for deletion, and the questions asked before deleting
// a point and before restoring the deleted ones, for every data type.

#include "chart/point_deletion.h"
#include "core/data_types.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(PointDeletion, AClickPicksTheDisplayedPointUnderItCountedFromTheFirstShown) {
    const struct {
        double slot;
        int shown;
        int place;
    } clicks[] = {{0.0, 120, 1},
                  {-0.5, 120, 1},
                  {-0.51, 120, 0},
                  {59.6, 120, 61},
                  {119.49, 120, 120},
                  {119.5, 120, 0},
                  {3.0, 3, 0},
                  {0.0, 0, 0},
                  {std::nan(""), 120, 0},
                  {std::numeric_limits<double>::infinity(), 120, 0}};
    for (const auto& c : clicks) {
        EXPECT_EQ(PlaceOfSlot(c.slot, c.shown), c.place) << c.slot << " of " << c.shown;
    }
    EXPECT_EQ(DeletionIndex(1, 0), 0);
    EXPECT_EQ(DeletionIndex(61, 380), 440);
    EXPECT_EQ(DeletionIndex(120, 380), 499);
}

TEST(PointDeletion, TheQuestionsShowThePointAsTheChartFormatsItForEveryDataType) {
    const auto point = [](int y, int mo, int d, int h, int mi, int s) {
        sTICK p;
        p.time = CDateTime(y, mo, d, h, mi, s);
        p.open = 10.0;
        p.high = 12.0;
        p.low = 9.5;
        p.close = 11.256; // written with two decimals
        return p;
    };
    sTICK tick = point(2024, 3, 5, 9, 30, 0);
    tick.microseconds = 250;
    tick.close = 101.5;
    const std::string bar = "\nHi: 12.00, Low: 9.50, Open: 10.00, Close: 11.26";
    const struct {
        int dataType;
        sTICK point;
        std::int64_t volume;
        SQuestionText question;
    } cases[] = {
        {kTicks,
         tick,
         1500,
         {"Tick deletion", "Do you really want to delete this tick?\n\nPrice: 101.50 Volume: "
                           "1.50K Time: 09:30:00.000250 on 2024/03/05"}},
        {kTicks,
         tick,
         0,
         {"Tick deletion", "Do you really want to delete this tick?\n\nPrice: 101.50 Volume: 0 "
                           "Time: 09:30:00.000250 on 2024/03/05"}},
        // A volume the chart has no text for is left out.
        {kTicks,
         tick,
         std::int64_t{2'000'000'000'000'000},
         {"Tick deletion", "Do you really want to delete this tick?\n\nPrice: 101.50 Time: "
                           "09:30:00.000250 on 2024/03/05"}},
        {kIntervals,
         point(2024, 3, 5, 10, 5, 0),
         7,
         {"Interval deletion",
          "Do you really want to delete this interval?\n\nTime: 10:05:00 on 2024/03/05" + bar}},
        {kDays,
         point(2024, 3, 5, 0, 0, 0),
         7,
         {"Interval deletion",
          "Do you really want to delete this interval?\n\nDate: 2024/03/05" + bar}},
        {kWeeks,
         point(2024, 3, 8, 0, 0, 0),
         7,
         {"Interval deletion",
          "Do you really want to delete this interval?\n\nWeek ending: 2024/03/08" + bar}},
        {kMonths,
         point(2024, 2, 29, 0, 0, 0),
         7,
         {"Interval deletion",
          "Do you really want to delete this interval?\n\nMonth ending: 2024/02/29" + bar}},
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

} // namespace
