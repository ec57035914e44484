#pragma once

// The export and render modes: `Skychart --export FILE.csv -symbol X -type T [-interval I]`
// loads one symbol's history without a window and writes it as CSV; `--render FILE` instead of
// `--export` draws the loaded chart into a PNG or PDF (`-width W -height H`). This is the plain
// part: checking the options and turning the series into text. The platform runner does the
// feed, the drawing and the file.

#include "feed/feed_connections.h"

#include <string>
#include <vector>

class CChartHistRequest;
class COrvaneCommandLineInfo;
class CStudySet;
struct sTICK;

// What the mode writes when the history is loaded.
enum class EExportOutput {
    Csv,   // --export: the series as CSV
    Chart, // --render: the chart as a PNG or PDF
};

// The size of a rendered chart: the default and the limits of -width and -height.
inline constexpr int kRenderDefaultWidth = 1200;
inline constexpr int kRenderDefaultHeight = 800;
inline constexpr int kRenderMinSize = 100;
inline constexpr int kRenderMaxSize = 10000;
// -scale: device pixels per pixel of a rendered PNG.
inline constexpr int kRenderMaxScale = 4;
// --timeout: the default and the limits, in seconds.
inline constexpr int kExportDefaultTimeout = 300;
inline constexpr int kExportMaxTimeout = 86400;

// What an export or a render asks for, checked.
struct SExportRequest {
    EExportOutput output = EExportOutput::Csv;
    std::string file;
    std::string symbol;              // upper case
    int dataType = 0;                // "RequestDataType": 0 Ticks ... 4 Months
    int intervalIndex = -1;          // "RequestIntervalIndex", -1 when the stored one applies
    std::string typeText;            // the request type as given ("Tick", "Daily", ...)
    int width = kRenderDefaultWidth; // of a rendered chart, in pixels
    int height = kRenderDefaultHeight;
    int scale = 1;                              // a PNG is width*scale x height*scale device pixels
    int timeoutSeconds = kExportDefaultTimeout; // the whole run may take this long
    SServiceOptions service;                    // what a service started for the run is given
    int priceScale = -1; // an EPriceScale for this render only, -1 when the stored one applies
    bool compareGiven = false;        // -compare: these symbols instead of the stored ones
    std::vector<std::string> compare; // upper case, at most kMaxCompareSymbols
};

// Checks the export or render options of `commandLine`. On success fills `request` and returns
// an empty text; otherwise the reason, for the user: both modes at once, no file, a render file
// that is neither .png nor .pdf, missing symbol or type, unknown type or interval, a -width or
// -height that is not a whole number from kRenderMinSize to kRenderMaxSize (they apply to
// --render only and are ignored with --export), a --timeout that is not a whole number of
// seconds from 1 to kExportMaxTimeout, a -price-scale other than linear, log or percent, or a
// -compare list that ParseCompareSymbols refuses (or that names the chart's own symbol).
std::string CheckExportRequest(const COrvaneCommandLineInfo& commandLine, SExportRequest& request);

// The extension of the file name at the end of `path`, lower case; "" when it has none.
std::string LowerExtension(const std::string& path);

// The header row (no line end) of an export of `dataType`: the columns that data type fills.
//   Ticks:     DateTime,Close,Volume,Size,Bid,Ask
//   Intervals: DateTime,Open,High,Low,Close,Volume,Size
//   Days, weeks and months: DateTime,Open,High,Low,Close,Volume,OpenInterest
std::string ExportHeader(int dataType);
// One row (no line end) for `point` with the columns of ExportHeader. Date-times are
// "YYYY-MM-DD HH:MM:SS", with ".ffffff" for ticks; an invalid time is written as empty.
std::string ExportRow(const sTICK& point, int dataType);

// A study value as an export cell: the shortest text that reads back as the same double; empty
// where the study draws nothing.
std::string ExportStudyCell(double value);
// The whole CSV text of the series of `dataType`: the header and one row per point, and after
// the series columns, when `studies` is given, one column per line of the studies it holds.
std::string ExportText(const CChartHistRequest& history, int dataType, const CStudySet* studies);

// Process exit codes of the export and render modes.
enum EExportExit : int {
    kExportOk = 0,
    kExportBadArguments = 2,
    kExportNoService = 3,
    kExportNoData = 4,
    kExportFileError = 5,
    kExportTimeout = 6,
};
