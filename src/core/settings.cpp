#include "core/settings.h"

#include "base/fields.h"
#include "core/prompt.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fmt/format.h>

namespace {

const char* const kUnknownKeyText = "Config Error";
// What the mirror is asked to give back for a key it holds no value for; no stored text is this.
const char* const kNotStored = "\x1f(not stored)";

// atoi as the suite has always seen it: leading white space, an optional sign, decimal digits;
// values beyond the 32-bit range are clamped.
int DecimalInt(const std::string& text) {
    const long value = std::strtol(text.c_str(), nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

// strtoul base 10 with a 32-bit result: a negative number wraps as an unsigned 32-bit value does,
// and anything beyond the range gives the largest value.
std::uint32_t DecimalUnsigned(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        negative = text[at] == '-';
        ++at;
    }
    const char* digits = text.c_str() + at;
    if (std::isdigit(static_cast<unsigned char>(*digits)) == 0) {
        return 0;
    }
    errno = 0;
    const unsigned long long magnitude = std::strtoull(digits, nullptr, 10);
    if (errno == ERANGE || magnitude > UINT32_MAX) {
        return UINT32_MAX;
    }
    const auto value = static_cast<std::uint32_t>(magnitude);
    return negative ? static_cast<std::uint32_t>(0u - value) : value;
}

} // namespace

bool CConfigWriterMux::WriteAll(const std::vector<std::pair<std::string, std::string>>& values) {
    bool stored = true;
    for (const auto& [key, value] : values) {
        stored &= Write(key, value);
    }
    return stored;
}

void CSettings::Register(const std::string& key, const std::string& defaultValue, bool persist) {
    m_entries[key] = Entry{defaultValue, defaultValue, persist};
}

void CSettings::RegisterAll(const std::vector<SSettingKey>& keys) {
    for (const SSettingKey& key : keys) {
        Register(key.key, key.defaultValue, key.persist);
    }
}

void CSettings::LoadFrom(CConfigWriterMux& mirror) {
    for (auto& [key, entry] : m_entries) {
        if (entry.persist) {
            std::string value = mirror.Read(key, kNotStored);
            entry.stored = value != kNotStored;
            entry.value = entry.stored ? std::move(value) : entry.defaultValue;
        }
    }
}

bool CSettings::IsStored(const std::string& key) const {
    const auto found = m_entries.find(key);
    return found != m_entries.end() && found->second.stored;
}

void CSettings::OverlayDefaults(const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [key, value] : values) {
        const auto found = m_entries.find(key);
        if (found == m_entries.end() || found->second.stored || !found->second.persist) {
            continue;
        }
        found->second.value = value;
        if (std::find(m_overlaid.begin(), m_overlaid.end(), key) == m_overlaid.end()) {
            m_overlaid.push_back(key);
        }
    }
}

void CSettings::RemoveOverlay(const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [key, value] : values) {
        const auto overlaid = std::find(m_overlaid.begin(), m_overlaid.end(), key);
        if (overlaid == m_overlaid.end()) {
            continue;
        }
        m_overlaid.erase(overlaid);
        m_entries[key].value = value;
    }
}

void CSettings::PublishWriter(std::shared_ptr<CConfigWriterMux> writer) {
    m_writer = std::move(writer);
}

bool CSettings::Has(const std::string& key) const {
    return m_entries.find(key) != m_entries.end();
}

std::string CSettings::GetText(const std::string& key) const {
    const auto found = m_entries.find(key);
    return found == m_entries.end() ? std::string(kUnknownKeyText) : found->second.value;
}

int CSettings::GetInt(const std::string& key) const {
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return -1;
    }
    const std::string& value = found->second.value;
    if (value == "true") {
        return 1;
    }
    if (value == "false") {
        return 0;
    }
    return DecimalInt(value);
}

double CSettings::GetNumber(const std::string& key) const {
    return std::strtod(GetText(key).c_str(), nullptr);
}

std::uint32_t CSettings::GetUnsigned(const std::string& key) const {
    return DecimalUnsigned(GetText(key));
}

std::vector<std::string> CSettings::GetList(const std::string& key) const {
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return {};
    }
    return SplitFieldsCopy(found->second.value);
}

CSettings::WriteStatus CSettings::Store(const std::string& key, const std::string& value) {
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        spdlog::warn("Setting \"{}\" is not known; \"{}\" not stored", key, value);
        return WriteStatus::UnknownKey;
    }
    found->second.value = value;
    if (!found->second.persist || !m_writer) {
        return WriteStatus::Stored;
    }
    return WriteThrough(key, value) ? WriteStatus::Stored : WriteStatus::MirrorFailed;
}

bool CSettings::WriteThrough(const std::string& key, const std::string& value) {
    std::vector<std::pair<std::string, std::string>> writes;
    if (std::find(m_overlaid.begin(), m_overlaid.end(), key) != m_overlaid.end()) {
        for (const std::string& other : m_overlaid) {
            Entry& entry = m_entries[other];
            entry.stored = true;
            if (other != key) {
                writes.emplace_back(other, entry.value);
            }
        }
        m_overlaid.clear();
    }
    m_entries[key].stored = true;
    writes.emplace_back(key, value);
    if (m_holding) {
        for (auto& write : writes) {
            const auto held =
                std::find_if(m_held.begin(), m_held.end(),
                             [&write](const auto& entry) { return entry.first == write.first; });
            if (held == m_held.end()) {
                m_held.push_back(std::move(write));
            } else {
                held->second = std::move(write.second);
            }
        }
        return true;
    }
    const bool written =
        writes.size() == 1 ? m_writer->Write(key, value) : m_writer->WriteAll(writes);
    if (!written) {
        spdlog::error("Setting \"{}\" could not be saved (error {})", key, m_writer->LastError());
    }
    return written;
}

bool CSettings::SetText(const std::string& key, const std::string& value) {
    return Store(key, value) != WriteStatus::UnknownKey;
}

bool CSettings::SetInt(const std::string& key, int value) {
    return SetText(key, std::to_string(value));
}

bool CSettings::SetBool(const std::string& key, bool value) {
    return SetText(key, value ? "true" : "false");
}

bool CSettings::SaveList(const std::string& key, const std::vector<std::string>& items,
                         IPrompt* prompt) {
    const WriteStatus status = Store(key, JoinFields(items));
    if (status == WriteStatus::Stored) {
        return true;
    }
    const int error = status == WriteStatus::UnknownKey ? ENOENT : m_writer->LastError();
    if (prompt != nullptr) {
        prompt->Error(
            kSaveListCaption,
            fmt::format("Unable to write {} to the registry.  Error Code: {}\n", key, error));
    }
    return false;
}

void CSettings::HoldWrites() {
    m_holding = true;
}

bool CSettings::SaveHeld() {
    m_holding = false;
    std::vector<std::pair<std::string, std::string>> held;
    held.swap(m_held);
    if (held.empty() || !m_writer) {
        return true;
    }
    if (!m_writer->WriteAll(held)) {
        spdlog::error("{} settings could not be saved (error {})", held.size(),
                      m_writer->LastError());
        return false;
    }
    return true;
}

void CSettings::Reset() {
    m_entries.clear();
    m_writer.reset();
    m_holding = false;
    m_held.clear();
    m_overlaid.clear();
}
