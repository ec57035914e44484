// The command line: flags, values, max/min order, the export and render options, applying it to
// the settings table, and the workspace text that reopens a chart through it.

#include "app/command_line.h"
#include "app/export.h"
#include "app/workspace.h"
#include "chart/value_scale.h"
#include "core/settings.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace {

// The parameters of `text`, split at white space, parsed.
COrvaneCommandLineInfo Parsed(const std::string& text) {
    COrvaneCommandLineInfo info;
    info.Parse(SplitArguments(text));
    return info;
}

TEST(CommandLine, FlagsIgnoreCaseTakeTheNextNonFlagParameterAndTheFirstOfMaxAndMinWins) {
    const COrvaneCommandLineInfo info = Parsed("-SYMBOL luma /Type Daily -iNtErVaL 5-Minute "
                                               "-Top 40 -LEFT -12 -right 900 -bottom 700");
    EXPECT_EQ(
        std::tie(info.symbol, info.typeRequested, info.type, info.intervalRequested, info.interval),
        std::tuple("LUMA", true, "Daily", true, "5-Minute"));
    // A negative number is a value, not a flag.
    EXPECT_EQ(std::tie(info.top, info.left, info.right, info.bottom),
              std::tuple(40, -12, 900, 700));
    EXPECT_TRUE(info.HasFrameRect());
    EXPECT_FALSE(info.expectSymbol || info.expectTop || info.expectBottom || info.expectLeft ||
                 info.expectRight);
    // "-symbol -max krno": the flag in between does not take the value; positions use atoi.
    const COrvaneCommandLineInfo between = Parsed("-symbol -max krno -top 12abc");
    EXPECT_EQ(between.symbol, "KRNO");
    EXPECT_TRUE(between.maximise);
    EXPECT_EQ(between.top, 12);
    EXPECT_FALSE(between.HasFrameRect()); // no width, no height: the frame keeps its own
    const COrvaneCommandLineInfo dangling = Parsed("-symbol");
    EXPECT_TRUE(dangling.expectSymbol && dangling.symbol.empty());
    // A stray value that no option waits for changes nothing.
    EXPECT_EQ(Parsed("stray -symbol luma").symbol, "LUMA");
    // The first of -max and -min wins; the long options are known, any other flag is named.
    EXPECT_TRUE(Parsed("-max -min").maximise && !Parsed("-max -min").minimise);
    EXPECT_TRUE(Parsed("-MIN -Max").minimise && !Parsed("-MIN -Max").maximise);
    const COrvaneCommandLineInfo longOptions =
        Parsed("--save-workspace Morning --open-workspace Evening --Version --help -bogus");
    EXPECT_EQ(std::tie(longOptions.saveWorkspace, longOptions.openWorkspace, longOptions.version,
                       longOptions.help),
              std::tuple("Morning", "Evening", true, true));
    EXPECT_EQ(longOptions.unknownFlags, std::vector<std::string>{"bogus"});
}

