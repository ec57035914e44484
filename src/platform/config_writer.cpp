#include "platform/config_writer.h"

#include "core/prompt.h"
#include "platform/file_replace.h"
#include "platform/registry_paths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringConverter>
#include <QVariant>

#include <spdlog/spdlog.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace {

const char* const kSettingsCaption = "Skychart Settings";

std::string ToStd(const QString& text) {
    return text.toStdString();
}

int ErrnoOf(QSettings::Status status) {
    switch (status) {
    case QSettings::NoError:
        return 0;
    case QSettings::AccessError:
        return EACCES;
    case QSettings::FormatError:
        return EILSEQ;
    }
    return EIO;
}

// The problem of one line of an INI file, or empty when the line is one QSettings reads as meant.
std::string LineProblem(const QByteArray& raw) {
    const QByteArray line = raw.trimmed();
    if (line.isEmpty() || line.startsWith(';') || line.startsWith('#')) {
        return {};
    }
    if (line.startsWith('[')) {
        return line.endsWith(']') ? std::string() : "a group line without its closing ']'";
    }
    const qsizetype equals = line.indexOf('=');
    if (equals < 0) {
        return "a line that is neither a group, a key=value pair nor a comment";
    }
    const QByteArray key = line.left(equals).trimmed();
    if (key.isEmpty()) {
        return "a value without a key";
    }
    // QSettings reads such a key as a group with an empty key, and writes it back as a value
    // without a key: the file would be damaged by the next setting saved.
    if (key.endsWith('/') || key.endsWith('\\')) {
        return "a key ending in a slash";
    }
    return {};
}

bool EndsInContinuation(const QByteArray& line) {
    qsizetype backslashes = 0;
    for (qsizetype at = line.size() - 1; at >= 0 && line[at] == '\\'; --at) {
        ++backslashes;
    }
    return backslashes % 2 == 1;
}

std::string ContentProblem(const QByteArray& content) {
    for (const char c : content) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && c != '\t' && c != '\r' && c != '\n') || byte == 0x7f) {
            return "it holds binary data";
        }
    }
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString decoded = decoder.decode(content); // the decoding itself finds bad sequences
    if (decoder.hasError()) {
        return "it is not UTF-8 text";
    }
    QByteArray body = content;
    if (body.startsWith("\xEF\xBB\xBF")) {
        body.remove(0, 3);
        // QSettings takes off one mark, and so does the writer before it saves: a second one
        // would begin the text QSettings reads once the file has been saved.
        if (body.startsWith("\xEF\xBB\xBF")) {
            return "it begins with two byte order marks";
        }
    }
    // QSettings ends a line at a CR as well as at an LF.
    body.replace("\r\n", "\n").replace('\r', '\n');
    int number = 0;
    bool continued = false;
    for (const QByteArray& line : body.split('\n')) {
        ++number;
        if (continued) {
            continued = EndsInContinuation(line);
            continue;
        }
        const std::string problem = LineProblem(line);
        if (!problem.empty()) {
            return "line " + std::to_string(number) + " is " + problem;
        }
        continued = line.contains('=') && EndsInContinuation(line);
    }
    return {};
}

// What keeps `file` from being read, or empty with its bytes in `content` (none when there is
// no file). The checks of SettingsFileProblem that need no parse.
std::string ReadProblem(const QString& file, QByteArray& content) {
    content.clear();
    const QFileInfo info(file);
    if (!info.exists() && !info.isSymLink()) {
        return {};
    }
    if (!info.isFile()) {
        return "it is not a regular file";
    }
    QFile reading(file);
    if (!reading.open(QIODevice::ReadOnly)) {
        return "it cannot be opened: " + ToStd(reading.errorString());
    }
    content = reading.readAll();
    if (reading.error() != QFileDevice::NoError) {
        return "it cannot be read: " + ToStd(reading.errorString());
    }
    return ContentProblem(content);
}

// What QSettings' own reading of a file finds wrong with it, or empty.
std::string ParsedProblem(const QSettings& settings) {
    if (settings.status() == QSettings::FormatError) {
        return "QSettings reports a format error";
    }
    // A key with an empty part is written back as a line without a key (or ending in a slash),
    // which the next parse rejects. A backslash at the end of a ';' comment continues no line for
    // QSettings, and a backslash escapes the line end or the next character anywhere else: such
    // keys come from lines that look well formed one by one, so QSettings' own reading decides.
    for (const QString& key : settings.allKeys()) {
        if (key.isEmpty() || key.startsWith('/') || key.endsWith('/') || key.contains("//")) {
            QString shown = key;
            shown.replace('\n', "\\n").replace('\r', "\\r");
            return "it holds a key with an empty name (\"" + ToStd(shown) +
                   "\" as QSettings reads it), which would be written back unreadable";
        }
    }
    return {};
}

} // namespace

