#pragma once

#include "core/data_types.h"

#include <optional>
#include <string>

class IPrompt;
struct SRequestSettings;

// The three request types the data settings page offers for a data type.
enum class ERequestChoice { Datapoints, Days, DateRange };

struct SPageDate {
    int year = 0;
    int month = 0;
    int day = 0;
    friend bool operator==(const SPageDate&, const SPageDate&) = default;
};

struct SPageTime {
    int hour = 0;
    int minute = 0;
    int second = 0;
    friend bool operator==(const SPageTime&, const SPageTime&) = default;
};

// What the page shows for one data type, in a form any widget set can take.
struct SDataPageFields {
    std::string datapoints; // the text of the datapoints edit
    int days = 0;
    bool filterOn = false;
    bool extendedTrades = false;
    ERequestChoice choice = ERequestChoice::Datapoints;
    SPageDate beginDate;
    SPageDate endDate;
    SPageTime beginTime;
    SPageTime endTime;
    SPageTime beginFilterTime;
    SPageTime endFilterTime;
};

// Which request-type choices a data type offers.
struct SChoiceEnabling {
    bool datapoints = false;
    bool days = false;
    bool dateRange = false;
    friend bool operator==(const SChoiceEnabling&, const SChoiceEnabling&) = default;
};

// Which entry fields are usable for a data type, a chosen request type and the filter check box.
struct SFieldEnabling {
    bool datapoints = false;
    bool days = false;
    bool dates = false;
    bool times = false;       // the times of a date range (not used by day bars)
    bool filterTimes = false; // the filter pickers, while the filter check box is on
    bool extendedTrades = false;
    friend bool operator==(const SFieldEnabling&, const SFieldEnabling&) = default;
};

// The state machine behind the data settings page: it turns one data type's request settings into
// page fields and back, applies the enabling rules and replaces invalid entries by their defaults,
// telling the user through the prompt. Data types: 0 Ticks, 1 Intervals, 2 Days, 3 Weeks,
// 4 Months.
class CDataPageLogic {
public:
    static constexpr int kDataTypeCount = ::kDataTypeCount;
    static constexpr int kDefaultDatapoints = 10000;
    static constexpr int kMaxDatapoints = 5000000;
    static constexpr int kMaxDays = 9999;

    static constexpr const char* kInvalidSettingCaption = "Invalid Setting";
    static constexpr const char* kUnknownRequestTypeText =
        "Unknown request type Selected.\r\nDefaulting to datapoints request.";
    static constexpr const char* kInvalidDataTypeText = "Invalid Data Type Selection!";
    static constexpr const char* kDatapointsRangeText =
        "Datapoints outside of range (1 - 5,000,000).  Defaulting to 10000.";

    // `today` fills date pickers whose stored date cannot be read.
    CDataPageLogic(IPrompt& prompt, SRequestSettings& settings, SPageDate today);

    static bool IsDataType(int dataType) { return dataType >= 0 && dataType < kDataTypeCount; }
    // "Ticks", "Intervals", "Days", "Weeks", "Months"; empty outside 0-4.
    static std::string DataTypeName(int dataType);
    // Datapoints always; days for Ticks and Intervals; date range for Ticks, Intervals and Days.
    static SChoiceEnabling EnabledChoices(int dataType);
    // The choice a stored request kind stands for, or none when the kind is not one of the data
    // type's (Weeks and Months know only datapoints, kinds 8 and 9).
    static std::optional<ERequestChoice> ChoiceForKind(int dataType, int kind);
    // The request kind 0-9 of a choice; -1 when the data type does not offer it.
    static int KindForChoice(int dataType, ERequestChoice choice);
    static SFieldEnabling EnabledFields(int dataType, ERequestChoice choice, bool filterOn);

    // The fields of `dataType`. A kind that does not belong to the data type is replaced by its
    // datapoints kind after the unknown-request-type message. A data type outside 0-4 gives the
    // invalid-data-type message, nothing, and leaves the settings alone.
    std::optional<SDataPageFields> Show(int dataType);

    // Stores the fields of `dataType` into the settings. Datapoints that are not a number in
    // 1-5,000,000 are stored as 10000, the edit text in `fields` becomes "10000", the user is
    // told, and the other fields are stored as usual. False only for a data type outside 0-4,
    // which stores nothing.
    bool Store(int dataType, SDataPageFields& fields);

    // The whole text as a decimal integer (surrounding blanks allowed); none otherwise.
    static std::optional<long long> ParseInteger(const std::string& text);
    // "yyyymmdd" of a real calendar date / "hhmmss" of a real time of day; none otherwise.
    static std::optional<SPageDate> ParseDate(const std::string& text);
    static std::optional<SPageTime> ParseTime(const std::string& text);
    static std::string FormatDate(const SPageDate& date);
    static std::string FormatTime(const SPageTime& time);

private:
    IPrompt& m_prompt;
    SRequestSettings& m_settings;
    SPageDate m_today;
};
