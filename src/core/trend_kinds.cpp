#include "core/trend_kinds.h"

#include <algorithm>
#include <cctype>

const std::array<STrendKindInfo, kTrendKindCount>& TrendKindTable() {
    static const std::array<STrendKindInfo, kTrendKindCount> table{{
        {ETrendKind::Horizontal,
         "Horizontal",
         "Horizontal",
         2,
         {"Click on the beginning point of the new horizontal trendline (Right click to cancel)",
          "Click on the end point of the new horizontal trendline (Right click to cancel)",
          nullptr},
         0x00C08000,
         1,
         true},
        {ETrendKind::Sloping,
         "Sloping",
         "Sloping",
         2,
         {"Click on the beginning point of the new sloping trendline (Right click to cancel)",
          "Click on the end point of the new sloping trendline (Right click to cancel)", nullptr},
         0x00FF0000,
         1,
         false},
        {ETrendKind::Parallel,
         "Parallel",
         "Parallel",
         3,
         {"Click on the beginning point of the new parallel trendline (Right click to cancel)",
          "Click on the end point of the new parallel trendline (Right click to cancel)",
          "Click to set a second line of the new parallel trendline (Right click to cancel)"},
         0x00808000,
         1,
         false},
        {ETrendKind::Pitchfork,
         "Andrew's Pitchfork",
         "Andrew's Pitchfork",
         3,
         {"Click on the 1st point of the new Andrew's pitchfork trendline (Right click to cancel)",
          "Click on the 2nd point of the new pitchfork trendline (Right click to cancel)",
          "Move the mouse to the left and click on the 3rd point of the new pitchfork trendline "
          "(Right click to cancel)"},
         0x00800080,
         1,
         true},
        {ETrendKind::FibonacciFan,
         "Fibonacci Fan",
         "Fibonacci Fan",
         2,
         {"Click on the 1st point of the new Fibonacci Fan trendline (Right click to cancel)",
          "Click on the end point of the new Fibonacci Fan trendline (Right click to cancel)",
          nullptr},
         0x000080FF,
         1,
         true},
        {ETrendKind::FibonacciRetracements,
         "Fibonacci Retracements",
         "Fibonacci Retracements",
         2,
         {"Click on the beginning point of the new Fibonacci Retracements trendline (Right click "
          "to cancel)",
          "Click on the end point of the new Fibonacci Retracements trendline (Right click to "
          "cancel)",
          nullptr},
         0x00008080,
         1,
         false},
        {ETrendKind::SpeedResistance,
         "Speed Resistance",
         "Speed Resistance",
         2,
         {"Click on the 1st point of the new speed resistance trendline (Right click to cancel)",
          kTrendEndPrompt, nullptr},
         0x00408000,
         1,
         true},
    }};
    return table;
}

const STrendKindInfo& TrendKindInfo(ETrendKind kind) {
    return TrendKindTable()[static_cast<std::size_t>(kind)];
}

int FindTrendKind(std::string_view name) {
    const auto& table = TrendKindTable();
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string_view known = table[i].name;
        if (known.size() == name.size() &&
            std::equal(known.begin(), known.end(), name.begin(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            })) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::string TrendColorKey(ETrendKind kind) {
    return std::string(TrendKindInfo(kind).name) + " Trendline Color";
}

std::string TrendWidthKey(ETrendKind kind) {
    return std::string(TrendKindInfo(kind).name) + " Trendline Width";
}

std::string TrendExtendableKey(ETrendKind kind) {
    return std::string(TrendKindInfo(kind).name) + " Trendline Extendable";
}
