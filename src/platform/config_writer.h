#pragma once

#include "core/settings.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class IPrompt;

// The registry mirror of the settings table: the group "ApplicationSettings" of the INI file
// CRegistryPaths::ApplicationFile("Skychart"). Every read and write looks at the file afresh.
// A write replaces the file in one step, synced to disk before it returns: a kill at any moment
// leaves the file with all or none of one write's values, and nothing beside it. Texts go in and
// come out unchanged, commas included.
class CConfigWriter : public CConfigWriterMux {
public:
    CConfigWriter();
    // A mirror of another file (tests, and sibling applications).
    explicit CConfigWriter(QString file, QString section = QStringLiteral("ApplicationSettings"));

    std::string Read(const std::string& key, const std::string& defaultText) override;
    bool Write(const std::string& key, const std::string& value) override;
    // Opens, checks and saves the file once for all of `values`.
    bool WriteAll(const std::vector<std::pair<std::string, std::string>>& values) override;
    int LastError() const override { return m_lastError; }

    // A mirror that reads defaults and refuses every write (errno-style code `error`): used when a
    // damaged file could not be set aside, so that it is never overwritten.
    void RefuseWrites(int error) { m_refuseError = error; }

    const QString& File() const { return m_file; }

private:
    // The section's values as the file holds them now; parsed again only when its bytes changed.
    const std::map<QString, QVariant>& Snapshot();

    QString m_file;
    QString m_section;
    int m_lastError = 0;
    int m_refuseError = 0;
    bool m_snapshotTaken = false;
    QByteArray m_snapshotContent;
    std::map<QString, QVariant> m_snapshot;
};

// What start-up found in the settings file.
struct SSettingsLoad {
    std::shared_ptr<CConfigWriter> writer; // the mirror to publish once the main frame exists
    QString setAside;          // where an unreadable file was moved; empty when it was not
    bool usedDefaults = false; // the file was unreadable: every key has its default
};

// How a run of the program may treat the settings file.
enum class ESettingsAccess {
    ReadWrite, // the application: changes are saved, an unreadable file is set aside
    ReadOnly,  // the export mode: the file is only read and never changed, not even set aside
};

// Registers AllSettingKeys() in `settings` and reads every persisted key through the
// mirror, with its default. An unreadable settings file (see SettingsFileProblem) is renamed beside
// itself to "<file>.unreadable-YYYYMMDD-HHMMSS" (never over an existing file), the user is told
// once through `prompt`, and the defaults are used. The table is never written back here.
// ReadOnly leaves an unreadable file where it is, and its mirror refuses every write. ReadWrite
// first clears what killed runs left of their writes.
SSettingsLoad LoadApplicationSettings(CSettings& settings, IPrompt& prompt,
                                      ESettingsAccess access = ESettingsAccess::ReadWrite);
// The same for another settings file (tests).
SSettingsLoad LoadApplicationSettings(CSettings& settings, IPrompt& prompt, const QString& file,
                                      ESettingsAccess access = ESettingsAccess::ReadWrite);

// Why the INI file at `file` cannot be used, or empty when it can (a missing file can). A file is
// unusable when it cannot be read, holds NUL or other control bytes or text that is not UTF-8,
// holds a line that is neither blank, a comment (';' or '#'), a "[group]" nor a "key=value"
// line, a key ending in '/' or '\\' (which QSettings would write back as a value without a key),
// or when QSettings reports a format error.
std::string SettingsFileProblem(const QString& file);

// Moves a file that cannot be read to "<file>.unreadable-YYYYMMDD-HHMMSS" beside itself (with
// "-2", "-3", ... when that name is taken); an existing file is never replaced. The new path, or
// empty with `error` set to an errno-style code.
QString SetAsideUnreadableFile(const QString& file, int& error);
