#pragma once

// The rules of the display settings page: which values it shows, how "Show Grid" is stored the
// moment it is ticked, when a confirmation is refused, and how the values are stored.

class CSettings;
class IPrompt;

// What the display page shows. A list without a selection holds kNone.
struct SDisplayPageValues {
    static constexpr int kNone = -1;

    int pointsIndex = 3;      // "PTS INDEX": a row of DisplayPointsTable, 0-10
    bool showGrid = true;     // "Show Grid"
    int gridStyle = 0;        // "Grid Style": an ELineStyle, 0-4
    int chartStyle = 1;       // "Candle Price Chart Style": 0 OHLC, 1 Candlestick
    int valueLabelSide = 0;   // "Y Axis Orientation": 0 left (axis "y"), 1 right ("y2")
    bool showPriceBar = true; // "Show Price Bar"
    bool fixedYAxisScaling = false;
    bool scrollByItems = true;  // "Scrolling by Items": by items (true) or by percent
    int scrollItems = 1;        // "Scrolling By Items Not Percent", 1-1000
    int scrollPercent = 20;     // "Scrolling by Percent", 1-100
    int priceScale = 0;         // "Price Scale": an EPriceScale, 0-2
    bool showLastPrice = false; // "Show Last Price"

    friend bool operator==(const SDisplayPageValues&, const SDisplayPageValues&) = default;
};

class CDisplayPageLogic {
public:
    static constexpr const char* kErrorCaption = "Error";
    static constexpr const char* kNoDisplayPointsText =
        "You must select a valid No. of Display Pts.";
    static constexpr const char* kNoGridStyleText = "You must select a valid No. of Grid Style.";

    static constexpr int kChartStyleCount = 2;     // "OHLC", "Candlestick"
    static constexpr int kValueLabelSideCount = 2; // "Left", "Right"
    static constexpr int kMinScrollItems = 1;
    static constexpr int kMaxScrollItems = 1000;
    static constexpr int kMinScrollPercent = 1;
    static constexpr int kMaxScrollPercent = 100;

    // The page's values from the settings table. A "PTS INDEX" outside 0-10 or a "Grid Style"
    // outside 0-4 leaves its list without a selection; "Candle Price Chart Style" 1 shows
    // Candlestick and any other value OHLC (the price pane draws bars for them); "Show Grid" and
    // "Show Price Bar" are on only for 1; the scrolling counts are held to their ranges.
    static SDisplayPageValues Load(const CSettings& settings);

    // Ticking or clearing "Show Grid" stores it at once (1 or 0). Returns whether the grid style
    // list is now enabled, which is the new value.
    static bool SetShowGrid(CSettings& settings, bool show);

    // Why the values cannot be confirmed, or null when they can: no display point count selected
    // comes first; then a shown grid without a grid style. A hidden grid needs no style.
    static const char* Refusal(const SDisplayPageValues& values);

    // A refusal is shown as an error box captioned "Error" (false); otherwise true.
    static bool Check(IPrompt& prompt, const SDisplayPageValues& values);

    // Stores each value that differs from `shown` (what the page showed) under its key:
    // integers in decimal ("Show Grid" and "Show Price Bar" as 1 or 0), booleans as
    // "true"/"false", the scrolling counts held to their ranges. A list without a selection
    // leaves its key as it was.
    static void Store(CSettings& settings, const SDisplayPageValues& values,
                      const SDisplayPageValues& shown);

    // The texts of the lists: "OHLC"/"Candlestick" and "Left"/"Right"; empty outside them.
    static const char* ChartStyleName(int chartStyle);
    static const char* ValueLabelSideName(int side);
};
