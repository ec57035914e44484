// The argument text that reopens a chart from a workspace, and its round trip through the parser.

#include "app/command_line.h"
#include "app/workspace.h"

#include <gtest/gtest.h>

namespace {

TEST(WorkspaceArguments, ChartPartDropsAnEmptySymbol) {
    EXPECT_EQ(ChartArguments("LUMA", "Daily", "5-Minute"),
              "-symbol LUMA -type Daily -interval 5-Minute");
    EXPECT_EQ(ChartArguments("", "Tick", "1-Minute"), "-type Tick -interval 1-Minute");
}

TEST(WorkspaceArguments, FrameStateSuffixes) {
    const SFrameRect rect{-8, 20, 1200, 900};
    EXPECT_EQ(FrameArguments(EFrameState::Maximised, rect), " -max");
    EXPECT_EQ(FrameArguments(EFrameState::Minimised, rect), " -min");
    EXPECT_EQ(FrameArguments(EFrameState::Normal, rect),
              " -top 20 -bottom 900 -left -8 -right 1200");
}

TEST(WorkspaceArguments, StoredTextParsesBackToTheSameChartAndFrame) {
    const std::string text =
        WorkspaceArguments("KRNO", "Minute", "15-Minute", EFrameState::Normal, {-8, 20, 1200, 900});
    COrvaneCommandLineInfo info;
    info.Parse(SplitArguments(text));
    EXPECT_EQ(info.symbol, "KRNO");
    EXPECT_EQ(info.type, "Minute");
    EXPECT_EQ(info.interval, "15-Minute");
    EXPECT_EQ(info.left, -8);
    EXPECT_EQ(info.top, 20);
    EXPECT_EQ(info.right, 1200);
    EXPECT_EQ(info.bottom, 900);
    EXPECT_FALSE(info.maximise || info.minimise);

    COrvaneCommandLineInfo minimised;
    minimised.Parse(
        SplitArguments(WorkspaceArguments("", "Daily", "1-Minute", EFrameState::Minimised, {})));
    EXPECT_TRUE(minimised.minimise);
    EXPECT_TRUE(minimised.symbol.empty());
}

TEST(WorkspaceArguments, SplitCollapsesWhiteSpace) {
    EXPECT_EQ(SplitArguments("  -symbol\tLUMA   -max \n"),
              (std::vector<std::string>{"-symbol", "LUMA", "-max"}));
    EXPECT_TRUE(SplitArguments("   ").empty());
}

} // namespace
