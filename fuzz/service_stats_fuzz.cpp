// The "S,STATS" parser and the admin connection around it. Input: the bytes the service sends on
// the admin port (statistics, "S,IP," and "S,SYMBOL LIMIT REACHED" lines, time lines). They reach
// CFeedConnections through its admin socket after the handshake, with two watches queued; each
// line is also parsed on its own into a fresh record. The frame's record must be what its
// statistics lines say, the lookup and Level 1 connections must exist exactly when the service
// has reported "Connected", and every status change and "S,IP," line must reach the frame.

#include "fuzz_feed_platform.h"
#include "fuzz_support.h"
#include "quiet_logs.h"

#include "base/fields.h"
#include "core/prompt.h"
#include "feed/feed_connections.h"
#include "feed/feed_frame.h"
#include "feed/kestrel_client_app_socket.h"
#include "feed/service_statistics.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;
using skychart::fuzz::SilentPrompt;

constexpr std::size_t kMaxStream = 60'000;

class CountingFrame : public IFeedFrame {
public:
    void OnServiceIp() override { ++serviceIp; }
    void OnSearchLine(const std::string&) override {}
    void OnHistoryLine(const std::string&) override {}
    void OnLevel1Line(const std::string&) override {}
    void OnSymbolNotFound(const std::string&) override {}
    void OnServiceStatus(const std::string& status) override { statuses.push_back(status); }
    void OnFeedFault(const SFeedFault&) override {}

    int serviceIp = 0;
    std::vector<std::string> statuses;
};

bool SameNumber(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || a == b;
}

bool SameRecord(const SServiceStatistics& a, const SServiceStatistics& b) {
    for (std::size_t i = 0; i < a.numbers.size(); ++i) {
        if (!SameNumber(a.numbers[i], b.numbers[i])) {
            return false;
        }
    }
    for (std::size_t i = 0; i < a.times.size(); ++i) {
        if (a.times[i].IsValid() != b.times[i].IsValid() ||
            (a.times[i].IsValid() && !(a.times[i] == b.times[i]))) {
            return false;
        }
    }
    return a.serverAddress == b.serverAddress && a.counts == b.counts && a.status == b.status &&
           a.texts == b.texts && a.valid == b.valid;
}

// One statistics line parsed on its own: accepted exactly when it has 21 fields or more and
// field 1 is "STATS"; a refused line leaves the record as it was.
void ParseAlone(const std::string& line) {
    SServiceStatistics record;
    const SServiceStatistics untouched = record;
    const std::vector<std::string_view> fields = SplitFields(line);
    const bool accepted = record.Parse(line);
    Check(accepted == (fields.size() >= 21 && fields[1] == "STATS"), "the record takes full lines",
          line);
    if (!accepted) {
        Check(SameRecord(record, untouched), "a refused line changes nothing", line);
        return;
    }
    Check(record.valid && record.serverAddress == fields[2] && record.status == fields[12],
          "an accepted line fills the record", line);
    for (const CDateTime& time : record.times) {
        if (time.IsValid()) {
            Check(time.GetHour() >= 0 && time.GetHour() < 24 && time.GetMinute() < 60,
                  "service times are times of a day", line);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::QuietLogs();
    skychart::fuzz::InputCursor input(data, size);
    std::string_view stream = input.Rest();
    if (stream.size() > kMaxStream) {
        stream = stream.substr(0, kMaxStream);
    }

    skychart::fuzz::ChunkPlatform platform;
    CountingFrame frame;
    SilentPrompt prompt;
    CFeedConnections feed(frame, prompt, platform);
    feed.Start();
    CKestrelClientAppSocket* admin = feed.Connection(CFeedConnections::kAdmin);
    Check(admin != nullptr && platform.sockets.size() == 1, "start-up makes the admin connection");
    admin->OnConnect(0);
    feed.WatchSymbol("LUMA");
    feed.WatchSymbol("BRYN");
    skychart::fuzz::Arrive(*platform.sockets[0], {std::string(stream)});

    // What the frame must have made of the lines.
    SServiceStatistics expected;
    std::vector<std::string> statuses;
    bool connected = false;
    int serviceIp = 0;
    for (const std::string& line : skychart::fuzz::ProtocolLines(stream)) {
        ParseAlone(line);
        if (line[0] != 'S') {
            continue;
        }
        serviceIp += line.find("S,IP,") != std::string::npos ? 1 : 0;
        if (!line.starts_with("S,STATS")) {
            continue;
        }
        const std::string previous = expected.status;
        expected.Parse(line);
        if (expected.status != previous) {
            statuses.push_back(expected.status);
            connected = connected || expected.status == "Connected";
        }
    }
    Check(SameRecord(feed.ServiceStatistics(), expected), "the frame keeps the last statistics");
    Check(frame.statuses == statuses, "every status change reaches the frame");
    Check(frame.serviceIp == serviceIp, "every \"S,IP,\" line reaches the frame");
    Check((feed.Connection(CFeedConnections::kLookup) != nullptr) == connected,
          "the lookup connection exists once the service is connected");
    Check((feed.Connection(CFeedConnections::kLevel1) != nullptr) == connected,
          "the Level 1 connection exists once the service is connected");
    Check(platform.sockets.size() == (connected ? 3U : 1U), "no connection is made twice");
    Check(feed.WatchesInFlight().empty() || connected, "watches go out on the Level 1 connection");
    return 0;
}
