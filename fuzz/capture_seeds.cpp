// Writes the seed corpora of the fuzz targets from real traffic: starts portico on free ports
// (exchange clock at Friday 2026-11-20 12:00:00), sends it the commands the application's own
// formatters make, and keeps what it answers; settings files are written by the application's
// settings mirror and command lines by its workspace code. Each seed is cut to a few KB.
//
//   fuzz_capture_seeds PORTICO_EXECUTABLE CORPUS_FOLDER
//
// The corpus folder gets one folder per target, with files named "seed-<what>"; existing seeds
// of the same name are replaced, other files are left alone.

#include "app/workspace.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "feed/symbol_search.h"
#include "history/chart_hist_request.h"
#include "history/history_request.h"
#include "platform/config_writer.h"

#include "line_client.h"
#include "portico_process.h"
#include "temp_dir.h"

#include <spdlog/spdlog.h>

#include <QString>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using skychart::test::LineClient;

constexpr std::size_t kDataLines = 24;

fs::path g_corpus;
int g_written = 0;

void Write(const std::string& target, const std::string& name, const std::string& bytes) {
    const fs::path folder = g_corpus / target;
    fs::create_directories(folder);
    std::ofstream out(folder / ("seed-" + name), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ++g_written;
}

std::string Byte(int value) {
    return std::string(1, static_cast<char>(value));
}

// The chunk header of the byte-stream targets: sizes less one, the rest in one last chunk.
std::string Chunks(const std::vector<int>& sizes) {
    std::string header = Byte(static_cast<int>(sizes.size()));
    for (const int size : sizes) {
        header += Byte(size - 1);
    }
    return header;
}

std::string StripLineEnd(std::string line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.pop_back();
    }
    return line;
}

// The raw lines (with their CR LF) of the answer with `id` to `command`: the first `keep` data
// lines and every line that is not data, up to and including the end marker.
std::string Ask(int lookupPort, const std::string& command, const std::string& id,
                std::size_t keep = kDataLines) {
    LineClient client;
    if (!client.connect(lookupPort) || !client.send(command)) {
        std::fprintf(stderr, "cannot send %s", command.c_str());
        return {};
    }
    std::string kept;
    std::size_t data = 0;
    while (const auto line = client.readRawLine(60s)) {
        const bool dataLine = line->starts_with(id + ",LH,") || line->starts_with(id + ",LS,") ||
                              (id.empty() && !line->starts_with("!ENDMSG!"));
        if (!dataLine || data++ < keep) {
            kept += *line;
        }
        if (line->find("!ENDMSG!") != std::string::npos ||
            line->find("!SYNTAX_ERROR!") != std::string::npos) {
            break;
        }
    }
    return kept;
}

// Lines arriving on a fresh connection to `port` after `greeting`, for `duration`.
std::string Listen(int port, const std::string& greeting, std::chrono::milliseconds duration,
                   std::size_t maxLines) {
    LineClient client;
    if (!client.connect(port) || !client.send(greeting)) {
        return {};
    }
    std::string kept;
    const auto end = std::chrono::steady_clock::now() + duration;
    std::size_t lines = 0;
    while (lines < maxLines && std::chrono::steady_clock::now() < end) {
        const auto line = client.readRawLine(std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now()));
        if (!line) {
            break;
        }
        kept += *line;
        ++lines;
    }
    return kept;
}

struct SHistorySeed {
    const char* name;
    SHistoryParameters params;
    std::vector<std::string> filterOn;
};

