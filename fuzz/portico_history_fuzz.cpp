// portico's handling of lookup requests: the command parsed, then its answer written as the
// lookup session writes it, a chunk at a time. Input: one byte that moves the exchange clock back
// by steps of 53 minutes from Friday 2026-11-20 12:00:00 (so that weekends, nights and the open
// come round), then up to 4 request lines cut at '\n'.
//
// A history answer may run to gigabytes and the service computes the bars of a whole range before
// the first line, so the harness keeps every request to a few days of data and reads at most
// kAnswerBytes of each answer. Within that, every line must be a well-formed answer line of its
// request: its id first, the field count of its kind, times in order and inside the range, the
// datapoint limit kept, and the end marker last.

#include "fuzz_support.h"

#include "civil_time.h"
#include "commands.h"
#include "history_answer.h"
#include "line_writer.h"
#include "market/market.h"
#include "reference_answers.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace {

using namespace portico;
using skychart::fuzz::Check;

constexpr std::size_t kAnswerBytes = 32 * 1024;
constexpr std::size_t kChunkBytes = 4 * 1024;
constexpr int kMaxDays = 3;
constexpr std::uint64_t kMaxPoints = 2000;
constexpr Micros kClockStep = 53 * kMicrosPerMinute;

const Market& TheMarket() {
    static const Market market(1);
    return market;
}

Micros BaseNow() {
    return StartOfDay(DaysFromCivil(2026, 11, 20)) + 12 * 3600 * kMicrosPerSecond;
}

// Keeps the work of one request to a few days of ticks or a bounded number of bars. (A limit of
// datapoints is met by walking back from the end of the range, however early its begin.)
void Bound(HistoryRequest& r, Micros now) {
    r.days = std::min(r.days, kMaxDays);
    if (r.maxPoints && *r.maxPoints > kMaxPoints) {
        r.maxPoints = kMaxPoints;
    }
    const Micros span = kMaxDays * kMicrosPerDay;
    switch (r.kind) {
    case HistoryKind::HIX: {
        const auto perSpan = static_cast<std::uint64_t>(span / kMicrosPerSecond) /
                             static_cast<std::uint64_t>(r.intervalSeconds);
        const std::uint64_t cap = std::clamp<std::uint64_t>(perSpan, 1, kMaxPoints);
        if (!r.maxPoints || *r.maxPoints > cap) {
            r.maxPoints = cap;
        }
        break;
    }
    case HistoryKind::HTT:
    case HistoryKind::HIT: {
        const Micros end = std::min(r.end.value_or(now), now);
        if (!r.begin || *r.begin < end - span) {
            r.begin = end - span;
        }
        break;
    }
    default:
        break;
    }
}

std::string IsoMicros(Micros time) {
    LineWriter out;
    out.putIsoMicroTime(time);
    return out.str();
}

std::vector<std::string_view> AnswerLines(std::string_view answer) {
    std::vector<std::string_view> lines;
    while (!answer.empty()) {
        const std::size_t end = answer.find("\r\n");
        Check(end != std::string_view::npos, "every answer line ends in CR LF", answer);
        lines.push_back(answer.substr(0, end));
        answer.remove_prefix(end + 2);
    }
    return lines;
}

void CheckHistoryAnswer(const HistoryRequest& r, std::string_view answer,
                        HistoryAnswer::Progress progress, std::uint64_t dataLines, Micros now) {
    const std::vector<std::string_view> lines = AnswerLines(answer);
    const std::string prefix = r.id + ",";
    const std::size_t fieldCount = r.isTicks() ? 15 : r.isIntervals() ? 11 : 10;
    const std::string earliest = r.begin ? IsoMicros(*r.begin) : std::string();
    const std::string latest = IsoMicros(std::min(r.end.value_or(now), now));
    std::uint64_t data = 0;
    std::string_view previousTime;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        Check(line.starts_with(prefix), "answer lines start with the request id", line);
        const auto fields = SplitFields(line.substr(prefix.size() - 1));
        // Fields after the id: the id itself may hold any byte but a comma.
        Check(fields.size() >= 2, "an answer line has a message type", line);
        const std::string_view type = fields[1];
        if (type == "LH") {
            ++data;
            Check(fields.size() == fieldCount, "data lines have the fields of their kind", line);
            const std::string_view time = fields[2];
            if (!previousTime.empty()) {
                Check(r.newestFirst ? time <= previousTime : time >= previousTime,
                      "data lines come in the requested order", line);
            }
            previousTime = time;
            if (r.isTicks()) {
                Check(time <= latest, "no tick after the end or the clock", line);
                Check(earliest.empty() || time >= earliest, "no tick before the begin", line);
            }
            continue;
        }
        const bool last = i + 1 == lines.size();
        if (type == "!ENDMSG!") {
            Check(last && progress == HistoryAnswer::Progress::Done,
                  "the end marker ends a finished answer", line);
        } else {
            Check(type == "E" && i + 2 == lines.size() && data == 0,
                  "only an error line before the end marker is not data", line);
            Check(fields.size() == 4 &&
                      (fields[2] == "!UNKNOWN_SYMBOL!" || fields[2] == "!NO_DATA!"),
                  "error lines name the error", line);
        }
    }
    Check(data == dataLines, "the answer counts the data lines it wrote");
    if (progress == HistoryAnswer::Progress::Done) {
        Check(!lines.empty() && lines.back() == r.id + ",!ENDMSG!,", "a finished answer ends");
        Check(!r.maxPoints || data <= *r.maxPoints, "the datapoint limit holds");
    }
}

void Answer(HistoryRequest request, Micros now) {
    Bound(request, now);
    HistoryAnswer answer(TheMarket(), request, now, AnswerFaults{});
    std::string written;
    LineWriter out;
    HistoryAnswer::Progress progress = HistoryAnswer::Progress::More;
    while (progress == HistoryAnswer::Progress::More && written.size() < kAnswerBytes) {
        out.clear();
        progress = answer.fill(out, kChunkBytes);
        written.append(out.view());
    }
    Check(progress != HistoryAnswer::Progress::Cut, "without a line limit no answer is cut");
    CheckHistoryAnswer(request, written, progress, answer.dataLines(), now);
}

void CheckSearchAnswer(const SearchRequest& request, std::string_view answer) {
    const std::vector<std::string_view> lines = AnswerLines(answer);
    Check(!lines.empty() && lines.back() == request.id + ",!ENDMSG!,", "a search answer ends");
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        Check(lines[i].starts_with(request.id + ",LS,"), "search rows carry the id", lines[i]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const Micros now = BaseNow() - input.Byte() * kClockStep;
    for (const std::string_view line : skychart::fuzz::SplitAtNewlines(input.Rest(), 4)) {
        const Command command = ParseCommand(line);
        LineWriter out;
        std::visit(
            [&](const auto& c) {
                using T = std::decay_t<decltype(c)>;
                if constexpr (std::is_same_v<T, HistoryRequest>) {
                    Answer(c, now);
                } else if constexpr (std::is_same_v<T, SearchRequest>) {
                    WriteSearchAnswer(out, TheMarket(), c);
                    CheckSearchAnswer(c, out.view());
                } else if constexpr (std::is_same_v<T, ListedMarketsRequest>) {
                    WriteListedMarkets(out, TheMarket());
                } else if constexpr (std::is_same_v<T, SecurityTypesRequest>) {
                    WriteSecurityTypes(out, TheMarket());
                }
            },
            command);
    }
    return 0;
}
