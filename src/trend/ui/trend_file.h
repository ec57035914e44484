#pragma once

#include "trend/trend_store.h"

#include <QString>

class IPrompt;

// The file of stored trendlines, "Skychart.trendlines.json" beside the settings file. A damaged
// file is treated as the settings file is: moved aside beside itself as
// "<file>.unreadable-YYYYMMDD-HHMMSS", the user told once, and the charts start without stored
// trendlines. A file that stays damaged where it is (read-only use, or a failed move) is never
// overwritten.
class CTrendFile {
public:
    // The file in the application's settings folder.
    static QString DefaultPath();

    explicit CTrendFile(QString path = DefaultPath());

    // The stored trendlines; an empty store when the file is missing or damaged. `readOnly`
    // leaves a damaged file where it is, and Save then refuses: the file is only ever read.
    CTrendStore Load(IPrompt& prompt, bool readOnly);
    // Writes `store` atomically (the old file stays whole until the new one is complete). False,
    // with the reason logged, when the file could not be written or may not be.
    bool Save(const CTrendStore& store);

    const QString& Path() const { return m_path; }
    // Where the last Load moved a damaged file; empty when it moved none.
    const QString& SetAside() const { return m_setAside; }
    // Save refuses (read-only, or a damaged file could not be moved aside).
    bool SavesRefused() const { return m_refuseWrites; }

    static constexpr const char* kCaption = "Skychart Trendlines";
    static constexpr const char* kFileName = "Skychart.trendlines.json";

private:
    // Why the file cannot be used, or empty; `text` takes its content when it can be read.
    std::string Problem(std::string& text) const;

    QString m_path;
    QString m_setAside;
    bool m_refuseWrites = false;
};
