#pragma once

// The data lines of a tick answer:
//   <id>,LH,YYYY-MM-DD HH:MM:SS.ffffff,price,size,totalVolume,bid,ask,tickId,basis,marketCenter,
//   conditions,aggressor,dayCode,
// Answers run to millions of lines in time order, and consecutive lines share much of their
// text, so the writer carries it from line to line: the line up to its minute is copied and the
// tick id is counted on in its text.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "line_writer.h"
#include "market/market.h"

namespace portico {

class TickLines {
public:
    explicit TickLines(std::string_view id);

    // The most bytes one line takes.
    std::size_t maxLineBytes() const { return m_stamp.size() + kFieldBytes; }

    // Writes the lines of `ticks` from `p` on (room for maxLineBytes() each), prices with
    // `decimals` decimals, and returns where they end; `lineEnd` is told where each line ends.
    template <typename LineEnd>
    char* writeRun(char* p, std::span<const Tick> ticks, int decimals, LineEnd lineEnd) {
        return LineWriter::WithDecimals(decimals, [&](auto fixed) {
            for (const Tick& tick : ticks) {
                p = write<fixed()>(p, tick, decimals);
                lineEnd(p);
            }
            return p;
        });
    }
    // The same, appended to `out`.
    void writeRun(LineWriter& out, std::span<const Tick> ticks, int decimals) {
        char* p = out.claim(ticks.size() * maxLineBytes());
        out.commit(writeRun(p, ticks, decimals, [](const char*) {}));
    }

    // Writes the line of `tick` at `p` (room for maxLineBytes()) and returns where it ends.
    // Prices have `Decimals` decimals; with 0, `decimals` (any count) says how many.
    template <int Decimals>
    [[gnu::always_inline]] char* write(char* p, const Tick& tick, int decimals) {
        const auto price = [decimals](char* at, std::int64_t value) {
            if constexpr (Decimals == 0) {
                return LineWriter::WritePrice(at, value, decimals);
            } else {
                return LineWriter::WriteFixed<Decimals>(at, value);
            }
        };
        if (static_cast<std::uint64_t>(tick.time) - static_cast<std::uint64_t>(m_minuteStart) >=
            static_cast<std::uint64_t>(kMicrosPerMinute)) {
            stampMinute(tick.time);
        }
        std::memcpy(p, m_stamp.data(), kStampBlock);
        if (m_stampSize > kStampBlock) {
            std::memcpy(p + kStampBlock, m_stamp.data() + kStampBlock, m_stampSize - kStampBlock);
        }
        p += m_stampSize;
        // "SS.ffffff" from two halves of four digits each, "SSff" and "ffff", side by side.
        const auto inMinute = static_cast<std::uint32_t>(tick.time - m_minuteStart);
        const std::uint32_t high = inMinute / 10'000;
        const std::uint32_t low = inMinute - high * 10'000;
        LineWriter::WriteFixedDigits<2>(p, high / 100);
        p[2] = '.';
        LineWriter::WriteFixedDigits<2>(p + 3, high % 100);
        LineWriter::WriteFixedDigits<4>(p + 5, low);
        p[9] = ',';
        p = price(p + 10, tick.price);
        *p++ = ',';
        p = LineWriter::WriteUnsigned(p, tick.size);
        *p++ = ',';
        p = LineWriter::WriteSigned(p, tick.totalVolume);
        *p++ = ',';
        p = price(p, tick.bid);
        *p++ = ',';
        p = price(p, tick.ask);
        *p++ = ',';
        p = writeTickId(p, tick.tickId);
        p[0] = ',';
        p[1] = tick.basis;
        p[2] = ',';
        p = WriteSmall(p + 3, tick.marketCenter);
        p = LineWriter::WriteHex2(p, tick.conditions);
        *p++ = ',';
        p = WriteSmall(p, tick.aggressor);
        p = WriteSmall(p, tick.dayCode);
        std::memcpy(p, "\r\n", 2);
        return p + 2;
    }

private:
    // The line up to its minute is copied as one block of this size when it fits.
    static constexpr std::size_t kStampBlock = 48;
    // The most room the fields after the minute take.
    static constexpr std::size_t kFieldBytes = 3 * LineWriter::kMaxPriceBytes + 100;

    // The digits of 0..255 followed by a comma, and how many bytes that is.
    struct SmallText {
        char text[4];
        std::uint8_t bytes;
    };
    static constexpr std::array<SmallText, 256> kSmall = [] {
        std::array<SmallText, 256> table{};
        for (unsigned v = 0; v < 256; ++v) {
            SmallText& t = table[v];
            unsigned n = 0;
            if (v >= 100) {
                t.text[n++] = static_cast<char>('0' + v / 100);
            }
            if (v >= 10) {
                t.text[n++] = static_cast<char>('0' + v / 10 % 10);
            }
            t.text[n++] = static_cast<char>('0' + v % 10);
            t.text[n++] = ',';
            t.bytes = static_cast<std::uint8_t>(n);
        }
        return table;
    }();

    static char* WriteSmall(char* p, std::uint8_t value) {
        std::memcpy(p, kSmall[value].text, 4);
        return p + kSmall[value].bytes;
    }

    // Tick ids count up by one from line to line within a day: the digits of the previous one
    // (at most 8, kept in m_tickIdText from its lowest byte on) are stepped on. The text is made
    // and kept in a register, never read back from what was written.
    char* writeTickId(char* p, std::uint32_t tickId) {
        const unsigned last = 8 * (m_tickIdDigits - 1);
        if (tickId == m_tickId + 1 && m_tickIdDigits > 0 &&
            ((m_tickIdText >> last) & 0xff) != '9') {
            m_tickIdText += std::uint64_t{1} << last;
        } else if (tickId < 100'000'000) {
            std::uint64_t text = 0;
            unsigned digits = 0;
            std::uint32_t rest = tickId;
            do {
                text = (text << 8) | ('0' + rest % 10);
                rest /= 10;
                ++digits;
            } while (rest > 0);
            m_tickIdText = text;
            m_tickIdDigits = digits;
        } else {
            // Nine digits or ten: too long to keep.
            m_tickIdDigits = 0;
            m_tickId = tickId;
            const int digits = LineWriter::DigitCount(tickId);
            LineWriter::WriteDigits(p, tickId, digits);
            return p + digits;
        }
        m_tickId = tickId;
        std::memcpy(p, &m_tickIdText, 8);
        return p + m_tickIdDigits;
    }

    void stampMinute(Micros time);

    // "<id>,LH,YYYY-MM-DD HH:MM:", for the minute that begins at m_minuteStart, padded to at
    // least kStampBlock bytes.
    std::string m_stamp;
    std::size_t m_stampSize = 0;
    std::int32_t m_stampDay = INT32_MIN;
    Micros m_minuteStart = INT64_MIN;
    std::uint32_t m_tickId = 0;
    std::uint64_t m_tickIdText = 0;
    unsigned m_tickIdDigits = 0; // 0: m_tickIdText holds nothing to step on
};

} // namespace portico
