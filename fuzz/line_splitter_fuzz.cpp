// The line splitting of CKestrelStreamSocket with random receive boundaries. Input: the chunk
// sizes (see TakeChunkSizes), then the byte stream. The stream goes once through a socket in
// those chunks and once through another socket in one receive; both must deliver the same lines,
// which must be those of the reference split, and keep the same unfinished tail. A consumer that
// throws (here: on every line starting with '!') must not cost the lines after it.

#include "fuzz_feed_platform.h"
#include "fuzz_support.h"

#include "feed/kestrel_stream_socket.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;
using skychart::fuzz::ChunkPlatform;
using skychart::fuzz::ChunkSocket;

// Longer streams could fill the receive buffer with one unfinished line, after which a socket
// delivers nothing more: a documented limit, not a difference between chunkings.
constexpr std::size_t kMaxStream = 60'000;

class RecordingSocket : public CKestrelStreamSocket {
public:
    explicit RecordingSocket(ChunkPlatform& platform)
        : CKestrelStreamSocket(platform), m_socket(*platform.sockets.back()) {}

    // Delivers `chunks` a receive notification at a time, as the event loop would.
    void Receive(const std::vector<std::string>& chunks) {
        for (const std::string& chunk : chunks) {
            m_socket.chunks.push_back(chunk);
            while (!m_socket.chunks.empty()) {
                const std::size_t waiting = m_socket.chunks.front().size();
                m_threwThisReceive = false;
                bool caught = false;
                try {
                    OnReceive(0);
                } catch (const std::runtime_error&) {
                    caught = true;
                }
                Check(caught == m_threwThisReceive,
                      "a consumer's failure is passed on once the receive is split");
                Check(m_socket.chunks.empty() || m_socket.chunks.front().size() < waiting,
                      "every receive takes bytes while the buffer has room");
            }
        }
    }

    std::vector<std::string> lines;

protected:
    void OnLine(const char* line) override {
        lines.emplace_back(line);
        if (line[0] == '!') {
            m_threwThisReceive = true;
            throw std::runtime_error("consumer failure");
        }
    }

private:
    ChunkSocket& m_socket;
    bool m_threwThisReceive = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const std::vector<std::size_t> sizes = skychart::fuzz::TakeChunkSizes(input);
    std::string_view stream = input.Rest();
    if (stream.size() > kMaxStream) {
        stream = stream.substr(0, kMaxStream);
    }

    ChunkPlatform platform;
    RecordingSocket chunked(platform);
    chunked.Receive(skychart::fuzz::CutIntoChunks(stream, sizes));
    RecordingSocket whole(platform);
    if (!stream.empty()) {
        whole.Receive({std::string(stream)});
    }

    std::string tail;
    const std::vector<std::string> expected = skychart::fuzz::ProtocolLines(stream, &tail);
    Check(chunked.lines == whole.lines, "chunk boundaries do not change the lines");
    Check(whole.lines == expected, "the lines are those of the protocol's split");
    for (const RecordingSocket* socket : {&chunked, &whole}) {
        const SKestrelSocketStats& stats = socket->Statistics();
        Check(stats.messagesReceived.value == expected.size(), "every line counts one message");
        // Counted once by the receive and once by the splitter.
        Check(stats.bytesReceived.value == 2 * stream.size(), "received bytes are counted twice");
        Check(socket->ReceiveFill() == static_cast<std::int32_t>(tail.size()),
              "the unfinished line is kept");
        Check(std::string_view(socket->ReceiveBuffer(), tail.size()) == tail,
              "the unfinished line starts the buffer");
    }
    return 0;
}
