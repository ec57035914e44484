// What every CChart2D must do, checked on the recording chart that the logic tests use and on
// the QCustomPlot pane that the application uses, so that the two cannot drift apart.

#include "chart/chart_2d.h"
#include "chart/ui/chart_stack_widget.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "recording_chart_2d.h"

namespace {

using EAxis = CChart2D::EAxis;

struct SRecordingChart {
    SRecordingChart() { chart.SetGeometry({600, 300, 50, 10, 16, 20}); }
    CChart2D& Chart() { return chart; }
    skychart::test::CRecordingChart2D chart;
};

struct SStackPaneChart {
    SStackPaneChart() {
        stack.resize(600, 300);
        stack.SetPaneGeometry(0, 0, 300);
        stack.SetPaneVisible(0, true);
    }
    CChart2D& Chart() { return stack.Pane(0); }
    CChartStackWidget stack;
};

template <typename T> class ChartContract : public ::testing::Test {
protected:
    T holder;
};

using Implementations = ::testing::Types<SRecordingChart, SStackPaneChart>;
TYPED_TEST_SUITE(ChartContract, Implementations);

void ExpectRange(const CChart2D::SRange& range, double min, double max) {
    EXPECT_DOUBLE_EQ(range.min, min);
    EXPECT_DOUBLE_EQ(range.max, max);
}

} // namespace

TYPED_TEST(ChartContract, RangesAndLabelPrecisionAreKeptInBoundsAndBadValuesRefused) {
    CChart2D& chart = this->holder.Chart();
    chart.SetAxisRange(EAxis::Y, 20.0, 10.0);
    ExpectRange(chart.AxisRange(EAxis::Y), 10.0, 20.0);
    // An empty series gives a range of 0 to 0; it stays drawable.
    chart.SetAxisRange(EAxis::Y2, 0.0, 0.0);
    ExpectRange(chart.AxisRange(EAxis::Y2), -0.5, 0.5);
    ExpectRange(chart.AxisRange(EAxis::Y), 10.0, 20.0);
    EXPECT_THROW(chart.SetAxisRange(EAxis::Y, std::nan(""), 1.0), CInvalidArgException);
    ExpectRange(chart.AxisRange(EAxis::Y), 10.0, 20.0);
    chart.SetXRange(3.0, 3.0);
    ExpectRange(chart.XRange(), 2.5, 3.5);
    EXPECT_THROW(chart.SetXRange(0.0, std::numeric_limits<double>::infinity()),
                 CInvalidArgException);
    ExpectRange(chart.XRange(), 2.5, 3.5);
    // Label precision is per axis, from 0 to the maximum.
    EXPECT_EQ(chart.LabelPrecision(EAxis::Y), 2);
    chart.SetLabelPrecision(EAxis::Y2, 99);
    EXPECT_EQ(chart.LabelPrecision(EAxis::Y2), CChart2D::kMaxLabelPrecision);
    chart.SetLabelPrecision(EAxis::Y, -3);
    EXPECT_EQ(chart.LabelPrecision(EAxis::Y), 0);
    EXPECT_EQ(chart.LabelPrecision(EAxis::Y2), CChart2D::kMaxLabelPrecision);
    // Series of unequal columns or with a position that is not a number are refused.
    const std::array<double, 3> three{1.0, 2.0, 3.0};
    const std::array<double, 2> two{1.0, 2.0};
    EXPECT_THROW(chart.SetPriceBars(1, {three, three, two, three}, 0.0), CInvalidArgException);
    EXPECT_THROW(chart.SetLine(2, three, std::nan("")), CInvalidArgException);
    EXPECT_THROW(chart.SetHistogram(3, three, std::numeric_limits<double>::infinity()),
                 CInvalidArgException);
    EXPECT_NO_THROW(chart.SetPriceBars(1, {three, three, three, three}, 0.0));
}

TYPED_TEST(ChartContract, MappingSpansThePlotAreaBothWays) {
    CChart2D& chart = this->holder.Chart();
    chart.SetXRange(-0.5, 99.5);
    chart.SetAxisRange(EAxis::Y, 0.0, 200.0);
    chart.SetAxisRange(EAxis::Y2, -1.0, 1.0);
    const CChart2D::SGeometry g = chart.Geometry();
    ASSERT_EQ(std::tuple(g.width, g.height), std::tuple(600, 300));
    const int plotHeight = g.height - g.top - g.bottom;
    ASSERT_GT(g.width - g.left - g.right, 400);
    ASSERT_GT(plotHeight, 200);
    EXPECT_NEAR(chart.SlotToPixelX(-0.5), g.left, 1.0);
    EXPECT_NEAR(chart.SlotToPixelX(99.5), g.width - g.right, 1.0);
    // The values keep clear of the frame by the inset.
    const int inset = CChart2D::kValueInset;
    EXPECT_NEAR(chart.ValueToPixelY(200.0, EAxis::Y), g.top + inset, 1.0);
    EXPECT_NEAR(chart.ValueToPixelY(0.0, EAxis::Y), g.height - g.bottom - inset, 1.0);
    ExpectRange(chart.AxisRange(EAxis::Y), 0.0, 200.0);
    EXPECT_NEAR(chart.ValueToPixelY(0.0, EAxis::Y2), g.top + plotHeight / 2.0, 1.0);
    EXPECT_NEAR(chart.PixelXToSlot(chart.SlotToPixelX(37.25)), 37.25, 1e-9);
    EXPECT_NEAR(chart.PixelYToValue(chart.ValueToPixelY(123.5, EAxis::Y), EAxis::Y), 123.5, 1e-9);
    EXPECT_NEAR(chart.PixelYToValue(chart.ValueToPixelY(0.25, EAxis::Y2), EAxis::Y2), 0.25, 1e-9);
    // A logarithmic axis: equal ratios take equal heights within the same insets, values of zero
    // and below have no pixel, and the range's low end below zero gives way to a decade.
    chart.SetAxisRange(EAxis::Y, 2.0, 200.0);
    chart.SetValueScale(EAxis::Y, CValueScale::Log());
    EXPECT_EQ(chart.ValueScale(EAxis::Y), CValueScale::Log());
    EXPECT_NEAR(chart.ValueToPixelY(200.0, EAxis::Y), g.top + inset, 1.0);
    EXPECT_NEAR(chart.ValueToPixelY(2.0, EAxis::Y), g.height - g.bottom - inset, 1.0);
    EXPECT_NEAR(chart.ValueToPixelY(20.0, EAxis::Y), g.top + plotHeight / 2.0, 1.0);
    EXPECT_NEAR(chart.PixelYToValue(chart.ValueToPixelY(37.5, EAxis::Y), EAxis::Y), 37.5, 1e-9);
    EXPECT_TRUE(std::isnan(chart.ValueToPixelY(0.0, EAxis::Y)));
    chart.SetAxisRange(EAxis::Y, -50.0, 200.0);
    EXPECT_NEAR(chart.ValueToPixelY(20.0, EAxis::Y), g.height - g.bottom - inset, 1.0);
    chart.SetValueScale(EAxis::Y, CValueScale::Linear());
    EXPECT_NEAR(chart.ValueToPixelY(75.0, EAxis::Y), g.top + plotHeight / 2.0, 1.0);
}
