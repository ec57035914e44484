// Interval and day bars as the service sends them equal the aggregate of the ticks it sends for
// the bar's period: field order and price texts over the wire. (Weeks and months grouped from
// days are the market's own tests.)

#include <algorithm>
#include <map>

#include "portico_fixture.h"

namespace portico::test {
namespace {

// Open, high, low and close as the service prints them, volume and number of trades.
struct Aggregate {
    std::string open, high, low, close;
    double highValue = 0, lowValue = 0;
    long long volume = 0;
    long long totalVolume = 0;
    unsigned tickCount = 0;
    bool any = false;

    void add(const std::string& price, long long size) {
        const double value = std::stod(price);
        if (!any || value > highValue) {
            high = price;
            highValue = value;
        }
        if (!any || value < lowValue) {
            low = price;
            lowValue = value;
        }
        open = any ? open : price;
        any = true;
        close = price;
        volume += size;
        ++tickCount;
    }
};

class ConsistencyTest : public PorticoTest {
protected:
    void SetUp() override { startPortico(); }
};

TEST_F(ConsistencyTest, IntervalBarsAggregateTheTicksOfTheirPeriod) {
    for (const int seconds : {60, 300, 900}) {
        SCOPED_TRACE(seconds);
        const auto bars = lookupData("HIT,LUMA," + std::to_string(seconds) +
                                         ",20261119 093000,20261119 105959,,,,1,Bars,,s,1",
                                     "Bars");
        const auto ticks =
            lookupData("HTT,LUMA,20261119 093000,20261119 105959,,,,1,Ticks", "Ticks");
        ASSERT_FALSE(ticks.empty());
        std::map<long long, Aggregate> expected; // by bar start
        for (const auto& t : ticks) {
            if (t[9] == "O") {
                continue; // odd lots count in no bar
            }
            const long long start = SecondsOf(t[2]) / seconds * seconds;
            Aggregate& a = expected[start];
            a.add(t[3], std::stoll(t[4]));
            a.totalVolume = std::stoll(t[5]);
        }
        ASSERT_EQ(bars.size(), expected.size());
        auto e = expected.begin();
        for (const auto& bar : bars) {
            ASSERT_EQ(SecondsOf(bar[2]), e->first) << bar[2];
            const Aggregate& a = e->second;
            EXPECT_EQ(bar[3], a.high) << bar[2];
            EXPECT_EQ(bar[4], a.low) << bar[2];
            EXPECT_EQ(bar[5], a.open) << bar[2];
            EXPECT_EQ(bar[6], a.close) << bar[2];
            EXPECT_EQ(std::stoll(bar[7]), a.totalVolume) << bar[2];
            EXPECT_EQ(std::stoll(bar[8]), a.volume) << bar[2];
            EXPECT_EQ(std::stoul(bar[9]), a.tickCount) << bar[2];
            ++e;
        }
    }
}

TEST_F(ConsistencyTest, ADayBarAggregatesTheWholeDaysTicks) {
    // A thin equity, so that extended-hours trades and quiet minutes both occur.
    for (const std::string day : {"20261117", "20261118"}) {
        SCOPED_TRACE(day);
        const auto bars = lookupData("HDT,YRRO," + day + "," + day + ",,1,Day", "Day");
        const auto ticks =
            lookupData("HTT,YRRO," + day + " 000000," + day + " 235959,,,,1,Ticks", "Ticks");
        ASSERT_EQ(bars.size(), 1u);
        Aggregate a;
        bool extended = false;
        for (const auto& t : ticks) {
            extended = extended || t[9] == "E";
            if (t[9] != "O") {
                a.add(t[3], std::stoll(t[4]));
            }
        }
        EXPECT_TRUE(extended);
        const auto& bar = bars[0];
        EXPECT_EQ(bar[2], day.substr(0, 4) + "-" + day.substr(4, 2) + "-" + day.substr(6, 2));
        EXPECT_EQ(bar[3], a.high);
        EXPECT_EQ(bar[4], a.low);
        EXPECT_EQ(bar[5], a.open);
        EXPECT_EQ(bar[6], a.close);
        EXPECT_EQ(std::stoll(bar[7]), a.volume);
    }
}

} // namespace
} // namespace portico::test
