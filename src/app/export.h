#pragma once

// The export mode: `Skychart --export FILE.csv -symbol X -type T [-interval I]` loads one
// symbol's history without a window and writes it as CSV. This is the plain part: checking the
// options and turning the series into text. The platform runner does the feed and the file.

#include <string>

class COrvaneCommandLineInfo;
struct sTICK;

// What an export asks for, checked.
struct SExportRequest {
    std::string file;
    std::string symbol;     // upper case
    int dataType = 0;       // "RequestDataType": 0 Ticks ... 4 Months
    int intervalIndex = -1; // "RequestIntervalIndex", -1 when the stored one applies
    std::string typeText;   // the request type as given ("Tick", "Daily", ...)
};

// Checks the export options of `commandLine`. On success fills `request` and returns an empty
// text; otherwise the reason, for the user (missing symbol or type, unknown type or interval).
std::string CheckExportRequest(const COrvaneCommandLineInfo& commandLine, SExportRequest& request);

// The header row (no line end) of an export of `dataType`: the columns that data type fills.
//   Ticks:     DateTime,Close,Volume,Size,Bid,Ask
//   Intervals: DateTime,Open,High,Low,Close,Volume,Size
//   Days, weeks and months: DateTime,Open,High,Low,Close,Volume,OpenInterest
std::string ExportHeader(int dataType);
// One row (no line end) for `point` with the columns of ExportHeader. Date-times are
// "YYYY-MM-DD HH:MM:SS", with ".ffffff" for ticks; an invalid time is written as empty.
std::string ExportRow(const sTICK& point, int dataType);

// Process exit codes of the export mode.
enum EExportExit : int {
    kExportOk = 0,
    kExportBadArguments = 2,
    kExportNoService = 3,
    kExportNoData = 4,
    kExportFileError = 5,
};
