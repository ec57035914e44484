#pragma once

#include <QString>

// The one place that knows how the suite's registry keys map onto files. Keys under
// Software\Orvane\Kestrel become INI files under $XDG_CONFIG_HOME (default ~/.config):
//   Software\Orvane\Kestrel\Startup                      -> Orvane/Kestrel/Startup.conf
//   Orvane\Kestrel\DisplayApps, application APP, section -> Orvane/Kestrel/DisplayApps/APP.conf,
//                                                           group SECTION
//   Software\Orvane\Kestrel\Workspaces                   -> Orvane/Kestrel/Workspaces.conf
class CRegistryPaths {
public:
    static QString ConfigHome();
    static QString StateHome();
    static QString StartupFile();
    static QString ApplicationFile(const QString& application);
    static QString WorkspacesFile();
    // $XDG_STATE_HOME/Orvane/Kestrel/Logs, the log folder when "LogPath" is empty.
    static QString DefaultLogFolder();
};
