#include "chart/point_deletion.h"

#include "chart/chart_labels.h"
#include "core/data_types.h"

#include <fmt/format.h>

#include <cmath>

int PlaceOfSlot(double slot, int shown) {
    if (!std::isfinite(slot)) {
        return 0;
    }
    const double place = std::floor(slot + 0.5) + 1.0;
    return place >= 1.0 && place <= shown ? static_cast<int>(place) : 0;
}

int DeletionIndex(int place, int firstShown) {
    return place - 1 + firstShown;
}

SQuestionText DeletionQuestion(const sTICK& point, int dataType, std::int64_t volume) {
    const std::string date = DateText(point.time);
    if (dataType == kTicks) {
        std::string text =
            fmt::format("Do you really want to delete this tick?\n\nPrice: {:.2f} ", point.close);
        if (const std::string volumeText = FormatScaled(static_cast<double>(volume));
            !volumeText.empty()) {
            text += "Volume: " + volumeText + " ";
        }
        text += "Time: " + TimeLabel(point, kTicks, true) + " on " + date;
        return {"Tick deletion", text};
    }
    std::string timeLine;
    switch (dataType) {
    case kIntervals:
        timeLine = fmt::format("Time: {} on {}", TimeLabel(point, kIntervals), date);
        break;
    case kDays:
        timeLine = "Date: " + date;
        break;
    case kWeeks:
        timeLine = "Week ending: " + date;
        break;
    default:
        timeLine = "Month ending: " + date;
        break;
    }
    return {"Interval deletion",
            fmt::format("Do you really want to delete this interval?\n\n{}\nHi: {:.2f}, Low: "
                        "{:.2f}, Open: {:.2f}, Close: {:.2f}",
                        timeLine, point.high, point.low, point.open, point.close)};
}

SQuestionText RestoreQuestion(int dataType) {
    return dataType == kTicks ? SQuestionText{"Restoring ticks", "Restore deleted ticks?"}
                              : SQuestionText{"Restoring intervals", "Restore deleted intervals?"};
}

std::string DeletionModePrompt(int dataType) {
    return fmt::format("Click on the {} to delete (Right click to cancel)",
                       dataType == kTicks ? "tick" : "bar");
}

std::string RestoreCommandText(int dataType) {
    return dataType == kTicks ? "Restore Ticks" : "Restore Bars";
}
