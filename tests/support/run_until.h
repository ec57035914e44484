#pragma once

#include <QCoreApplication>
#include <QEventLoop>

#include <chrono>
#include <functional>

namespace skychart::test {

// Runs the Qt event loop until `done` holds; false when it does not within `bound`.
inline bool RunUntil(const std::function<bool()>& done,
                     std::chrono::milliseconds bound = std::chrono::seconds(60)) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

} // namespace skychart::test
