#include "history/history_parser.h"

#include "base/error.h"
#include "base/numbers.h"
#include "history/answer_numbers.h"
#include "history/chart_hist_request.h"
#include "history/tick.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// The first fields of a line as views into it, and the count of all its fields. Splits by the
// protocol's rule (every comma ends a field; a non-empty tail after the last comma is one more)
// without allocating.
struct SLineFields {
    static constexpr int kKept = 16;
    std::string_view field[kKept];
    int count = 0;

    SLineFields() = default;
    explicit SLineFields(std::string_view line) {
        const char* start = line.data();
        const char* const end = start + line.size();
        int n = 0;
        for (const char* p = start; p != end; ++p) {
            if (*p == ',') {
                if (n < kKept) {
                    field[n] = std::string_view(start, static_cast<std::size_t>(p - start));
                }
                ++n;
                start = p + 1;
            }
        }
        if (start != end) {
            if (n < kKept) {
                field[n] = std::string_view(start, static_cast<std::size_t>(end - start));
            }
            ++n;
        }
        count = n;
    }

    void Add(const char* from, const char* to) {
        if (count < kKept) {
            field[count] = std::string_view(from, static_cast<std::size_t>(to - from));
        }
        ++count;
    }

    // Field `index`, or CInvalidArgException when the line has no such field.
    std::string_view At(int index) const {
        if (index >= count || index >= kKept) {
            throw CInvalidArgException(
                fmt::format("field {} is beyond the {} fields of the line", index, count));
        }
        return field[index];
    }
};

// Calls `onLine(line, fields)` for every complete line of `text` (any run of CR and LF ends a
// line, empty lines are skipped), splitting lines and fields in the same pass; returns the count
// of bytes up to and including the last line end.
template <typename OnLine> std::size_t ForEachLine(std::string_view text, OnLine&& onLine) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const char* lineStart = begin;
    const char* fieldStart = begin;
    SLineFields fields;
    const auto atDelimiter = [&](const char* at, bool comma) {
        if (comma) {
            fields.Add(fieldStart, at);
            fieldStart = at + 1;
            return;
        }
        if (at != lineStart) {
            if (fieldStart != at) {
                fields.Add(fieldStart, at);
            }
            onLine(std::string_view(lineStart, static_cast<std::size_t>(at - lineStart)), fields);
        }
        fields.count = 0;
        lineStart = at + 1;
        fieldStart = at + 1;
    };
    const char* p = begin;
#if defined(__SSE2__)
    // Sixteen bytes at a time: one mask of the commas, CRs and LFs, walked bit by bit.
    const __m128i comma = _mm_set1_epi8(',');
    const __m128i lf = _mm_set1_epi8('\n');
    const __m128i cr = _mm_set1_epi8('\r');
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const auto commas = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, comma)));
        auto mask = commas | static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(
                                 _mm_cmpeq_epi8(bytes, lf), _mm_cmpeq_epi8(bytes, cr))));
        while (mask != 0) {
            const int at = __builtin_ctz(mask);
            atDelimiter(p + at, ((commas >> at) & 1U) != 0);
            mask &= mask - 1;
        }
    }
#endif
    for (; p != end; ++p) {
        if (*p == ',' || *p == '\n' || *p == '\r') {
            atDelimiter(p, *p == ',');
        }
    }
    return static_cast<std::size_t>(lineStart - begin);
}

bool StartsWith(std::string_view text, char c) {
    return !text.empty() && text.front() == c;
}

// The time stamp cut at its fixed positions: year 0-3, month 5-6, day 8-9, and with `withTime`
// hour 11-12, minute 14-15, second 17-18. Invalid when a part is missing or no calendar time.
CDateTime CutTimeStamp(std::string_view text, bool withTime) {
    const int year = Digits(text, 0, 4);
    const int month = Digits(text, 5, 2);
    const int day = Digits(text, 8, 2);
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (withTime) {
        hour = Digits(text, 11, 2);
        minute = Digits(text, 14, 2);
        second = Digits(text, 17, 2);
    }
    return CDateTime::FromFields(year, month, day, hour, minute, second);
}

bool Same8(const char* a, const char* b) {
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x == y;
}

// The last time stamp cut, by the characters it was cut from: the lines of an answer mostly
// repeat the second (ticks) or the date of the line before.
struct SStampCache {
    static constexpr std::size_t kLongest = 19;
    char key[kLongest] = {};
    std::size_t length = 0; // 19 with the time, 10 without; 0 when nothing is held
    CDateTime value;

