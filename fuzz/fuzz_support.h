#pragma once

// What the fuzz targets share: a cursor over the input bytes, the check that stops a run when a
// property of the code under test is broken, the cut of a byte stream into receive chunks, and
// the reference line split of the feed protocol.
//
// Each target defines LLVMFuzzerTestOneInput. Built with -fsanitize=fuzzer it is a libFuzzer
// program; built with replay_main.cpp it runs the files of a corpus folder once each (ctest).

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace skychart::fuzz {

// Reports a broken property and aborts: libFuzzer saves the input as a crash, the replay program
// fails its test.
[[noreturn]] inline void Fail(std::string_view what, std::string_view detail = {}) {
    std::fprintf(stderr, "fuzz check failed: %.*s\n", static_cast<int>(what.size()), what.data());
    if (!detail.empty()) {
        std::fprintf(stderr, "  detail: %.*s\n", static_cast<int>(detail.size()), detail.data());
    }
    std::abort();
}

inline void Check(bool holds, std::string_view what, std::string_view detail = {}) {
    if (!holds) {
        Fail(what, detail);
    }
}

// Reads small values from the front of the input; once the bytes run out every read gives 0.
class InputCursor {
public:
    InputCursor(const std::uint8_t* data, std::size_t size)
        : m_text(reinterpret_cast<const char*>(data), size) {}

    std::uint8_t Byte() {
        if (m_text.empty()) {
            return 0;
        }
        const auto value = static_cast<std::uint8_t>(m_text.front());
        m_text.remove_prefix(1);
        return value;
    }
    // Everything not read yet; the cursor is empty afterwards.
    std::string_view Rest() {
        const std::string_view rest = m_text;
        m_text = {};
        return rest;
    }
    std::string_view Peek() const { return m_text; }

private:
    std::string_view m_text;
};

// The sizes of the receive chunks of a byte stream: a count byte (up to 31 chunks), then one byte
// per chunk giving its size less one. Whatever the sizes leave of the stream arrives last.
inline std::vector<std::size_t> TakeChunkSizes(InputCursor& input) {
    const std::size_t count = input.Byte() % 32;
    std::vector<std::size_t> sizes;
    for (std::size_t i = 0; i < count; ++i) {
        sizes.push_back(static_cast<std::size_t>(input.Byte()) + 1);
    }
    return sizes;
}

// Cuts `bytes` into the chunks of `sizes`, the remainder last; no chunk is empty.
inline std::vector<std::string> CutIntoChunks(std::string_view bytes,
                                              const std::vector<std::size_t>& sizes) {
    std::vector<std::string> chunks;
    for (const std::size_t size : sizes) {
        if (bytes.empty()) {
            break;
        }
        const std::size_t take = size < bytes.size() ? size : bytes.size();
        chunks.emplace_back(bytes.substr(0, take));
        bytes.remove_prefix(take);
    }
    if (!bytes.empty()) {
        chunks.emplace_back(bytes);
    }
    return chunks;
}

// The lines a reader of the feed protocol must see in `bytes`: any run of CR and LF ends a line,
// a line is read up to its first zero byte (it travels as a C string), empty lines are dropped.
// Bytes after the last line end form `tail`, an unfinished line.
inline std::vector<std::string> ProtocolLines(std::string_view bytes, std::string* tail = nullptr) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    std::size_t p = 0;
    while (p < bytes.size()) {
        if (bytes[p] != '\r' && bytes[p] != '\n') {
            ++p;
            continue;
        }
        const std::string_view line = bytes.substr(start, p - start);
        const std::string_view text = line.substr(0, line.find('\0'));
        if (!text.empty()) {
            lines.emplace_back(text);
        }
        while (p < bytes.size() && (bytes[p] == '\r' || bytes[p] == '\n')) {
            ++p;
        }
        start = p;
    }
    if (tail != nullptr) {
        *tail = std::string(bytes.substr(start));
    }
    return lines;
}

// `text` cut at each '\n' (a '\r' before it stays on the line), at most `limit` lines; a last
// piece without '\n' is a line too.
inline std::vector<std::string_view> SplitAtNewlines(std::string_view text, std::size_t limit) {
    std::vector<std::string_view> lines;
    while (!text.empty() && lines.size() < limit) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    return lines;
}

} // namespace skychart::fuzz
