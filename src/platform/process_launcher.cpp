#include "platform/process_launcher.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <spdlog/spdlog.h>

#include <cerrno>

std::string CProcessLauncher::FindConnectionManager() {
    QString program;
    if (QCoreApplication::instance() != nullptr) {
        program = QStandardPaths::findExecutable(kExecutableName,
                                                 {QCoreApplication::applicationDirPath()});
    }
    if (program.isEmpty()) {
        program = QStandardPaths::findExecutable(kExecutableName);
    }
    return program.toStdString();
}

bool CProcessLauncher::LaunchConnectionManager(const std::string& parameters, int& errorCode,
                                               long long* pid) {
    const std::string program = FindConnectionManager();
    if (program.empty()) {
        errorCode = ENOENT;
        return false;
    }
    const QStringList arguments = QString::fromStdString(parameters).split(' ', Qt::SkipEmptyParts);
    errno = 0;
    qint64 started = 0;
    // The service outlives us and keeps its own counsel: its output must not land in our
    // terminal (or in an export's pipe).
    QProcess process;
    process.setProgram(QString::fromStdString(program));
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached(&started)) {
        errorCode = errno != 0 ? errno : ECHILD;
        return false;
    }
    spdlog::info("Started {} (pid {})", program, started);
    if (pid != nullptr) {
        *pid = started;
    }
    errorCode = 0;
    return true;
}
