#pragma once

// What the benchmarks share: their common options, medians and percentiles, the process's
// memory figures, and the bare end-to-end load (one history command to portico on the
// application's lookup connection, its bytes parsed by the chart's worker, with no window).

#include <map>
#include <string>
#include <vector>

class CChartHistRequest;

// Seconds from sending `command` to the end marker of its answer, loaded into `history` through
// the feed connections and the chart loader on the Qt event loop (a QCoreApplication is made
// when there is none). Exits the process with a message when portico cannot be reached or
// closes early.
double LoadOverLoopback(int port, const std::string& command, CChartHistRequest& history);

// `PORTICO [--ticks N] [--runs R] [--symbol SYM]` and any other "--name value" pairs, which land in
// `others` under "--name". Exits with `usage` (its %s the program) when PORTICO is missing.
struct SLoadOptions {
    std::string porticoPath;
    long ticks = 5'000'000;
    int runs = 3;
    std::string symbol = "LUMA";
    std::map<std::string, std::string> others;
};
SLoadOptions ParseLoadOptions(int argc, char** argv, const char* usage);

double Median(std::vector<double> values);
// The value at `fraction` (0 to 1) of the sorted values; 0 when there are none.
double Percentile(std::vector<double> values, double fraction);
// A "Vm...:" figure of /proc/self/status in kB; -1 when it is not there.
long StatusKb(const char* field);
