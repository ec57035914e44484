#pragma once

#include "core/setting_keys.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class IPrompt;

// The registry mirror of the settings table: one read and one write of a text value in the
// application's own settings area. The platform layer provides the implementation.
class CConfigWriterMux {
public:
    virtual ~CConfigWriterMux() = default;
    // The stored text, or `defaultText` when nothing is stored under the key.
    virtual std::string Read(const std::string& key, const std::string& defaultText) = 0;
    virtual bool Write(const std::string& key, const std::string& value) = 0;
    // Stores several values in one go; false when any was refused. The default writes them one
    // by one.
    virtual bool WriteAll(const std::vector<std::pair<std::string, std::string>>& values);
    // An errno-style code of the last failed Write (0 when none is known).
    virtual int LastError() const { return 0; }
};

// The settings table: key text -> value, default and persist flag. The application creates it and
// hands it to whatever reads or stores settings. Readers ask for a typed value at the moment of
// use; writers change the table and, once the main frame has published the mirror, the stored
// value in one step.
class CSettings {
public:
    // Adds (or re-registers) a key with its default as its value.
    void Register(const std::string& key, const std::string& defaultValue, bool persist);
    void RegisterAll(const std::vector<SSettingKey>& keys);
    // Reads every persisted key through `mirror`, with its default.
    void LoadFrom(CConfigWriterMux& mirror);
    // Whether the mirror held a value for `key` when loaded, or the key was written since.
    bool IsStored(const std::string& key) const;
    // Gives each key of `values` that holds no stored value that value for this session, in place
    // of its default, without storing it. The first write of any of these keys stores all of them
    // with it, so that a change made on top of them keeps the rest as they were shown.
    void OverlayDefaults(const std::vector<std::pair<std::string, std::string>>& values);
    // Undoes OverlayDefaults for the keys of `values` still overlaid: each takes its value from
    // `values` (its own default) and is stored alone again.
    void RemoveOverlay(const std::vector<std::pair<std::string, std::string>>& values);
    // From now on writes of persisted keys are stored through `writer` (null: table only).
    void PublishWriter(std::shared_ptr<CConfigWriterMux> writer);

    bool Has(const std::string& key) const;
    // "Config Error" for an unknown key.
    std::string GetText(const std::string& key) const;
    // -1 for an unknown key, 1 for "true", 0 for "false", else the decimal value.
    int GetInt(const std::string& key) const;
    double GetNumber(const std::string& key) const;
    std::uint32_t GetUnsigned(const std::string& key) const;
    // The value split at commas (empty tail dropped); empty for an unknown key.
    std::vector<std::string> GetList(const std::string& key) const;

    // False when the key is not in the table. Otherwise the table takes the value and, for a
    // persisted key once the writer is published, the mirror stores it at once (a refused store
    // is logged; the table keeps the new value for this session).
    bool SetText(const std::string& key, const std::string& value);
    bool SetInt(const std::string& key, int value);
    bool SetBool(const std::string& key, bool value);
    // Joins the items with "," and stores them. When the key is unknown or the mirror refuses the
    // write, tells the user through `prompt` (caption kSaveListCaption) and returns false.
    bool SaveList(const std::string& key, const std::vector<std::string>& items, IPrompt* prompt);

    // From now on the table takes writes at once and the mirror's writes wait for SaveHeld, which
    // stores them together (one save of the file for a whole settings sheet).
    void HoldWrites();
    // Stores the writes held since HoldWrites in one go and ends the hold. False when the mirror
    // refused them (logged; the table keeps the new values for this session).
    bool SaveHeld();

    // Empties the table and drops the writer (tests, and a fresh start).
    void Reset();

    static constexpr const char* kSaveListCaption = "Settings Error";

private:
    enum class WriteStatus { Stored, UnknownKey, MirrorFailed };
    // Changes the table, then the mirror when the key persists and a writer is published.
    WriteStatus Store(const std::string& key, const std::string& value);

    struct Entry {
        std::string value;
        std::string defaultValue;
        bool persist = true;
        bool stored = false; // the mirror holds a value
    };
    // Queues or writes `key` with the overlaid keys that are still unstored.
    bool WriteThrough(const std::string& key, const std::string& value);
    std::map<std::string, Entry> m_entries;
    std::shared_ptr<CConfigWriterMux> m_writer;
    bool m_holding = false;
    std::vector<std::pair<std::string, std::string>> m_held; // one entry per key, last value
    std::vector<std::string> m_overlaid;                     // keys of OverlayDefaults, unstored
};
