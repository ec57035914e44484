// Measures the history load: parsing 5,000,000 tick lines that the real portico wrote into the
// real series, against pandas' C reader on the same file, the end-to-end load over loopback, and
// the peak memory of a fresh process doing the load against pandas' peak. Each run starts with
// pandas; the in-memory parse and the end-to-end load then take turns going first, so that each
// meets the memory pandas just freed equally often. Every run's figures are printed, then the
// medians.
//
//   history_bench PORTICO [--ticks N] [--runs R] [--symbol SYM] [--python PY] [--script FILE]
//                 [--prefault on|off]
//   history_bench --load-child PORT TICKS SYMBOL PREFAULT   (one load in this process; its peak)

#include "history/chart_hist_request.h"
#include "history/history_parser.h"
#include "platform/large_pages.h"

#include <spdlog/spdlog.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "bench_support.h"
#include "portico_process.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "history_bench: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

// ---- portico ----------------------------------------------------------------------------------

int ConnectLoopback(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        Fail("connect");
    }
    return fd;
}

void SendAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t sent = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (sent <= 0) {
            Fail("send");
        }
        done += static_cast<std::size_t>(sent);
    }
}

// The raw answer to `command`, up to and including the end marker line.
std::string FetchAnswer(int port, const std::string& command, const std::string& endMarker) {
    const int fd = ConnectLoopback(port);
    SendAll(fd, command);
    std::string answer;
    std::vector<char> buffer(256 * 1024);
    for (;;) {
        const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            Fail("portico closed the connection before the end marker");
        }
        answer.append(buffer.data(), static_cast<std::size_t>(got));
        const std::size_t from = answer.size() > 128 + static_cast<std::size_t>(got)
                                     ? answer.size() - 128 - static_cast<std::size_t>(got)
                                     : 0;
        if (answer.find(endMarker, from) != std::string::npos) {
            break;
        }
    }
    close(fd);
    return answer;
}

// ---- the socket path --------------------------------------------------------------------------

// A blocking POSIX socket under the stream socket: each OnReceive() is one blocking recv into
// the stream socket's 64 KiB buffer, as one receive notification is in the application.
// ---- in memory --------------------------------------------------------------------------------

// The whole answer through the parser as received text into the cleared series; seconds.
double ParseInMemory(const std::string& bytes, CChartHistRequest& history) {
    history.Clear();
    history.SetHistoryComplete(false);
    history.SetPriceTextWidth(0);
    // A load before may have left the series without its chart.
    history.SetChartAlive(true);
    CHistoryResponseParser parser(history);
    const auto start = Clock::now();
    parser.OnHistoryText(bytes);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// ---- memory and children ----------------------------------------------------------------------

// Runs `argv` and returns its standard output.
std::string RunChild(const std::vector<std::string>& args) {
    int out[2];
    if (pipe(out) != 0) {
        Fail("pipe");
    }
    std::vector<char*> argv;
    std::vector<std::string> copy = args;
    for (auto& a : copy) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        Fail("cannot start " + args[0]);
    }
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    std::string text;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(out[0], buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<std::size_t>(got));
    }
    close(out[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        Fail("child " + args[0] + " failed: " + text);
    }
    return text;
}

double Number(const std::string& text, const std::string& key) {
    const auto at = text.find(key + "=");
    if (at == std::string::npos) {
        Fail("no " + key + " in \"" + text + "\"");
    }
    return std::atof(text.c_str() + at + key.size() + 1);
}

std::string Command(const std::string& symbol, long ticks) {
    return "HTX," + symbol + "," + std::to_string(ticks) + ",1,Lookup0\n";
}

// Prepares the series as the application does; `prefault` off leaves its blocks to fault in as
// they fill, for a comparison.
void PrepareSeries(CChartHistRequest& history, bool prefault) {
    if (prefault) {
        PrepareSeriesMemory(history);
    } else {
        history.SetMemoryAdvice(AdviseLargePages);
    }
}