std::vector<SHistorySeed> HistorySeeds() {
    const std::vector<std::string> off = {"false", "false", "false", "false", "false"};
    const std::vector<std::string> on = {"true", "true", "true", "true", "true"};
    std::vector<SHistorySeed> seeds;
    const auto add = [&](const char* name, std::uint32_t kind, const char* symbol,
                         const std::vector<std::string>& filterOn, auto&& fill) {
        SHistoryParameters p;
        p.symbol = symbol;
        p.requestKind = kind;
        p.dataDirection = "1";
        p.maxDatapoints = 40;
        p.days = 1;
        p.interval = 300;
        p.beginDate = 20261119;
        p.beginTime = 93000;
        p.endDate = 20261120;
        p.endTime = 110000;
        p.beginFilterTime = 100000;
        p.endFilterTime = 153000;
        fill(p);
        seeds.push_back({name, p, filterOn});
    };
    const auto same = [](SHistoryParameters&) {};
    add("htx-luma", kTicksDatapoints, "LUMA", off, same);
    add("htx-newest-first", kTicksDatapoints, "LUMA", off,
        [](SHistoryParameters& p) { p.dataDirection = "0"; });
    add("htx-future", kTicksDatapoints, "@NGI#", off, same);
    add("hix-future-4dp", kIntervalsDatapoints, "@RCP#", off, same);
    add("htx-token", kTicksDatapoints, "VTRC", off, same);
    add("htd-filtered", kTicksDays, "BRYN", on, same);
    add("htd-extended", kTicksDays, "LUMA", off, [](SHistoryParameters& p) { p.days = 2; });
    add("htt-range", kTicksDateRange, "LUMA", off, same);
    add("htt-filtered", kTicksDateRange, "CDLW", on, same);
    add("hix-1min", kIntervalsDatapoints, "LUMA", off,
        [](SHistoryParameters& p) { p.interval = 60; });
    add("hix-2hour", kIntervalsDatapoints, "FENX", off,
        [](SHistoryParameters& p) { p.interval = 7200; });
    add("hid-5min", kIntervalsDays, "LUMA", off, same);
    add("hid-filtered", kIntervalsDays, "BRYN", on, same);
    add("hit-range", kIntervalsDateRange, "LUMA", off, same);
    add("hit-filtered", kIntervalsDateRange, "LUMA", on,
        [](SHistoryParameters& p) { p.interval = 900; });
    add("hdx-days", kDaysDatapoints, "LUMA", off, same);
    add("hdt-range", kDaysDateRange, "BRYN", off,
        [](SHistoryParameters& p) { p.beginDate = 20261001; });
    add("hwx-weeks", kWeeksDatapoints, "LUMA", off, same);
    add("hmx-months", kMonthsDatapoints, "CDLW", off, same);
    add("unknown-symbol", kTicksDatapoints, "NOSUCH", off, same);
    add("no-data", kTicksDateRange, "LUMA", off, [](SHistoryParameters& p) {
        p.beginDate = 19700105;
        p.endDate = 19700106;
    });
    return seeds;
}

