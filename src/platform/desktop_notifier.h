#pragma once

// Desktop notifications through org.freedesktop.Notifications on the session bus, with the
// "sound-name" hint so that the desktop plays its alert sound where one is set.

#include <QString>

class CDesktopNotifier {
public:
    static constexpr const char* kService = "org.freedesktop.Notifications";
    static constexpr const char* kSound = "dialog-warning";

    // Shows `summary` and `body`; false (nothing shown) when the session bus has no notification
    // service or the call failed, and the caller says it another way.
    bool Notify(const QString& summary, const QString& body);
};
