#pragma once

// The bytes of a data file, plain or gzip-compressed (offsets count the uncompressed text), and
// the lines read from them through one large buffer.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace portico::files {

class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Up to `size` bytes from `offset` into `out`: how many (0 at the end), -1 on a read error.
    virtual std::int64_t read(std::uint64_t offset, char* out, std::size_t size) = 0;
    // All of the bytes when they are held in memory, read in place then; empty otherwise.
    virtual std::string_view held() const { return {}; }

    // A file, read as gzip when `gzip`; null with the reason when it cannot be opened.
    static std::unique_ptr<ByteSource> Open(const std::string& path, bool gzip, std::string& error);
    // Text held in memory (kept by the caller while the source is used).
    static std::unique_ptr<ByteSource> Memory(std::string_view text);
};

// Lines of a ByteSource from a starting offset. A line longer than kMaxLine is passed over.
class LineReader {
public:
    static constexpr std::size_t kBufferBytes = 1 << 20;
    static constexpr std::size_t kMaxLine = 64 * 1024;

    explicit LineReader(ByteSource& source, std::uint64_t offset = 0);

    struct Line {
        std::string_view text;    // without "\n" or "\r\n"; valid until the next call
        std::uint64_t offset = 0; // of its first byte
        std::uint64_t end = 0;    // offset after its line end
        bool terminated = false;  // false: the last bytes of the file, without a line end
        bool tooLong = false;     // passed over: `text` is empty
    };
    // The next line; false at the end of the data (or on a read error, see failed()).
    bool next(Line& line);
    bool failed() const { return m_failed; }
    // Starts again at `offset`, keeping what the buffer holds when it covers it.
    void seek(std::uint64_t offset);

private:
    bool refill(); // reads more after the kept bytes; false when nothing more came

    bool nextHeld(Line& line);

    ByteSource& m_source;
    std::string_view m_held; // the whole text, when the source holds it in memory
    std::uint64_t m_position = 0;
    std::vector<char> m_buffer;
    std::uint64_t m_bufferOffset = 0; // file offset of m_buffer[0]
    std::size_t m_begin = 0;          // first unread byte in the buffer
    std::size_t m_end = 0;            // end of the valid bytes
    bool m_eof = false;
    bool m_failed = false;
};

} // namespace portico::files