void CaptureLookup(int lookupPort, int level1Port) {
    std::string allCommands;
    std::string allAnswers;
    std::vector<std::pair<SHistorySeed, std::string>> answers;
    for (const SHistorySeed& seed : HistorySeeds()) {
        const std::string command = FormatHistoryCommand(seed.params, seed.filterOn);
        const std::string id = "Lookup" + std::to_string(seed.params.requestKind);
        const std::string answer = Ask(lookupPort, command, id);
        allCommands += command;
        Write("portico_commands", seed.name, command);
        Write("portico_history", seed.name, Byte(0) + command);
        Write("history_lines", seed.name, Byte(0) + answer);
        if (seed.params.requestKind <= kTicksDateRange) {
            Write("history_lines", std::string(seed.name) + "-extended", Byte(1) + answer);
        }
        Write("line_splitter", seed.name, Chunks({1, 7, 60, 2, 200, 33}) + answer);
        allAnswers += answer;
        answers.emplace_back(seed, answer);
    }
    Write("portico_commands", "all-history-kinds", allCommands);
    // The same requests at other exchange times: Thursday night, the weekend before.
    Write("portico_history", "thursday-night",
          Byte(20) + FormatHistoryCommand(HistorySeeds()[0].params, {}));
    Write("portico_history", "last-weekend",
          Byte(150) + FormatHistoryCommand(HistorySeeds()[9].params, {"false", "false"}));

    // Symbol searches, as the search dialog sends them.
    const struct {
        const char* name;
        const char* text;
        const char* exchange;
        const char* type;
        bool byDescription;
    } searches[] = {
        {"symbol", "L", "", "", false},
        {"description", "corp", "", "", true},
        {"exchange-filter", "", "1 2", "", false},
        {"type-filter", "", "", "2", false},
        {"nothing-found", "ZZZZ", "", "", false},
    };
    std::string searchAnswers;
    for (const auto& search : searches) {
        const std::string command =
            FormatSearchRequest(search.text, search.exchange, search.type, search.byDescription);
        const std::string answer = Ask(lookupPort, command, "LSearch");
        Write("portico_commands", std::string("search-") + search.name, command);
        Write("portico_history", std::string("search-") + search.name, Byte(0) + command);
        Write("symbol_search", search.name, StripLineEnd(search.text) + "\n" + answer);
        searchAnswers += answer;
    }
    Write("symbol_search", "all", searchAnswers);

    // The reference tables and a syntax error, as the blocking lookups read them.
    const std::string markets = Ask(lookupPort, "SLM\r\n", "", 400);
    const std::string types = Ask(lookupPort, "SST\r\n", "", 400);
    const std::string syntaxError = Ask(lookupPort, "SLM,extra\r\n", "", 400);
    Write("lookup_tables", "markets-one-chunk", Chunks({}) + markets);
    Write("lookup_tables", "markets-small-chunks", Chunks({3, 9, 1, 17, 40}) + markets);
    Write("lookup_tables", "types-one-chunk", Chunks({}) + types);
    Write("lookup_tables", "types-marker-split",
          Chunks({static_cast<int>(types.size()) - 5}) + types);
    Write("lookup_tables", "syntax-error", Chunks({}) + syntaxError);
    for (const char* command : {"SLM\r\n", "SST\r\n", "SLM,extra\r\n"}) {
        allCommands += command;
    }

    // Level 1: the greeting, the fundamental line and a few seconds of updates of one symbol.
    const std::string level1 = Listen(
        level1Port, "S,SET PROTOCOL,6.1\nS,SET CLIENT NAME,Skychart\nwLUMA\nwNOSUCH\n", 4s, 40);
    Write("line_splitter", "level1", Chunks({5, 100, 1, 1, 250, 17}) + level1);
    Write("service_stats", "level1", level1);
    // History lines with the Level 1 lines held while they arrive, then the end marker.
    std::string held;
    std::size_t start = 0;
    for (std::size_t end = level1.find('\n'); end != std::string::npos;
         start = end + 1, end = level1.find('\n', start)) {
        const std::string line = StripLineEnd(level1.substr(start, end - start));
        if (!line.empty() && (line[0] == 'Q' || line[0] == 'P' || line[0] == 'F')) {
            held += line + "\n";
        }
    }
    const std::string ticks = Ask(lookupPort, "HTX,LUMA,10,1,Lookup0\n", "Lookup0");
    Write("history_lines", "held-level1", Byte(0) + held + ticks);
    Write("history_lines", "held-level1-exchange-format", Byte(32) + held + ticks);
    // The live updater after each answer of LUMA: kind, flags (extended trades for the ticks, the
    // exchange format), the interval's index in the harness's list, then the lines.
    for (const auto& [seed, answer] : answers) {
        if (seed.params.symbol != "LUMA") {
            continue;
        }
        const int interval = seed.params.interval == 60 ? 0 : seed.params.interval == 900 ? 2 : 1;
        const int flags = (seed.params.requestKind <= kTicksDateRange ? 1 : 0) | 2;
        Write("level1_updates", seed.name,
              Byte(static_cast<int>(seed.params.requestKind)) + Byte(flags) + Byte(interval) +
                  answer + held);
    }
    for (const char* command :
         {"wLUMA", "rLUMA", "S,SET PROTOCOL,6.1", "S,SET CLIENT NAME,Skychart", "S,LEVEL1 COUNTS",
          "S,REQUEST STATS"}) {
        allCommands += std::string(command) + "\n";
    }
    Write("portico_commands", "all", allCommands);
}

void CaptureAdmin(const std::string& portico) {
    // A service that says "Not Connected" for a while and then "Connected".
    skychart::test::PorticoProcess process(portico);
    if (!process.start({"--start-time", "2026-11-20 12:00:00", "--connect-delay", "1200"})) {
        std::fprintf(stderr, "portico did not start\n");
        return;
    }
    const std::string admin =
        Listen(process.adminPort(), "S,SET PROTOCOL,6.2\nS,SET CLIENT NAME,Skychart\n", 3500ms, 12);
    Write("service_stats", "admin", admin);
    Write("line_splitter", "admin", Chunks({2, 30, 30, 128}) + admin);
    process.stop();
}

