// The reference tables of the lookup port (listed markets "SLM", security types "SST"): the
// reply read over the blocking connection and the table filled from it. Input: receive chunk
// sizes (see TakeChunkSizes), then the reply bytes. The reply is loaded through CListedMarkets in
// those chunks; in one chunk it must read as the end marker and syntax error rules say, and the
// table must ignore an unterminated last line and lines with an id outside 0 to 255.

#include "fuzz_feed_platform.h"
#include "fuzz_support.h"
#include "quiet_logs.h"

#include "feed/lookup_system_info.h"

#include <string>

namespace {

using skychart::fuzz::Check;
using Table = std::array<CLookupSystemInfo::Entry, CLookupSystemInfo::kEntries>;

// A reply must fit one receive to be read in one chunk.
constexpr std::size_t kMaxReply = 65'535;

// What one receive holding the whole reply leaves in the response.
std::string OneChunkResponse(std::string_view reply) {
    if (const std::size_t end = reply.find("!ENDMSG!"); end != std::string_view::npos) {
        std::string_view before = reply.substr(0, end);
        while (!before.empty() && (before.front() == '\r' || before.front() == '\n')) {
            before.remove_prefix(1);
        }
        return std::string(before);
    }
    if (reply.find("!SYNTAX_ERROR!") != std::string_view::npos) {
        return {};
    }
    return std::string(reply);
}

Table Filled(const std::string& response) {
    Table table;
    CLookupSystemInfo::FillTable(response, table);
    return table;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::QuietLogs();
    skychart::fuzz::InputCursor input(data, size);
    const std::vector<std::size_t> sizes = skychart::fuzz::TakeChunkSizes(input);
    std::string_view reply = input.Rest();
    if (reply.size() > kMaxReply) {
        reply = reply.substr(0, kMaxReply);
    }

    skychart::fuzz::ChunkPlatform platform;
    for (const std::string& chunk : skychart::fuzz::CutIntoChunks(reply, sizes)) {
        platform.blockingChunks.push_back(chunk);
    }
    CListedMarkets markets(platform);
    Check(markets.Load() && markets.IsLoaded(), "a reply that arrives loads the table");
    Check(markets.At(-1) == CLookupSystemInfo::Entry{} &&
              markets.At(256) == CLookupSystemInfo::Entry{},
          "ids outside the table have empty entries");
    const Table table = Filled(markets.Response());
    for (int id = 0; id < CLookupSystemInfo::kEntries; ++id) {
        Check(markets.At(id) == table[static_cast<std::size_t>(id)], "the table is its response");
    }

    skychart::fuzz::ChunkPlatform wholePlatform;
    if (!reply.empty()) {
        wholePlatform.blockingChunks.emplace_back(reply);
    }
    CSecurityTypes types(wholePlatform);
    Check(types.Load(), "a reply in one piece loads the table");
    const std::string& response = types.Response();
    Check(response == OneChunkResponse(reply), "one receive reads as the markers say");

    // Lines that are never read: one without its "\n" at the end, one with an id beyond 255.
    const std::string& chunked = markets.Response();
    if (chunked.empty() || chunked.back() == '\n') {
        Check(Filled(chunked + "7,SEVEN,Seven,1,Group") == table,
              "an unterminated last line is not read");
    }
    Check(Filled("300,X,Extra,1,Group\n" + chunked) == table, "an id beyond 255 is skipped");
    return 0;
}
