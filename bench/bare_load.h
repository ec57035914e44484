#pragma once

// The bare end-to-end load of the benchmarks: one history command to portico through the stream
// socket, received by blocking reads straight into the parser, with no event loop and no window.

#include <string>

class CChartHistRequest;

// Seconds from sending `command` to the end marker of its answer, loaded into `history`. Exits
// the process with a message when portico cannot be reached or closes early.
double LoadOverLoopback(int port, const std::string& command, CChartHistRequest& history);
