#pragma once

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

// Starts the suite's programs (the connection manager and sibling applications) as detached
// processes. A program is looked up beside the running executable first, then on PATH. The
// started program gets the null device as its standard input and output, and as its standard
// error unless a file is named for it, so that nothing it prints lands in our terminal (or in an
// export's pipe).
class CProcessLauncher {
public:
    static constexpr const char* kConnectionManager = "portico";

    // The path of `program` (a plain name) beside the running executable or on PATH; empty when
    // it is nowhere. A name with a '/' is taken as a path and returned when it is executable.
    static QString Find(const QString& program);
    // Finds `program` and starts it detached with `arguments`. On failure returns false with an
    // errno-like code in `errorCode` (ENOENT when the program is nowhere to be found); the
    // process id of the started program goes to `pid` when given.
    // `errorFile`, when not empty, receives the program's standard error (truncated first).
    static bool Launch(const QString& program, const QStringList& arguments, int& errorCode,
                       qint64* pid = nullptr, const QString& errorFile = {});
    // The same without the details: the failure is in the log.
    static bool Launch(const QString& program, const QStringList& arguments);

    // The connection manager with `arguments`, each passed as it is. Its log (standard error)
    // goes to kConnectionManagerLog in `logFolder` when one is given.
    static bool LaunchConnectionManager(const std::vector<std::string>& arguments, int& errorCode,
                                        long long* pid = nullptr,
                                        const std::string& logFolder = {});
    static constexpr const char* kConnectionManagerLog = "porticoLog.txt";
};
