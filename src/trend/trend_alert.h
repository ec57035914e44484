#pragma once

// Price alerts: a level, or a horizontal or sloping trendline, that a live trade crosses. An
// alert fires once, when the trade before was on one side of its price and this trade is on the
// other side or on it; it then stays fired, and fires no more, until it is armed again. For a
// sloping line the price is the line's (extended past its points) at the trade's bar.

#include <optional>
#include <string>
#include <string_view>

enum class EAlertDirection : int { Crosses = 0, RisesAbove, FallsBelow };
inline constexpr int kAlertDirectionCount = 3;

// "Crosses", "Rises above", "Falls below".
const char* AlertDirectionName(EAlertDirection direction);
// The direction named `name`, ignoring case and spaces ("rises above", "RisesAbove"); none.
std::optional<EAlertDirection> FindAlertDirection(std::string_view name);

// -1 below `price`, 0 on it, 1 above it.
int SideOf(double trade, double price);

// Whether a trade on side `current` after one on side `previous` fires an alert of
// `direction`: a trade on the price (0) before says nothing, so the move from it does not fire.
bool AlertCrossed(EAlertDirection direction, int previous, int current);

// What is stored of an alert. The id names the alert in its store for as long as it lives,
// whatever is added or deleted around it; 0 until the store numbers it.
struct SAlertSetting {
    EAlertDirection direction = EAlertDirection::Crosses;
    bool fired = false;
    int id = 0;
    bool operator==(const SAlertSetting&) const = default;
};

// A live alert: the setting and the side of the last trade seen.
class CAlertWatch {
public:
    explicit CAlertWatch(SAlertSetting setting = {}) : m_setting(setting) {}

    const SAlertSetting& Setting() const { return m_setting; }
    bool Fired() const { return m_setting.fired; }
    // Arms the alert again: the next crossing fires it. The trades seen so far are forgotten.
    void Rearm();
    // Takes a trade at `trade` while the alert's price is `price`; true when the alert fires now.
    bool OnTrade(double trade, double price);
    // Forget the trades seen (another chart, a new load).
    void Forget() { m_previous.reset(); }

private:
    SAlertSetting m_setting;
    std::optional<int> m_previous;
};

// A line's mark in its label: "[Alert: Crosses]" while armed, "[Alert fired: Crosses]" after.
std::string AlertMark(const SAlertSetting& setting);
