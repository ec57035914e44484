#pragma once

#include "core/app_log.h"

#include <string>

// Starts the application's log at start-up: the folder from "LogPath" of the start-up values
// (the default folder, stored back, when empty), the clean-up unless "PreserveDisplayAppLogs" is
// non-zero, this process's id and the real process check. `executable` is argv[0].
// `console`: also log to standard error (the window does; the export keeps stderr for the user).
SLogResult InitApplicationLog(const std::string& executable, bool console = true);
