#pragma once

// The seven kinds of trendline, in the order the chart keeps, lists and tests them: their names
// (as the settings keys and scripts spell them), how many clicks place one, the prompts of those
// clicks and the settings of each kind.

#include <array>
#include <string>
#include <string_view>
#include <vector>

enum class ETrendKind : int {
    Horizontal = 0,
    Sloping,
    Parallel,
    Pitchfork,
    FibonacciFan,
    FibonacciRetracements,
    SpeedResistance,
};
inline constexpr int kTrendKindCount = 7;

struct STrendKindInfo {
    ETrendKind kind;
    const char* name;     // "Horizontal" ... "Speed Resistance": the stem of the settings keys
    const char* menuText; // the command under "Draw Trendlines"
    int clicks;           // points that place one trendline
    // The status line prompt before each click, in order (`clicks` of them).
    std::array<const char*, 3> prompts;
    // Defaults of the kind's settings.
    unsigned defaultColor; // 0x00BBGGRR
    int defaultWidth;
    bool defaultExtendable;
};

// The seven kinds in their order.
const std::array<STrendKindInfo, kTrendKindCount>& TrendKindTable();
const STrendKindInfo& TrendKindInfo(ETrendKind kind);
// The kind named `name` (ignoring case), or -1.
int FindTrendKind(std::string_view name);

// "<name> Trendline Color", "... Width", "... Extendable".
std::string TrendColorKey(ETrendKind kind);
std::string TrendWidthKey(ETrendKind kind);
std::string TrendExtendableKey(ETrendKind kind);

// Prompts of the delete mode and its confirmation.
inline constexpr const char* kTrendDeletePrompt =
    "Click on a trendline to delete (Right click to cancel)";
inline constexpr const char* kTrendDeleteConfirmPrompt = "Confirm the trendline deleting";
inline constexpr const char* kTrendDeleteQuestion = "Delete flashing trendline?";
inline constexpr const char* kTrendDeleteAllQuestion = "Delete all trendlines?";
// The kind-neutral end-point prompt.
inline constexpr const char* kTrendEndPrompt =
    "Click on the end point of the new trendline (Right click to cancel)";