    CDateTime Cut(std::string_view text, bool withTime) {
        const std::size_t need = withTime ? kLongest : 10;
        if (text.size() < need) {
            return CutTimeStamp(text, withTime);
        }
        if (length == need && Same8(key, text.data()) &&
            Same8(key + need - 8, text.data() + need - 8) &&
            (need < 17 || Same8(key + 8, text.data() + 8))) {
            return value;
        }
        value = CutTimeStamp(text, withTime);
        std::memcpy(key, text.data(), need);
        length = need;
        return value;
    }
};

// Microseconds at positions 20-25; 0 when the time stamp carries none.
std::int32_t CutMicroseconds(std::string_view text, const char* readable) {
    if (text.size() <= 20) {
        return 0;
    }
    return answer_numbers::Int(text.substr(20, 6), readable);
}

bool ContainsEndMarker(std::string_view text) {
    return text.find("!ENDMSG!") != std::string_view::npos;
}

// Fills `tick` from the fields of one data line of `kind`; false when the line is dropped.
// Memory may be read up to `readable` (at least the line's end).
bool ParseFields(const SLineFields& f, std::uint32_t kind, bool extendedTrades, sTICK& tick,
                 SStampCache& stamps, const char* readable) {
    if (kind <= 2) {
        if (f.count < 9) {
            return false;
        }
        if (f.count == 9) {
            throw CInvalidArgException("a tick line of 9 fields has no basis");
        }
        const std::string_view basis = f.field[9];
        const char letter = basis.empty() ? '\0' : basis.front();
        const bool kept = letter == 'C' || ((letter == 'E' || letter == 'O') && extendedTrades);
        if (!kept) {
            return false;
        }
        if (f.count < 14) {
            throw CInvalidArgException(
                fmt::format("a tick line of {} fields lacks the aggressor and day code", f.count));
        }
        const std::string_view stamp = f.field[2];
        tick.time = stamps.Cut(stamp, true);
        tick.microseconds = CutMicroseconds(stamp, readable);
        const double price = answer_numbers::Price(f.field[3], readable);
        tick.high = price;
        tick.low = price;
        tick.close = price;
        tick.open = 0.0;
        tick.size = answer_numbers::Unsigned32(f.field[4], readable);
        tick.volume = answer_numbers::Int64(f.field[5], readable);
        tick.bid = answer_numbers::Price(f.field[6], readable);
        tick.ask = answer_numbers::Price(f.field[7], readable);
        tick.tickId = answer_numbers::Unsigned32(f.field[8], readable);
        tick.aggressor = static_cast<std::uint8_t>(answer_numbers::Int(f.field[12], readable));
        tick.dayCode = static_cast<std::uint8_t>(answer_numbers::Int(f.field[13], readable));
        tick.word1 = 0;
        tick.word2 = 0;
        return true;
    }

    if (f.count < 9) {
        throw CInvalidArgException(
            fmt::format("a bar line of {} fields lacks its prices or volumes", f.count));
    }
    const bool intervalBar = kind <= 5;
    tick.time = stamps.Cut(f.field[2], intervalBar);
    tick.high = answer_numbers::Price(f.field[3], readable);
    tick.low = answer_numbers::Price(f.field[4], readable);
    tick.open = answer_numbers::Price(f.field[5], readable);
    tick.close = answer_numbers::Price(f.field[6], readable);
    tick.volume = answer_numbers::Int64(f.field[7], readable);
    if (intervalBar) {
        tick.size = answer_numbers::Unsigned32(f.field[8], readable);
    } else {
        tick.openInterest = answer_numbers::Unsigned32(f.field[8], readable);
        if (kind <= 7) {
            tick.dayCode = tick.time.IsValid() ? static_cast<std::uint8_t>(Digits(f.field[2], 8, 2))
                                               : std::uint8_t{255};
        }
    }
    return true;
}

} // namespace

int PriceTextWidthOf(std::string_view price) {
    const std::size_t point = price.find('.');
    const long position = point == std::string_view::npos ? -1 : static_cast<long>(point);
    const long width = static_cast<long>(price.size()) - position + 9;
    return static_cast<int>(width < 11 ? 11 : width);
}

int PriceTextWidthOfDecimals(int decimals) {
    return decimals > INT_MAX - 10 ? INT_MAX : decimals + 10;
}

CHistoryResponseParser::CHistoryResponseParser(CChartHistRequest& history) : m_history(history) {}

