#pragma once

// What the benchmarks of the real main frame share: a home folder of their own with portico's
// ports and the application's settings, Qt's and the log's chatter kept off the results, and
// waiting on the event loop.

#include <chrono>
#include <functional>
#include <string>

namespace skychart::test {
class PorticoProcess;
class TempDir;
} // namespace skychart::test

// Points XDG_CONFIG_HOME and XDG_STATE_HOME into `home`, selects the offscreen platform and
// writes the ports of `portico` and `settings` (lines of the application's settings section).
void PrepareFrameHome(const skychart::test::TempDir& home,
                      const skychart::test::PorticoProcess& portico, const std::string& settings);
// The settings lines that show every study: ten panes, the averages and the bands.
std::string EveryStudySettings();
// Only warnings of the log and of Qt (less the offscreen platform's notes) reach the terminal.
void QuietFrameOutput();
// Runs the event loop until `done` holds; false when `timeout` passed first.
bool WaitFor(const std::function<bool()>& done, std::chrono::seconds timeout);
