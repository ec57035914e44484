#pragma once

#include "base/datetime.h"

#include <array>
#include <cstdint>
#include <string>

// The service's own statistics, from the "S,STATS" lines of the admin connection. Only the
// symbol limit, the watched-symbol count and the status are used; the rest is kept as read.
struct SServiceStatistics {
    std::string serverAddress;             // field 2
    std::array<std::uint32_t, 7> counts{}; // fields 3 to 9
    std::array<CDateTime, 2> times{};      // fields 10 and 11
    std::string status = "Not Connected";  // field 12
    std::array<std::string, 2> texts{};    // fields 13 and 14
    std::array<double, 6> numbers{};       // fields 15 to 20
    bool valid = false;

    std::uint32_t SymbolLimit() const { return counts[1]; }    // field 4
    std::uint32_t WatchedSymbols() const { return counts[2]; } // field 5
    bool IsConnected() const { return status == "Connected"; }

    // Stores the fields of a "S,STATS" line and marks the record valid. A line with fewer than
    // 21 fields or without "STATS" as field 1 changes nothing and gives false.
    bool Parse(const std::string& line);
};

// The service's time texts, "Nov 20 12:00PM" (month, day, 12-hour time; the year is the current
// one); an invalid value when the text does not read.
CDateTime ParseServiceTime(const std::string& text);
