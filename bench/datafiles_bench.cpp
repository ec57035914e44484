// Measures portico's reading of a trader's tick file: indexing a file of N rows and producing
// the full-history answer of it (every line, into a sink that discards), against pandas reading
// the same file in the same run; then the peak memory of a real portico serving that answer to a
// client that reads everything.
//
//   datafiles_bench PORTICO [--script pandas_parse.py] [--python PY] [--rows N] [--runs R]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "history_answer.h"
#include "line_writer.h"
#include "market/calendar.h"
#include "market/market.h"
#include "portico_process.h"
#include "temp_dir.h"

namespace {

using Clock = std::chrono::steady_clock;
using portico::Micros;

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// CPU time of the process, all of its threads, in seconds.
double CpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

// N ticks over weekdays from 2025-01-06, 09:30 to 16:00, about 200,000 a day: DateTime with
// microseconds, Price, Size, Bid, Ask.
void WriteTicks(const std::string& path, long rows) {
    std::FILE* out = std::fopen(path.c_str(), "w");
    if (out == nullptr) {
        std::perror("datafiles_bench: cannot write the tick file");
        std::exit(1);
    }
    std::fputs("DateTime,Price,Size,Bid,Ask\n", out);
    const long perDay = 200'000;
    const long long sessionMicros = 6LL * 3600 * 1'000'000 + 1800LL * 1'000'000;
    std::uint64_t state = 12345;
    long price = 100'000; // thousandths
    int day = 6;
    int month = 1;
    for (long i = 0; i < rows; ++i) {
        const long inDay = i % perDay;
        if (i > 0 && inDay == 0) {
            do {
                ++day;
                if (day > 28) {
                    day = 1;
                    ++month;
                }
            } while ((day + 1) % 7 == 4 || (day + 1) % 7 == 5); // a rough weekend
        }
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        price = std::max(1000L, price + static_cast<long>((state >> 33) % 21) - 10);
        const long long micros = 34'200'000'000LL + sessionMicros / perDay * inDay +
                                 static_cast<long long>((state >> 20) % 1000);
        const long long second = micros / 1'000'000;
        std::fprintf(
            out, "2025-%02d-%02d %02lld:%02lld:%02lld.%06lld,%ld.%03ld,%lu,%ld.%03ld,%ld.%03ld\n",
            month, day, second / 3600, second / 60 % 60, second % 60, micros % 1'000'000,
            price / 1000, price % 1000, 1 + (state >> 40) % 500, (price - 1) / 1000,
            (price - 1) % 1000, (price + 1) / 1000, (price + 1) % 1000);
    }
    std::fclose(out);
}

struct InProcess {
    double index = 0;
    double answer = 0;
    double indexCpu = 0; // CPU seconds of all threads
    double answerCpu = 0;
    std::uint64_t lines = 0;
    std::uint64_t bytes = 0;
};

InProcess IndexAndAnswer(const std::string& folder) {
    InProcess result;
    const auto start = Clock::now();
    const double cpu = CpuSeconds();
    portico::DataFolder data;
    data.path = folder;
    data.only = true;
    portico::Market market(1, data);
    const portico::Instrument* instrument = market.find("BENCH");
    if (instrument == nullptr) {
        std::fprintf(stderr, "datafiles_bench: no instrument BENCH\n");
        std::exit(1);
    }
    while (!market.ready(*instrument, std::chrono::seconds(60))) {
    }
    result.index = Seconds(start);
    result.indexCpu = CpuSeconds() - cpu;
    portico::HistoryRequest request;
    request.kind = portico::HistoryKind::HTX;
    request.symbol = "BENCH";
    request.id = "X";
    const auto answering = Clock::now();
    const double answerCpu = CpuSeconds();
    // The exchange clock stands after the file's last day.
    const Micros now = portico::StartOfDay(portico::detail::DaysFromCivil(2026, 1, 1));
    portico::HistoryAnswer answer(market, request, now, {});
    portico::LineWriter out;
    while (true) {
        out.clear();
        const auto progress = answer.fill(out, 64 * 1024);
        result.bytes += out.size();
        if (progress != portico::HistoryAnswer::Progress::More) {
            break;
        }
    }
    result.answer = Seconds(answering);
    result.answerCpu = CpuSeconds() - answerCpu;
    result.lines = answer.dataLines();
    return result;
}

double Pandas(const std::string& python, const std::string& script, const std::string& file) {
    const std::string command = python + " '" + script + "' '" + file + "' header";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    char line[512] = {};
    double seconds = -1;
    while (pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr) {
        if (std::sscanf(line, "pandas seconds=%lf", &seconds) == 1) {
            break;
        }
    }
    if (pipe != nullptr) {
        ::pclose(pipe);
    }
    return seconds;
}

long VmHwmKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::atol(line.c_str() + 6);
        }
    }
    return -1;
}

