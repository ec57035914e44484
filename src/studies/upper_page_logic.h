#pragma once

// The rules of the upper studies page: the live filter of the deviations field, the checks made
// when the page is confirmed, and how the confirmed values are stored.

#include "studies/study_settings.h"

#include <string>
#include <string_view>

class CSettings;
class IPrompt;

// What the page holds when it is confirmed: the averages and bands as the controls give them, with
// the two texts that are checked as typed.
struct SUpperPageValues {
    SUpperStudySettings settings;
    std::string bandsPeriodText; // the bands' period field as typed
    std::string deviationsText;  // the deviations field as typed
};

class CUpperPageLogic {
public:
    static constexpr const char* kErrorCaption = "Error";
    static constexpr const char* kPeriodRangeText = "Study average period must be from 2 to 999";
    static constexpr const char* kNoDeviationsText = "You must select a valid No. of Deviations.";
    static constexpr const char* kDeviationsRangeText =
        "No. of Deviations must be from 0.01 to 100";

    // The range of the four period spin controls (the bands' field takes any number typed).
    static constexpr int kMinPeriod = 2;
    static constexpr int kMaxPeriod = 999;
    static constexpr double kMinDeviations = 0.01;
    static constexpr double kMaxDeviations = 100.0;

    // The deviations field's text cut at the first character that is neither a digit nor the
    // first point: "2.5x.3" gives "2.5", "1.2.3" gives "1.2".
    static std::string FilterDeviations(std::string_view text);
    // The deviations as the field shows them ("%.2f").
    static std::string FormatDeviations(double deviations);

    // The C library's integer reading of a text: leading white space, an optional sign, the
    // decimal digits that follow; 0 when there are none. Values beyond the int range are clamped.
    static int ReadInt(const std::string& text);

    // Why the values cannot be confirmed, or null when they can. In this order: the bands' period
    // text read as an integer outside 2-999; a deviations text that is exactly "."; deviations
    // (read as a floating point number) outside 0.01-100.
    static const char* Refusal(const SUpperPageValues& values);

    // The settings to store: those of the controls with the bands' period and deviations taken
    // from their texts. Only meaningful when Refusal() gives null.
    static SUpperStudySettings Settings(const SUpperPageValues& values);

    // A refusal is shown as an error box captioned "Error" (false); otherwise true.
    static bool Check(IPrompt& prompt, const SUpperPageValues& values);

    // Stores the upper study keys whose values differ from those `shown` (what the page showed
    // when it opened or last stored). Only meaningful when Refusal() gives null.
    static void Store(CSettings& settings, const SUpperPageValues& values,
                      const SUpperPageValues& shown);
};
