#include "studies/upper_page_logic.h"

#include "core/prompt.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>

std::string CUpperPageLogic::FilterDeviations(std::string_view text) {
    std::size_t end = 0;
    bool point = false;
    for (; end < text.size(); ++end) {
        const char c = text[end];
        if (c == '.' && !point) {
            point = true;
        } else if (std::isdigit(static_cast<unsigned char>(c)) == 0) {
            break;
        }
    }
    return std::string(text.substr(0, end));
}

std::string CUpperPageLogic::FormatDeviations(double deviations) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", deviations);
    return text;
}

int CUpperPageLogic::ReadInt(const std::string& text) {
    const long value = std::strtol(text.c_str(), nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

const char* CUpperPageLogic::Refusal(const SUpperPageValues& values) {
    const int period = ReadInt(values.bandsPeriodText);
    if (period < kMinPeriod || period > kMaxPeriod) {
        return kPeriodRangeText;
    }
    if (values.deviationsText == ".") {
        return kNoDeviationsText;
    }
    const double deviations = std::strtod(values.deviationsText.c_str(), nullptr);
    // Written so that a NaN (a text such as "nan" typed around the filter) is refused too.
    if (!(deviations >= kMinDeviations && deviations <= kMaxDeviations)) {
        return kDeviationsRangeText;
    }
    return nullptr;
}

SUpperStudySettings CUpperPageLogic::Settings(const SUpperPageValues& values) {
    SUpperStudySettings settings = values.settings;
    settings.bandsPeriod = ReadInt(values.bandsPeriodText);
    settings.bandsDeviations = std::strtod(values.deviationsText.c_str(), nullptr);
    return settings;
}

bool CUpperPageLogic::Check(IPrompt& prompt, const SUpperPageValues& values) {
    if (const char* refusal = Refusal(values)) {
        prompt.Error(kErrorCaption, refusal);
        return false;
    }
    return true;
}

void CUpperPageLogic::Store(CSettings& settings, const SUpperPageValues& values,
                            const SUpperPageValues& shown) {
    Settings(values).Write(settings, Settings(shown));
}