TEST(CommandLine, RenderAndExportOptionsAreParsedAndChecked) {
    SExportRequest request;
    // An absolute path is the file, not a flag; the size is taken as given.
    ASSERT_EQ(CheckExportRequest(Parsed("--RENDER /tmp/a.PNG -symbol luma -type minute -interval "
                                        "5-minute -Width 800 -HEIGHT 600 --TIMEOUT 86400"),
                                 request),
              "");
    EXPECT_EQ(std::tie(request.output, request.file, request.symbol, request.dataType,
                       request.intervalIndex),
              std::tuple(EExportOutput::Chart, "/tmp/a.PNG", "LUMA", 1, 4));
    EXPECT_EQ(std::tie(request.width, request.height, request.timeoutSeconds),
              std::tuple(800, 600, 86400));
    // Without a size or a timeout: the defaults; the limits themselves are allowed.
    ASSERT_EQ(CheckExportRequest(Parsed("--render b.pdf -symbol X -type Daily"), request), "");
    EXPECT_EQ(std::tie(request.width, request.height, request.timeoutSeconds),
              std::tuple(kRenderDefaultWidth, kRenderDefaultHeight, 300));
    ASSERT_EQ(CheckExportRequest(
                  Parsed("--render b.pdf -symbol X -type Daily -width 100 -height 10000"), request),
              "");
    EXPECT_EQ(std::tie(request.width, request.height), std::tuple(100, 10000));
    EXPECT_EQ(std::tie(request.priceScale, request.compareGiven), std::tuple(-1, false));
    // The price scale and the compare symbols of one image.
    ASSERT_EQ(CheckExportRequest(Parsed("--render b.png -symbol X -type Daily -PRICE-SCALE Log "
                                        "-compare krno,aurx"),
                                 request),
              "");
    EXPECT_EQ(request.priceScale, static_cast<int>(EPriceScale::Log));
    EXPECT_TRUE(request.compareGiven);
    EXPECT_EQ(request.compare, (std::vector<std::string>{"KRNO", "AURX"}));
    // -width and -height belong to --render: an export ignores them.
    ASSERT_EQ(CheckExportRequest(Parsed("--export c.csv -symbol X -type Daily -width 5"), request),
              "");
    EXPECT_EQ(request.output, EExportOutput::Csv);
    EXPECT_EQ(request.timeoutSeconds, 300);
    // The first problem found is named.
    const std::string chart = " -symbol X -type Daily";
    const std::pair<std::string, std::string> problems[] = {
        {"--render a.png -width 99" + chart, "-width must be"},
        {"--render a.png -height 10001" + chart, "-height must be"},
        {"--render a.png -width 12x" + chart, "\"12x\""},
        {"--render a.png -width -800" + chart, "-width"},
        {"--render a.png -width" + chart, "-width needs"},
        {"--render a.jpg" + chart, ".png or a .pdf"},
        {"--render png" + chart, ".png or a .pdf"},
        {"--render dir.png/chart" + chart, ".png or a .pdf"},
        {"--render" + chart, "PNG or PDF file"},
        {"--render a.png --export a.csv" + chart, "together"},
        {"--render a.png -type Daily", "--render needs -symbol SYMBOL"},
        {"--export a.csv -symbol X", "--export needs -type TYPE"},
        {"--export a.csv -symbol X -type Hourly", "unknown request type \"Hourly\""},
        {"--export a.csv -interval 7-Minute" + chart, "unknown interval \"7-Minute\""},
        {"--render a.png -price-scale lin" + chart, "-price-scale needs linear, log or percent"},
        {"--render a.png -compare A,B,C,D" + chart, "-compare: at most 3"},
        {"--render a.png -compare A,x" + chart, "-compare: X is the chart's own symbol"},
    };
    for (const auto& [options, said] : problems) {
        SExportRequest ignored;
        EXPECT_NE(CheckExportRequest(Parsed(options), ignored).find(said), std::string::npos)
            << options;
    }
    for (const std::string value : {"0", "-5", "1.5", "86401", ""}) {
        COrvaneCommandLineInfo info = Parsed("--export a.csv -symbol X -type Daily");
        info.Parse({"--timeout", value});
        EXPECT_EQ(CheckExportRequest(info, request),
                  "--timeout needs a whole number of seconds from 1 to 86400, not \"" + value +
                      "\"");
    }
}

TEST(CommandLine, DataDirIsStoredAbsoluteAndReachesTheServiceArguments) {
    const skychart::test::TempDir home;
    const std::string folder = home.path() + "/My Data";
    home.writeFile("My Data/LUMA.daily.csv", "Date,Close\n");
    const std::vector<std::string> product{"-product", CFeedConnections::kProductId, "-version",
                                           CFeedConnections::kProductVersion};
    EXPECT_EQ(CFeedConnections::ServiceArguments(Parsed("-symbol x").ServiceOptions()), product);
    // An absolute folder with a space and a trailing '/' is one value, not a flag; a relative one
    // is made absolute against the working folder as it is parsed.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(home.path());
    const std::vector<std::vector<std::string>> givens{
        {"--DATA-DIR", folder + "/", "--data-only", "--export", "a.csv"},
        {"--export", "a.csv", "/data-only", "-data-dir", "./My Data/../My Data"}};
    for (const std::vector<std::string>& given : givens) {
        COrvaneCommandLineInfo info;
        info.Parse(given);
        info.Parse({"-symbol", "luma", "-type", "Daily"});
        EXPECT_EQ(info.ServiceProblem(), "");
        std::vector<std::string> expected = product;
        expected.insert(expected.end(), {"--data-dir", folder, "--data-only"});
        EXPECT_EQ(CFeedConnections::ServiceArguments(info.ServiceOptions()), expected);
        SExportRequest request;
        ASSERT_EQ(CheckExportRequest(info, request), "");
        EXPECT_EQ(std::tie(request.service.dataDir, request.service.dataOnly, request.symbol),
                  std::tuple(folder, true, "LUMA"));
    }
    std::filesystem::current_path(before);
    const std::pair<std::vector<std::string>, std::string> problems[] = {
        {{"--data-dir", home.path() + "/gone"},
         "--data-dir " + home.path() + "/gone: no such folder"},
        {{"--data-dir", folder + "/LUMA.daily.csv"},
         "--data-dir " + folder + "/LUMA.daily.csv: not a folder"},
        {{"--data-dir", "-symbol", "X"}, "--data-dir needs the folder of your data files"},
        {{"--data-only"}, "--data-only needs --data-dir DIR"},
    };
    for (const auto& [given, said] : problems) {
        COrvaneCommandLineInfo info;
        info.Parse(given);
        EXPECT_EQ(info.ServiceProblem(), said);
    }
}

