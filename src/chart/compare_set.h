#pragma once

// The compare symbols of a chart and their series. Each symbol has a series of its own (its own
// history object, parser and live updater: a CChartLoader), loaded with the request type,
// interval and request settings of the chart on the same lookup connection. Its commands carry
// the request id "LookupC<n>-<kind>", so that its answer lines are told apart from the chart's
// ("Lookup<kind>") and from those of a compare symbol removed meanwhile (another <n>). Its
// trades arrive on Level 1 like the chart's and extend its series once its history is in.

#include "chart/chart_loader.h"
#include "chart/color_ref.h"
#include "history/chart_hist_request.h"

#include <memory>
#include <string>
#include <vector>

class CSettings;
class IHistoryFeed;

class CCompareSet {
public:
    // The id prefix common to every compare answer line.
    static constexpr const char* kIdPrefix = "LookupC";

    struct SEntry {
        std::string symbol;
        ColorRef color = 0;
        int tag = 0; // the <n> of its request ids
        std::unique_ptr<CChartHistRequest> history;
        std::unique_ptr<CChartLoader> loader;
        bool reported = false; // its error reply went to the status line
        // The series as last drawn: its count and newest close (a trade changes one of them).
        int drawnCount = 0;
        double drawnClose = 0.0;
    };

    // The line colours of the first, second and third compare symbol: apart from the price data,
    // the averages and the bands, and seen on light and dark backgrounds alike.
    static ColorRef DefaultColor(int index);

    // `settings` (the request settings) outlive the set.
    explicit CCompareSet(const CSettings& settings) : m_settings(settings) {}

    void SetFeed(IHistoryFeed* feed);
    // The symbols in the order they were added.
    std::vector<std::string> Symbols() const;
    const std::vector<SEntry>& Entries() const { return m_entries; }
    bool Empty() const { return m_entries.empty(); }

    // Adds `symbol` (trimmed, upper case) unless it is refused: the reason when it is (a fourth
    // symbol, one compared already, the chart's own `shown` symbol, an empty or malformed
    // symbol); "" when added. An added symbol loads at once when `load`.
    std::string Add(const std::string& symbol, const std::string& shown, bool load);
    // Removes `symbol` (its watch ends and its late lines are dropped); false when not compared.
    bool Remove(const std::string& symbol);
    void Clear();
    // Every compare symbol loads again (the chart loaded, or its request settings changed).
    void LoadAll();

    // A lookup line: true when it belongs to a compare symbol (handed to its series, or dropped
    // when that symbol was removed); false when it is the chart's.
    bool OnHistoryLine(const std::string& line);
    // A Level 1 line: each compare series takes its symbol's trades.
    void OnLevel1Line(const std::string& line);
    // One tick of the progress timer: true when a compare series changed (its history came in
    // or live trades extended it). `messages` receives what the status line should say about a
    // symbol the service does not know or has no data for.
    bool OnProgressTick(std::vector<std::string>& messages);

private:
    void Load(SEntry& entry);

    const CSettings& m_settings;
    IHistoryFeed* m_feed = nullptr;
    std::vector<SEntry> m_entries;
    int m_nextTag = 1;
};