SHistoryLine CHistoryResponseParser::OnHistoryLine(std::string_view line) {
    const SLineFields fields(line);
    const int count = fields.count;

    if (count >= 2 && StartsWith(fields.field[1], 'E')) {
        const std::string_view text = count >= 3 ? fields.field[2] : fields.field[1];
        m_answerError.assign(text);
        return {SHistoryLine::EKind::Error, text};
    }
    const bool endMarker = count == 2 && ContainsEndMarker(fields.field[1]);
    const SHistoryLine result{endMarker ? SHistoryLine::EKind::End : SHistoryLine::EKind::Data, {}};
    if (endMarker) {
        m_answerEnded = true;
    }
    if (!m_history.IsChartAlive()) {
        if (ContainsEndMarker(line)) {
            m_history.Clear();
        }
        return result;
    }
    if (endMarker) {
        EndOfAnswer();
        return result;
    }
    if (count < 3 || StartsWith(fields.field[1], '!')) {
        return result; // a short line or another marker
    }

    const std::string_view id = fields.field[0];
    const unsigned digit =
        id.empty() ? 10U : static_cast<unsigned char>(id.back()) - static_cast<unsigned>('0');

    if (m_history.GetPriceTextWidth() == 0) {
        m_history.SetPriceTextWidth(PriceTextWidthOf(fields.At(3)));
    }
    if (digit > 9) {
        return result;
    }

    sTICK tick;
    SStampCache stamps;
    if (ParseFields(fields, digit, m_history.AreExtendedTradesAccepted(), tick, stamps,
                    line.data() + line.size())) {
        m_history.AppendTick(tick);
    }
    return result;
}

std::size_t CHistoryResponseParser::OnHistoryText(std::string_view text, const LineSink& passOn,
                                                  std::size_t longestLine, bool* tooLong) {
    std::exception_ptr failure;
    const auto fail = [&failure] {
        if (!failure) {
            failure = std::current_exception();
        }
    };
    if (m_batch.size() != kBatch) {
        m_batch.resize(kBatch);
    }
    std::size_t batched = 0;
    const auto flush = [&] {
        if (batched > 0) {
            m_history.AppendTicks(m_batch.data(), batched);
            batched = 0;
        }
    };
    SStampCache stamps;
    const bool extendedTrades = m_history.AreExtendedTradesAccepted();
    const std::string_view prefix = m_idPrefix;
    const char* const readable = text.data() + text.size();
    bool stopped = false;
    const std::size_t taken =
        ForEachLine(text, [&](std::string_view line, const SLineFields& fields) {
            if (stopped || line.size() > longestLine) {
                stopped = true;
                return;
            }
            const bool history = line.size() >= 3 && line.compare(0, 3, "Loo") == 0;
            const std::string_view id = fields.field[0];
            const bool own = history && id.size() == prefix.size() + 1 &&
                             std::equal(prefix.begin(), prefix.end(), id.begin());
            if (own && fields.count >= 4 && !StartsWith(fields.field[1], 'E') &&
                !StartsWith(fields.field[1], '!') && m_history.IsChartAlive()) {
                if (m_history.GetPriceTextWidth() == 0) {
                    m_history.SetPriceTextWidth(PriceTextWidthOf(fields.field[3]));
                }
                // A record line with every field that any kind reads: the common case, parsed here.
                if (fields.count >= 9) {
                    const unsigned digit =
                        static_cast<unsigned char>(id.back()) - static_cast<unsigned>('0');
                    if (digit > 9) {
                        return;
                    }
                    try {
                        sTICK& tick = m_batch[batched];
                        tick = sTICK{};
                        if (ParseFields(fields, digit, extendedTrades, tick, stamps, readable) &&
                            ++batched == kBatch) {
                            flush();
                        }
                    } catch (...) {
                        fail();
                    }
                    return;
                }
            }
            flush();
            if (passOn) {
                passOn(line);
                return;
            }
            if (history) {
                try {
                    OnHistoryLine(line);
                } catch (...) {
                    fail();
                }
            }
        });
    try {
        flush();
    } catch (...) {
        fail();
    }
    if (tooLong != nullptr) {
        *tooLong = stopped;
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return taken;
}

bool CHistoryResponseParser::ParseRecord(std::string_view line, std::uint32_t kind,
                                         sTICK& tick) const {
    SStampCache stamps;
    return ParseFields(SLineFields(line), kind, m_history.AreExtendedTradesAccepted(), tick, stamps,
                       line.data() + line.size());
}

void CHistoryResponseParser::EndOfAnswer() {
    m_history.SetHistoryComplete(true);
    while (!m_held.empty()) {
        const std::string line = std::move(m_held.front());
        m_held.pop_front();
        if (m_liveTrade) {
            m_liveTrade(line);
        }
    }
}

void CHistoryResponseParser::StartAnswer() {
    m_held.clear();
    m_heldDropped = 0;
    m_answerError.clear();
    m_answerEnded = false;
}

bool CHistoryResponseParser::HoldLevel1LineWhileLoading(const std::string& line) {
    if (m_history.IsHistoryComplete()) {
        return false;
    }
    m_held.push_back(line);
    if (m_held.size() > m_heldLimit) {
        m_held.pop_front();
        ++m_heldDropped;
    }
    return true;
}
