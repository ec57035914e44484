#include "datafiles/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

namespace portico::files {

namespace {

class PlainSource : public ByteSource {
public:
    explicit PlainSource(int fd) : m_fd(fd) {}
    ~PlainSource() override { ::close(m_fd); }
    std::int64_t read(std::uint64_t offset, char* out, std::size_t size) override {
        while (true) {
            const ssize_t n = ::pread(m_fd, out, size, static_cast<off_t>(offset));
            if (n >= 0 || errno != EINTR) {
                return n;
            }
        }
    }

private:
    int m_fd;
};

// Reads forward through the inflated stream; a read before the current position starts over.
class GzipSource : public ByteSource {
public:
    explicit GzipSource(gzFile file) : m_file(file) {}
    ~GzipSource() override { gzclose(m_file); }
    std::int64_t read(std::uint64_t offset, char* out, std::size_t size) override {
        if (offset != m_position) {
            if (offset < m_position) {
                gzrewind(m_file);
                m_position = 0;
            }
            // Skips forward by reading into the caller's buffer.
            while (m_position < offset) {
                const auto step = static_cast<unsigned>(
                    std::min<std::uint64_t>({offset - m_position, size, std::uint64_t{1} << 30}));
                const int n = gzread(m_file, out, step);
                if (n <= 0) {
                    return n < 0 ? -1 : 0;
                }
                m_position += static_cast<std::uint64_t>(n);
            }
        }
        const int n =
            gzread(m_file, out, static_cast<unsigned>(std::min<std::size_t>(size, 1 << 30)));
        if (n < 0) {
            return -1;
        }
        m_position += static_cast<std::uint64_t>(n);
        return n;
    }

private:
    gzFile m_file;
    std::uint64_t m_position = 0;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string_view text) : m_text(text) {}
    std::string_view held() const override { return m_text; }
    std::int64_t read(std::uint64_t offset, char* out, std::size_t size) override {
        if (offset >= m_text.size()) {
            return 0;
        }
        const std::size_t n = std::min<std::size_t>(size, m_text.size() - offset);
        std::memcpy(out, m_text.data() + offset, n);
        return static_cast<std::int64_t>(n);
    }

private:
    std::string_view m_text;
};

} // namespace

std::unique_ptr<ByteSource> ByteSource::Open(const std::string& path, bool gzip,
                                             std::string& error) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = std::strerror(errno);
        return nullptr;
    }
    if (!gzip) {
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        return std::make_unique<PlainSource>(fd);
    }
    gzFile file = gzdopen(fd, "rb");
    if (file == nullptr) {
        ::close(fd);
        error = "cannot read it as gzip";
        return nullptr;
    }
    gzbuffer(file, 256 * 1024);
    return std::make_unique<GzipSource>(file);
}

std::unique_ptr<ByteSource> ByteSource::Memory(std::string_view text) {
    return std::make_unique<MemorySource>(text);
}

LineReader::LineReader(ByteSource& source, std::uint64_t offset)
    : m_source(source), m_held(source.held()), m_position(offset),
      m_buffer(m_held.empty() ? kBufferBytes : 0), m_bufferOffset(offset) {}

void LineReader::seek(std::uint64_t offset) {
    m_position = offset;
    if (offset >= m_bufferOffset && offset <= m_bufferOffset + m_end) {
        m_begin = static_cast<std::size_t>(offset - m_bufferOffset);
        return;
    }
    m_bufferOffset = offset;
    m_begin = m_end = 0;
    m_eof = false;
}

bool LineReader::refill() {
    if (m_eof) {
        return false;
    }
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_bufferOffset += m_begin;
        m_end -= m_begin;
        m_begin = 0;
    }
    if (m_end == m_buffer.size()) {
        return false;
    }
    const std::int64_t n =
        m_source.read(m_bufferOffset + m_end, m_buffer.data() + m_end, m_buffer.size() - m_end);
    if (n <= 0) {
        m_failed = n < 0;
        m_eof = true;
        return false;
    }
    m_end += static_cast<std::size_t>(n);
    return true;
}

bool LineReader::nextHeld(Line& line) {
    if (m_position >= m_held.size()) {
        return false;
    }
    const char* start = m_held.data() + m_position;
    const std::size_t left = m_held.size() - m_position;
    const void* newline = std::memchr(start, '\n', left);
    const std::size_t length =
        newline != nullptr ? static_cast<std::size_t>(static_cast<const char*>(newline) - start)
                           : left;
    line.offset = m_position;
    line.terminated = newline != nullptr;
    line.end = m_position + length + (line.terminated ? 1 : 0);
    line.tooLong = length > kMaxLine;
    std::size_t size = length;
    if (size > 0 && start[size - 1] == '\r') {
        --size;
    }
    line.text = line.tooLong ? std::string_view() : std::string_view(start, size);
    m_position = line.end;
    return true;
}

bool LineReader::next(Line& line) {
    if (!m_held.empty()) {
        return nextHeld(line);
    }
    bool skipping = false; // inside a line too long to hold
    std::uint64_t skipStart = 0;
    while (true) {
        const char* start = m_buffer.data() + m_begin;
        const void* newline = std::memchr(start, '\n', m_end - m_begin);
        if (newline != nullptr) {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - start);
            line.offset = skipping ? skipStart : m_bufferOffset + m_begin;
            line.end = m_bufferOffset + m_begin + length + 1;
            line.terminated = true;
            line.tooLong = skipping || length > kMaxLine;
            std::size_t size = length;
            if (size > 0 && start[size - 1] == '\r') {
                --size;
            }
            line.text = line.tooLong ? std::string_view() : std::string_view(start, size);
            m_begin += length + 1;
            return true;
        }
        if (m_end - m_begin > kMaxLine) {
            // No line end within reach: drop what is held and look for the end of the line.
            if (!skipping) {
                skipping = true;
                skipStart = m_bufferOffset + m_begin;
            }
            m_begin = m_end;
        }
        if (!refill()) {
            if (m_begin == m_end && !skipping) {
                return false;
            }
            line.offset = skipping ? skipStart : m_bufferOffset + m_begin;
            line.end = m_bufferOffset + m_end;
            line.terminated = false;
            line.tooLong = skipping;
            std::size_t size = m_end - m_begin;
            if (size > 0 && m_buffer[m_end - 1] == '\r') {
                --size;
            }
            line.text =
                skipping ? std::string_view() : std::string_view(m_buffer.data() + m_begin, size);
            m_begin = m_end;
            return true;
        }
    }
}

} // namespace portico::files
