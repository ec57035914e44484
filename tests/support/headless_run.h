#pragma once

// Skychart run as a command-line program (its export and render modes) against a real portico:
// no display, and its configuration, state and runtime folders in one temporary home.

#include <string>
#include <vector>

#include "portico_process.h"
#include "temp_dir.h"

namespace skychart::test {

// The lines of `file`, without their line ends.
std::vector<std::string> ReadLines(const std::string& file);

// The startup settings under `home` that point Skychart at these ports.
void WriteStartupPorts(const TempDir& home, int admin, int lookup, int level1);

// Runs `executable` with its folders in `home`, with no X, no Wayland and no Qt platform chosen,
// and with `path` as PATH.
RunResult RunHeadless(const std::string& executable, const std::vector<std::string>& arguments,
                      const TempDir& home, const std::string& path = "/usr/bin:/bin");

} // namespace skychart::test
