#include "platform/process_launcher.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <spdlog/spdlog.h>

#include <cerrno>
#include <cstring>

QString CProcessLauncher::Find(const QString& program) {
    if (program.contains('/')) {
        const QFileInfo file(program);
        return file.isFile() && file.isExecutable() ? file.absoluteFilePath() : QString();
    }
    QString path;
    if (QCoreApplication::instance() != nullptr) {
        path = QStandardPaths::findExecutable(program, {QCoreApplication::applicationDirPath()});
    }
    if (path.isEmpty()) {
        path = QStandardPaths::findExecutable(program);
    }
    return path;
}

bool CProcessLauncher::Launch(const QString& program, const QStringList& arguments, int& errorCode,
                              qint64* pid, const QString& errorFile) {
    const QString path = program.isEmpty() ? QString() : Find(program);
    if (path.isEmpty()) {
        errorCode = ENOENT;
        spdlog::error("Unable to launch \"{}\": not found beside this program nor on PATH",
                      program.toStdString());
        return false;
    }
    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(errorFile.isEmpty() ? QProcess::nullDevice() : errorFile);
    errno = 0;
    qint64 started = 0;
    if (!process.startDetached(&started)) {
        errorCode = errno != 0 ? errno : ECHILD;
        spdlog::error("Unable to launch {}: {}", path.toStdString(), std::strerror(errorCode));
        return false;
    }
    spdlog::info("Launched {} {} (pid {})", path.toStdString(), arguments.join(' ').toStdString(),
                 started);
    if (pid != nullptr) {
        *pid = started;
    }
    errorCode = 0;
    return true;
}

bool CProcessLauncher::Launch(const QString& program, const QStringList& arguments) {
    int errorCode = 0;
    return Launch(program, arguments, errorCode);
}

bool CProcessLauncher::LaunchConnectionManager(const std::vector<std::string>& arguments,
                                               int& errorCode, long long* pid,
                                               const std::string& logFolder) {
    QStringList list;
    for (const std::string& argument : arguments) {
        list.append(QString::fromStdString(argument));
    }
    QString errorFile;
    if (!logFolder.empty()) {
        const QDir folder(QString::fromStdString(logFolder));
        if (folder.mkpath(".")) {
            errorFile = folder.filePath(kConnectionManagerLog);
        }
    }
    qint64 started = 0;
    const bool launched = Launch(kConnectionManager, list, errorCode, &started, errorFile);
    if (launched && pid != nullptr) {
        *pid = started;
    }
    return launched;
}
