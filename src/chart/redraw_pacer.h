#pragma once

// When live points are drawn: the trades of one turn of the event loop, and of every turn until
// the next frame, are drawn together, at most once a frame of the display (about 60 a second),
// and never later than a frame after the first of them arrived. The view arms a single-shot timer
// with the delay this gives and draws when it fires.

#include <chrono>
#include <optional>

class CRedrawPacer {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kFrame{16};

    // Live points changed the series at `now`. The delay to draw them after, or none when a
    // drawing is already due (it takes these points too).
    std::optional<std::chrono::milliseconds> Changed(Clock::time_point now) {
        if (m_due) {
            return std::nullopt;
        }
        m_due = true;
        const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(now - m_drawnAt);
        return since >= kFrame || since.count() < 0 ? std::chrono::milliseconds(0) : kFrame - since;
    }
    // The live points were drawn at `now` (by the pacer's timer or any other redraw).
    void Drawn(Clock::time_point now) {
        m_due = false;
        m_drawnAt = now;
    }
    bool Due() const { return m_due; }

private:
    bool m_due = false;
    Clock::time_point m_drawnAt{};
};