int LoadChild(int port, long ticks, const std::string& symbol, bool prefault) {
    spdlog::set_level(spdlog::level::warn);
    CChartHistRequest history;
    PrepareSeries(history, prefault);
    const double seconds = LoadOverLoopback(port, Command(symbol, ticks), history);
    std::printf("load seconds=%.4f records=%d vmhwm_kb=%ld\n", seconds, history.GetCount(),
                StatusKb("VmHWM:"));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 6 && std::string(argv[1]) == "--load-child") {
        return LoadChild(std::atoi(argv[2]), std::atol(argv[3]), argv[4],
                         std::string(argv[5]) != "off");
    }
    spdlog::set_level(spdlog::level::warn);
    const SLoadOptions options = ParseLoadOptions(
        argc, argv,
        "usage: %s PORTICO [--ticks N] [--runs R] [--symbol SYM] [--python PY] [--script FILE] "
        "[--prefault on|off]\n");
    const std::string& porticoPath = options.porticoPath;
    const long ticks = options.ticks;
    // Three runs at least: the in-memory parse, pandas and the end-to-end load are interleaved.
    const int runs = std::max(3, options.runs);
    const std::string& symbol = options.symbol;
    const auto other = [&](const char* name, std::string fallback) {
        const auto found = options.others.find(name);
        return found != options.others.end() ? found->second : fallback;
    };
    const std::string python = other("--python", "/usr/bin/python3");
    const std::string script = other(
        "--script", (std::filesystem::path(__FILE__).parent_path() / "pandas_parse.py").string());
    const std::string self = std::filesystem::canonical("/proc/self/exe").string();
    const std::string prefault = other("--prefault", "on");

    skychart::test::PorticoProcess portico(porticoPath);
    if (!portico.start({"--linger", "0", "--connect-delay", "0"})) {
        Fail("portico did not start: " + portico.errorOutput());
    }
    const std::string command = Command(symbol, ticks);
    const std::string bytes = FetchAnswer(portico.lookupPort(), command, "Lookup0,!ENDMSG!,");
    const std::filesystem::path file = std::filesystem::path(portico.stateHome()) / "answer.csv";
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto lines = std::count(bytes.begin(), bytes.end(), '\n');
    std::printf("history load: %s, %ld lines, %.1f MB from portico (sTICK is %zu bytes)\n",
                command.substr(0, command.size() - 1).c_str(), static_cast<long>(lines),
                static_cast<double>(bytes.size()) / 1e6, sizeof(sTICK));
    std::fflush(stdout);

    std::printf("blocks ahead of the parser made resident on a helper thread: %s\n",
                prefault.c_str());
    std::fflush(stdout);
    std::vector<double> parse, pandas, pandasPeak, endToEnd, peak;
    int records = 0;
    double seriesBytes = 0.0;
    {
        CChartHistRequest history;
        PrepareSeries(history, prefault != "off");
        const auto inMemory = [&] {
            parse.push_back(ParseInMemory(bytes, history));
            records = history.GetCount();
            seriesBytes = static_cast<double>(history.GetSeriesBytes());
            history.Clear();
        };
        const auto overLoopback = [&] {
            history.SetHistoryComplete(false);
            endToEnd.push_back(LoadOverLoopback(portico.lookupPort(), command, history));
            if (records != 0 && history.GetCount() != records) {
                std::fprintf(stderr, "note: loopback load gave %d records, parse %d\n",
                             history.GetCount(), records);
            }
            history.Clear();
        };
        for (int run = 0; run < runs; ++run) {
            const std::string reply = RunChild({python, script, file.string()});
            pandas.push_back(Number(reply, "seconds"));
            pandasPeak.push_back(Number(reply, "maxrss_kb"));

            const bool parseFirst = run % 2 == 0;
            if (parseFirst) {
                inMemory();
                overLoopback();
            } else {
                overLoopback();
                inMemory();
            }

            const std::string child =
                RunChild({self, "--load-child", std::to_string(portico.lookupPort()),
                          std::to_string(ticks), symbol, prefault});
            peak.push_back(Number(child, "vmhwm_kb"));
            std::printf("  run %d (%s first): parse %.3f s (%.1fx pandas %.3f s), end-to-end "
                        "%.3f s (%.2fx), peak %.0f MB\n",
                        run + 1, parseFirst ? "parse" : "end-to-end", parse.back(),
                        pandas.back() / parse.back(), pandas.back(), endToEnd.back(),
                        endToEnd.back() / parse.back(), peak.back() / 1024.0);
            std::fflush(stdout);
        }
    }

    // The distance between the slowest and the fastest run, as a share of the median.
    const auto spread = [](const std::vector<double>& values) {
        const auto [low, high] = std::minmax_element(values.begin(), values.end());
        return 100.0 * (*high - *low) / Median(values);
    };
    const double parseMedian = Median(parse);
    const double pandasMedian = Median(pandas);
    const double endToEndMedian = Median(endToEnd);
    const double peakMb = Median(peak) / 1024.0;
    const double pandasPeakMb = Median(pandasPeak) / 1024.0;
    std::printf("  records in the series           %d\n", records);
    std::printf("  in-memory parse into the series %.3f s (median of %d; %.1f M lines/s; "
                "spread %.0f%%)\n",
                parseMedian, runs, static_cast<double>(lines) / parseMedian / 1e6, spread(parse));
    std::printf("  pandas.read_csv (C engine)      %.3f s (median of %d; %.1f M lines/s)\n",
                pandasMedian, runs, static_cast<double>(lines) / pandasMedian / 1e6);
    std::printf("  end-to-end load over loopback   %.3f s (median of %d; spread %.0f%%)\n",
                endToEndMedian, runs, spread(endToEnd));
    std::printf("  peak memory of a 5M-tick load   %.0f MB (VmHWM of a fresh process)\n", peakMb);
    std::printf("  pandas peak on the same file    %.0f MB (ru_maxrss)\n", pandasPeakMb);
    std::printf("  series memory per tick point    %.1f bytes (the record alone: %zu bytes)\n",
                records > 0 ? seriesBytes / records : 0.0, sizeof(sTICK));
    std::printf("  parse rate vs pandas:           %.1fx (target at least 10x)\n",
                pandasMedian / parseMedian);
    std::printf("  end-to-end / in-memory parse:   %.2fx (target at most 1.05x)\n",
                endToEndMedian / parseMedian);
    std::printf("  our peak / pandas peak:         %.2fx (target at most 0.6x)\n",
                peakMb / pandasPeakMb);
    return 0;
}
