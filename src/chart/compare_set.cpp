#include "chart/compare_set.h"

#include "chart/compare_series.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>

namespace {

// A compare series' progress tick: no status texts, every point taken.
class CCompareProgress final : public IHistoryProgressSink {
public:
    void SetStatusText(const std::string& /*text*/) override {}
    int ShowCompleteHistory(int count) override { return count; }
    std::optional<int> ShowNewPoints(int count, int /*added*/) override { return count; }
};

} // namespace

ColorRef CCompareSet::DefaultColor(int index) {
    static constexpr std::array<ColorRef, 3> kColors{
        MakeColorRef(230, 126, 0),  // orange
        MakeColorRef(150, 70, 220), // violet
        MakeColorRef(0, 160, 150),  // teal
    };
    return kColors[static_cast<std::size_t>(std::clamp(index, 0, 2))];
}

void CCompareSet::SetFeed(IHistoryFeed* feed) {
    m_feed = feed;
    for (SEntry& entry : m_entries) {
        entry.loader->SetFeed(feed);
    }
}

std::vector<std::string> CCompareSet::Symbols() const {
    std::vector<std::string> symbols;
    for (const SEntry& entry : m_entries) {
        symbols.push_back(entry.symbol);
    }
    return symbols;
}

std::string CCompareSet::Add(const std::string& symbol, const std::string& shown, bool load) {
    std::vector<std::string> parsed;
    if (std::string problem = ParseCompareSymbols(symbol, parsed); !problem.empty()) {
        return problem;
    }
    if (parsed.size() != 1) {
        return parsed.empty() ? "no symbol was given" : "one symbol at a time";
    }
    const std::string& name = parsed.front();
    if (name == shown) {
        return name + " is the chart's own symbol";
    }
    const auto same = [&](const SEntry& entry) { return entry.symbol == name; };
    if (std::any_of(m_entries.begin(), m_entries.end(), same)) {
        return name + " is compared already";
    }
    if (static_cast<int>(m_entries.size()) >= kMaxCompareSymbols) {
        return "at most " + std::to_string(kMaxCompareSymbols) +
               " symbols can be compared: remove one first";
    }
    SEntry entry;
    entry.symbol = name;
    // The first colour not taken by another compare symbol.
    for (int i = 0; i < kMaxCompareSymbols; ++i) {
        const ColorRef color = DefaultColor(i);
        if (std::none_of(m_entries.begin(), m_entries.end(),
                         [color](const SEntry& other) { return other.color == color; })) {
            entry.color = color;
            break;
        }
    }
    entry.tag = m_nextTag;
    m_nextTag = m_nextTag % 999 + 1;
    entry.history = std::make_unique<CChartHistRequest>();
    entry.loader = std::make_unique<CChartLoader>(*entry.history, m_settings);
    entry.loader->SetRequestIdPrefix(kIdPrefix + std::to_string(entry.tag) + "-");
    entry.loader->SetOwnSymbol(true);
    entry.loader->SetFeed(m_feed);
    m_entries.push_back(std::move(entry));
    if (load) {
        Load(m_entries.back());
    }
    return {};
}

bool CCompareSet::Remove(const std::string& symbol) {
    const auto it = std::find_if(m_entries.begin(), m_entries.end(),
                                 [&](const SEntry& entry) { return entry.symbol == symbol; });
    if (it == m_entries.end()) {
        return false;
    }
    it->loader->Leave();
    m_entries.erase(it);
    return true;
}

void CCompareSet::Clear() {
    while (!m_entries.empty()) {
        Remove(m_entries.back().symbol);
    }
}

void CCompareSet::Load(SEntry& entry) {
    entry.reported = false;
    entry.drawnCount = 0;
    entry.drawnClose = 0.0;
    entry.loader->LoadSettings();
    const CChartLoader::EStart started = entry.loader->Load(entry.symbol);
    if (started != CChartLoader::EStart::Sent) {
        spdlog::warn("History of compare symbol {} not requested", entry.symbol);
    }
}

void CCompareSet::LoadAll() {
    for (SEntry& entry : m_entries) {
        Load(entry);
    }
}

bool CCompareSet::OnHistoryLine(const std::string& line) {
    if (!line.starts_with(kIdPrefix)) {
        return false;
    }
    const std::size_t dash = line.find('-');
    const int tag = dash == std::string::npos
                        ? 0
                        : std::atoi(line.substr(std::char_traits<char>::length(kIdPrefix)).c_str());
    for (SEntry& entry : m_entries) {
        if (entry.tag == tag) {
            entry.loader->OnHistoryLine(line);
            break;
        }
    }
    return true;
}

void CCompareSet::OnLevel1Line(const std::string& line) {
    for (SEntry& entry : m_entries) {
        entry.loader->OnLevel1Line(line);
    }
}

bool CCompareSet::OnProgressTick(std::vector<std::string>& messages) {
    bool changed = false;
    for (SEntry& entry : m_entries) {
        CCompareProgress progress;
        entry.loader->OnProgressTick(progress);
        const CChartHistRequest& history = *entry.history;
        if (history.IsHistoryComplete()) {
            const int count = history.GetCount();
            const double close = count > 0 ? history.GetClose(count - 1) : 0.0;
            if (count != entry.drawnCount || close != entry.drawnClose) {
                entry.drawnCount = count;
                entry.drawnClose = close;
                changed = true;
            }
        }
        const std::string& error = entry.loader->AnswerError();
        if (!entry.reported && entry.loader->AnswerEnded() && !error.empty()) {
            entry.reported = true;
            messages.push_back(error.find("UNKNOWN_SYMBOL") != std::string::npos
                                   ? "Compare: " + entry.symbol + " is an unknown symbol"
                                   : "Compare: no data for " + entry.symbol + " (" + error + ")");
        }
    }
    return changed;
}
