#include "platform/config_writer.h"

#include "core/prompt.h"
#include "platform/registry_paths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStringConverter>
#include <QTemporaryFile>
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

// QSettings reads a file that starts with a UTF-8 byte order mark but reports a format error when
// it writes to it (dropping the mark). The mark is taken off first, the rest left byte for byte.
bool DropByteOrderMark(const QString& file) {
    QFile reading(file);
    if (!reading.open(QIODevice::ReadOnly)) {
        return true; // a missing file is made by QSettings
    }
    if (reading.peek(3) != "\xEF\xBB\xBF") {
        return true;
    }
    const QByteArray content = reading.readAll().mid(3);
    reading.close();
    QSaveFile writing(file);
    return writing.open(QIODevice::WriteOnly) && writing.write(content) == content.size() &&
           writing.commit();
}

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

std::string CConfigWriter::Read(const std::string& key, const std::string& defaultText) {
    QSettings settings(m_file, QSettings::IniFormat);
    settings.beginGroup(m_section);
    const QVariant value = settings.value(QString::fromStdString(key));
    settings.endGroup();
    if (!value.isValid()) {
        return defaultText;
    }
    if (const std::optional<std::string> text = TextOf(value)) {
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
    if (values.empty()) {
        m_lastError = 0;
        return true;
    }
    const std::string what = values.size() == 1 ? "Setting \"" + values.front().first + "\""
                                                : std::to_string(values.size()) + " settings";
    if (m_refuseError != 0) {
        m_lastError = m_refuseError;
        return false;
    }
    // A file that has become unreadable since start-up is left as it is rather than rewritten
    // from what QSettings could make of it.
    const std::string problem = SettingsFileProblem(m_file);
    if (!problem.empty()) {
        spdlog::error("{} not written: {} cannot be read ({})", what, ToStd(m_file), problem);
        m_lastError = EILSEQ;
        return false;
    }
    // Values the file already holds are not written again: the file is rewritten only for a
    // change, never reformatted behind the user's back.
    std::vector<std::pair<QString, QString>> changed;
    {
        QSettings current(m_file, QSettings::IniFormat);
        current.beginGroup(m_section);
        for (const auto& [key, value] : values) {
            const QVariant stored = current.value(QString::fromStdString(key));
            if (!stored.isValid() || TextOf(stored) != value) {
                changed.emplace_back(QString::fromStdString(key), QString::fromStdString(value));
            }
        }
    }
    if (changed.empty()) {
        m_lastError = 0;
        return true;
    }
    if (!DropByteOrderMark(m_file)) {
        m_lastError = EACCES;
        return false;
    }
    QSettings settings(m_file, QSettings::IniFormat);
    if (!settings.isWritable()) {
        m_lastError = EACCES;
        return false;
    }
    if (settings.status() == QSettings::FormatError) {
        spdlog::error("{} not written: QSettings cannot parse {}", what, ToStd(m_file));
        m_lastError = EILSEQ;
        return false;
    }
    settings.beginGroup(m_section);
    for (const auto& [key, value] : changed) {
        settings.setValue(key, value);
    }
    settings.endGroup();
    settings.sync();
    m_lastError = ErrnoOf(settings.status());
    return m_lastError == 0;
}

std::string SettingsFileProblem(const QString& file) {
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
    const QByteArray content = reading.readAll();
    if (reading.error() != QFileDevice::NoError) {
        return "it cannot be read: " + ToStd(reading.errorString());
    }
    reading.close();
    std::string problem = ContentProblem(content);
    if (!problem.empty()) {
        return problem;
    }
    // QSettings reports a format error only while it parses a file anew: it keeps parsed files
    // by name, and a second look at an unchanged file finds no error. The content is parsed
    // under a name of its own, so that every check sees what the first one saw.
    QTemporaryFile copy(QDir::tempPath() + "/skychart-settings-check-XXXXXX.conf");
    const bool copied = copy.open() && copy.write(content) == content.size() && copy.flush();
    QSettings settings(copied ? copy.fileName() : file, QSettings::IniFormat);
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
