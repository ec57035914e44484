#pragma once

// The model of the lower studies page: the list of displayed studies in pane order, the property
// area of one study at a time with its captions and choices, the values every study's controls
// hold while the page is open, and the checks and the mapping to the stored settings on OK.

#include "chart/color_ref.h"
#include "studies/study_settings.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

class CSettings;
class IPrompt;

// What one row of a study's property area edits: a level (an integer edit) or a colour.
enum class EStudyField : int {
    RsiUpper = 0,
    RsiLower,
    MomentumZeroColor,
    Roc100Color,
    ObvZeroColor,
    MacdSignalColor,
    MacdHistogramColor,
    StoUpper,
    StoLower,
    StoDColor,
    StoKColor,
    VolumeAverageColor,
    PositiveFlowColor,
    NegativeFlowColor,
    MfiUpper,
    MfiLower,
    PositiveDIColor,
    NegativeDIColor,
};
inline constexpr int kStudyFieldCount = 18;
bool IsLevelField(EStudyField field);

struct SStudyPropertyRow {
    const char* caption; // "Upper level:", "Zero level color:", ...
    EStudyField field;
};

// How the property area looks for one study.
struct SStudyProperties {
    const char* caption;              // "RSI Properties..."
    const char* periodCaption;        // "Lookback period:", "Smoothing period:", "Periods:", ...
    std::vector<const char*> choices; // in page order; the last is the custom choice
    std::vector<SStudyPropertyRow> rows;
    bool slowFast = false;  // stochastics: the "Slow" / "Fast" pair beside the choices
    bool macdEdits = false; // MACD: "short:", "long:", "signal:" edits instead of one custom edit
};
// The property area of `studyType` (clamped to 0-9).
const SStudyProperties& StudyProperties(int studyType);

// The three edits of MACD's custom choice.
enum class EMacdEdit : int { Short = 0, Long, Signal };

class CLowerStudiesPageModel {
public:
    static constexpr const char* kErrorCaption = "Error";
    static constexpr const char* kMacdOrderText =
        "MACD short period must be shorter then MACD long period";
    static constexpr const char* kListFullText =
        "At most 10 studies can be displayed. Remove one before adding another.";
    static constexpr const char* kNoStudyText = "Choose one of the ten studies to add.";
    static constexpr int kMaxCustomPeriod = 100000;
    static constexpr int kMinLevel = 0;
    static constexpr int kMaxLevel = 100;

    // The page as it opens over `settings`. Each study shows its stored choice (when that is not
    // one of its choices, the fixed choice of the period its panes compute with, else the custom
    // choice); the custom edits show the stored custom periods, MACD's the custom pair and the
    // custom signal. The property area shows the first displayed study (RSI when none is
    // displayed).
    explicit CLowerStudiesPageModel(const SStudySettings& settings);

    // The displayed studies, top pane first.
    const std::vector<int>& Displayed() const { return m_displayed; }
    // Appends `studyType` as the bottom pane; null when added, else why not (the list holds ten
    // studies already, or `studyType` is not a study).
    const char* Add(int studyType);
    // False for a row outside the list.
    bool Remove(int row);
    // Swap the study at `row` with the one above or below; false when there is none.
    bool MoveUp(int row);
    bool MoveDown(int row);

    // The study whose properties are shown; ShowStudy is false (and changes nothing) for an index
    // outside 0-9.
    int ShownStudy() const { return m_shown; }
    bool ShowStudy(int studyType);

    // The period choice of a study, in page order (the custom choice last). SetChoice is false for
    // a choice the study does not offer.
    int Choice(int studyType) const;
    bool SetChoice(int studyType, int choice);
    bool IsCustomChoice(int studyType) const;
    // The custom choice's edit (unused for MACD, which has its three edits).
    const std::string& CustomText(int studyType) const;
    void SetCustomText(int studyType, std::string text);
    const std::string& MacdText(EMacdEdit edit) const;
    void SetMacdText(EMacdEdit edit, std::string text);
    // Level rows hold their edit's text; colour rows their colour.
    const std::string& LevelText(EStudyField field) const;
    void SetLevelText(EStudyField field, std::string text);
    ColorRef Color(EStudyField field) const;
    void SetColor(EStudyField field, ColorRef color);
    bool StoFast() const { return m_settings.stoFast; }
    void SetStoFast(bool fast) { m_settings.stoFast = fast; }

    struct SRefusal {
        std::string text; // shown under kErrorCaption
        int studyType;    // the study whose properties show the entry
    };
    // The settings the page stores, or why it cannot. Studies are checked in index order: the
    // custom period (1 to 100000) of a study whose custom choice is selected, its level edits (0
    // to 100), and for MACD its custom periods and then short < long. A fixed choice stores its
    // number as the study's period; the custom choice stores the edit as its custom period. MACD's
    // presets store their short and long periods and a signal period of 9; its custom choice
    // stores the edits as the periods in use and as the custom pair. The displayed list becomes
    // the pane types.
    std::optional<SRefusal> Build(SStudySettings& out) const;

    // A refusal is shown as an error box captioned "Error" and the property area turns to the
    // study concerned (false); otherwise true.
    bool Check(IPrompt& prompt);
    // Stores what the user changed since the page opened or last stored, and nothing else: a
    // changed period choice with the periods it decides, each changed level, colour and the
    // slow/fast pair, and a changed displayed list. Only after Check() passed.
    void Store(CSettings& settings);

private:
    static std::size_t At(int studyType);
    // The settings the controls give, with the first refusal; an entry refused keeps the value
    // the page opened with.
    std::optional<SRefusal> Compose(SStudySettings& out) const;

    SStudySettings m_settings;
    std::vector<int> m_displayed;
    int m_shown = 0;
    std::array<int, kStudyTypeCount> m_choice{};
    std::array<std::string, kStudyTypeCount> m_customText;
    std::array<std::string, 3> m_macdText;
    std::array<std::string, kStudyFieldCount> m_levelText;
    SStudySettings m_loaded;        // what the table held when the page opened or last stored
    SStudySettings m_shownSettings; // what the controls gave then
};