// Asks a real portico for the whole history and reads it all; the portico's VmHWM after.
long ServedPeakKb(const std::string& portico, const std::string& folder, std::uint64_t& lines) {
    skychart::test::PorticoProcess process(portico);
    if (!process.start({"--data-dir", folder, "--data-only", "--linger", "0"})) {
        std::fprintf(stderr, "datafiles_bench: portico did not start\n");
        std::exit(1);
    }
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(process.lookupPort()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        std::perror("datafiles_bench: connect");
        std::exit(1);
    }
    const std::string command = "HTX,BENCH,,1,X\r\n";
    if (::send(fd, command.data(), command.size(), MSG_NOSIGNAL) < 0) {
        std::perror("datafiles_bench: send");
        std::exit(1);
    }
    std::vector<char> buffer(256 * 1024);
    std::string tail;
    lines = 0;
    while (true) {
        const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            break;
        }
        lines += static_cast<std::uint64_t>(std::count(buffer.data(), buffer.data() + got, '\n'));
        tail.append(buffer.data(), static_cast<std::size_t>(got));
        if (tail.size() > 64) {
            tail.erase(0, tail.size() - 64);
        }
        if (tail.find("X,!ENDMSG!,") != std::string::npos) {
            break;
        }
    }
    const long peak = VmHwmKb(process.pid());
    ::close(fd);
    process.stop();
    return peak;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr,
                     "usage: %s PORTICO [--script pandas_parse.py] [--python PY] [--rows N] "
                     "[--runs R]\n",
                     argv[0]);
        return 2;
    }
    const std::string portico = argv[1];
    std::string script = BENCH_SOURCE_DIR "/pandas_parse.py";
    std::string python = "/usr/bin/python3";
    long rows = 5'000'000;
    int runs = 3;
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name == "--script") {
            script = argv[i + 1];
        } else if (name == "--python") {
            python = argv[i + 1];
        } else if (name == "--rows") {
            rows = std::atol(argv[i + 1]);
        } else if (name == "--runs") {
            runs = std::max(1, std::atoi(argv[i + 1]));
        }
    }
    skychart::test::TempDir folder;
    const std::string file = folder.path() + "/BENCH.ticks.csv";
    WriteTicks(file, rows);
    std::printf("tick file: %ld rows, %.1f MiB\n", rows,
                static_cast<double>(std::ifstream(file, std::ios::ate).tellg()) / 1048576.0);

    std::vector<double> index, answer, total, pandas, indexCpu, answerCpu;
    // Runs alternate between portico's reader and pandas, so that both see the same machine.
    InProcess last;
    for (int run = 0; run < runs; ++run) {
        last = IndexAndAnswer(folder.path());
        index.push_back(last.index);
        answer.push_back(last.answer);
        total.push_back(last.index + last.answer);
        indexCpu.push_back(last.indexCpu);
        answerCpu.push_back(last.answerCpu);
        if (!script.empty()) {
            pandas.push_back(Pandas(python, script, file));
        }
    }
    // CPU time beside the wall time: both readers use several threads, which a busy machine shows
    // as a wall time near the CPU time.
    std::printf("index:  %.3f s, CPU %.3f s (median of %d)\n", Median(index), Median(indexCpu),
                runs);
    std::printf("answer: %.3f s, CPU %.3f s for %llu lines, %.1f MiB (median of %d)\n",
                Median(answer), Median(answerCpu), static_cast<unsigned long long>(last.lines),
                static_cast<double>(last.bytes) / 1048576.0, runs);
    if (!pandas.empty() && Median(pandas) > 0) {
        const double ratio = Median(pandas) / Median(total);
        std::printf("pandas.read_csv: %.3f s; index and answer %.2fx faster than pandas reads it\n",
                    Median(pandas), ratio);
        std::printf("goal: index and answer at least 4x faster than pandas; now %.2fx\n", ratio);
    }
    std::uint64_t served = 0;
    const long peak = ServedPeakKb(portico, folder.path(), served);
    std::printf("portico serving the whole history (%llu lines read): peak memory VmHWM %.1f MiB\n",
                static_cast<unsigned long long>(served), static_cast<double>(peak) / 1024.0);
    std::printf("goal: peak memory under 64 MiB; now %.1f MiB\n",
                static_cast<double>(peak) / 1024.0);
    return 0;
}