TEST(CommandLine, SymbolTypeAndIntervalAreStoredOnceAndOnlyWithASymbol) {
    const struct {
        std::string parameters;
        bool load;
        int typeIndex;
        int intervalIndex;
        std::string symbol; // stored afterwards, with the data type and interval position
        int dataType;
        int interval;
    } cases[] = {
        {"-symbol krno -type monthly -interval 2-hour", true, 4, 10, "KRNO", 4, 10},
        // An unknown type leaves the data type, but the interval still applies.
        {"-symbol luma -type Yearly -interval 30-Minute", true, -1, 7, "LUMA", 2, 7},
        // An interval without a type, or anything without a symbol, is ignored.
        {"-symbol luma -interval 1-Hour", true, -1, -1, "LUMA", 2, 4},
        {"-type Tick -interval 1-Hour", false, -1, -1, "", 2, 4},
    };
    for (const auto& c : cases) {
        CSettings settings;
        settings.Register("CurrentSymbol", "", true);
        settings.Register("RequestDataType", "2", true);
        settings.Register("RequestIntervalIndex", "4", true);
        COrvaneCommandLineInfo info = Parsed(c.parameters + " -left 1 -right 9 -top 1 -bottom 9");
        const SAppliedCommandLine applied = info.ApplyTo(settings);
        EXPECT_EQ(
            std::tuple(applied.load, applied.typeIndex, applied.intervalIndex,
                       settings.GetText("CurrentSymbol"), settings.GetInt("RequestDataType"),
                       settings.GetInt("RequestIntervalIndex")),
            std::tuple(c.load, c.typeIndex, c.intervalIndex, c.symbol, c.dataType, c.interval))
            << c.parameters;
        // Applied once: the frame takes its position, and the symbol is not stored again.
        EXPECT_FALSE(info.HasFrameRect());
        settings.SetText("CurrentSymbol", "AURX");
        EXPECT_FALSE(info.ApplyTo(settings).load);
        EXPECT_EQ(settings.GetText("CurrentSymbol"), "AURX");
    }
}

TEST(WorkspaceArguments, TheChartAndTheFrameAreWrittenAsOptions) {
    const SFrameRect rect{-8, 20, 1200, 900};
    EXPECT_EQ(WorkspaceArguments("KRNO", "Minute", "15-Minute", EFrameState::Normal, rect),
              "-symbol KRNO -type Minute -interval 15-Minute -top 20 -bottom 900 -left -8 -right "
              "1200");
    EXPECT_EQ(ChartArguments("", "Tick", "1-Minute"), "-type Tick -interval 1-Minute");
    EXPECT_EQ(FrameArguments(EFrameState::Maximised, rect), " -max");
    EXPECT_EQ(FrameArguments(EFrameState::Minimised, rect), " -min");
    EXPECT_EQ(SplitArguments("  -symbol\tLUMA   -max \n"),
              (std::vector<std::string>{"-symbol", "LUMA", "-max"}));
    EXPECT_TRUE(SplitArguments("   ").empty());
    // A new window: the same chart, its frame moved down and right by the offset.
    EXPECT_EQ(NewWindowArguments("LUMA", "Minute", "5-Minute", rect),
              (std::vector<std::string>{"-symbol", "LUMA", "-type", "Minute", "-interval",
                                        "5-Minute", "-left", "24", "-top", "52", "-right", "1232",
                                        "-bottom", "932"}));
    EXPECT_EQ(NewWindowArguments("", "Tick", "1-Minute", {}, 10).front(), "-type");
}

} // namespace
