#pragma once

// The portico command line.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "market/market.h"

namespace portico {

struct Faults {
    std::uint64_t closeAfterLines = 0; // close a lookup connection after N history data lines
    bool longLine = false;             // a line over 64 KiB before every answer and L1 greeting
    int dripBytes = 0;                 // write at most this many bytes per 10 ms to each client
    int malformedEvery = 0;            // a malformed line after every N history/L1 update lines
    int refuseCount = 0;               // close the first N accepted connections on each port
    int acceptDelayMs = 0;             // start serving an accepted connection after this delay
};

struct Options {
    std::string product; // -product, as the application launches portico; only logged
    std::string productVersion;
    std::uint64_t seed = 1;
    int symbolLimit = 500;
    std::optional<int> adminPort; // none: from Startup.conf or the default
    std::optional<int> lookupPort;
    std::optional<int> level1Port;
    int connectDelayMs = 500;
    int lingerSeconds = 60; // 0: never exit for lack of clients
    std::string timeZone = "America/New_York";
    std::optional<Micros> startTime; // exchange-local civil time the clock starts from
    double clockRate = 1.0;
    double quoteRate = 2.0;
    int stressRate = 0; // extra synthetic update lines per second over all watched symbols
    int slowReaderGraceSeconds = 5; // a Level 1 client this long over its output bound is dropped
    int dayCacheMb = 512;           // text of past days kept for long tick answers; 0: none
    std::string dataDir;            // a folder of the trader's own data files; empty: none
    bool dataOnly = false;          // serve only those, not the simulated market
    Faults faults;
    bool showHelp = false;
    bool showVersion = false;
};

struct OptionsResult {
    Options options;
    std::string error; // empty when the command line was good
};

OptionsResult ParseOptions(const std::vector<std::string>& arguments);
std::string HelpText();

// "YYYY-MM-DD HH:MM:SS" -> civil microseconds; none when malformed.
std::optional<Micros> ParseStartTime(const std::string& text);

// Whether `folder` is a directory portico can list; the reason when not.
bool CheckDataFolder(const std::string& folder, std::string& reason);

} // namespace portico
