#include "app/recent_symbols.h"

#include <algorithm>
#include <cctype>

CRecentSymbols::CRecentSymbols(const std::vector<std::string>& stored) {
    for (const std::string& symbol : stored) {
        if (!symbol.empty() && m_items.size() < kMaxCount) {
            m_items.push_back(symbol);
        }
    }
}

void CRecentSymbols::Use(const std::string& symbol) {
    std::erase(m_items, symbol);
    m_items.insert(m_items.begin(), symbol);
    if (m_items.size() > kMaxCount) {
        m_items.resize(kMaxCount);
    }
}

std::string SymbolFromEntry(const std::string& text) {
    const auto notSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) == 0; };
    const auto first = std::find_if(text.begin(), text.end(), notSpace);
    const auto last = std::find_if(text.rbegin(), text.rend(), notSpace).base();
    std::string symbol = first < last ? std::string(first, last) : std::string();
    for (char& c : symbol) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return symbol;
}
