#pragma once

#include "feed/feed_connections.h"

#include <string>
#include <vector>

class CSettings;

// One item of a ribbon combo: its text and the number kept with it.
struct SComboItem {
    const char* text;
    int data;
};

// The request type combo: "Tick" = 0 ... "Monthly" = 4.
const std::vector<SComboItem>& RequestTypeItems();
// The interval combo: "1-Minute" = 1 ... "2-Hour" = 120 (minutes). "RequestIntervalIndex" holds
// the position in this list (0 = "1-Minute"), which is what the history requests index by.
const std::vector<SComboItem>& IntervalItems();
// The chart style combo: "OHLC" = 0, "Candlestick" = 1.
const std::vector<SComboItem>& ChartStyleItems();
// Position of the item whose text matches `text` ignoring case; -1 when none does.
int FindComboItem(const std::vector<SComboItem>& items, const std::string& text);
// Position of the item carrying `data`; -1 when none does.
int FindComboData(const std::vector<SComboItem>& items, int data);

// What applying the command line decided; the frame selects the combos accordingly.
struct SAppliedCommandLine {
    bool load = false;      // a symbol was given: the chart loads "CurrentSymbol"
    int typeIndex = -1;     // request type combo position to select, -1 none
    int intervalIndex = -1; // interval combo position to select, -1 none
};

// The application's command line. Flags start with '-' (or '/', or "--" for the long options)
// and are matched without regard to case; an option's value is the next parameter that is not
// a flag. A parameter of the form -<digits> is a number, not a flag, so positions may be negative.
//   -symbol X  -type T  -interval I  -max  -min  -top N  -bottom N  -left N  -right N
//   --help  --version  --save-workspace NAME  --open-workspace NAME  --export FILE
//   --render FILE  -width W  -height H  --timeout S  --data-dir DIR  --data-only  -scale S
class COrvaneCommandLineInfo {
public:
    // Parses the parameters that follow the program name.
    void Parse(const std::vector<std::string>& parameters);
    // One parameter; `flag` when it started with a flag character (which is already stripped).
    void ParseParam(const std::string& text, bool flag);

    // The frame rectangle given by -left/-top/-right/-bottom; empty (no width or no height)
    // means the frame keeps its own.
    bool HasFrameRect() const;

    // Applies symbol, type and interval once, when the service is ready: nothing without a
    // symbol. Stores "CurrentSymbol"; a type that matches a request type item stores its data as
    // "RequestDataType" (an unknown one leaves it alone); only then an interval that matches
    // stores its position as "RequestIntervalIndex". Clears symbol, type, interval and frame
    // position so that a second call does nothing.
    SAppliedCommandLine ApplyTo(CSettings& settings);

    // What is wrong with --data-dir and --data-only, for the user; empty when nothing is: a
    // --data-dir without a folder or naming no folder, a --data-only without --data-dir.
    std::string ServiceProblem() const;
    // The options of the service Skychart starts: the data folder and --data-only.
    SServiceOptions ServiceOptions() const { return {dataDir, dataOnly}; }

    // Usage text of --help: every option, where settings and logs live.
    static std::string Usage(const std::string& settingsFile, const std::string& startupFile,
                             const std::string& logFolder);

    std::string symbol; // upper case
    bool expectSymbol = false;
    bool expectTop = false;
    bool expectBottom = false;
    bool expectLeft = false;
    bool expectRight = false;
    int right = 0;
    int bottom = 0;
    int top = 0;
    int left = 0;
    bool maximise = false;
    bool minimise = false;
    bool typeRequested = false;
    std::string type;
    bool intervalRequested = false;
    std::string interval;

    bool help = false;
    bool version = false;
    std::string saveWorkspace;
    std::string openWorkspace;
    // --export FILE: write the history of -symbol/-type/-interval to FILE as CSV, no window.
    bool exportRequested = false;
    std::string exportFile;
    // --render FILE: draw the chart of -symbol/-type/-interval into FILE (PNG or PDF), no window.
    bool renderRequested = false;
    std::string renderFile;
    // -width W -height H: the size of the rendered chart, as given (checked with the request).
    bool widthRequested = false;
    std::string width;
    bool heightRequested = false;
    std::string height;
    // -scale S: device pixels per pixel of the rendered PNG, as given (checked with the request).
    bool scaleRequested = false;
    std::string scale;
    // -price-scale linear|log|percent: the price scale of the --render image, as given.
    bool priceScaleRequested = false;
    std::string priceScale;
    // -compare SYM[,SYM...]: the symbols compared on the --render image, as given.
    bool compareRequested = false;
    std::string compare;
    // --timeout SECONDS: how long --export or --render may take, as given (checked with the
    // request).
    bool timeoutRequested = false;
    std::string timeout;
    // --data-dir DIR: the folder of the trader's own data files, made absolute against the
    // working folder as it is parsed; --data-only: the service serves those files only.
    bool dataDirRequested = false;
    std::string dataDir;
    bool dataOnly = false;
    // Flags that name no option, kept for the log.
    std::vector<std::string> unknownFlags;

private:
    bool expectType = false;
    bool expectInterval = false;
    bool expectSaveWorkspace = false;
    bool expectOpenWorkspace = false;
    bool expectExport = false;
    bool expectRender = false;
    bool expectWidth = false;
    bool expectHeight = false;
    bool expectTimeout = false;
    bool expectDataDir = false;
    bool expectScale = false;
    bool expectPriceScale = false;
    bool expectCompare = false;
};
