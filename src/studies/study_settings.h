#pragma once

// The study catalogue and the study settings as one value: what the upper studies over the price
// pane and the lower study panes read from the settings table, and what the settings pages edit
// and write back.

#include "chart/color_ref.h"

#include <array>
#include <string>
#include <vector>

class CSettings;

enum EStudyType : int {
    kStudyRSI = 0,
    kStudyMomentum = 1,
    kStudyRateOfChange = 2,
    kStudyOBV = 3,
    kStudyMACD = 4,
    kStudyStochastics = 5,
    kStudyVolume = 6,
    kStudyMoneyFlow = 7,
    kStudyMFI = 8,
    kStudyADX = 9,
};
inline constexpr int kStudyTypeCount = 10;
inline constexpr int kMaxStudyPanes = 10;

// One entry of the catalogue, by study index.
struct SStudyCatalogEntry {
    const char* shortName;         // "RSI", "MOM", ... as the labels name the study
    const char* listName;          // the name the settings page lists
    int defaultPeriod;             // "STUDY AVG PERIOD"
    int defaultCustomPeriod;       // "STUDY CUSTOM AVG PERIOD"
    const char* radioKey;          // the key that stores the period choice
    std::vector<int> fixedChoices; // the fixed period choices in page order; "Custom" follows them
};
const SStudyCatalogEntry& StudyCatalog(int studyType);
bool IsStudyType(int studyType);

// The moving averages and the bands over the price pane.
struct SUpperStudySettings {
    bool masShow = false;
    std::array<bool, 3> select{true, true, true};
    std::array<int, 3> points{5, 10, 15};
    std::array<ColorRef, 3> colors{255, 0xFF0000, 65535};
    bool exponential = false;
    bool bandsShow = false;
    ColorRef bandsColor = 0xCECECE;
    int bandsPeriod = 20;
    double bandsDeviations = 2.0;

    // Whether moving average `number` (1 .. 3) is drawn: the master switch and its own switch.
    bool AverageShown(int number) const;
    // The period of average `number`: 1 .. 3 the averages, 4 the bands.
    int Period(int number) const;

    static SUpperStudySettings Read(const CSettings& settings);
    // Writes the keys whose values differ from `before`; the deviations as the shortest text
    // that reads back as the same number.
    void Write(CSettings& settings, const SUpperStudySettings& before) const;
};

// Every setting of the lower studies.
struct SStudySettings {
    // Panes top to bottom, by study index; at most ten.
    std::vector<int> paneTypes{kStudyVolume};

    std::array<int, kStudyTypeCount> periods{21, 20, 20, 9, 18, 5, 10, 14, 14, 14};
    std::array<int, kStudyTypeCount> customPeriods{21, 20, 20, 9, 18, 5, 500, 9, 9, 10};
    // The period choice of each study as the settings page shows it: the index of its choice in
    // page order, the custom choice being the last (its period is kept in `customPeriods`) (volume:
    // "Volume Average All Data"; stochastics: "STO Radio Select").
    std::array<int, kStudyTypeCount> radio{1, 1, 1, 1, 1, 0, 1, 1, 1, 1};

    std::array<ColorRef, kStudyTypeCount> dataColor{};
    std::array<ColorRef, kStudyTypeCount> labelColor{};

    int rsiUpper = 70;
    int rsiLower = 30;
    ColorRef rsiUpColor = 0xD8BFD8;
    ColorRef rsiLowColor = 0x8CB4D2;
    ColorRef momentumZeroColor = 0xD9BB8A;
    ColorRef roc100Color = 0xBB39C6;
    ColorRef obvZeroColor = 0xFFFFFF;

    int macdShort = 8;
    int macdLong = 17;
    int macdCustomShort = 38;
    int macdCustomLong = 78;
    ColorRef macdSignalColor = 0xC080FF;
    ColorRef macdHistogramColor = 0xB48246;

    bool stoFast = false;
    int stoUpper = 80;
    int stoLower = 20;
    ColorRef stoUpColor = 0xD8BFD8;
    ColorRef stoLowColor = 0x8CB4D2;
    ColorRef stoDColor = 0x8000FF;
    ColorRef stoKColor = 0x000000;

    bool showVolumeAverage = true;
    ColorRef volumeAverageColor = 0x0000FF;
    ColorRef volumeLabelColor = 0x000000;

    ColorRef positiveFlowColor = 0xB48246;
    ColorRef negativeFlowColor = 0x0000FF;

    int mfiUpper = 80;
    int mfiLower = 20;
    ColorRef mfiUpColor = 0xD8BFD8;
    ColorRef mfiLowColor = 0x8CB4D2;

    ColorRef positiveDIColor = 0xB48246;
    ColorRef negativeDIColor = 0x0000FF;

    // The volume average over all loaded bars (else over the newest `Period(kStudyVolume)`).
    bool VolumeAverageAllData() const { return radio[kStudyVolume] == 1; }
    // Whether the study's choice is its custom period.
    bool IsCustom(int studyType) const;
    // The period a pane of `studyType` computes with: the standard list's entry, which the
    // settings page sets to the fixed choice or the custom period picked; at least 1.
    int Period(int studyType) const;
    // The MACD preset that the periods in use match: "buy", "sell" or "custom".
    std::string MacdPresetWord() const;

    // Reads every key; a missing or unreadable list entry keeps its default.
    static SStudySettings Read(const CSettings& settings);
    // Writes the keys whose values differ from `before`: a changed period list whole, of the
    // panes the count when it changed and the types that changed.
    void Write(CSettings& settings, const SStudySettings& before) const;
};
