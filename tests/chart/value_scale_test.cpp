#include "chart/compare_series.h"
#include "chart/value_scale.h"
#include "chart/value_ticks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

namespace {

double ReadBack(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

std::vector<std::string> Texts(const std::vector<SScaleTick>& ticks) {
    std::vector<std::string> texts;
    for (const SScaleTick& tick : ticks) {
        texts.push_back(tick.text);
    }
    return texts;
}

} // namespace

TEST(ValueScale, NamesMappingAndHoles) {
    for (const auto& [text, scale] : {std::pair{"LOG", EPriceScale::Log},
                                      {"Logarithmic", EPriceScale::Log},
                                      {"percent", EPriceScale::Percent},
                                      {"linear", EPriceScale::Linear}}) {
        EXPECT_EQ(ParsePriceScale(text), scale) << text;
    }
    EXPECT_FALSE(ParsePriceScale("lin"));
    EXPECT_EQ(PriceScaleOf(7), EPriceScale::Linear);
    EXPECT_EQ(PriceScaleOf(-1), EPriceScale::Linear);
    const CValueScale log = CValueScale::Log();
    EXPECT_DOUBLE_EQ(log.ToAxis(1000.0), 3.0);
    EXPECT_NEAR(log.FromAxis(log.ToAxis(12.34)), 12.34, 1e-12);
    EXPECT_TRUE(std::isnan(log.ToAxis(0.0)) && std::isnan(log.ToAxis(-5.0)));
    EXPECT_DOUBLE_EQ(CValueScale::Percent(50.0).ToAxis(-5.0), -5.0);
    // Range ends below zero give way to a positive decade; flat ranges widen by a ratio.
    const CValueScale::SAxisSpan below = log.AxisSpan(-20.0, 100.0);
    EXPECT_DOUBLE_EQ(below.min, 1.0);
    EXPECT_DOUBLE_EQ(below.max, 2.0);
    const CValueScale::SAxisSpan flat = log.AxisSpan(10.0, 10.0);
    EXPECT_NEAR(flat.max - flat.min, 0.1, 1e-12);
    const CValueScale::SAxisSpan none = log.AxisSpan(-3.0, -1.0);
    EXPECT_TRUE(std::isfinite(none.min) && none.max > none.min);
    const CValueScale percent = CValueScale::Percent(80.0);
    EXPECT_DOUBLE_EQ(percent.PercentOf(84.0), 5.0);
    EXPECT_DOUBLE_EQ(percent.ValueOfPercent(-2.5), 78.0);
    EXPECT_TRUE(std::isnan(CValueScale::Percent(0.0).PercentOf(10.0)));
    EXPECT_TRUE(std::isnan(CValueScale::Linear().PercentOf(10.0)));
}

TEST(ValueScale, LogAndPercentLabelsAcrossRanges) {
    // {min, max, target, precision}: a narrow day, a month, a few years, 1990 to now, pennies.
    struct SCase {
        double min, max;
        int target, precision;
    };
    const SCase cases[] = {{101.37, 102.91, 8, 2}, {88.0, 131.0, 8, 2},    {12.0, 260.0, 8, 2},
                           {0.31, 742.0, 8, 2},    {0.0021, 0.0094, 6, 4}, {3.0, 3.9, 2, 2},
                           {1.0, 1e9, 5, 0},       {0.5, 5000.0, 12, 2}};
    for (const CValueScale& scale : {CValueScale::Log(), CValueScale::Percent(100.0)}) {
        for (const SCase& c : cases) {
            SCOPED_TRACE(testing::Message()
                         << static_cast<int>(scale.Kind()) << " " << c.min << " .. " << c.max);
            const std::vector<SScaleTick> ticks = ChooseScaleTicks(
                scale, c.min, c.max, c.target, c.precision, CChart2D::ELabelFormat::Fixed);
            ASSERT_GE(ticks.size(), 2U);
            EXPECT_LE(ticks.size(), static_cast<std::size_t>(std::max(c.target, 2)));
            std::set<std::string> distinct;
            for (std::size_t i = 0; i < ticks.size(); ++i) {
                EXPECT_GE(ticks[i].value, c.min * (1 - 1e-9));
                EXPECT_LE(ticks[i].value, c.max * (1 + 1e-9));
                if (i > 0) {
                    EXPECT_GT(ticks[i].value, ticks[i - 1].value);
                }
                // Every label reads back as its tick.
                const double read = scale.IsLog() ? ReadBack(ticks[i].text)
                                                  : scale.ValueOfPercent(ReadBack(ticks[i].text));
                EXPECT_NEAR(read, ticks[i].value, 1e-9 * std::fabs(ticks[i].value))
                    << ticks[i].text;
                distinct.insert(ticks[i].text);
            }
            EXPECT_EQ(distinct.size(), ticks.size());
        }
    }
    // Readable prices over decades, the symbol's decimals at least; linear steps when narrow.
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Log(), 0.8, 600.0, 9, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"1.00", "2.00", "5.00", "10.00", "20.00", "50.00", "100.00",
                                        "200.00", "500.00"}));
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Log(), 0.8, 600.0, 8, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"1.00", "3.00", "10.00", "30.00", "100.00", "300.00"}));
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Log(), 0.8, 600.0, 5, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"1.00", "10.00", "100.00"}));
    EXPECT_EQ(
        Texts(ChooseScaleTicks(CValueScale::Log(), 0.04, 0.3, 4, 2, CChart2D::ELabelFormat::Fixed)),
        (std::vector<std::string>{"0.05", "0.10", "0.20"}));
    EXPECT_EQ(
        Texts(ChooseScaleTicks(CValueScale::Log(), 1.0, 1e9, 4, 0, CChart2D::ELabelFormat::Fixed)),
        (std::vector<std::string>{"1", "1000", "1000000", "1000000000"}));
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Log(), 101.3, 102.9, 5, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"101.50", "102.00", "102.50"}));
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Percent(80.0), 76.0, 84.0, 5, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"-4%", "-2%", "0%", "+2%", "+4%"}));
    // No ticks where a logarithmic axis has no place; no base labels prices.
    EXPECT_TRUE(ChooseScaleTicks(CValueScale::Log(), -5.0, 0.0, 5, 2, CChart2D::ELabelFormat::Fixed)
                    .empty());
    EXPECT_EQ(Texts(ChooseScaleTicks(CValueScale::Percent(0.0), 1.0, 2.0, 3, 2,
                                     CChart2D::ELabelFormat::Fixed)),
              (std::vector<std::string>{"1.00", "1.50", "2.00"}));
    EXPECT_EQ(std::tuple(PercentText(3.214, 2), PercentText(-0.001, 2), PercentText(-12.5, 2)),
              std::tuple("+3.21%", "0%", "-12.5%"));
}