// Settings files as the application's mirror writes them.
void CaptureSettings() {
    skychart::test::TempDir home;
    const QString file = QString::fromStdString(home.path() + "/Skychart.conf");
    CSettings settings;
    settings.RegisterAll(AllSettingKeys());
    settings.PublishWriter(std::make_shared<CConfigWriter>(file));
    const auto contents = [&] {
        std::ifstream in(file.toStdString(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    };
    settings.SetText(keys::kCurrentSymbol, "LUMA");
    settings.SaveList(keys::kSymbols, {"LUMA", "BRYN", "CDLW"}, nullptr);
    settings.SetInt(keys::kRequestDataType, 1);
    Write("settings_file", "few-keys", Byte(0) + contents());
    Write("settings_file", "few-keys-saved", Byte(1) + contents());
    for (const SSettingKey& key : AllSettingKeys()) {
        const std::string name = key.key;
        if (key.persist && name != keys::kCurrentSymbol && name != keys::kSymbols) {
            settings.SetText(name, key.defaultValue);
        }
    }
    Write("settings_file", "every-key", Byte(0) + contents());
    settings.SetText(keys::kRequestFilterOn, "true,false,true,false,false");
    settings.SetText(keys::kRequestBeginFilterTime, "093000");
    settings.SetText(keys::kNumberOfStudyCharts, "3");
    settings.SetText(keys::kCurrentSymbol, "  spaced, symbol  ");
    Write("settings_file", "every-key-changed", Byte(1) + contents());
    settings.Reset();
    Write("settings_file", "hand-written",
          Byte(0) + "; written by hand\n[ApplicationSettings]\nCurrentSymbol=BRYN\n"
                    "Symbols=BRYN, LUMA\nShow Grid=true\nRequestDatapoints=100,200,300,52,12\n");
    Write("settings_file", "damaged", Byte(1) + "[ApplicationSettings\nCurrentSymbol\n\x01\x02");
}

// Command lines as a user types them and as a workspace stores them.
void CaptureCommandLines() {
    const auto zeroSeparated = [](const std::vector<std::string>& parameters) {
        std::string text = Byte(0);
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            text += (i > 0 ? std::string(1, '\0') : std::string()) + parameters[i];
        }
        return text;
    };
    Write("command_line", "symbol-type-interval",
          zeroSeparated({"-symbol", "luma", "-type", "Minute", "-interval", "5-Minute"}));
    Write("command_line", "max-then-min", zeroSeparated({"-max", "-min", "-symbol", "BRYN"}));
    Write("command_line", "slashes-and-case",
          zeroSeparated({"/SYMBOL", "cdlw", "/Type", "daily", "-TOP", "-20", "-left", "5"}));
    Write("command_line", "export",
          zeroSeparated({"--export", "/tmp/luma.csv", "-symbol", "LUMA", "-type", "Tick"}));
    Write("command_line", "render",
          zeroSeparated({"--render", "/tmp/chart.png", "-symbol", "LUMA", "-type", "Weekly",
                         "-width", "800", "-height", "600"}));
    Write("command_line", "workspaces",
          zeroSeparated({"--save-workspace", "Morning", "--open-workspace", "Evening", "--help",
                         "--version", "-unknown"}));
    Write("command_line", "workspace-normal",
          Byte(1) + WorkspaceArguments("LUMA", "Minute", "15-Minute", EFrameState::Normal,
                                       SFrameRect{10, 20, 810, 620}));
    Write("command_line", "workspace-maximised",
          Byte(1) + WorkspaceArguments("BRYN", "Daily", "1-Minute", EFrameState::Maximised, {}));
    Write("command_line", "workspace-no-symbol",
          Byte(1) + WorkspaceArguments("", "Tick", "1-Minute", EFrameState::Minimised, {}));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s PORTICO_EXECUTABLE CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    spdlog::set_level(spdlog::level::off);
    g_corpus = argv[2];
    skychart::test::PorticoProcess process(argv[1]);
    if (!process.start({"--start-time", "2026-11-20 12:00:00", "--connect-delay", "0"})) {
        std::fprintf(stderr, "portico did not start\n");
        return 1;
    }
    CaptureLookup(process.lookupPort(), process.level1Port());
    process.stop();
    CaptureAdmin(argv[1]);
    CaptureSettings();
    CaptureCommandLines();
    std::printf("%d seeds written to %s\n", g_written, argv[2]);
    return 0;
}