QString SetAsideUnreadableFile(const QString& file, int& error) {
    const QByteArray from = QFile::encodeName(file);
    const QString base =
        file + ".unreadable-" + QDateTime::currentDateTime().toString("yyyyMMdd-HHmmss");
    for (int attempt = 1; attempt <= 100; ++attempt) {
        const QString target = attempt == 1 ? base : base + "-" + QString::number(attempt);
        const QByteArray to = QFile::encodeName(target);
        if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) ==
            0) {
            return target;
        }
        error = errno;
        if (error == EEXIST) {
            continue;
        }
        if (error != EINVAL && error != ENOSYS) {
            return {};
        }
        // A file system without the no-replace rename: check, then rename.
        struct stat existing {};
        if (::lstat(to.constData(), &existing) == 0) {
            continue;
        }
        if (::rename(from.constData(), to.constData()) == 0) {
            return target;
        }
        error = errno;
        return {};
    }
    error = EEXIST;
    return {};
}

namespace {

// A stored value as the text the settings table holds; none when it is not a text.
std::optional<std::string> TextOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QString:
        return ToStd(value.toString());
    case QMetaType::QStringList:
        // An unquoted text with commas, as a person may type it into the file.
        return ToStd(value.toStringList().join(','));
    case QMetaType::QByteArray:
        return value.toByteArray().toStdString();
    default:
        return std::nullopt;
    }
}

} // namespace

CConfigWriter::CConfigWriter()
    : CConfigWriter(CRegistryPaths::ApplicationFile(QStringLiteral("Skychart"))) {}

CConfigWriter::CConfigWriter(QString file, QString section)
    : m_file(std::move(file)), m_section(std::move(section)) {}

const std::map<QString, QVariant>& CConfigWriter::Snapshot() {
    QByteArray content;
    QFile reading(m_file);
    if (reading.open(QIODevice::ReadOnly)) {
        content = reading.readAll();
    }
    if (m_snapshotTaken && content == m_snapshotContent) {
        return m_snapshot;
    }
    m_snapshot.clear();
    m_snapshotContent = content;
    m_snapshotTaken = true;
    if (content.isEmpty()) {
        return m_snapshot;
    }
    CScratchFolder scratch;
    const QString copy = scratch.NewFile(".conf");
    QFile writing(copy);
    if (!scratch.Made() || !writing.open(QIODevice::WriteOnly) ||
        writing.write(content) != content.size() || !writing.flush()) {
        spdlog::error("Settings in {} not read: no scratch copy could be made ({})", ToStd(m_file),
                      ToStd(writing.errorString()));
        m_snapshotTaken = false;
        return m_snapshot;
    }
    writing.close();
    QSettings settings(copy, QSettings::IniFormat);
    settings.beginGroup(m_section);
    for (const QString& key : settings.allKeys()) {
        m_snapshot.emplace(key, settings.value(key));
    }
    return m_snapshot;
}

std::string CConfigWriter::Read(const std::string& key, const std::string& defaultText) {
    const std::map<QString, QVariant>& stored = Snapshot();
    const auto found = stored.find(QString::fromStdString(key));
    if (found == stored.end()) {
        return defaultText;
    }
    if (const std::optional<std::string> text = TextOf(found->second)) {
        return *text;
    }
    spdlog::warn("Setting \"{}\" in {} is not a text; the default \"{}\" is used", key,
                 ToStd(m_file), defaultText);
    return defaultText;
}

bool CConfigWriter::Write(const std::string& key, const std::string& value) {
    return WriteAll({{key, value}});
}

bool CConfigWriter::WriteAll(const std::vector<std::pair<std::string, std::string>>& values) {
    m_lastError = 0;
    if (values.empty()) {
        return true;
    }
    const std::string what = values.size() == 1 ? "Setting \"" + values.front().first + "\""
                                                : std::to_string(values.size()) + " settings";
    if (m_refuseError != 0) {
        m_lastError = m_refuseError;
        return false;
    }
    const auto fail = [this, &what](int error, const std::string& why) {
        spdlog::error("{} not written to {}: {}", what, ToStd(m_file), why);
        m_lastError = error;
        return false;
    };
    const QString folder = QFileInfo(ReplacedPath(m_file)).absolutePath();
    if (!QDir().mkpath(folder)) {
        return fail(EACCES, "its folder cannot be made");
    }
    // One writer at a time reads, changes and replaces the file. The lock goes with the
    // process, so a killed writer leaves nothing that holds up the next.
    const CFolderLock lock(folder);
    if (!lock.Locked()) {
        return fail(lock.Error(),
                    std::string("its folder cannot be locked: ") + std::strerror(lock.Error()));
    }
    // A file that has become unreadable since start-up is left as it is rather than rewritten
    // from what QSettings could make of it.
    QByteArray content;
    std::string problem = ReadProblem(m_file, content);
    if (!problem.empty()) {
        return fail(EILSEQ, "it cannot be read (" + problem + ")");
    }
    // QSettings reads the file and writes the change into a copy of its own, with its lock
    // beside the copy; the file itself is then replaced by the copy in one step. A kill leaves
    // it as it was or with every one of `values`, never a part of them.
    CScratchFolder scratch;
    if (!scratch.Made()) {
        return fail(errno, std::string("no scratch folder: ") + std::strerror(errno));
    }
    const QString copy = scratch.NewFile(".conf");
    {
        // QSettings reads a leading byte order mark but reports a format error when it writes
        // over one; the rest is kept byte for byte.
        const QByteArray body = content.startsWith("\xEF\xBB\xBF") ? content.mid(3) : content;
        QFile writing(copy);
        if (!writing.open(QIODevice::WriteOnly) || writing.write(body) != body.size() ||
            !writing.flush()) {
            return fail(EIO, "no scratch copy: " + ToStd(writing.errorString()));
        }
    }
    {
        QSettings settings(copy, QSettings::IniFormat);
        problem = ParsedProblem(settings);
        if (!problem.empty()) {
            return fail(EILSEQ, "it cannot be read (" + problem + ")");
        }
        // Values the file already holds are not written again: the file is rewritten only for a
        // change, never reformatted behind the user's back.
        settings.beginGroup(m_section);
        bool changed = false;
        for (const auto& [key, value] : values) {
            const QString name = QString::fromStdString(key);
            const QVariant stored = settings.value(name);
            if (!stored.isValid() || TextOf(stored) != value) {
                settings.setValue(name, QString::fromStdString(value));
                changed = true;
            }
        }
        settings.endGroup();
        if (!changed) {
            return true;
        }
        settings.sync();
        if (settings.status() != QSettings::NoError) {
            return fail(ErrnoOf(settings.status()), "QSettings could not write its copy");
        }
    }
    QFile reading(copy);
    if (!reading.open(QIODevice::ReadOnly)) {
        return fail(EIO, "its copy cannot be read back: " + ToStd(reading.errorString()));
    }
    int error = 0;
    if (!ReplaceFile(m_file, reading.readAll(), error)) {
        return fail(error, std::strerror(error));
    }
    return true;
}

