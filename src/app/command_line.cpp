#include "app/command_line.h"

#include "core/data_types.h"
#include "core/settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

bool EqualNoCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

std::string Upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

// "-12" is a (negative) number, not a flag.
bool IsNumber(const std::string& text) {
    if (text.size() < 2 || text[0] != '-') {
        return false;
    }
    return std::all_of(text.begin() + 1, text.end(),
                       [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

} // namespace

const std::vector<SComboItem>& RequestTypeItems() {
    static const std::vector<SComboItem> items = [] {
        std::vector<SComboItem> made;
        for (const SDataTypeChoice& choice : DataTypeTable()) {
            made.push_back({choice.name, choice.dataType});
        }
        return made;
    }();
    return items;
}

const std::vector<SComboItem>& IntervalItems() {
    static const std::vector<SComboItem> items = [] {
        std::vector<SComboItem> made;
        for (const SIntervalChoice& choice : IntervalTable()) {
            made.push_back({choice.name, choice.minutes});
        }
        return made;
    }();
    return items;
}

const std::vector<SComboItem>& ChartStyleItems() {
    static const std::vector<SComboItem> items{{"OHLC", 0}, {"Candlestick", 1}};
    return items;
}

int FindComboItem(const std::vector<SComboItem>& items, const std::string& text) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (EqualNoCase(items[i].text, text)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int FindComboData(const std::vector<SComboItem>& items, int data) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].data == data) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void COrvaneCommandLineInfo::Parse(const std::vector<std::string>& parameters) {
    for (const std::string& parameter : parameters) {
        // The file of --export or --render and the folder of --data-dir may be absolute paths:
        // '/' starts no flag there.
        if ((expectExport || expectRender || expectDataDir) && !parameter.empty() &&
            parameter[0] == '/') {
            ParseParam(parameter, false);
            continue;
        }
        if (parameter.size() > 1 && (parameter[0] == '-' || parameter[0] == '/') &&
            !IsNumber(parameter)) {
            std::size_t skip = 1;
            if (parameter[0] == '-' && parameter[1] == '-') {
                skip = 2;
            }
            ParseParam(parameter.substr(skip), true);
        } else {
            ParseParam(parameter, false);
        }
    }
}

void COrvaneCommandLineInfo::ParseParam(const std::string& text, bool flag) {
    if (flag) {
        if (EqualNoCase(text, "symbol")) {
            expectSymbol = true;
        } else if (EqualNoCase(text, "top")) {
            expectTop = true;
        } else if (EqualNoCase(text, "bottom")) {
            expectBottom = true;
        } else if (EqualNoCase(text, "left")) {
            expectLeft = true;
        } else if (EqualNoCase(text, "right")) {
            expectRight = true;
        } else if (EqualNoCase(text, "max")) {
            if (!minimise) {
                maximise = true;
            }
        } else if (EqualNoCase(text, "min")) {
            if (!maximise) {
                minimise = true;
            }
        } else if (EqualNoCase(text, "type")) {
            expectType = true;
        } else if (EqualNoCase(text, "interval")) {
            expectInterval = true;
        } else if (EqualNoCase(text, "help") || text == "h" || text == "?") {
            help = true;
        } else if (EqualNoCase(text, "version")) {
            version = true;
        } else if (EqualNoCase(text, "save-workspace")) {
            expectSaveWorkspace = true;
        } else if (EqualNoCase(text, "open-workspace")) {
            expectOpenWorkspace = true;
        } else if (EqualNoCase(text, "export")) {
            exportRequested = true;
            expectExport = true;
        } else if (EqualNoCase(text, "render")) {
            renderRequested = true;
            expectRender = true;
        } else if (EqualNoCase(text, "width")) {
            widthRequested = true;
            expectWidth = true;
        } else if (EqualNoCase(text, "height")) {
            heightRequested = true;
            expectHeight = true;
        } else if (EqualNoCase(text, "scale")) {
            scaleRequested = true;
            expectScale = true;
        } else if (EqualNoCase(text, "timeout")) {
            timeoutRequested = true;
            expectTimeout = true;
        } else if (EqualNoCase(text, "data-dir")) {
            dataDirRequested = true;
            expectDataDir = true;
        } else if (EqualNoCase(text, "data-only")) {
            dataOnly = true;
        } else if (EqualNoCase(text, "price-scale")) {
            priceScaleRequested = true;
            expectPriceScale = true;
        } else if (EqualNoCase(text, "compare")) {
            compareRequested = true;
            expectCompare = true;
        } else {
            unknownFlags.push_back(text);
        }
        return;
    }

    // A value goes to the first option still waiting for one, in the order of the fields.
    if (expectSymbol) {
        symbol = Upper(text);
        expectSymbol = false;
    } else if (expectTop) {
        top = std::atoi(text.c_str());
        expectTop = false;
    } else if (expectBottom) {
        bottom = std::atoi(text.c_str());
        expectBottom = false;
    } else if (expectLeft) {
        left = std::atoi(text.c_str());
        expectLeft = false;
    } else if (expectRight) {
        right = std::atoi(text.c_str());
        expectRight = false;
    } else if (expectType) {
        typeRequested = true;
        type = text;
        expectType = false;
    } else if (expectInterval) {
        intervalRequested = true;
        interval = text;
        expectInterval = false;
    } else if (expectSaveWorkspace) {
        saveWorkspace = text;
        expectSaveWorkspace = false;
    } else if (expectOpenWorkspace) {
        openWorkspace = text;
        expectOpenWorkspace = false;
    } else if (expectExport) {
        exportFile = text;
        expectExport = false;
    } else if (expectRender) {
        renderFile = text;
        expectRender = false;
    } else if (expectWidth) {
        width = text;
        expectWidth = false;
    } else if (expectHeight) {
        height = text;
        expectHeight = false;
    } else if (expectTimeout) {
        timeout = text;
        expectTimeout = false;
    } else if (expectScale) {
        scale = text;
        expectScale = false;
    } else if (expectDataDir) {
        std::error_code error;
        std::filesystem::path path = std::filesystem::absolute(text, error).lexically_normal();
        // "data/" names the folder "data": no empty last element.
        if (!path.has_filename() && path.has_relative_path()) {
            path = path.parent_path();
        }
        dataDir = error ? text : path.string();
        expectDataDir = false;
    } else if (expectPriceScale) {
        priceScale = text;
        expectPriceScale = false;
    } else if (expectCompare) {
        compare = text;
        expectCompare = false;
    }
}

std::string COrvaneCommandLineInfo::ServiceProblem() const {
    if (dataDirRequested) {
        if (dataDir.empty()) {
            return "--data-dir needs the folder of your data files";
        }
        std::error_code error;
        const std::filesystem::file_status status = std::filesystem::status(dataDir, error);
        if (!std::filesystem::exists(status)) {
            return fmt::format("--data-dir {}: no such folder", dataDir);
        }
        if (!std::filesystem::is_directory(status)) {
            return fmt::format("--data-dir {}: not a folder", dataDir);
        }
    }
    if (dataOnly && dataDir.empty()) {
        return "--data-only needs --data-dir DIR";
    }
    return {};
}

bool COrvaneCommandLineInfo::HasFrameRect() const {
    return right > left && bottom > top;
}

SAppliedCommandLine COrvaneCommandLineInfo::ApplyTo(CSettings& settings) {
    SAppliedCommandLine applied;
    if (!symbol.empty()) {
        settings.SetText(keys::kCurrentSymbol, symbol);
        if (typeRequested) {
            const int typeIndex = FindComboItem(RequestTypeItems(), type);
            if (typeIndex >= 0) {
                applied.typeIndex = typeIndex;
                settings.SetInt(keys::kRequestDataType, RequestTypeItems()[typeIndex].data);
            }
            if (intervalRequested) {
                const int intervalIndex = FindComboItem(IntervalItems(), interval);
                if (intervalIndex >= 0) {
                    applied.intervalIndex = intervalIndex;
                    settings.SetInt(keys::kRequestIntervalIndex, intervalIndex);
                }
            }
        }
        applied.load = true;
    }
    symbol.clear();
    typeRequested = false;
    type.clear();
    intervalRequested = false;
    interval.clear();
    left = top = right = bottom = 0;
    return applied;
}

std::string COrvaneCommandLineInfo::Usage(const std::string& settingsFile,
                                          const std::string& startupFile,
                                          const std::string& logFolder) {
    std::string types;
    for (const SComboItem& item : RequestTypeItems()) {
        types += types.empty() ? "" : ", ";
        types += item.text;
    }
    // The interval names, wrapped to the width of the option texts.
    std::string intervals;
    std::size_t lineStart = 0;
    for (const SComboItem& item : IntervalItems()) {
        if (!intervals.empty()) {
            intervals += ",";
            if (intervals.size() - lineStart > 50) {
                intervals += "\n                        ";
                lineStart = intervals.size();
            } else {
                intervals += " ";
            }
        }
        intervals += item.text;
    }
    return fmt::format(
        "Usage: Skychart [options]\n"
        "\n"
        "Charts one symbol from the local market-data service (portico), which Skychart starts\n"
        "when it is not running. Options are matched without regard to case and may start with\n"
        "'-' or '/'.\n"
        "\n"
        "  -symbol SYMBOL        load SYMBOL once the service is connected\n"
        "  -type TYPE            request type: {}\n"
        "  -interval INTERVAL    bar interval (with -type):\n"
        "                        {}\n"
        "  -max | -min           start maximised or minimised (the first one given wins)\n"
        "  -left X -top Y -right X -bottom Y\n"
        "                        frame position on the screen\n"
        "  --save-workspace NAME\n"
        "                        ask every running display application to save its window\n"
        "                        into workspace NAME, then exit\n"
        "  --open-workspace NAME\n"
        "                        start with the arguments stored in workspace NAME\n"
        "  --export FILE.csv     no window: load the history of -symbol with -type (and\n"
        "                        -interval) from the service, write it to FILE.csv with a\n"
        "                        header row and exit\n"
        "  --render FILE         no window, no display needed: load the same history and\n"
        "                        draw the chart as the window would show it (your settings,\n"
        "                        every displayed pane, the newest points) into FILE, a PNG\n"
        "                        or a PDF by its extension, and exit\n"
        "  -width W -height H    size of the --render chart in pixels, 100 to 10000 each\n"
        "                        (default 1200 x 800)\n"
        "  -scale S              draw the --render PNG at S device pixels per pixel, 1 to 4\n"
        "                        (default 1): W*S x H*S pixels laid out as W x H\n"
        "  -price-scale S        price scale of the --render chart: linear, log or percent\n"
        "  -compare SYM[,SYM]    up to three symbols compared on the --render chart\n"
        "  --timeout SECONDS     give --export or --render up after SECONDS, a whole\n"
        "                        number from 1 to 86400 (default 300)\n"
        "  --data-dir DIR        start the service with the folder DIR of your own data\n"
        "                        files, served beside the simulated market (a service\n"
        "                        already running keeps the data it was started with)\n"
        "  --data-only           with --data-dir: the service serves your files only\n"
        "  --help                show this text and exit\n"
        "  --version             show the version and exit\n"
        "\n"
        "--export and --render never change your settings. They exit 0 when the file is\n"
        "written; otherwise they explain why on standard error and exit\n"
        "  2  bad options, or request settings that make no request (the setting is named)\n"
        "  3  the service cannot be reached (connection refused, never ready) or stopped\n"
        "     answering (it closed a connection or sent a line over 64 KiB)\n"
        "  4  an unknown symbol or no data\n"
        "  5  the file cannot be written\n"
        "  6  the --timeout passed first\n"
        "On a terminal, standard error shows the points received as they arrive.\n"
        "An answer that sends nothing for 60 s (SKYCHART_STALL_SECONDS in the environment\n"
        "sets another whole number of seconds) ends the run; the window says it stalled.\n"
        "\n"
        "A running Skychart owns org.skychart.Skychart.pid<PID> on the D-Bus session bus and\n"
        "serves the interface org.skychart.Chart at /Skychart:\n"
        "  Load(symbol, type, interval)   load a chart as the ribbon would (interval \"\"\n"
        "                                 keeps the current one)\n"
        "  ExportSeries(path) -> rows     write the loaded series, live points included,\n"
        "                                 as --export does, to the absolute path\n"
        "  Render(path, width, height)    draw the chart as --render does (PNG or PDF)\n"
        "  DeletePoint(time) -> count     delete the point whose DateTime, as ExportSeries\n"
        "                                 writes it, is `time`; answers the points left\n"
        "  RestorePoints() -> count       bring the deleted points back; answers once the\n"
        "                                 history is in again\n"
        "  AddTrendline(kind, times, prices) -> count\n"
        "                                 add a trendline through bars (DateTime) at prices\n"
        "  Trendlines() -> JSON           the chart's trendlines\n"
        "  DeleteAllTrendlines() -> removed\n"
        "                                 delete the chart's trendlines; answers how many\n"
        "  Reconnect()                    connect to the service again (starting it when it\n"
        "                                 is gone) and reload the chart\n"
        "For example, this loads the daily chart of LUMA in the Skychart of process 1234:\n"
        "  gdbus call --session --dest org.skychart.Skychart.pid1234 --object-path /Skychart \\\n"
        "  --method org.skychart.Chart.Load LUMA Daily \"\"\n"
        "Bad arguments (or a time of no point) answer org.skychart.Chart.Error.InvalidArgument,\n"
        "a call without a loaded chart ...Error.NoChart, a file that cannot be written\n"
        "...Error.Failed.\n"
        "\n"
        "Files:\n"
        "  {}\n"
        "                        your settings\n"
        "  {}\n"
        "                        the service's ports AdminPort, LookupPort, Level1Port and\n"
        "                        LogPath\n"
        "  {}\n"
        "                        the logs, when LogPath is empty\n",
        types, intervals, settingsFile, startupFile, logFolder);
}
