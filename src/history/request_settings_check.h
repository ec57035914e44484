#pragma once

// Finds the stored setting that keeps a history request from being made: a per-data-type list
// too short for the data type asked for, a value that does not read as a number, or a number
// that no request can use. The request itself reads these values leniently (a missing element
// stops it, a word reads as 0); this check runs first so that the user can be told which
// setting to mend, and where.

#include <optional>
#include <string>

class CSettings;

struct SRequestSettingProblem {
    std::string key;    // the setting at fault, e.g. "RequestDatapoints"
    std::string reason; // what is wrong with it, e.g. "RequestDatapoints has no value for Days
                        // (...)"
    std::string place;  // where the user mends it: "on the Data page of \"Chart Settings...\""
};

// The first setting, in the order a request reads them, that keeps the request of the current
// "RequestDataType" from being made; none when the request can be made. Reads "RequestDataType",
// "RequestIntervalIndex" and the request lists of `settings` as they stand.
std::optional<SRequestSettingProblem> FindRequestSettingProblem(const CSettings& settings);

// The problem with where to mend it, for the status bar and standard error:
//   "<reason>. Mend it <place>, or edit <key> in <settingsFile>."
std::string RequestSettingAdvice(const SRequestSettingProblem& problem,
                                 const std::string& settingsFile);