std::string SettingsFileProblem(const QString& file) {
    QByteArray content;
    std::string problem = ReadProblem(file, content);
    if (!problem.empty() || content.isEmpty()) {
        return problem;
    }
    // QSettings reports a format error only while it parses a file anew: it keeps parsed files
    // by name, and a second look at an unchanged file finds no error. The content is parsed
    // under a name of its own, so that every check sees what the first one saw.
    CScratchFolder scratch;
    QFile copy(scratch.NewFile(".conf"));
    const bool copied = scratch.Made() && copy.open(QIODevice::WriteOnly) &&
                        copy.write(content) == content.size() && copy.flush();
    copy.close();
    QSettings settings(copied ? copy.fileName() : file, QSettings::IniFormat);
    return ParsedProblem(settings);
}

SSettingsLoad LoadApplicationSettings(CSettings& settings, IPrompt& prompt,
                                      ESettingsAccess access) {
    return LoadApplicationSettings(settings, prompt, CRegistryPaths::ApplicationFile("Skychart"),
                                   access);
}

SSettingsLoad LoadApplicationSettings(CSettings& settings, IPrompt& prompt, const QString& file,
                                      ESettingsAccess access) {
    settings.RegisterAll(AllSettingKeys());

    SSettingsLoad load;
    load.writer = std::make_shared<CConfigWriter>(file);
    if (access == ESettingsAccess::ReadOnly) {
        load.writer->RefuseWrites(EROFS);
    } else {
        RemoveStaleScratchFolders();
        RemoveReplaceLeftovers(file);
    }
    const std::string problem = SettingsFileProblem(file);
    if (problem.empty()) {
        settings.LoadFrom(*load.writer);
        spdlog::info("Settings read from {}", ToStd(file));
        return load;
    }

    load.usedDefaults = true;
    if (access == ESettingsAccess::ReadOnly) {
        spdlog::error(
            "Settings file {} cannot be read ({}); defaults used, the file is left as it is",
            ToStd(file), problem);
        prompt.Error(kSettingsCaption, "The settings file\n" + ToStd(file) +
                                           "\ncould not be read (" + problem +
                                           ").\n\nThe default settings are used and the file is "
                                           "left as it is.");
        return load;
    }
    int error = 0;
    load.setAside = SetAsideUnreadableFile(file, error);
    if (!load.setAside.isEmpty()) {
        spdlog::error("Settings file {} cannot be read ({}); moved to {}, defaults used",
                      ToStd(file), problem, ToStd(load.setAside));
        prompt.Error(kSettingsCaption, "The settings file\n" + ToStd(file) +
                                           "\ncould not be read (" + problem +
                                           ").\n\nIt has been kept as\n" + ToStd(load.setAside) +
                                           "\nand Skychart starts with its default settings.");
        return load;
    }

    // The damaged file stays where it is and must not be overwritten: no writes this session.
    load.writer->RefuseWrites(error);
    spdlog::error("Settings file {} cannot be read ({}) nor moved aside ({}); defaults used, "
                  "changes are not saved",
                  ToStd(file), problem, std::strerror(error));
    prompt.Error(kSettingsCaption,
                 "The settings file\n" + ToStd(file) + "\ncould not be read (" + problem +
                     ") and could not be moved aside (" + std::strerror(error) +
                     ").\n\nSkychart starts with its default settings and does not save "
                     "changes until the file is repaired or removed.");
    return load;
}