TEST(ValueScale, PercentBaseHeldWhileScrollingTakenAfter) {
    CPercentBase base;
    EXPECT_DOUBLE_EQ(base.Update(50.0, true), 50.0); // nothing held yet: the first bar
    EXPECT_DOUBLE_EQ(base.Update(52.0, true), 50.0);
    EXPECT_DOUBLE_EQ(base.Update(55.0, true), 50.0);
    EXPECT_DOUBLE_EQ(base.Update(55.0, false), 55.0); // the scroll ended
    EXPECT_DOUBLE_EQ(base.Update(std::nan(""), false), 55.0);
    EXPECT_DOUBLE_EQ(base.Update(-1.0, false), 55.0);
    base.Reset();
    EXPECT_DOUBLE_EQ(base.Update(60.0, true), 60.0);
}

TEST(CompareSeries, SymbolListsMatchingAndPercentLines) {
    std::vector<std::string> symbols{"KEEP"};
    EXPECT_EQ(ParseCompareSymbols(" krno, tesu,,KRNO ", symbols), "");
    EXPECT_EQ(symbols, (std::vector<std::string>{"KRNO", "TESU"}));
    EXPECT_EQ(JoinCompareSymbols(symbols), "KRNO,TESU");
    EXPECT_NE(ParseCompareSymbols("A,B,C,D", symbols), "");
    EXPECT_NE(ParseCompareSymbols("A B", symbols), "");
    EXPECT_EQ(symbols, (std::vector<std::string>{"KRNO", "TESU"})); // refused: left alone
    EXPECT_EQ(ParseCompareSymbols("", symbols), "");
    EXPECT_TRUE(symbols.empty());
    const auto day = [](int d, int hour = 0, int micro = 0) {
        return SPointTime{CDateTime(2024, 3, d, hour, 0, 0), micro};
    };
    const double hole = CChart2D::HoleValue();
    // Bars: a missing day is a gap, of two bars at one time the last counts, a bar of another
    // session (another hour) matches nothing, compare bars off the shown ones are skipped.
    const std::vector<SPointTime> shown{day(4), day(5), day(6), day(7), day(8)};
    const std::vector<SPointTime> other{day(1), day(4), day(6), day(6), day(7, 16), day(8)};
    const std::vector<double> closes{9.0, 10.0, 11.0, 12.0, 13.0, 14.0};
    const std::vector<double> matched = MatchCompareCloses(shown, other, closes, false);
    ASSERT_EQ(matched.size(), shown.size());
    EXPECT_EQ(std::tuple(matched[0], std::isnan(matched[1]), matched[2], std::isnan(matched[3]),
                         matched[4]),
              std::tuple(10.0, true, 12.0, true, 14.0));
    // Ticks: the last compare trade at or before each shown tick, to the microsecond.
    const std::vector<SPointTime> ticks{day(4, 10, 5), day(4, 10, 7), day(4, 11), day(4, 12)};
    const std::vector<SPointTime> trades{day(4, 10, 6), day(4, 10, 7), day(4, 11, 1)};
    const std::vector<double> at = MatchCompareCloses(ticks, trades, closes, true);
    EXPECT_EQ(std::tuple(std::isnan(at[0]), at[1], at[2], at[3]),
              std::tuple(true, 10.0, 10.0, 11.0));
    // Scaled to start where the main series starts: the same per cent of the base.
    const std::vector<double> line =
        CompareLineValues(std::vector<double>{hole, 20.0, 22.0, hole, 19.0}, 20.0, 50.0);
    EXPECT_TRUE(std::isnan(line[0]) && std::isnan(line[3]));
    EXPECT_DOUBLE_EQ(line[1], 50.0);
    EXPECT_DOUBLE_EQ(CValueScale::Percent(50.0).PercentOf(line[2]), 10.0);
    EXPECT_DOUBLE_EQ(CValueScale::Percent(50.0).PercentOf(line[4]), -5.0);
    EXPECT_TRUE(std::isnan(CompareLineValues(std::vector<double>{20.0}, 0.0, 50.0)[0]));
    EXPECT_EQ(CompareHeaderText("KRNO", std::vector<double>{hole, 20.0, 20.642, hole}),
              "KRNO +3.21%");
    EXPECT_EQ(CompareHeaderText("KRNO", std::vector<double>{hole}), "KRNO");
}
