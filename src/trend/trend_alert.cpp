#include "trend/trend_alert.h"

#include <cctype>

namespace {

constexpr const char* kNames[kAlertDirectionCount] = {"Crosses", "Rises above", "Falls below"};

// `text` in lower case without spaces.
std::string Folded(std::string_view text) {
    std::string folded;
    for (const char c : text) {
        if (c != ' ') {
            folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return folded;
}

} // namespace

const char* AlertDirectionName(EAlertDirection direction) {
    const int index = static_cast<int>(direction);
    return index >= 0 && index < kAlertDirectionCount ? kNames[index] : "";
}

std::optional<EAlertDirection> FindAlertDirection(std::string_view name) {
    const std::string wanted = Folded(name);
    for (int i = 0; i < kAlertDirectionCount; ++i) {
        if (!wanted.empty() && Folded(kNames[i]) == wanted) {
            return static_cast<EAlertDirection>(i);
        }
    }
    return std::nullopt;
}

int SideOf(double trade, double price) {
    return trade < price ? -1 : (trade > price ? 1 : 0);
}

bool AlertCrossed(EAlertDirection direction, int previous, int current) {
    switch (direction) {
    case EAlertDirection::Crosses:
        return previous != 0 && current != previous;
    case EAlertDirection::RisesAbove:
        return previous < 0 && current >= 0;
    case EAlertDirection::FallsBelow:
        return previous > 0 && current <= 0;
    }
    return false;
}

void CAlertWatch::Rearm() {
    m_setting.fired = false;
    m_previous.reset();
}

bool CAlertWatch::OnTrade(double trade, double price) {
    if (!(trade == trade) || !(price == price)) {
        return false; // a NaN trade or price is on no side
    }
    const int side = SideOf(trade, price);
    const std::optional<int> previous = m_previous;
    m_previous = side;
    if (m_setting.fired || !previous || !AlertCrossed(m_setting.direction, *previous, side)) {
        return false;
    }
    m_setting.fired = true;
    return true;
}

std::string AlertMark(const SAlertSetting& setting) {
    return std::string(setting.fired ? "[Alert fired: " : "[Alert: ") +
           AlertDirectionName(setting.direction) + "]";
}
