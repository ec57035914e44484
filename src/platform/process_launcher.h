#pragma once

#include <string>

// Starts the connection manager as a detached process.
class CProcessLauncher {
public:
    static constexpr const char* kExecutableName = "portico";

    // Starts `kExecutableName` with the parameters (split at spaces), looked up beside the
    // running executable first and then on PATH. On failure returns false with an errno-like
    // code in `errorCode` (ENOENT when the program is nowhere to be found). The process id of
    // the started program goes to `pid` when given.
    static bool LaunchConnectionManager(const std::string& parameters, int& errorCode,
                                        long long* pid = nullptr);
    // The program that would be started; empty when there is none.
    static std::string FindConnectionManager();
};
