// The command line: flags, values, max/min order, and applying it to the settings table.

#include "app/command_line.h"
#include "app/export.h"
#include "core/settings.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

namespace {

COrvaneCommandLineInfo Parsed(const std::vector<std::string>& parameters) {
    COrvaneCommandLineInfo info;
    info.Parse(parameters);
    return info;
}

TEST(CommandLine, FlagsIgnoreCaseAndTakeTheNextNonFlagParameter) {
    const COrvaneCommandLineInfo info =
        Parsed({"-SYMBOL", "luma", "/Type", "Daily", "-iNtErVaL", "5-Minute", "-Top", "40", "-LEFT",
                "-12", "-right", "900", "-bottom", "700"});
    EXPECT_EQ(info.symbol, "LUMA");
    EXPECT_TRUE(info.typeRequested);
    EXPECT_EQ(info.type, "Daily");
    EXPECT_TRUE(info.intervalRequested);
    EXPECT_EQ(info.interval, "5-Minute");
    EXPECT_EQ(info.top, 40);
    EXPECT_EQ(info.left, -12); // a negative number is a value, not a flag
    EXPECT_EQ(info.right, 900);
    EXPECT_EQ(info.bottom, 700);
    EXPECT_TRUE(info.HasFrameRect());
    EXPECT_FALSE(info.expectSymbol || info.expectTop || info.expectBottom || info.expectLeft ||
                 info.expectRight);
}

TEST(CommandLine, ValueSkipsFlagsInBetweenAndPositionsUseAtoi) {
    // "-symbol -max krno": the flag in between does not take the value.
    const COrvaneCommandLineInfo info = Parsed({"-symbol", "-max", "krno", "-top", "12abc"});
    EXPECT_EQ(info.symbol, "KRNO");
    EXPECT_TRUE(info.maximise);
    EXPECT_EQ(info.top, 12);
    EXPECT_FALSE(info.HasFrameRect()); // no width, no height: the frame keeps its own

    const COrvaneCommandLineInfo dangling = Parsed({"-symbol"});
    EXPECT_TRUE(dangling.expectSymbol);
    EXPECT_TRUE(dangling.symbol.empty());
}

TEST(CommandLine, FirstOfMaxAndMinWins) {
    const COrvaneCommandLineInfo maxFirst = Parsed({"-max", "-min"});
    EXPECT_TRUE(maxFirst.maximise);
    EXPECT_FALSE(maxFirst.minimise);
    const COrvaneCommandLineInfo minFirst = Parsed({"-MIN", "-Max"});
    EXPECT_TRUE(minFirst.minimise);
    EXPECT_FALSE(minFirst.maximise);
}

TEST(CommandLine, LongOptionsAndUnknownFlags) {
    const COrvaneCommandLineInfo info = Parsed({"--save-workspace", "Morning", "--open-workspace",
                                                "Evening", "--Version", "--help", "-bogus"});
    EXPECT_EQ(info.saveWorkspace, "Morning");
    EXPECT_EQ(info.openWorkspace, "Evening");
    EXPECT_TRUE(info.version);
    EXPECT_TRUE(info.help);
    ASSERT_EQ(info.unknownFlags.size(), 1U);
    EXPECT_EQ(info.unknownFlags[0], "bogus");
    // A stray value that no option waits for changes nothing.
    const COrvaneCommandLineInfo stray = Parsed({"stray", "-symbol", "luma"});
    EXPECT_EQ(stray.symbol, "LUMA");
}

TEST(CommandLine, RenderOptionsAreParsedAndChecked) {
    SExportRequest request;
    // An absolute path is the file, not a flag; the size is taken as given.
    ASSERT_EQ(
        CheckExportRequest(Parsed({"--RENDER", "/tmp/a.PNG", "-symbol", "luma", "-type", "minute",
                                   "-interval", "5-minute", "-Width", "800", "-HEIGHT", "600"}),
                           request),
        "");
    EXPECT_EQ(request.output, EExportOutput::Chart);
    EXPECT_EQ(request.file, "/tmp/a.PNG");
    EXPECT_EQ(request.symbol, "LUMA");
    EXPECT_EQ(request.dataType, 1);
    EXPECT_EQ(request.intervalIndex, 4);
    EXPECT_EQ(request.width, 800);
    EXPECT_EQ(request.height, 600);
    // Without a size: the default; the limits themselves are allowed.
    ASSERT_EQ(CheckExportRequest(Parsed({"--render", "b.pdf", "-symbol", "X", "-type", "Daily"}),
                                 request),
              "");
    EXPECT_EQ(request.width, kRenderDefaultWidth);
    EXPECT_EQ(request.height, kRenderDefaultHeight);
    ASSERT_EQ(CheckExportRequest(Parsed({"--render", "b.pdf", "-symbol", "X", "-type", "Daily",
                                         "-width", "100", "-height", "10000"}),
                                 request),
              "");
    EXPECT_EQ(request.width, 100);
    EXPECT_EQ(request.height, 10000);
    // -width and -height belong to --render: an export ignores them.
    ASSERT_EQ(CheckExportRequest(
                  Parsed({"--export", "c.csv", "-symbol", "X", "-type", "Daily", "-width", "5"}),
                  request),
              "");
    EXPECT_EQ(request.output, EExportOutput::Csv);

    const std::vector<std::string> base{"-symbol", "X", "-type", "Daily"};
    const auto problem = [&](std::vector<std::string> extra) {
        extra.insert(extra.end(), base.begin(), base.end());
        SExportRequest ignored;
        return CheckExportRequest(Parsed(extra), ignored);
    };
    EXPECT_NE(problem({"--render", "a.png", "-width", "99"}).find("-width must be"),
              std::string::npos);
    EXPECT_NE(problem({"--render", "a.png", "-height", "10001"}).find("-height must be"),
              std::string::npos);
    EXPECT_NE(problem({"--render", "a.png", "-width", "12x"}).find("\"12x\""), std::string::npos);
    EXPECT_NE(problem({"--render", "a.png", "-width", "-800"}).find("-width"), std::string::npos);
    EXPECT_NE(problem({"--render", "a.png", "-width"}).find("-width needs"), std::string::npos);
    EXPECT_NE(problem({"--render", "a.jpg"}).find(".png or a .pdf"), std::string::npos);
    EXPECT_NE(problem({"--render", "png"}).find(".png or a .pdf"), std::string::npos);
    EXPECT_NE(problem({"--render", "dir.png/chart"}).find(".png or a .pdf"), std::string::npos);
    EXPECT_NE(problem({"--render"}).find("PNG or PDF file"), std::string::npos);
    EXPECT_NE(problem({"--render", "a.png", "--export", "a.csv"}).find("together"),
              std::string::npos);
    SExportRequest ignored;
    EXPECT_EQ(CheckExportRequest(Parsed({"--render", "a.png", "-type", "Daily"}), ignored),
              "--render needs -symbol SYMBOL");
}

TEST(CommandLine, TimeoutIsAWholeNumberOfSecondsForBothModes) {
    SExportRequest request;
    ASSERT_EQ(CheckExportRequest(Parsed({"--export", "a.csv", "-symbol", "X", "-type", "Daily"}),
                                 request),
              "");
    EXPECT_EQ(request.timeoutSeconds, 300);
    ASSERT_EQ(CheckExportRequest(Parsed({"--TIMEOUT", "86400", "--render", "/tmp/a.png", "-symbol",
                                         "X", "-type", "Daily"}),
                                 request),
              "");
    EXPECT_EQ(request.timeoutSeconds, 86400);
    for (const char* value : {"0", "-5", "1.5", "86401", ""}) {
        SExportRequest ignored;
        EXPECT_EQ(CheckExportRequest(Parsed({"--export", "a.csv", "-symbol", "X", "-type", "Daily",
                                             "--timeout", value}),
                                     ignored),
                  fmt::format("--timeout needs a whole number of seconds from 1 to 86400, not "
                              "\"{}\"",
                              value));
    }
}

class ApplyCommandLine : public ::testing::Test {
protected:
    void SetUp() override {
        m_settings.Register("CurrentSymbol", "", true);
        m_settings.Register("RequestDataType", "2", true);
        m_settings.Register("RequestIntervalIndex", "4", true);
    }
    CSettings& settings() { return m_settings; }
    CSettings m_settings;
};

TEST_F(ApplyCommandLine, StoresSymbolTypeAndIntervalOnceOnly) {
    COrvaneCommandLineInfo info =
        Parsed({"-symbol", "krno", "-type", "monthly", "-interval", "2-hour", "-left", "1",
                "-right", "9", "-top", "1", "-bottom", "9"});
    const SAppliedCommandLine applied = info.ApplyTo(settings());
    EXPECT_TRUE(applied.load);
    EXPECT_EQ(applied.typeIndex, 4);
    EXPECT_EQ(applied.intervalIndex, 10);
    EXPECT_EQ(settings().GetText("CurrentSymbol"), "KRNO");
    EXPECT_EQ(settings().GetInt("RequestDataType"), 4);
    EXPECT_EQ(settings().GetInt("RequestIntervalIndex"), 10);
    EXPECT_FALSE(info.HasFrameRect());

    settings().SetText("CurrentSymbol", "LUMA");
    const SAppliedCommandLine again = info.ApplyTo(settings());
    EXPECT_FALSE(again.load);
    EXPECT_EQ(settings().GetText("CurrentSymbol"), "LUMA");
}

TEST_F(ApplyCommandLine, UnknownTypeLeavesRequestDataTypeButIntervalStillApplies) {
    COrvaneCommandLineInfo info =
        Parsed({"-symbol", "luma", "-type", "Yearly", "-interval", "30-Minute"});
    const SAppliedCommandLine applied = info.ApplyTo(settings());
    EXPECT_TRUE(applied.load);
    EXPECT_EQ(applied.typeIndex, -1);
    EXPECT_EQ(settings().GetInt("RequestDataType"), 2);
    EXPECT_EQ(applied.intervalIndex, 7);
    EXPECT_EQ(settings().GetInt("RequestIntervalIndex"), 7);
}

TEST_F(ApplyCommandLine, IntervalWithoutTypeOrAnythingWithoutSymbolIsIgnored) {
    COrvaneCommandLineInfo intervalOnly = Parsed({"-symbol", "luma", "-interval", "1-Hour"});
    const SAppliedCommandLine applied = intervalOnly.ApplyTo(settings());
    EXPECT_TRUE(applied.load);
    EXPECT_EQ(applied.intervalIndex, -1);
    EXPECT_EQ(settings().GetInt("RequestIntervalIndex"), 4);

    COrvaneCommandLineInfo noSymbol = Parsed({"-type", "Tick", "-interval", "1-Hour"});
    const SAppliedCommandLine none = noSymbol.ApplyTo(settings());
    EXPECT_FALSE(none.load);
    EXPECT_EQ(settings().GetInt("RequestDataType"), 2);
    EXPECT_EQ(settings().GetText("CurrentSymbol"), "LUMA");
}

} // namespace
