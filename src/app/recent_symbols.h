#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The symbols a user loaded, newest first, as the symbol box lists them and "Symbols" stores them.
class CRecentSymbols {
public:
    static constexpr std::size_t kMaxCount = 30;

    // The stored list; empty entries are skipped.
    explicit CRecentSymbols(const std::vector<std::string>& stored = {});

    // Puts `symbol` first, drops its other occurrences and keeps at most kMaxCount entries.
    void Use(const std::string& symbol);
    const std::vector<std::string>& Items() const { return m_items; }

private:
    std::vector<std::string> m_items;
};

// The text of the symbol box as a symbol: white space trimmed, upper-cased; empty when nothing
// is left.
std::string SymbolFromEntry(const std::string& text);
